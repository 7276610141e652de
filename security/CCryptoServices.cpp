#include "security/CCryptoServices.h"

#include "foundation/FirstUse.h"
#include "marl/HierarchicalException.h"
#include "marl/memblock.h"
#include "security/CBase64Encoder.h"
#include "security/CCryptoServicesImp.h"
#include "security/StWipedBytes.h"

namespace {

// The operations of one cipher.
struct Cipher
{
    void* (CBasicCryptoServicesImp::*mInit)(bool, char const*) const;
    void (CBasicCryptoServicesImp::*mBlock)(memblock&, void*) const;
    void (CBasicCryptoServicesImp::*mTerminate)(memblock&, void*) const;
};

constexpr Cipher kAES = {&CBasicCryptoServicesImp::SymetricEncryptAESInit,
                         &CBasicCryptoServicesImp::SymetricEncryptAESBlock,
                         &CBasicCryptoServicesImp::SymetricEncryptAESTerminate};
constexpr Cipher kBlowFish = {&CBasicCryptoServicesImp::SymetricEncryptBlowFishInit,
                              &CBasicCryptoServicesImp::SymetricEncryptBlowFishBlock,
                              &CBasicCryptoServicesImp::SymetricEncryptBlowFishTerminate};

void Run(CBasicCryptoServicesImp const& imp,
         Cipher const& cipher,
         bool encrypt,
         char const* key,
         memblock& data)
{
    void* const handle = (imp.*cipher.mInit)(encrypt, key);
    try {
        (imp.*cipher.mBlock)(data, handle);
    } catch (...) {
        // The run holds the key as long as it is there.
        try {
            memblock rest;
            (imp.*cipher.mTerminate)(rest, handle);
        } catch (...) {
        }
        throw;
    }
    (imp.*cipher.mTerminate)(data, handle);
}

void RunOnText(CBasicCryptoServicesImp const& imp,
               Cipher const& cipher,
               bool encrypt,
               char const* key,
               std::string& text)
{
    memblock bytes;
    memblock other;
    bytes.append(text.data(), text.size());
    if (encrypt) {
        Run(imp, cipher, encrypt, key, bytes);
        CBase64Encoder::Encode(bytes, &other, false);
    } else {
        CBase64Encoder::Decode(bytes, &other, nullptr);
        Run(imp, cipher, encrypt, key, other);
    }
    if (other.size() == 0)
        text.clear();
    else
        text.assign(other.data(), other.size());
}

}  // namespace

std::atomic<CCryptoServices*> CCryptoServices::sCryptoServices{nullptr};

CCryptoServices::CCryptoServices()
    : mImp(new CCryptoServicesImp)
{
}

CCryptoServices::~CCryptoServices()
{
    delete mImp;
}

CCryptoServices* CCryptoServices::GetCryptoServices()
{
    return GetOrMake(sCryptoServices, [] { return std::make_unique<CCryptoServices>(); });
}

void* CCryptoServices::SymetricEncryptAESInit(bool encrypt, char const* key) const
{
    return mImp->SymetricEncryptAESInit(encrypt, key);
}

void CCryptoServices::SymetricEncryptAESBlock(memblock& data, void* handle) const
{
    mImp->SymetricEncryptAESBlock(data, handle);
}

void CCryptoServices::SymetricEncryptAESTerminate(memblock& data, void* handle) const
{
    mImp->SymetricEncryptAESTerminate(data, handle);
}

void* CCryptoServices::SymetricEncryptBlowFishInit(bool encrypt, char const* key) const
{
    return mImp->SymetricEncryptBlowFishInit(encrypt, key);
}

void CCryptoServices::SymetricEncryptBlowFishBlock(memblock& data, void* handle) const
{
    mImp->SymetricEncryptBlowFishBlock(data, handle);
}

void CCryptoServices::SymetricEncryptBlowFishTerminate(memblock& data, void* handle) const
{
    mImp->SymetricEncryptBlowFishTerminate(data, handle);
}

void CCryptoServices::SymetricEncryptAES(bool encrypt, char const* key, memblock& data) const
{
    Run(*mImp, kAES, encrypt, key, data);
}

void CCryptoServices::SymetricEncryptBlowFish(bool encrypt, char const* key, memblock& data) const
{
    Run(*mImp, kBlowFish, encrypt, key, data);
}

void CCryptoServices::SymetricEncryptAESAndBase64Encode(bool encrypt,
                                                        char const* key,
                                                        std::string& text) const
{
    RunOnText(*mImp, kAES, encrypt, key, text);
}

void CCryptoServices::SymetricEncryptBlowFishAndBase64Encode(bool encrypt,
                                                             char const* key,
                                                             std::string& text) const
{
    RunOnText(*mImp, kBlowFish, encrypt, key, text);
}

void CCryptoServices::CryptographicHash(std::string const& text,
                                        bool base64,
                                        std::string& result) const
{
    mImp->CryptographicHash(text, base64, result);
}

void CCryptoServices::CryptographicHash(std::string const& text,
                                        std::string const& salt,
                                        bool base64,
                                        std::string& result) const
{
    mImp->CryptographicHash(text + salt, base64, result);
}

void CCryptoServices::GenerateRandomKey(int length, void* key) const
{
    mImp->GenerateRandomKey(length, key);
}

void CCryptoServices::GenerateRandomKeyBase64(int length, std::string& key) const
{
    memblock bytes;
    memblock text;
    StWipedBlock const wipedBytes(bytes);
    StWipedBlock const wipedText(text);
    // A length below 0 is refused by the operation itself.
    bytes.resize(length > 0 ? static_cast<unsigned long>(length) : 0);
    mImp->GenerateRandomKey(length, bytes.data());
    CBase64Encoder::Encode(bytes, &text, false);
    if (text.size() == 0)
        key.clear();
    else
        key.assign(text.data(), text.size());
}
