#include "security/platform/CBasicCryptoPlatform.h"

#include <cerrno>

#include <CommonCrypto/CommonCryptor.h>
#include <CommonCrypto/CommonDigest.h>
#include <Security/Security.h>

namespace {

CCCryptorRef CryptorOf(void* cipher)
{
    return static_cast<CCCryptorRef>(cipher);
}

class CCryptoPlatformMacOSX final : public CBasicCryptoPlatform
{
public:
    int MakeCipher(
        CipherKind kind, bool encrypt, void const* key, std::size_t keySize, void** cipher) override
    {
        CCOperation const operation = encrypt ? kCCEncrypt : kCCDecrypt;
        // Kept on purpose: always zeros, which a null vector stands for.
        CCCryptorRef cryptor = nullptr;
        CCCryptorStatus const status =
            kind == kCipherAES
                ? CCCryptorCreate(operation, kCCAlgorithmAES128, kCCOptionPKCS7Padding, key,
                                  keySize, nullptr, &cryptor)
                : CCCryptorCreateWithMode(operation, kCCModeCFB, kCCAlgorithmBlowfish, ccNoPadding,
                                          nullptr, key, keySize, nullptr, 0, 0, 0, &cryptor);
        *cipher = cryptor;
        return status;
    }

    int
    Update(void* cipher, void const* in, std::size_t size, void* out, std::size_t* moved) override
    {
        return CCCryptorUpdate(CryptorOf(cipher), in, size, out, size + kCipherSlack, moved);
    }

    int Finish(void* cipher, void* out, std::size_t* moved) override
    {
        return CCCryptorFinal(CryptorOf(cipher), out, kCipherSlack, moved);
    }

    int ReleaseCipher(void* cipher) override { return CCCryptorRelease(CryptorOf(cipher)); }

    bool HashSHA1(void const* bytes, std::size_t size, unsigned char* hash) override
    {
        CC_SHA1(bytes, static_cast<CC_LONG>(size), hash);
        return true;
    }

    int FillWithRandomBytes(void* bytes, std::size_t size) override
    {
        errno = 0;
        if (SecRandomCopyBytes(kSecRandomDefault, size, bytes) == errSecSuccess) return 0;
        // Not every failure sets it, and 0 would pass for success.
        int const error = errno;
        return error != 0 ? error : EIO;
    }
};

}  // namespace

CBasicCryptoPlatform* NewCryptoPlatform()
{
    return new CCryptoPlatformMacOSX;
}
