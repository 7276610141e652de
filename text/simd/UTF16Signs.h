// What data that may be UTF-16 says about its byte order, for `CCharsetConverter::SniffUTF16`.
#pragma once

/// The signs for and against one byte order. Units are read in it.
struct UTF16Signs
{
    unsigned long long mCommon = 0;   ///< units below 0x100 that are rare when swapped
    unsigned long long mVarying = 0;  ///< units below 0x100 that follow another such one
    bool mConclusive = false;         ///< a unit below 0x100 that no text holds when swapped
    bool mBad = false;                ///< private use, or surrogates without their other half
    bool mZeros = false;              ///< any unit below 0x100
};

struct UTF16Evidence
{
    UTF16Signs mBig;
    UTF16Signs mLittle;
    bool mHasNull = false;  ///< then nothing else counts, and need not be told
};
