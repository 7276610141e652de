// What stands behind `CPwdDBServices`, operation by operation.
#pragma once

#include "foundation/LoamExport.h"
#include "security/CBasicPwdDBServices.h"

#include <string>

class LOAM_EXPORT CBasicPwdDBServicesImp
{
public:
    using ProtocolEnum = CBasicPwdDBServices::ProtocolEnum;

    CBasicPwdDBServicesImp() = default;
    CBasicPwdDBServicesImp(CBasicPwdDBServicesImp const&) = delete;
    CBasicPwdDBServicesImp& operator=(CBasicPwdDBServicesImp const&) = delete;

    // Virtual operations keep their order for ever; new ones go last.

    virtual ~CBasicPwdDBServicesImp() = default;

    virtual bool GetPassword(ProtocolEnum protocol,
                             std::string const& server,
                             std::string const& account,
                             unsigned short port,
                             std::string* password) = 0;
    virtual void AddPassword(ProtocolEnum protocol,
                             std::string const& server,
                             std::string const& account,
                             unsigned short port,
                             std::string const& password) = 0;
    virtual void DeletePassword(ProtocolEnum protocol,
                                std::string const& server,
                                std::string const& account,
                                unsigned short port) = 0;

    virtual bool
    GetPassword(std::string const& service, std::string const& account, std::string* password) = 0;
    virtual void AddPassword(std::string const& service,
                             std::string const& account,
                             std::string const& password) = 0;
    virtual void DeletePassword(std::string const& service, std::string const& account) = 0;

    virtual bool UnlockSelf() = 0;
    virtual bool LockSelf() = 0;
    virtual bool IsUnlockedSelf() = 0;
    virtual bool AllowUserInteractionSelf(bool allow) = 0;
    virtual bool HasPwdDB() = 0;
};
