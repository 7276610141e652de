#include "system/platform/CBasicLoadPlatform.h"

#include <mach/mach.h>
#include <mach/processor_info.h>
#include <sys/sysctl.h>

namespace {

// The system's array is handed on as it is.
static_assert(CPU_STATE_USER == 0 && CPU_STATE_SYSTEM == 1 && CPU_STATE_IDLE == 2 &&
              CPU_STATE_NICE == 3 && sizeof(processor_cpu_load_info) == sizeof(ProcessorTicks));

bool ReadCount(char const* name, int& count)
{
    int value = 0;
    size_t size = sizeof value;
    if (sysctlbyname(name, &value, &size, nullptr, 0) != 0) return false;
    count = value;
    return true;
}

class CLoadPlatformMacOSX final : public CBasicLoadPlatform
{
public:
    unsigned int GetHostPort() override { return mach_host_self(); }

    bool TakeSnapshot(unsigned int hostPort, ProcessorSnapshot& snapshot) override
    {
        natural_t count = 0;
        processor_info_array_t words = nullptr;
        mach_msg_type_number_t wordCount = 0;
        if (host_processor_info(hostPort, PROCESSOR_CPU_LOAD_INFO, &count, &words, &wordCount) !=
            KERN_SUCCESS) {
            return false;
        }
        snapshot.mProcessorCount = count;
        snapshot.mTicks = reinterpret_cast<ProcessorTicks*>(words);
        snapshot.mInfoCount = wordCount;
        return true;
    }

    void ReleaseSnapshot(ProcessorTicks* ticks, unsigned long size) override
    {
        vm_deallocate(mach_task_self(), reinterpret_cast<vm_address_t>(ticks), size);
    }

    bool CountCores(int& count) const override { return ReadCount("hw.physicalcpu_max", count); }

    bool CountProcessors(int& count) const override
    {
        return ReadCount("hw.logicalcpu_max", count);
    }
};

}  // namespace

CBasicLoadPlatform* NewLoadPlatform()
{
    return new CLoadPlatformMacOSX;
}
