// What encryption by passphrase, hashing and random keys do. `CCryptoServices` tells more of them.
#pragma once

#include "foundation/LoamExport.h"

#include <string>

class memblock;

class LOAM_EXPORT CBasicCryptoServicesImp
{
public:
    CBasicCryptoServicesImp() = default;
    CBasicCryptoServicesImp(CBasicCryptoServicesImp const&) = delete;
    CBasicCryptoServicesImp& operator=(CBasicCryptoServicesImp const&) = delete;
    virtual ~CBasicCryptoServicesImp() = default;

    // Virtual operations keep their order for ever; new ones go last.

    virtual void* SymetricEncryptAESInit(bool encrypt, char const* key) const = 0;
    virtual void SymetricEncryptAESBlock(memblock& data, void* handle) const = 0;
    virtual void SymetricEncryptAESTerminate(memblock& data, void* handle) const = 0;
    virtual void* SymetricEncryptBlowFishInit(bool encrypt, char const* key) const = 0;
    virtual void SymetricEncryptBlowFishBlock(memblock& data, void* handle) const = 0;
    virtual void SymetricEncryptBlowFishTerminate(memblock& data, void* handle) const = 0;
    virtual void
    CryptographicHash(std::string const& text, bool base64, std::string& result) const = 0;
    virtual void GenerateRandomKey(int length, void* key) const = 0;
    /// What the `Block` operations of both ciphers come to.
    virtual void SymetricEncryptBlock(memblock& data, void* handle) const = 0;
    /// What the `Terminate` operations of both ciphers come to.
    virtual void SymetricEncryptTerminate(memblock& data, void* handle) const = 0;
};
