#include "security/platform/CBasicCryptoPlatform.h"

#include "security/platform/linux/OpenSSLLibrary.h"

#include <cerrno>
#include <memory>
#include <optional>

#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/proverr.h>
#include <openssl/provider.h>

#include <sys/random.h>

namespace {

constexpr std::size_t kLongestBlowFishKey = 56;
// Kept on purpose: always zeros, so that what others keep in this form can be read.
constexpr unsigned char kZeroVector[EVP_MAX_IV_LENGTH] = {};
// What one call of OpenSSL takes at most: it counts in `int`.
constexpr std::size_t kLongestStep = std::size_t{1} << 30;

EVP_CIPHER_CTX* ContextOf(void* cipher)
{
    return static_cast<EVP_CIPHER_CTX*>(cipher);
}

// Why the last step of decrypting failed.
int StatusOfLastError()
{
    switch (ERR_GET_REASON(openssl::ERR_peek_last_error())) {
    case PROV_R_BAD_DECRYPT:
        return kCipherBadPadding;
    case PROV_R_WRONG_FINAL_BLOCK_LENGTH:
        return kCipherCutBlock;
    default:
        return kCipherUnspecified;
    }
}

// The errors of a call stay out of the host's queue. To look after it takes as long as a block or
// two of AES, so that goes without it which fails only where memory runs out.
class StOpenSSLErrors
{
public:
    StOpenSSLErrors()
        : mIsMarked(openssl::ERR_set_mark() == 1)
    {
    }

    StOpenSSLErrors(StOpenSSLErrors const&) = delete;
    StOpenSSLErrors& operator=(StOpenSSLErrors const&) = delete;

    ~StOpenSSLErrors()
    {
        if (mIsMarked || !mIsDone) openssl::ERR_pop_to_mark();
    }

    // Nothing has failed. A queue that was empty, which can't be marked, needs no visit then.
    void SetDone() { mIsDone = true; }

private:
    bool mIsMarked;
    bool mIsDone = false;
};

// Algorithms in a library context of their own, looked up once. The host's default context stays as
// it is: loading the legacy provider there would switch its default one off. All of it stays to the
// end of the process.
class CCryptoPlatformLinux final : public CBasicCryptoPlatform
{
public:
    CCryptoPlatformLinux()
    {
        if (!openssl::library.IsThere()) return;
        StOpenSSLErrors const errors;
        mContext = openssl::OSSL_LIB_CTX_new();
        if (!mContext) return;
        mDefault = openssl::OSSL_PROVIDER_load(mContext, "default");
        mLegacy = openssl::OSSL_PROVIDER_load(mContext, "legacy");
        mCiphers[kCipherAES] = openssl::EVP_CIPHER_fetch(mContext, "AES-128-CBC", nullptr);
        mCiphers[kCipherBlowFish] = openssl::EVP_CIPHER_fetch(mContext, "BF-CFB", nullptr);
        mSHA1 = openssl::EVP_MD_fetch(mContext, "SHA1", nullptr);
    }

    ~CCryptoPlatformLinux() override
    {
        if (!mContext) return;
        openssl::EVP_MD_free(mSHA1);
        for (EVP_CIPHER* const cipher : mCiphers)
            openssl::EVP_CIPHER_free(cipher);
        if (mLegacy) openssl::OSSL_PROVIDER_unload(mLegacy);
        if (mDefault) openssl::OSSL_PROVIDER_unload(mDefault);
        openssl::OSSL_LIB_CTX_free(mContext);
    }

    int MakeCipher(
        CipherKind kind, bool encrypt, void const* key, std::size_t keySize, void** cipher) override
    {
        EVP_CIPHER const* const algorithm = mCiphers[kind];
        if (!algorithm) return kCipherNotThere;
        // OpenSSL takes Blowfish keys of any length, and leaves the end out.
        if (kind == kCipherBlowFish && (keySize == 0 || keySize > kLongestBlowFishKey))
            return kCipherKeySize;

        std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(
            openssl::EVP_CIPHER_CTX_new(), openssl::EVP_CIPHER_CTX_free);
        if (!context) return kCipherNoMemory;
        auto const* const bytes = static_cast<unsigned char const*>(key);
        int const direction = encrypt ? 1 : 0;
        bool const takesAnyLength = kind == kCipherBlowFish;
        bool const isReady =
            takesAnyLength ? openssl::EVP_CipherInit_ex2(context.get(), algorithm, nullptr, nullptr,
                                                         direction, nullptr) == 1 &&
                                 openssl::EVP_CIPHER_CTX_set_key_length(
                                     context.get(), static_cast<int>(keySize)) == 1 &&
                                 openssl::EVP_CipherInit_ex2(context.get(), nullptr, bytes,
                                                             kZeroVector, direction, nullptr) == 1
                           : openssl::EVP_CipherInit_ex2(context.get(), algorithm, bytes,
                                                         kZeroVector, direction, nullptr) == 1;
        if (!isReady) return kCipherUnspecified;
        *cipher = context.release();
        return kCipherSuccess;
    }

    int
    Update(void* cipher, void const* in, std::size_t size, void* out, std::size_t* moved) override
    {
        *moved = 0;
        auto const* from = static_cast<unsigned char const*>(in);
        auto* to = static_cast<unsigned char*>(out);
        while (size > 0) {
            std::size_t const step = size < kLongestStep ? size : kLongestStep;
            int count = 0;
            if (openssl::EVP_CipherUpdate(ContextOf(cipher), to + *moved, &count, from,
                                          static_cast<int>(step)) != 1) {
                return kCipherUnspecified;
            }
            *moved += static_cast<std::size_t>(count);
            from += step;
            size -= step;
        }
        return kCipherSuccess;
    }

    int Finish(void* cipher, void* out, std::size_t* moved) override
    {
        EVP_CIPHER_CTX* const context = ContextOf(cipher);
        std::optional<StOpenSSLErrors> errors;
        if (!openssl::EVP_CIPHER_CTX_is_encrypting(context)) errors.emplace();
        int count = 0;
        *moved = 0;
        if (openssl::EVP_CipherFinal_ex(context, static_cast<unsigned char*>(out), &count) != 1)
            return StatusOfLastError();
        if (errors) errors->SetDone();
        *moved = static_cast<std::size_t>(count);
        return kCipherSuccess;
    }

    int ReleaseCipher(void* cipher) override
    {
        openssl::EVP_CIPHER_CTX_free(ContextOf(cipher));
        return kCipherSuccess;
    }

    bool HashSHA1(void const* bytes, std::size_t size, unsigned char* hash) override
    {
        if (!mSHA1) return false;
        StOpenSSLErrors const errors;
        return openssl::EVP_Digest(bytes, size, hash, nullptr, mSHA1, nullptr) == 1;
    }

    int FillWithRandomBytes(void* bytes, std::size_t size) override
    {
        auto* to = static_cast<char*>(bytes);
        while (size > 0) {
            ssize_t const count = getrandom(to, size, 0);
            if (count < 0) {
                if (errno == EINTR) continue;
                return errno;
            }
            to += count;
            size -= static_cast<std::size_t>(count);
        }
        return 0;
    }

private:
    OSSL_LIB_CTX* mContext = nullptr;
    OSSL_PROVIDER* mDefault = nullptr;
    OSSL_PROVIDER* mLegacy = nullptr;
    EVP_CIPHER* mCiphers[2] = {};  // by CipherKind
    EVP_MD* mSHA1 = nullptr;
};

}  // namespace

CBasicCryptoPlatform* NewCryptoPlatform()
{
    return new CCryptoPlatformLinux;
}
