#include "security/CCryptoServicesImp.h"

#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"
#include "marl/memblock.h"
#include "security/CBase64Encoder.h"
#include "security/StWipedBytes.h"
#include "security/platform/CBasicCryptoPlatform.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <new>

#include <unistd.h>

namespace {

constexpr std::size_t kAESKeySize = 16;
// What is worked on at a time: it fits the processor's first cache together with its result.
constexpr std::size_t kPiece = std::size_t{16} * 1024;
// What needs no pages of the stack but the one that is in use.
constexpr std::size_t kShort = 512;

struct CipherRun
{
    bool mEncrypt;
    void* mCryptor;  // owned: released by the last step
};

[[noreturn]] void ThrowCryptoException(int status, int operation)
{
    throw HierarchicalException(kCryptoDomain, kOtherFailure, operation, status, std::string());
}

void ThrowUnlessDone(int status)
{
    if (status != kCipherSuccess) ThrowCryptoException(status, kCryptoUpdate);
}

CipherRun* NewRun(CipherKind kind, bool encrypt, char const* key, std::size_t size, int operation)
{
    auto run = std::make_unique<CipherRun>(CipherRun{encrypt, nullptr});
    int const status = CryptoPlatform().MakeCipher(kind, encrypt, key, size, &run->mCryptor);
    if (status != kCipherSuccess) ThrowCryptoException(status, operation);
    return run.release();
}

// Piece by piece in place, with no second block of the same size. Pieces are whole blocks of the
// cipher, so what comes out of them never overtakes what is still to go in; only the last one can
// be followed by more than it was, which has been held back from the call before.
template <std::size_t kLongest>
[[gnu::noinline]] void Feed(void* cryptor, memblock& data)
{
    CBasicCryptoPlatform& platform = CryptoPlatform();
    char piece[kLongest + kCipherSlack];
    std::size_t const size = data.size();
    char const* const bytes = data.data();
    std::size_t written = 0;
    for (std::size_t done = 0; done < size;) {
        std::size_t const count = std::min(kLongest, size - done);
        std::size_t moved = 0;
        ThrowUnlessDone(platform.Update(cryptor, bytes + done, count, piece, &moved));
        done += count;
        if (written + moved > data.size()) data.resize(written + moved);
        if (moved != 0) std::memcpy(data.data() + written, piece, moved);
        written += moved;
    }
    data.resize(written);
}

}  // namespace

void* CCryptoServicesImp::SymetricEncryptAESInit(bool encrypt, char const* key) const
{
    std::size_t const length = std::strlen(key);
    // Kept on purpose: nothing over and over never makes 16 bytes.
    if (length == 0) {
        for (;;)
            pause();
    }
    StWipedBytes<kAESKeySize> stretched;
    // Kept on purpose: what is beyond 16 bytes has no effect.
    for (std::size_t i = 0, from = 0; i < kAESKeySize; ++i) {
        stretched.mBytes[i] = key[from];
        if (++from == length) from = 0;
    }
    return NewRun(kCipherAES, encrypt, stretched.mBytes, kAESKeySize, kCryptoAESInit);
}

void CCryptoServicesImp::SymetricEncryptAESBlock(memblock& data, void* handle) const
{
    SymetricEncryptBlock(data, handle);
}

void CCryptoServicesImp::SymetricEncryptAESTerminate(memblock& data, void* handle) const
{
    SymetricEncryptTerminate(data, handle);
}

void* CCryptoServicesImp::SymetricEncryptBlowFishInit(bool encrypt, char const* key) const
{
    return NewRun(kCipherBlowFish, encrypt, key, std::strlen(key), kCryptoBlowFishInit);
}

void CCryptoServicesImp::SymetricEncryptBlowFishBlock(memblock& data, void* handle) const
{
    SymetricEncryptBlock(data, handle);
}

void CCryptoServicesImp::SymetricEncryptBlowFishTerminate(memblock& data, void* handle) const
{
    SymetricEncryptTerminate(data, handle);
}

void CCryptoServicesImp::CryptographicHash(std::string const& text,
                                           bool base64,
                                           std::string& result) const
{
    unsigned char hash[kSHA1Size];
    if (!CryptoPlatform().HashSHA1(text.data(), text.size(), hash)) throw std::bad_alloc();
    std::string const bytes(reinterpret_cast<char const*>(hash), kSHA1Size);
    if (base64)
        CBase64Encoder::EncodeHeaderStr(bytes, &result);
    else
        result = bytes;
}

void CCryptoServicesImp::GenerateRandomKey(int length, void* key) const
{
    int const error =
        length < 0 ? EINVAL
                   : CryptoPlatform().FillWithRandomBytes(key, static_cast<std::size_t>(length));
    if (error != 0) ThrowCryptoException(error, kCryptoRandomKey);
}

void CCryptoServicesImp::SymetricEncryptBlock(memblock& data, void* handle) const
{
    void* const cryptor = static_cast<CipherRun*>(handle)->mCryptor;
    if (data.size() <= kShort)
        Feed<kShort>(cryptor, data);
    else
        Feed<kPiece>(cryptor, data);
}

void CCryptoServicesImp::SymetricEncryptTerminate(memblock& data, void* handle) const
{
    std::unique_ptr<CipherRun> const run(static_cast<CipherRun*>(handle));
    CBasicCryptoPlatform& platform = CryptoPlatform();
    char rest[kCipherSlack];
    std::size_t moved = 0;
    int const status = platform.Finish(run->mCryptor, rest, &moved);
    // Released whatever has come of it: the round keys lie in there.
    int const releaseStatus = platform.ReleaseCipher(run->mCryptor);
    ThrowUnlessDone(status);
    ThrowUnlessDone(releaseStatus);
    data.append(rest, moved);
}
