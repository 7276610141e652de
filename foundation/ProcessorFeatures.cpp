#include "foundation/ProcessorFeatures.h"

#if defined(__x86_64__)

#include <cpuid.h>

namespace {

// Sets of registers in XCR0 (Intel 64 manual, volume 1, 13.3).
constexpr unsigned int kVectors256 = 0x06;
constexpr unsigned int kVectors512 = 0xE6;

unsigned int GetRegistersThatAreSaved()
{
    unsigned int low = 0;
    unsigned int high = 0;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

// By the processor itself: the compilers' own tests want a runtime library that macOS programs
// don't link.
ProcessorFeatures AskProcessor()
{
    ProcessorFeatures features = {};
    unsigned int a = 0;
    unsigned int b = 0;
    unsigned int c = 0;
    unsigned int d = 0;
    if (!__get_cpuid(1, &a, &b, &c, &d)) return features;
    features.mSSSE3 = (c & bit_SSSE3) != 0;
    bool const countsBits = (c & bit_POPCNT) != 0;
    features.mSSE42 = features.mSSSE3 && (c & bit_SSE4_2) != 0 && countsBits;
    if (!(c & bit_OSXSAVE)) return features;
    unsigned int const saved = GetRegistersThatAreSaved();
    if (!__get_cpuid_count(7, 0, &a, &b, &c, &d)) return features;
    features.mAVX2 = (saved & kVectors256) == kVectors256 && (b & bit_AVX2) != 0;
    features.mVBMI2 = (saved & kVectors512) == kVectors512 && (b & bit_AVX512F) != 0 &&
                      (b & bit_AVX512BW) != 0 && (b & bit_AVX512VL) != 0 &&
                      (c & bit_AVX512VBMI) != 0 && (c & bit_AVX512VBMI2) != 0 &&
                      (b & bit_BMI) != 0 && (b & bit_BMI2) != 0 && countsBits;
    return features;
}

}  // namespace

ProcessorFeatures const& GetProcessorFeatures()
{
    static ProcessorFeatures const features = AskProcessor();
    return features;
}

#else

ProcessorFeatures const& GetProcessorFeatures()
{
    static constexpr ProcessorFeatures kNone = {};
    return kNone;
}

#endif
