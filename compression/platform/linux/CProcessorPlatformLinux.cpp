#include "compression/platform/CBasicProcessorPlatform.h"

#include <algorithm>

#include <unistd.h>

namespace {

class CProcessorPlatformLinux final : public CBasicProcessorPlatform
{
public:
    // At least the one that runs this.
    int CountRunningProcessors() const override
    {
        return static_cast<int>(std::max(sysconf(_SC_NPROCESSORS_ONLN), 1L));
    }
};

}  // namespace

CBasicProcessorPlatform* NewProcessorPlatform()
{
    return new CProcessorPlatformLinux;
}
