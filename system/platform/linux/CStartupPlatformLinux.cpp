#include "system/platform/CBasicStartupPlatform.h"

namespace {

// There are no bundles, no such folder, and none of that system's versions.
class CStartupPlatformLinux final : public CBasicStartupPlatform
{
public:
    bool GetBundleExecutable(std::string const&, std::string&) const override { return false; }

    std::string GetUserLibrary() const override { return {}; }

    bool IsSystemAtLeast(int, int) const override { return false; }
};

}  // namespace

CBasicStartupPlatform* NewStartupPlatform()
{
    return new CStartupPlatformLinux;
}
