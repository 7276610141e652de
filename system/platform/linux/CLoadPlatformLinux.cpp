#include "system/platform/CBasicLoadPlatform.h"

#include "system/platform/CProcessorTickReader.h"
#include "system/platform/ProcFiles.h"

namespace {

constexpr char kProcessors[] = "/sys/devices/system/cpu";

// 0 is what is said where the folder isn't there.
bool IsKnown(int found, int& count)
{
    if (found == 0) return false;
    count = found;
    return true;
}

class CLoadPlatformLinux final : public CBasicLoadPlatform
{
public:
    unsigned int GetHostPort() override { return 0; }

    bool TakeSnapshot(unsigned int, ProcessorSnapshot& snapshot) override
    {
        return mReader.Take(ReadProcFile("/proc/stat"), snapshot);
    }

    void ReleaseSnapshot(ProcessorTicks* ticks, unsigned long) override { delete[] ticks; }

    bool CountCores(int& count) const override { return IsKnown(CountCoresIn(kProcessors), count); }

    bool CountProcessors(int& count) const override
    {
        return IsKnown(CountProcessorsIn(kProcessors), count);
    }

private:
    CProcessorTickReader mReader;
};

}  // namespace

CBasicLoadPlatform* NewLoadPlatform()
{
    return new CLoadPlatformLinux;
}
