#include "compression/platform/CBasicProcessorPlatform.h"

#include <algorithm>

#include <mach/mach.h>
#include <mach/processor_info.h>

namespace {

class CProcessorPlatformMacOSX final : public CBasicProcessorPlatform
{
public:
    int CountRunningProcessors() const override
    {
        natural_t count = 0;
        processor_info_array_t words = nullptr;
        mach_msg_type_number_t wordCount = 0;
        if (host_processor_info(mach_host_self(), PROCESSOR_BASIC_INFO, &count, &words,
                                &wordCount) != KERN_SUCCESS) {
            return 0;
        }
        auto const* const processors = reinterpret_cast<processor_basic_info const*>(words);
        auto const running = std::count_if(
            processors, processors + count,
            [](processor_basic_info const& processor) { return processor.running != 0; });
        // Kept on purpose: 8 bytes for each word of 4. Up to 100 processors, both are one page.
        vm_deallocate(mach_task_self(), reinterpret_cast<vm_address_t>(words), wordCount * 8UL);
        return static_cast<int>(running);
    }
};

}  // namespace

CBasicProcessorPlatform* NewProcessorPlatform()
{
    return new CProcessorPlatformMacOSX;
}
