// The password store over the platform in use.
#pragma once

#include "security/CBasicPwdDBServicesImp.h"

class CPwdDBServicesImp final : public CBasicPwdDBServicesImp
{
public:
    bool GetPassword(ProtocolEnum protocol,
                     std::string const& server,
                     std::string const& account,
                     unsigned short port,
                     std::string* password) override;
    void AddPassword(ProtocolEnum protocol,
                     std::string const& server,
                     std::string const& account,
                     unsigned short port,
                     std::string const& password) override;
    void DeletePassword(ProtocolEnum protocol,
                        std::string const& server,
                        std::string const& account,
                        unsigned short port) override;

    bool GetPassword(std::string const& service,
                     std::string const& account,
                     std::string* password) override;
    void AddPassword(std::string const& service,
                     std::string const& account,
                     std::string const& password) override;
    void DeletePassword(std::string const& service, std::string const& account) override;

    bool UnlockSelf() override;
    bool LockSelf() override;
    bool IsUnlockedSelf() override;
    bool AllowUserInteractionSelf(bool allow) override;
    bool HasPwdDB() override;
};
