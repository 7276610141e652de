#include "security/platform/CBasicPwdDBPlatform.h"

#include <CoreFoundation/CoreFoundation.h>
#include <Security/Security.h>

namespace {

// By PwdEntryKey::Protocol.
constexpr SecProtocolType kProtocolTypes[] = {kSecProtocolTypeSMTP, kSecProtocolTypeIMAP,
                                              kSecProtocolTypePOP3, kSecProtocolTypeAny};

UInt32 LengthOf(std::string const& text)
{
    return static_cast<UInt32>(text.size());
}

// `length` and `data`, or `item`, may be null. A null keychain is the default one.
bool Find(PwdEntryKey const& key, UInt32* length, void** data, SecKeychainItemRef* item)
{
    if (key.mIsGeneric) {
        return SecKeychainFindGenericPassword(nullptr, LengthOf(key.mServer), key.mServer.data(),
                                              LengthOf(key.mAccount), key.mAccount.data(), length,
                                              data, item) == errSecSuccess;
    }
    return SecKeychainFindInternetPassword(nullptr, LengthOf(key.mServer), key.mServer.data(), 0,
                                           nullptr, LengthOf(key.mAccount), key.mAccount.data(), 0,
                                           nullptr, key.mPort, kProtocolTypes[key.mProtocol],
                                           kSecAuthenticationTypeDefault, length, data,
                                           item) == errSecSuccess;
}

SecKeychainItemRef ItemOf(void* item)
{
    return static_cast<SecKeychainItemRef>(item);
}

class CPwdDBPlatformMacOSX final : public CBasicPwdDBPlatform
{
public:
    bool HasStore() override { return true; }

    bool Unlock() override
    {
        return SecKeychainUnlock(nullptr, 0, nullptr, false) == errSecSuccess;
    }

    bool Lock() override { return SecKeychainLock(nullptr) == errSecSuccess; }

    bool IsUnlocked() override
    {
        SecKeychainStatus status = 0;
        return SecKeychainGetStatus(nullptr, &status) == errSecSuccess &&
               (status & kSecUnlockStateStatus) != 0;
    }

    PwdSearchResult FindPassword(PwdEntryKey const& key, std::string* password) override
    {
        UInt32 length = 0;
        void* data = nullptr;
        if (!Find(key, &length, &data, nullptr)) return kPwdNotFound;
        password->assign(static_cast<char const*>(data), length);
        SecKeychainItemFreeContent(nullptr, data);
        return kPwdFound;
    }

    PwdSearchResult FindItem(PwdEntryKey const& key, void** item) override
    {
        SecKeychainItemRef found = nullptr;
        if (!Find(key, nullptr, nullptr, &found)) return kPwdNotFound;
        *item = found;
        return kPwdFound;
    }

    void SetPassword(void* item, std::string const& password) override
    {
        SecKeychainItemModifyContent(ItemOf(item), nullptr, LengthOf(password), password.data());
    }

    void DeleteItem(void* item) override { SecKeychainItemDelete(ItemOf(item)); }

    void ReleaseItem(void* item) override { CFRelease(ItemOf(item)); }

    void MakeEntry(PwdEntryKey const& key, std::string const& password) override
    {
        if (key.mIsGeneric) {
            SecKeychainAddGenericPassword(nullptr, LengthOf(key.mServer), key.mServer.data(),
                                          LengthOf(key.mAccount), key.mAccount.data(),
                                          LengthOf(password), password.data(), nullptr);
            return;
        }
        SecKeychainAddInternetPassword(
            nullptr, LengthOf(key.mServer), key.mServer.data(), 0, nullptr, LengthOf(key.mAccount),
            key.mAccount.data(), 0, nullptr, key.mPort, kProtocolTypes[key.mProtocol],
            kSecAuthenticationTypeDefault, LengthOf(password), password.data(), nullptr);
    }
};

}  // namespace

CBasicPwdDBPlatform* NewPwdDBPlatform()
{
    return new CPwdDBPlatformMacOSX;
}
