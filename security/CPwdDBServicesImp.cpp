#include "security/CPwdDBServicesImp.h"

#include "security/platform/CBasicPwdDBPlatform.h"

namespace {

using Services = CBasicPwdDBServices;

// All values but these stand for SMTP.
constexpr struct
{
    Services::ProtocolEnum mProtocol;
    PwdEntryKey::Protocol mStored;
} kProtocols[] = {
    {Services::kPwdProtocolIMAP, PwdEntryKey::kIMAP},
    {Services::kPwdProtocolPOP3, PwdEntryKey::kPOP3},
    {Services::kPwdProtocolAny, PwdEntryKey::kAny},
};

PwdEntryKey NetKey(Services::ProtocolEnum protocol,
                   std::string const& server,
                   std::string const& account,
                   unsigned short port)
{
    PwdEntryKey key{false, server, account, PwdEntryKey::kSMTP, port};
    for (auto const& row : kProtocols) {
        if (row.mProtocol == protocol) key.mProtocol = row.mStored;
    }
    return key;
}

PwdEntryKey GenericKey(std::string const& service, std::string const& account)
{
    return {true, service, account};
}

bool Get(PwdEntryKey const& key, std::string* password)
{
    return PwdDBPlatform().FindPassword(key, password) == kPwdFound;
}

void Add(PwdEntryKey const& key, std::string const& password)
{
    CBasicPwdDBPlatform& platform = PwdDBPlatform();
    void* item = nullptr;
    // Kept on purpose: what the key leaves open finds, and changes, the entry of somebody else.
    switch (platform.FindItem(key, &item)) {
    case kPwdFound:
        platform.SetPassword(item, password);
        platform.ReleaseItem(item);
        break;
    case kPwdNotFound:
        platform.MakeEntry(key, password);
        break;
    case kPwdNoAnswer:
        break;
    }
}

void Delete(PwdEntryKey const& key)
{
    CBasicPwdDBPlatform& platform = PwdDBPlatform();
    void* item = nullptr;
    if (platform.FindItem(key, &item) != kPwdFound) return;
    platform.DeleteItem(item);
    platform.ReleaseItem(item);
}

}  // namespace

bool CPwdDBServicesImp::GetPassword(ProtocolEnum protocol,
                                    std::string const& server,
                                    std::string const& account,
                                    unsigned short port,
                                    std::string* password)
{
    return Get(NetKey(protocol, server, account, port), password);
}

void CPwdDBServicesImp::AddPassword(ProtocolEnum protocol,
                                    std::string const& server,
                                    std::string const& account,
                                    unsigned short port,
                                    std::string const& password)
{
    Add(NetKey(protocol, server, account, port), password);
}

void CPwdDBServicesImp::DeletePassword(ProtocolEnum protocol,
                                       std::string const& server,
                                       std::string const& account,
                                       unsigned short port)
{
    Delete(NetKey(protocol, server, account, port));
}

bool CPwdDBServicesImp::GetPassword(std::string const& service,
                                    std::string const& account,
                                    std::string* password)
{
    return Get(GenericKey(service, account), password);
}

void CPwdDBServicesImp::AddPassword(std::string const& service,
                                    std::string const& account,
                                    std::string const& password)
{
    Add(GenericKey(service, account), password);
}

void CPwdDBServicesImp::DeletePassword(std::string const& service, std::string const& account)
{
    Delete(GenericKey(service, account));
}

bool CPwdDBServicesImp::UnlockSelf()
{
    return PwdDBPlatform().Unlock();
}

bool CPwdDBServicesImp::LockSelf()
{
    return PwdDBPlatform().Lock();
}

bool CPwdDBServicesImp::IsUnlockedSelf()
{
    return PwdDBPlatform().IsUnlocked();
}

// Kept on purpose: nothing is set, and dialogs come up as before.
bool CPwdDBServicesImp::AllowUserInteractionSelf(bool)
{
    return true;
}

bool CPwdDBServicesImp::HasPwdDB()
{
    return PwdDBPlatform().HasStore();
}
