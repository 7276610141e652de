// What a store of passwords does. `CPwdDBServices` is the one that hosts use, and tells more.
#pragma once

#include "foundation/LoamExport.h"

#include <string>

class LOAM_EXPORT CBasicPwdDBServices
{
public:
    enum ProtocolEnum : int
    {
        kPwdProtocolSMTP,  ///< also what any other value stands for
        kPwdProtocolIMAP,
        kPwdProtocolPOP3,
        kPwdProtocolAny,
    };

    CBasicPwdDBServices() = default;
    CBasicPwdDBServices(CBasicPwdDBServices const&) = delete;
    CBasicPwdDBServices& operator=(CBasicPwdDBServices const&) = delete;

    // Virtual operations keep their order for ever; new ones go last.

    virtual ~CBasicPwdDBServices() = default;

    virtual bool HasPwdDB() = 0;
    virtual bool Unlock() = 0;
    virtual bool Lock() = 0;
    virtual bool IsUnlocked() = 0;
    virtual bool AllowUserInteraction(bool allow) = 0;

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
};
