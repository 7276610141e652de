#include "text/simd/UTFKernels.h"

#include "foundation/ProcessorFeatures.h"

UTFKernels const kPlainUTFKernels = {"plain", RunToUTF16Plain, RunToUTF8Plain};

namespace {

#if defined(__x86_64__)
constexpr UTFKernels kSSE42Kernels = {"SSE4.2", RunToUTF16SSE42, RunToUTF8SSE42};
constexpr UTFKernels kAVX2Kernels = {"AVX2", RunToUTF16AVX2, RunToUTF8AVX2};
constexpr UTFKernels kAVX512Kernels = {"AVX-512 VBMI2", RunToUTF16AVX512, RunToUTF8AVX512};
#elif defined(__aarch64__)
constexpr UTFKernels kNEONKernels = {"NEON", RunToUTF16NEON, RunToUTF8NEON};
#endif

}  // namespace

std::atomic<UTFKernels const*> sUTFKernelsInUse{nullptr};

std::vector<UTFKernels const*> GetAllUTFKernels()
{
    std::vector<UTFKernels const*> all{&kPlainUTFKernels};
#if defined(__x86_64__)
    ProcessorFeatures const& has = GetProcessorFeatures();
    if (has.mSSE42) all.push_back(&kSSE42Kernels);
    if (has.mAVX2 && has.mSSE42) all.push_back(&kAVX2Kernels);
    if (has.mVBMI2) all.push_back(&kAVX512Kernels);
#elif defined(__aarch64__)
    all.push_back(&kNEONKernels);
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
