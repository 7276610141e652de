// Encryption by passphrase, SHA-1 and random keys.
//
// BEWARE: the ciphers here are for data that others already keep in these forms. They don't protect
// new data: the initial vector is always zero, so equal texts under one key give equal beginnings;
// the passphrase itself is the key, with no derivation; nothing tells that a ciphertext was
// changed. SHA-1 (FIPS 180) isn't safe against collisions either.
//
// BEWARE of an empty AES key: the call never returns. An empty passphrase must be refused before.
//
//     memblock data = ...;
//     CCryptoServices::GetCryptoServices()->SymetricEncryptAES(true, "passphrase", data);
//
// Failures throw `HierarchicalException` of `kCryptoDomain`, category `kOtherFailure`, with the
// status in `osError`: -4303 a ciphertext that isn't made of whole blocks, -4304 a wrong AES key or
// a damaged end, -4305 no such cipher on this system, -4310 a key of a length that the cipher
// doesn't take. About one wrong AES key in 250 passes and gives a wrong text, and macOS may let all
// pass. Memory that runs out throws `std::bad_alloc` as well, and so does a hash on a system that
// has no SHA-1. Sizes are in bytes. Any thread may call, but a run serves one at a time.
#pragma once

#include "foundation/LoamExport.h"
#include "security/CBasicCryptoServicesImp.h"

#include <atomic>
#include <string>

/// The process's ciphers. A run is `...Init`, any number of `...Block`, and `...Terminate` exactly
/// once, all of one cipher, with keys of bytes up to a zero. What a run copies of the key is wiped
/// as soon as it isn't needed any more.
///
/// AES is AES-128 in CBC mode with PKCS#7 padding (FIPS 197, SP 800-38A, RFC 5652 section 6.3). The
/// key is the passphrase over and over up to 16 bytes; what is beyond 16 has no effect. The
/// ciphertext is 1 to 16 bytes longer than the text, up to a multiple of 16.
///
/// Blowfish runs in CFB mode of 64 bits without padding, its ciphertext as long as the text. The
/// key is the passphrase as it is: 1 to 56 bytes on Linux, 8 to 56 on macOS. A wrong key can't be
/// told: it gives a wrong text.
class LOAM_EXPORT CCryptoServices
{
public:
    CCryptoServices();
    CCryptoServices(CCryptoServices const&) = delete;
    CCryptoServices& operator=(CCryptoServices const&) = delete;
    ~CCryptoServices();

    /// The one instance, made at the first call; it lives until the process ends.
    static CCryptoServices* GetCryptoServices();

    /// Begins a run and answers its handle, which `...Terminate` destroys.
    void* SymetricEncryptAESInit(bool encrypt, char const* key) const;
    /// Replaces the content of `data` by what comes out. That can be less than went in: AES gives
    /// whole blocks only, and decrypting holds the last one back. Take it away before the next
    /// call. If it throws, the run is still to be terminated.
    void SymetricEncryptAESBlock(memblock& data, void* handle) const;
    /// Appends the rest to `data` and destroys the run, also where it throws.
    void SymetricEncryptAESTerminate(memblock& data, void* handle) const;

    void* SymetricEncryptBlowFishInit(bool encrypt, char const* key) const;
    void SymetricEncryptBlowFishBlock(memblock& data, void* handle) const;
    void SymetricEncryptBlowFishTerminate(memblock& data, void* handle) const;

    /// A whole run in place. After a failure `data` holds anything.
    void SymetricEncryptAES(bool encrypt, char const* key, memblock& data) const;
    void SymetricEncryptBlowFish(bool encrypt, char const* key, memblock& data) const;

    /// A whole run from text to Base64 without line breaks, or back. After a failure `text` is as
    /// it was. What isn't Base64 is no failure by itself: see `CBase64Encoder`.
    void SymetricEncryptAESAndBase64Encode(bool encrypt, char const* key, std::string& text) const;
    void
    SymetricEncryptBlowFishAndBase64Encode(bool encrypt, char const* key, std::string& text) const;

    /// SHA-1 of the bytes of `text` (on macOS less than 4 GiB): 20 bytes, or the 28 characters of
    /// their Base64.
    void CryptographicHash(std::string const& text, bool base64, std::string& result) const;
    /// The same of `text` with `salt` behind it.
    void CryptographicHash(std::string const& text,
                           std::string const& salt,
                           bool base64,
                           std::string& result) const;

    /// Writes `length` random bytes, fit for keys, to `key`. A failure has the `errno` value in
    /// `osError`: EINVAL for a length below 0.
    void GenerateRandomKey(int length, void* key) const;
    /// The same number of bytes as Base64.
    void GenerateRandomKeyBase64(int length, std::string& key) const;

    CBasicCryptoServicesImp* mImp;  // owned

private:
    static std::atomic<CCryptoServices*> sCryptoServices;
};
