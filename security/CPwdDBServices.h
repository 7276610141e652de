// Passwords in the user's own store: the default keychain on macOS, the Secret Service on Linux
// (GNOME Keyring, KWallet and others, by org.freedesktop.secrets).
//
//     std::string password;
//     bool const isThere = CPwdDBServices::GetPwdDBServices()->GetPassword("Loam", "me",
//     &password);
//
// Two families of entries: those of the net, for a protocol, a server, an account and a port, and
// generic ones, for a service and an account. Passwords are bytes, zeros among them; on Linux, all
// else is UTF-8 without zeros, and what isn't is never found and never stored.
//
// BEWARE: in a look-up `kPwdProtocolAny`, port 0 and empty texts match anything, and the first
// match counts. `AddPassword` looks up first, too: with one of them it replaces the password of an
// entry that may be another's, and `DeletePassword` deletes it.
//
// Nothing throws but memory that runs out, and only `GetPassword` tells whether it worked: false
// for a missing entry, a locked store, a user who refused, a store that doesn't answer. What
// touches a locked store can bring up the system's dialog. Then the call blocks until the user has
// answered. On Linux no other step of a call takes longer than two seconds, whatever the service
// does: after that it is taken for a failure. Any thread may call.
#pragma once

#include "foundation/LoamExport.h"
#include "security/CBasicPwdDBServices.h"

#include <atomic>
#include <string>

class CBasicPwdDBServicesImp;

class LOAM_EXPORT CPwdDBServices : public CBasicPwdDBServices
{
public:
    CPwdDBServices();
    ~CPwdDBServices() override;

    /// The one instance, made at the first call; it lives until the process ends.
    static CPwdDBServices* GetPwdDBServices();

    /// Whether there is a store at all; asked once, then remembered. Always true on macOS. On Linux
    /// this starts the service where it can be started.
    bool HasPwdDB() override;

    // Of the default keychain or collection. All answer false where there is no store.

    /// Asks the user for the store's password if it is locked. True if it is unlocked then.
    bool Unlock() override;
    bool Lock() override;
    /// False too where that can't be told.
    bool IsUnlocked() override;
    /// Does nothing, and answers true: dialogs come up as before.
    bool AllowUserInteraction(bool allow) override;

    // The password operations go to the store without asking whether there is one.

    /// True, and the bytes in `password`; else `password` stays as it is.
    bool GetPassword(ProtocolEnum protocol,
                     std::string const& server,
                     std::string const& account,
                     unsigned short port,
                     std::string* password) override;
    /// Replaces the password of an entry that is there, or makes the entry.
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

    // Virtual operations keep their order for ever; new ones go last.

    /// Finds out anew what `HasPwdDB` answers.
    virtual void CheckForPwdDBSystem();

private:
    std::atomic<bool> mPwdDBChecked{false};
    std::atomic<bool> mHasPwdDB{false};

public:
    CBasicPwdDBServicesImp* mImp;  // owned

private:
    static std::atomic<CPwdDBServices*> sPwdDBServices;
};
