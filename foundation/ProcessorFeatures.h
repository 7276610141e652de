// The vector instructions beyond the platform's baseline that code may be chosen by. Inner: hosts
// neither see nor set them. Any thread may call.
#pragma once

/// Each is true only if the processor has the instructions and the system keeps the registers. All
/// are false but on x86_64. macOS saves the 512-bit registers of a thread from their first use on,
/// and says no to them here.
struct ProcessorFeatures
{
    bool mSSSE3;
    bool mSSE42;  ///< SSE4.2, SSSE3 and POPCNT
    bool mAVX2;
    bool mVBMI2;  ///< AVX-512 F, BW, VL, VBMI and VBMI2, BMI1, BMI2 and POPCNT
};

/// Asked once, at the first call.
ProcessorFeatures const& GetProcessorFeatures();
