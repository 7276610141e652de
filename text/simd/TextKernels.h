// The fast loops over text, one set for each level of instructions.
//
// The fastest set that the processor can run is chosen at the first use, for all loops together; a
// level that has nothing to add to a loop takes the one of the level below. Results never depend on
// the level. Nothing here has any other state, and any thread may call.
//
// The loops of UTF conversion go over text that calls for no decision. Each converts from the
// source cursor on as long as the text is well-formed, holds no lone surrogate and fits, and moves
// both cursors past what it did. It may stop between any two characters, so the caller takes the
// next one by the full rules and calls again. It reads nothing outside of the source, and may leave
// anything in the target from its cursor to its end. So all pairs lead to the same results, however
// far each gets at a time.
#pragma once

#include "text/ConvertUTF.h"
#include "text/simd/LanguageKernels.h"
#include "text/simd/MappingKernels.h"
#include "text/simd/ScanKernels.h"

#include <atomic>
#include <vector>

class amortizedmemblock;
struct MappedWordFacts;

/// Text at the level of classes is `char16_t`, which the routines reach through pointers to
/// `UTF16`.
typedef UTF16 __attribute__((may_alias)) AnyUTF16;

using RunToUTF16 = void(UTF8 const*& source,
                        UTF8 const* sourceEnd,
                        AnyUTF16*& target,
                        AnyUTF16* targetEnd);
using RunToUTF8 = void(AnyUTF16 const*& source,
                       AnyUTF16 const* sourceEnd,
                       UTF8*& target,
                       UTF8* targetEnd);

/// The whole of `ConvertUTF8toUTF16` and `ConvertUTF16toUTF8`. By runs is the way of all levels;
/// where there is another one, it is for short texts, which cost less than the calls that a run
/// takes, and leaves the others to that way.
using WholeToUTF16 = ConversionResult(UTF8 const** sourceStart,
                                      UTF8 const* sourceEnd,
                                      UTF16** targetStart,
                                      UTF16* targetEnd,
                                      ConversionFlags flags);
using WholeToUTF8 = ConversionResult(UTF16 const** sourceStart,
                                     UTF16 const* sourceEnd,
                                     UTF8** targetStart,
                                     UTF8* targetEnd,
                                     ConversionFlags flags);
WholeToUTF16 WholeToUTF16ByRuns;
WholeToUTF8 WholeToUTF8ByRuns;

/// The plain loops, with which the others do what is left for them, and those of processors.
RunToUTF16 RunToUTF16Plain;
RunToUTF8 RunToUTF8Plain;
#if defined(__x86_64__)
RunToUTF16 RunToUTF16SSE42;
RunToUTF8 RunToUTF8SSE42;
RunToUTF16 RunToUTF16AVX2;
RunToUTF8 RunToUTF8AVX2;
RunToUTF16 RunToUTF16AVX512;
RunToUTF8 RunToUTF8AVX512;
WholeToUTF16 WholeToUTF16AVX512;
WholeToUTF8 WholeToUTF8AVX512;
#elif defined(__aarch64__)
RunToUTF16 RunToUTF16NEON;
RunToUTF8 RunToUTF8NEON;
#endif

/// The next mapped word, as `CUnicodeWordDelimiter::GetNextMappedWordInRawText` answers it. All
/// ways to it have the same arguments, so that one hands a call over to another by a jump.
using NextMappedWord = bool(MappedWordFacts const& facts,
                            char16_t const* text,
                            unsigned int length,
                            unsigned int& start,
                            unsigned int& rawLength,
                            amortizedmemblock& block,
                            unsigned int& mappedLength);

NextMappedWord NextStubWordPlain;
NextMappedWord NextLegacyWordPlain;
#if defined(__x86_64__)
NextMappedWord NextStubWordSSE42;
NextMappedWord NextLegacyWordSSE42;
NextMappedWord NextStubWordAVX2;
NextMappedWord NextLegacyWordAVX2;
NextMappedWord NextStubWordAVX512;
NextMappedWord NextLegacyWordAVX512;
#elif defined(__aarch64__)
NextMappedWord NextStubWordNEON;
NextMappedWord NextLegacyWordNEON;
#endif

struct TextKernels
{
    char const* mName;
    RunToUTF16* mToUTF16;
    RunToUTF8* mToUTF8;
    WholeToUTF16* mWholeToUTF16;
    WholeToUTF8* mWholeToUTF8;
    MapUnits* mMapText;
    FindMappedStart* mFindMappedStart;
    FindUnit* mFindFirstUnit;
    FindUnit* mFindLastUnit;
    ClassifyBytes* mClassify;
    WeighPairs* mWeighPairs;
    TakeBytes* mTakeBytes;
    ListFilled* mListFilled;
    SumRows* mSumRows;
    NextMappedWord* mNextStubWord;
    NextMappedWord* mNextLegacyWord;
};

extern TextKernels const kPlainTextKernels;

/// All that this processor can run, the plain ones first and the fastest last.
std::vector<TextKernels const*> GetAllTextKernels();

/// Null before the first use.
extern std::atomic<TextKernels const*> sTextKernelsInUse;
TextKernels const& ChooseTextKernels();

/// Those in use: the fastest, unless a guard says otherwise.
inline TextKernels const& GetTextKernels()
{
    TextKernels const* const inUse = sTextKernelsInUse.load(std::memory_order_relaxed);
    return inUse ? *inUse : ChooseTextKernels();
}

/// For tests and benchmarks: puts other kernels in use for a scope, in the whole process. Scopes
/// are nested.
class StTextKernels
{
public:
    /// `kernels` outlives the guard.
    explicit StTextKernels(TextKernels const& kernels)
        : mFormer(sTextKernelsInUse.exchange(&kernels))
    {
    }

    ~StTextKernels() { sTextKernelsInUse.store(mFormer); }

    StTextKernels(StTextKernels const&) = delete;
    StTextKernels& operator=(StTextKernels const&) = delete;

private:
    TextKernels const* mFormer;  // not owned; null before the choice
};
