// Ciphers, hash and random keys over the platform in use.
#pragma once

#include "security/CBasicCryptoServicesImp.h"

class CCryptoServicesImp final : public CBasicCryptoServicesImp
{
public:
    void* SymetricEncryptAESInit(bool encrypt, char const* key) const override;
    void SymetricEncryptAESBlock(memblock& data, void* handle) const override;
    void SymetricEncryptAESTerminate(memblock& data, void* handle) const override;
    void* SymetricEncryptBlowFishInit(bool encrypt, char const* key) const override;
    void SymetricEncryptBlowFishBlock(memblock& data, void* handle) const override;
    void SymetricEncryptBlowFishTerminate(memblock& data, void* handle) const override;
    void
    CryptographicHash(std::string const& text, bool base64, std::string& result) const override;
    void GenerateRandomKey(int length, void* key) const override;
    void SymetricEncryptBlock(memblock& data, void* handle) const override;
    void SymetricEncryptTerminate(memblock& data, void* handle) const override;
};
