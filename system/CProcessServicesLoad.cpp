// Processors and their load.
#include "system/CProcessServicesImp.h"
#include "system/platform/CBasicLoadPlatform.h"
#include "system/platform/CBasicProcessPlatform.h"

#include <utility>

namespace {

// Gives a snapshot back. Kept on purpose: 8 bytes for each number of 4. Up to 128 processors, both
// are one page.
void Release(ProcessorTicks* ticks, unsigned int infoCount)
{
    if (ticks) LoadPlatform().ReleaseSnapshot(ticks, infoCount * 8UL);
}

// A snapshot that is given back at the end of the scope.
struct StSnapshot : ProcessorSnapshot
{
    StSnapshot() = default;
    StSnapshot(StSnapshot const&) = delete;
    StSnapshot& operator=(StSnapshot const&) = delete;

    ~StSnapshot() { Release(mTicks, mInfoCount); }
};

// The busy part of what passed between two samples. Counters may have wrapped, their differences
// are right all the same.
float LoadBetween(ProcessorTicks const& before, ProcessorTicks const& now)
{
    unsigned long long const busy = 0ULL + (now.mUser - before.mUser) +
                                    (now.mSystem - before.mSystem) + (now.mNice - before.mNice);
    unsigned long long const all = busy + (now.mIdle - before.mIdle);
    return all == 0 ? 0 : static_cast<float>(static_cast<double>(busy) / static_cast<double>(all));
}

}  // namespace

CProcessServicesImp::~CProcessServicesImp()
{
    Release(mSnapshot, mSnapshotInfoCount);
}

void CProcessServicesImp::GetCPUInfo(int& physical, int& logical) const
{
    physical = 0;
    logical = 0;
    LoadPlatform().CountCores(physical);
    LoadPlatform().CountProcessors(logical);
}

bool CProcessServicesImp::GetCPUActivity(float& totalLoad,
                                         std::vector<float>& perProcessorLoad,
                                         float& processLoad) const
{
    CBasicLoadPlatform& platform = LoadPlatform();
    perProcessorLoad.clear();
    if (!mSnapshot) mHostPort = platform.GetHostPort();

    StSnapshot snapshot;
    if (!platform.TakeSnapshot(mHostPort, snapshot)) return false;
    long long processTime = 0;
    if (!platform.GetProcessTime(processTime)) return false;
    long long const now = ProcessPlatform().GetMonotonicMicroSeconds();

    bool const isArmed = mSnapshot != nullptr;
    if (isArmed) {
        // A processor that wasn't there before is measured from its start.
        unsigned int const formerCount = mSnapshotInfoCount / 4;
        totalLoad = 0;
        perProcessorLoad.reserve(snapshot.mProcessorCount);
        for (unsigned int i = 0; i < snapshot.mProcessorCount; ++i) {
            ProcessorTicks const before = i < formerCount ? mSnapshot[i] : ProcessorTicks{};
            float const load = LoadBetween(before, snapshot.mTicks[i]);
            perProcessorLoad.push_back(load);
            totalLoad += load;
        }
        // Kept on purpose: no question whether any time has passed.
        processLoad = static_cast<float>(static_cast<double>(processTime - mProcessTime) /
                                         static_cast<double>(now - mSampleTime));
    }
    // The new snapshot stays, and the former one goes with the scope.
    std::swap(mSnapshot, snapshot.mTicks);
    std::swap(mSnapshotInfoCount, snapshot.mInfoCount);
    mProcessTime = processTime;
    mSampleTime = now;
    return isArmed;
}
