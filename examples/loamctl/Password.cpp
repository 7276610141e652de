#include "loamctl/Password.h"

#include <map>
#include <memory>
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "loamctl/COutput.h"
#include "loamctl/Failure.h"
#include "loamctl/Passphrase.h"
#include "security/CPwdDBServices.h"

namespace {

using Store = CPwdDBServices;

constexpr char const* kNotes =
    R"(An entry is named by --service and --account, or by --protocol, --server, --port and
--account. What is left out of `get` matches anything; `set` and `delete` want all of it. The
password is asked for, or read from --password-fd.)";

std::map<std::string, Store::ProtocolEnum> const& Protocols()
{
    static std::map<std::string, Store::ProtocolEnum> const sProtocols{
        {"smtp", Store::kPwdProtocolSMTP},
        {"imap", Store::kPwdProtocolIMAP},
        {"pop3", Store::kPwdProtocolPOP3},
        {"any", Store::kPwdProtocolAny}};
    return sProtocols;
}

struct PasswordOptions
{
    std::string mAction;
    std::string mService;
    std::string mAccount;
    std::string mProtocol = "any";
    std::string mServer;
    unsigned short mPort = 0;
    int mDescriptor = -1;

    bool IsGeneric() const { return !mService.empty(); }

    Store::ProtocolEnum Protocol() const { return Protocols().at(mProtocol); }
};

bool Get(PasswordOptions const& entry, std::string& password)
{
    Store& store = *Store::GetPwdDBServices();
    return entry.IsGeneric() ? store.GetPassword(entry.mService, entry.mAccount, &password)
                             : store.GetPassword(entry.Protocol(), entry.mServer, entry.mAccount,
                                                 entry.mPort, &password);
}

int GetPassword(PasswordOptions const& entry, Session& session)
{
    std::string password;
    if (!Get(entry, password)) {
        session.mOutput.Complain("no such password, or the store is locked");
        return 1;
    }
    if (session.mOutput.IsJSON()) {
        session.mOutput.AddJSON({{"type", "password"}, {"password", password}});
        return 0;
    }
    session.mOutput.AddLines(password + "\n");
    return 0;
}

// The store doesn't say whether it took a password, so it is asked for it.
int SetPassword(PasswordOptions const& entry, Session& session)
{
    std::string const password = ReadPassphrase("password", entry.mDescriptor, true, session);
    Store& store = *Store::GetPwdDBServices();
    if (entry.IsGeneric()) {
        store.AddPassword(entry.mService, entry.mAccount, password);
    } else {
        store.AddPassword(entry.Protocol(), entry.mServer, entry.mAccount, entry.mPort, password);
    }
    std::string stored;
    if (!Get(entry, stored) || stored != password)
        throw CUsageError("the store did not take the password");
    return 0;
}

int DeletePassword(PasswordOptions const& entry, Session& session)
{
    std::string password;
    if (!Get(entry, password)) {
        session.mOutput.Complain("no such password, or the store is locked");
        return 1;
    }
    Store& store = *Store::GetPwdDBServices();
    if (entry.IsGeneric()) {
        store.DeletePassword(entry.mService, entry.mAccount);
    } else {
        store.DeletePassword(entry.Protocol(), entry.mServer, entry.mAccount, entry.mPort);
    }
    if (Get(entry, password)) throw CUsageError("the store did not delete the password");
    return 0;
}

int TellStatus(Session& session)
{
    Store& store = *Store::GetPwdDBServices();
    bool const isUnlocked = store.IsUnlocked();
    std::string const state = !store.HasPwdDB() ? "none" : isUnlocked ? "unlocked" : "locked";
    if (session.mOutput.IsJSON()) {
        session.mOutput.AddJSON({{"type", "password_store"}, {"state", state}});
    } else {
        session.mOutput.AddLines(state + "\n");
    }
    return isUnlocked ? 0 : 1;
}

void RefuseHalfNamed(PasswordOptions const& entry)
{
    if (entry.mService.empty() == entry.mServer.empty())
        throw CUsageError("an entry is named by --service or by --server");
    if (entry.mAction == "get") return;
    if (entry.mAccount.empty()) throw CUsageError("--account is needed");
    if (!entry.IsGeneric() && (entry.mProtocol == "any" || entry.mPort == 0))
        throw CUsageError("--protocol and --port are needed");
}

int Run(PasswordOptions const& options, Session& session)
{
    if (options.mAction == "status") return TellStatus(session);
    RefuseHalfNamed(options);
    if (options.mAction == "get") return GetPassword(options, session);
    return options.mAction == "set" ? SetPassword(options, session)
                                    : DeletePassword(options, session);
}

}  // namespace

Command AddPassword(CArguments program)
{
    CArguments password =
        program.AddCommand("password", "Keep passwords in the user's keychain or keyring");
    auto const options = std::make_shared<PasswordOptions>();
    password.Add("ACTION", options->mAction, "get, set, delete or status")
        .Required()
        .OneOf({"get", "set", "delete", "status"});
    password.Add("--service", options->mService, "Of a generic entry").Shown("S");
    password.Add("--account", options->mAccount, "Whose password it is").Shown("A");
    password.Add("--protocol", options->mProtocol, "smtp, imap or pop3")
        .OneOf({"smtp", "imap", "pop3", "any"})
        .Shown("P");
    password.Add("--server", options->mServer, "Of an entry of the net").Shown("S");
    password.Add("--port", options->mPort, "Of an entry of the net").Shown("N");
    password
        .Add("--password-fd", options->mDescriptor,
             "Take the first line of descriptor N for the password of `set`")
        .NotNegative()
        .Shown("N");
    password.SetNotes(kNotes);
    return {password, [options](Session& session) { return Run(*options, session); }};
}
