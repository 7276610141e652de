#include "text/simd/UTFKernels.h"

#include "foundation/ProcessorFeatures.h"

std::atomic<UTFKernels const*> sUTFKernelsInUse{nullptr};

std::vector<UTFKernels const*> GetAllUTFKernels()
{
    std::vector<UTFKernels const*> all{&kPlainUTFKernels};
#if defined(__x86_64__)
    ProcessorFeatures const& has = GetProcessorFeatures();
    if (has.mVBMI2) all.push_back(&kAVX512UTFKernels);
#endif
    return all;
}

UTFKernels const& ChooseUTFKernels()
{
    UTFKernels const* const fastest = GetAllUTFKernels().back();
    // Every thread comes to the same choice. One that a guard has made meanwhile stays.
    UTFKernels const* inUse = nullptr;
    return sUTFKernelsInUse.compare_exchange_strong(inUse, fastest) ? *fastest : *inUse;
}
