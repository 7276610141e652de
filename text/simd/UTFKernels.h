// The fast loops of UTF conversion, over text that calls for no decision: one pair for each level
// of instructions.
//
// Each loop converts from the source cursor on as long as the text is well-formed, holds no lone
// surrogate and fits, and moves both cursors past what it did. It may stop between any two
// characters, so the caller takes the next one by the full rules and calls again. It reads nothing
// outside of the source, and may leave anything in the target from its cursor to its end. So all
// pairs lead to the same results, however far each gets at a time. The pair of the fastest level
// that the processor has is chosen at the first call. No state else; any thread may call.
#pragma once

#include "text/ConvertUTF.h"

#include <atomic>
#include <vector>

/// Text at the level of classes is `char16_t`, which the routines reach through pointers to
/// `UTF16`.
typedef UTF16 __attribute__((may_alias)) AnyUTF16;

struct UTFKernels
{
    char const* mName;
    void (*mToUTF16)(UTF8 const*& source,
                     UTF8 const* sourceEnd,
                     AnyUTF16*& target,
                     AnyUTF16* targetEnd);
    void (*mToUTF8)(AnyUTF16 const*& source,
                    AnyUTF16 const* sourceEnd,
                    UTF8*& target,
                    UTF8* targetEnd);
};

/// Those of each level, where the compiler's target has it at all.
extern UTFKernels const kPlainUTFKernels;
#if defined(__x86_64__)
extern UTFKernels const kAVX512UTFKernels;
#endif

/// All that this processor can run, the plain ones first and the fastest last.
std::vector<UTFKernels const*> GetAllUTFKernels();

/// Null before the first use.
extern std::atomic<UTFKernels const*> sUTFKernelsInUse;
UTFKernels const& ChooseUTFKernels();

/// Those in use: the fastest, unless a guard says otherwise.
inline UTFKernels const& GetUTFKernels()
{
    UTFKernels const* const inUse = sUTFKernelsInUse.load(std::memory_order_relaxed);
    return inUse ? *inUse : ChooseUTFKernels();
}

/// For tests and benchmarks: puts other kernels in use for a scope, in the whole process. Scopes
/// are nested.
class StUTFKernels
{
public:
    /// `kernels` outlives the guard.
    explicit StUTFKernels(UTFKernels const& kernels)
        : mFormer(sUTFKernelsInUse.exchange(&kernels))
    {
    }

    ~StUTFKernels() { sUTFKernelsInUse.store(mFormer); }

    StUTFKernels(StUTFKernels const&) = delete;
    StUTFKernels& operator=(StUTFKernels const&) = delete;

private:
    UTFKernels const* mFormer;  // not owned; null before the choice
};

/// The plain loops, with which the others do what is left for them.
void RunUTF8toUTF16Plain(UTF8 const*& source,
                         UTF8 const* sourceEnd,
                         AnyUTF16*& target,
                         AnyUTF16* targetEnd);
void RunUTF16toUTF8Plain(AnyUTF16 const*& source,
                         AnyUTF16 const* sourceEnd,
                         UTF8*& target,
                         UTF8* targetEnd);
