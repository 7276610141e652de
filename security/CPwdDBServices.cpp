#include "security/CPwdDBServices.h"

#include "foundation/FirstUse.h"
#include "security/CPwdDBServicesImp.h"

std::atomic<CPwdDBServices*> CPwdDBServices::sPwdDBServices{nullptr};

CPwdDBServices::CPwdDBServices()
    : mImp(new CPwdDBServicesImp)
{
}

CPwdDBServices::~CPwdDBServices()
{
    delete mImp;
}

CPwdDBServices* CPwdDBServices::GetPwdDBServices()
{
    return GetOrMake(sPwdDBServices, [] { return std::make_unique<CPwdDBServices>(); });
}

bool CPwdDBServices::HasPwdDB()
{
    if (!mPwdDBChecked) {
        CheckForPwdDBSystem();
        mPwdDBChecked = true;
    }
    return mHasPwdDB;
}

bool CPwdDBServices::Unlock()
{
    return HasPwdDB() && mImp->UnlockSelf();
}

bool CPwdDBServices::Lock()
{
    return HasPwdDB() && mImp->LockSelf();
}

bool CPwdDBServices::IsUnlocked()
{
    return HasPwdDB() && mImp->IsUnlockedSelf();
}

bool CPwdDBServices::AllowUserInteraction(bool allow)
{
    return HasPwdDB() && mImp->AllowUserInteractionSelf(allow);
}

bool CPwdDBServices::GetPassword(ProtocolEnum protocol,
                                 std::string const& server,
                                 std::string const& account,
                                 unsigned short port,
                                 std::string* password)
{
    return mImp->GetPassword(protocol, server, account, port, password);
}

void CPwdDBServices::AddPassword(ProtocolEnum protocol,
                                 std::string const& server,
                                 std::string const& account,
                                 unsigned short port,
                                 std::string const& password)
{
    mImp->AddPassword(protocol, server, account, port, password);
}

void CPwdDBServices::DeletePassword(ProtocolEnum protocol,
                                    std::string const& server,
                                    std::string const& account,
                                    unsigned short port)
{
    mImp->DeletePassword(protocol, server, account, port);
}

bool CPwdDBServices::GetPassword(std::string const& service,
                                 std::string const& account,
                                 std::string* password)
{
    return mImp->GetPassword(service, account, password);
}

void CPwdDBServices::AddPassword(std::string const& service,
                                 std::string const& account,
                                 std::string const& password)
{
    mImp->AddPassword(service, account, password);
}

void CPwdDBServices::DeletePassword(std::string const& service, std::string const& account)
{
    mImp->DeletePassword(service, account);
}

void CPwdDBServices::CheckForPwdDBSystem()
{
    mHasPwdDB = mImp->HasPwdDB();
}
