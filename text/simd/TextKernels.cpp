#include "text/simd/TextKernels.h"

#include <cstddef>

#include "foundation/ProcessorFeatures.h"

TextKernels const kPlainTextKernels = {
    .mName = "plain",
    .mToUTF16 = RunToUTF16Plain,
    .mToUTF8 = RunToUTF8Plain,
    .mWholeToUTF16 = WholeToUTF16ByRuns,
    .mWholeToUTF8 = WholeToUTF8ByRuns,
    .mMapText = MapUnitsPlain,
    .mFindMappedStart = FindMappedStartPlain,
    .mFindFirstUnit = FindFirstUnitPlain,
    .mFindLastUnit = FindLastUnitPlain,
    .mClassify = ClassifyPlain,
    .mWeighPairs = WeighPairsPlain,
    .mTakeBytes = TakeBytesPlain,
    .mListFilled = ListFilledPlain,
    .mSumRows = SumRowsPlain,
    .mNextStubWord = NextStubWordPlain,
    .mNextLegacyWord = NextLegacyWordPlain,
};

namespace {

#if defined(__x86_64__)
constexpr TextKernels kSSE42Kernels = {
    .mName = "SSE4.2",
    .mToUTF16 = RunToUTF16SSE42,
    .mToUTF8 = RunToUTF8SSE42,
    .mWholeToUTF16 = WholeToUTF16ByRuns,
    .mWholeToUTF8 = WholeToUTF8ByRuns,
    .mMapText = MapUnitsPlain,
    .mFindMappedStart = FindMappedStartPlain,
    .mFindFirstUnit = FindFirstUnitSSE42,
    .mFindLastUnit = FindLastUnitSSE42,
    .mClassify = ClassifySSE42,
    .mWeighPairs = WeighPairsSSE42,
    .mTakeBytes = TakeBytesPlain,
    .mListFilled = ListFilledPlain,
    .mSumRows = SumRowsPlain,
    .mNextStubWord = NextStubWordSSE42,
    .mNextLegacyWord = NextLegacyWordSSE42,
};
constexpr TextKernels kAVX2Kernels = {
    .mName = "AVX2",
    .mToUTF16 = RunToUTF16AVX2,
    .mToUTF8 = RunToUTF8AVX2,
    .mWholeToUTF16 = WholeToUTF16ByRuns,
    .mWholeToUTF8 = WholeToUTF8ByRuns,
    .mMapText = MapUnitsPlain,
    .mFindMappedStart = FindMappedStartPlain,
    .mFindFirstUnit = FindFirstUnitAVX2,
    .mFindLastUnit = FindLastUnitAVX2,
    .mClassify = ClassifyAVX2,
    .mWeighPairs = WeighPairsAVX2,
    .mTakeBytes = TakeBytesPlain,
    .mListFilled = ListFilledPlain,
    .mSumRows = SumRowsAVX2,
    .mNextStubWord = NextStubWordAVX2,
    .mNextLegacyWord = NextLegacyWordAVX2,
};
constexpr TextKernels kAVX512Kernels = {
    .mName = "AVX-512 VBMI2",
    .mToUTF16 = RunToUTF16AVX512,
    .mToUTF8 = RunToUTF8AVX512,
    .mWholeToUTF16 = WholeToUTF16AVX512,
    .mWholeToUTF8 = WholeToUTF8AVX512,
    .mMapText = MapUnitsAVX512,
    .mFindMappedStart = FindMappedStartAVX512,
    .mFindFirstUnit = FindFirstUnitAVX512,
    .mFindLastUnit = FindLastUnitAVX512,
    .mClassify = ClassifyAVX512,
    .mWeighPairs = WeighPairsAVX512,
    .mTakeBytes = TakeBytesAVX512,
    .mListFilled = ListFilledAVX512,
    .mSumRows = SumRowsAVX512,
    .mNextStubWord = NextStubWordAVX512,
    .mNextLegacyWord = NextLegacyWordAVX512,
};
#elif defined(__aarch64__)
constexpr TextKernels kNEONKernels = {
    .mName = "NEON",
    .mToUTF16 = RunToUTF16NEON,
    .mToUTF8 = RunToUTF8NEON,
    .mWholeToUTF16 = WholeToUTF16ByRuns,
    .mWholeToUTF8 = WholeToUTF8ByRuns,
    .mMapText = MapUnitsPlain,
    .mFindMappedStart = FindMappedStartPlain,
    .mFindFirstUnit = FindFirstUnitNEON,
    .mFindLastUnit = FindLastUnitNEON,
    .mClassify = ClassifyNEON,
    .mWeighPairs = WeighPairsNEON,
    .mTakeBytes = TakeBytesPlain,
    .mListFilled = ListFilledPlain,
    .mSumRows = SumRowsPlain,
    .mNextStubWord = NextStubWordNEON,
    .mNextLegacyWord = NextLegacyWordNEON,
};
#endif

// No vector: the choice is made within operations that allocate nothing.
struct Levels
{
    TextKernels const* mKernels[4] = {&kPlainTextKernels};
    std::size_t mCount = 1;

    void Add(TextKernels const& kernels) { mKernels[mCount++] = &kernels; }
};

Levels FindLevels()
{
    Levels levels;
#if defined(__x86_64__)
    ProcessorFeatures const& has = GetProcessorFeatures();
    if (has.mSSE42) levels.Add(kSSE42Kernels);
    if (has.mAVX2 && has.mSSE42) levels.Add(kAVX2Kernels);
    if (has.mVBMI2) levels.Add(kAVX512Kernels);
#elif defined(__aarch64__)
    levels.Add(kNEONKernels);
#endif
    return levels;
}

}  // namespace

std::atomic<TextKernels const*> sTextKernelsInUse{nullptr};

std::vector<TextKernels const*> GetAllTextKernels()
{
    Levels const levels = FindLevels();
    return {levels.mKernels, levels.mKernels + levels.mCount};
}

TextKernels const& ChooseTextKernels()
{
    Levels const levels = FindLevels();
    TextKernels const* const fastest = levels.mKernels[levels.mCount - 1];
    // Every thread comes to the same choice. One that a guard has made meanwhile stays.
    TextKernels const* inUse = nullptr;
    return sTextKernelsInUse.compare_exchange_strong(inUse, fastest) ? *fastest : *inUse;
}
