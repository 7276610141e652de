// Ciphers that change nothing, and fail where a test told them to.
#pragma once

#include "security/platform/CBasicCryptoPlatform.h"

#include <cstring>
#include <string>

/// Statuses are plain fields, set before the code under test runs.
class ScriptedCryptoPlatform final : public CBasicCryptoPlatform
{
public:
    int MakeCipher(CipherKind, bool, void const* key, std::size_t keySize, void** cipher) override
    {
        mKey.assign(static_cast<char const*>(key), keySize);
        if (mMakeStatus != 0) return mMakeStatus;
        ++mMade;
        ++mLiving;
        *cipher = this;
        return 0;
    }

    int Update(void*, void const* in, std::size_t size, void* out, std::size_t* moved) override
    {
        *moved = size;
        std::memcpy(out, in, size);
        return mUpdateStatus;
    }

    int Finish(void*, void*, std::size_t* moved) override
    {
        *moved = 0;
        return mFinishStatus;
    }

    int ReleaseCipher(void*) override
    {
        --mLiving;
        return mReleaseStatus;
    }

    bool HashSHA1(void const*, std::size_t, unsigned char* hash) override
    {
        std::memset(hash, 0, kSHA1Size);
        return true;
    }

    int FillWithRandomBytes(void*, std::size_t) override { return mRandomError; }

    int mMakeStatus = 0;
    int mUpdateStatus = 0;
    int mFinishStatus = 0;
    int mReleaseStatus = 0;
    int mRandomError = 0;

    std::string mKey;  ///< of the cipher that was asked for last
    int mMade = 0;
    int mLiving = 0;
};
