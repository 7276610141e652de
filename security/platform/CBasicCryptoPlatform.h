// What encryption, hashing and random keys need of the system.
//
// Operations give one order in plain types, never throw, decide nothing and may be called from any
// thread; a cipher serves one thread at a time. A status is 0 or one of the numbers below.
#pragma once

#include <cstddef>

/// As CommonCrypto publishes them.
enum CipherStatus
{
    kCipherSuccess = 0,
    kCipherNoMemory = -4302,
    kCipherCutBlock = -4303,
    kCipherBadPadding = -4304,
    kCipherNotThere = -4305,
    kCipherUnspecified = -4308,
    kCipherKeySize = -4310,
};

enum CipherKind
{
    kCipherAES,       ///< AES-128, CBC, PKCS#7 padding, initial vector of zeros, key of 16 bytes
    kCipherBlowFish,  ///< Blowfish, CFB of 64 bits, initial vector of zeros, key of any length
};

/// The most that comes out of a step beyond what went in, and of the last step.
constexpr std::size_t kCipherSlack = 16;
constexpr std::size_t kSHA1Size = 20;

class CBasicCryptoPlatform
{
public:
    CBasicCryptoPlatform() = default;
    CBasicCryptoPlatform(CBasicCryptoPlatform const&) = delete;
    CBasicCryptoPlatform& operator=(CBasicCryptoPlatform const&) = delete;
    virtual ~CBasicCryptoPlatform() = default;

    /// Makes a cipher, which `ReleaseCipher` destroys.
    virtual int MakeCipher(
        CipherKind kind, bool encrypt, void const* key, std::size_t keySize, void** cipher) = 0;
    /// Feeds `size` bytes and tells in `moved` how many came out, at most `size + kCipherSlack`.
    /// `out` is apart from `in`.
    virtual int
    Update(void* cipher, void const* in, std::size_t size, void* out, std::size_t* moved) = 0;
    /// Takes out what is left, at most `kCipherSlack` bytes.
    virtual int Finish(void* cipher, void* out, std::size_t* moved) = 0;
    /// Wipes and frees.
    virtual int ReleaseCipher(void* cipher) = 0;

    /// False only where memory runs out, or the system has no such hash.
    virtual bool HashSHA1(void const* bytes, std::size_t size, unsigned char* hash) = 0;
    /// Answers 0 or an `errno` value.
    virtual int FillWithRandomBytes(void* bytes, std::size_t size) = 0;
};

/// The platform in use. Any thread may call.
CBasicCryptoPlatform& CryptoPlatform();

/// A new one of the system's own, which the caller owns. Defined in the system's file.
CBasicCryptoPlatform* NewCryptoPlatform();

/// Puts another platform in use for a scope. For tests, while no other thread encrypts.
class StCryptoPlatform
{
public:
    /// `platform` belongs to the caller and outlives the guard.
    explicit StCryptoPlatform(CBasicCryptoPlatform& platform);
    StCryptoPlatform(StCryptoPlatform const&) = delete;
    StCryptoPlatform& operator=(StCryptoPlatform const&) = delete;
    ~StCryptoPlatform();

private:
    CBasicCryptoPlatform* mFormer;  // not owned
};
