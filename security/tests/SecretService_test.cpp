// The password store on Linux, against a real Secret Service and against none.

#include "security/CBasicPwdDBServicesImp.h"
#include "security/CPwdDBServices.h"
#include "testing/Sanitizers.h"
#include "testing/StEnvironment.h"
#include "testing/StSecretService.h"
#include "testing/StTempDir.h"

#include <chrono>
#include <cstring>
#include <functional>
#include <future>
#include <string>
#include <vector>

#include <gio/gio.h>
#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace {

using namespace std::string_literals;
using Protocol = CPwdDBServices::ProtocolEnum;

constexpr auto kSMTP = CPwdDBServices::kPwdProtocolSMTP;
constexpr auto kIMAP = CPwdDBServices::kPwdProtocolIMAP;
constexpr auto kPOP3 = CPwdDBServices::kPwdProtocolPOP3;
constexpr auto kAny = CPwdDBServices::kPwdProtocolAny;

class SecretService : public testing::Test
{
protected:
    void SetUp() override
    {
        if (kIsThreadSanitized)
            GTEST_SKIP() << "GLib's own locks are not those that this sanitizer sees";
        if (!StSecretService::IsThere())
            GTEST_SKIP() << "dbus-daemon or gnome-keyring-daemon is not installed";
        // libsecret holds on to the bus of a prompt.
        if (sHadPrompt) GTEST_SKIP() << "run each case in a process of its own, as ctest does";
    }

    std::string Get(std::string const& service, std::string const& account)
    {
        std::string password = "(untouched)";
        return mStore.GetPassword(service, account, &password) ? password : "(none) " + password;
    }

    std::string
    Get(Protocol protocol, std::string const& server, std::string const& account, int port)
    {
        std::string password = "(untouched)";
        return mStore.GetPassword(protocol, server, account, static_cast<unsigned short>(port),
                                  &password)
                   ? password
                   : "(none) " + password;
    }

    CPwdDBServices mStore;
    static bool sHadPrompt;
};

bool SecretService::sHadPrompt = false;

constexpr char const* kNone = "(none) (untouched)";

// A socket to which one can connect, and that never says a word.
class StMuteSocket
{
public:
    explicit StMuteSocket(std::string const& path)
        : mSocket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
        mIsThere = bind(mSocket, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0 &&
                   listen(mSocket, 64) == 0;
    }

    StMuteSocket(StMuteSocket const&) = delete;
    StMuteSocket& operator=(StMuteSocket const&) = delete;

    ~StMuteSocket() { close(mSocket); }

    bool IsThere() const { return mIsThere; }

private:
    int mSocket;
    bool mIsThere = false;
};

// Every operation, each of which has to answer as it does where there is nothing.
std::vector<std::function<bool()>> AllOperations()
{
    return {
        [] { return !CPwdDBServices().HasPwdDB(); },
        [] { return !CPwdDBServices().mImp->HasPwdDB(); },
        [] { return !CPwdDBServices().Unlock(); },
        [] { return !CPwdDBServices().Lock(); },
        [] { return !CPwdDBServices().IsUnlocked(); },
        [] {
            std::string password = "as it was";
            return !CPwdDBServices().GetPassword("service", "account", &password) &&
                   !CPwdDBServices().GetPassword(kIMAP, "s", "a", 1, &password) &&
                   password == "as it was";
        },
        [] {
            CPwdDBServices().AddPassword("service", "account", "password");
            return true;
        },
        [] {
            CPwdDBServices().DeletePassword("service", "account");
            return true;
        },
    };
}

std::chrono::steady_clock::duration TimeOf(std::function<bool()> const& operation, bool& result)
{
    auto const start = std::chrono::steady_clock::now();
    result = operation();
    return std::chrono::steady_clock::now() - start;
}

// Answers before the limit of a call would have ended it.
void ExpectPromptAnswers()
{
    for (auto const& operation : AllOperations()) {
        bool result = false;
        EXPECT_LT(TimeOf(operation, result), std::chrono::seconds(1));
        EXPECT_TRUE(result);
    }
}

// All at a time, since each takes as long as it may: two seconds a call. The bus and its library
// would wait for 25 seconds and more.
void ExpectAnswers()
{
    std::vector<std::future<bool>> answers;
    for (auto const& operation : AllOperations()) {
        answers.push_back(std::async(std::launch::async, [operation] {
            bool result = false;
            return TimeOf(operation, result) < std::chrono::seconds(15) && result;
        }));
    }
    for (auto& answer : answers)
        EXPECT_TRUE(answer.get());
}

}  // namespace

TEST_F(SecretService, KeepsOnePasswordForAnEntry)
{
    StSecretService const service;
    EXPECT_TRUE(mStore.HasPwdDB());
    EXPECT_EQ(Get("service", "account"), kNone);
    mStore.DeletePassword("service", "account");
    mStore.AddPassword("service", "account", "first");
    mStore.AddPassword("service", "other", "other's");
    EXPECT_EQ(Get("service", "account"), "first");
    mStore.AddPassword("service", "account", "second");
    EXPECT_EQ(Get("service", "account"), "second");
    EXPECT_EQ(Get("service", "other"), "other's");
    // One entry: once deleted, nothing is left.
    mStore.DeletePassword("service", "account");
    EXPECT_EQ(Get("service", "account"), kNone);
    EXPECT_EQ(Get("service", "other"), "other's");
}

TEST_F(SecretService, TellsProtocolsAndPortsApart)
{
    StSecretService const service;
    mStore.AddPassword(kIMAP, "server", "account", 143, "imap");
    mStore.AddPassword(kPOP3, "server", "account", 143, "pop3");
    mStore.AddPassword(kIMAP, "server", "account", 993, "imaps");
    mStore.AddPassword(kSMTP, "server", "account", 25, "smtp");
    EXPECT_EQ(Get(kIMAP, "server", "account", 143), "imap");
    EXPECT_EQ(Get(kPOP3, "server", "account", 143), "pop3");
    EXPECT_EQ(Get(kIMAP, "server", "account", 993), "imaps");
    EXPECT_EQ(Get(static_cast<Protocol>(7), "server", "account", 25), "smtp");
    EXPECT_EQ(Get("server", "account"), kNone);
    // Replaced, not doubled: once deleted, nothing is left.
    mStore.AddPassword(kIMAP, "server", "account", 143, "imap again");
    EXPECT_EQ(Get(kIMAP, "server", "account", 143), "imap again");
    mStore.DeletePassword(kIMAP, "server", "account", 143);
    EXPECT_EQ(Get(kIMAP, "server", "account", 143), kNone);
    EXPECT_EQ(Get(kIMAP, "server", "account", 993), "imaps");
}

TEST_F(SecretService, MatchesAnythingByWhatIsLeftOut)
{
    StSecretService const service;
    mStore.AddPassword(kIMAP, "server", "account", 143, "first");
    mStore.AddPassword("service", "somebody", "generic");
    EXPECT_EQ(Get(kAny, "server", "account", 143), "first");
    EXPECT_EQ(Get(kIMAP, "", "account", 143), "first");
    EXPECT_EQ(Get(kIMAP, "server", "", 143), "first");
    EXPECT_EQ(Get(kIMAP, "server", "account", 0), "first");
    EXPECT_EQ(Get(kAny, "", "", 0), "first");
    EXPECT_EQ(Get("service", ""), "generic");
    EXPECT_EQ(Get("", "somebody"), "generic");
    EXPECT_EQ(Get("", ""), "generic");
    EXPECT_EQ(Get(kAny, "server", "another", 0), kNone);
}

TEST_F(SecretService, KeepsReplacingWhatALookUpMatches)
{
    StSecretService const service;
    mStore.AddPassword(kIMAP, "server", "account", 143, "first");
    mStore.AddPassword(kAny, "server", "account", 0, "second");
    EXPECT_EQ(Get(kIMAP, "server", "account", 143), "second");
    // Made as such where nothing matches.
    mStore.AddPassword(kAny, "elsewhere", "account", 0, "third");
    EXPECT_EQ(Get(kAny, "elsewhere", "account", 0), "third");
    EXPECT_EQ(Get(kIMAP, "elsewhere", "account", 0), kNone);
}

TEST_F(SecretService, KeepsBytesAndTextAsTheyAre)
{
    StSecretService const service;
    for (std::string const& password :
         {""s, "a\0b\xFF\0"s, "\0"s, "p\u00e4ss \u65e5\u672c"s, std::string(100000, '\x80')}) {
        mStore.AddPassword("service", "account", password);
        EXPECT_TRUE(Get("service", "account") == password) << password.size();
    }
    mStore.AddPassword("d\u00e9j\u00e0 vu", "\u540d\u524d", "unicode");
    EXPECT_EQ(Get("d\u00e9j\u00e0 vu", "\u540d\u524d"), "unicode");
}

TEST_F(SecretService, StoresNoKeyThatIsNotText)
{
    StSecretService const service;
    for (std::string const& name : {"caf\xe9"s, "a\0b"s}) {
        mStore.AddPassword(name, "account", "password");
        EXPECT_EQ(Get(name, "account"), kNone);
        mStore.AddPassword(kIMAP, "server", name, 143, "password");
        EXPECT_EQ(Get(kIMAP, "server", name, 143), kNone);
        mStore.DeletePassword(name, "account");
    }
    EXPECT_EQ(Get("", ""), kNone);
    EXPECT_EQ(Get(kAny, "", "", 0), kNone);
}

TEST_F(SecretService, AnswersWithoutABus)
{
    StTempDir const folder;
    for (std::string const& address : {"unix:path=" + folder.Path("none"), "disabled:"s, "?"s}) {
        SCOPED_TRACE(address);
        StEnvironment const environment("DBUS_SESSION_BUS_ADDRESS", address);
        ExpectPromptAnswers();
    }
}

TEST_F(SecretService, AnswersWithoutAService)
{
    StSecretService const service(StSecretService::kNoService);
    ExpectPromptAnswers();
}

TEST_F(SecretService, AnswersWhereTheBusIsMute)
{
    StTempDir const folder;
    StMuteSocket const bus(folder.Path("bus"));
    ASSERT_TRUE(bus.IsThere());
    StEnvironment const environment("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + folder.Path("bus"));
    ExpectAnswers();
}

TEST_F(SecretService, AnswersWhereTheServiceNeverComesUp)
{
    StSecretService const service(StSecretService::kSilentStart);
    ExpectAnswers();
}

TEST_F(SecretService, AnswersWhereTheServiceIsMute)
{
    StSecretService const service;
    mStore.AddPassword("service", "account", "password");
    ASSERT_EQ(Get("service", "account"), "password");
    service.SilenceService();
    ExpectAnswers();
}

TEST_F(SecretService, OutlivesTheBus)
{
    StSecretService service;
    mStore.AddPassword("service", "account", "password");
    EXPECT_EQ(Get("service", "account"), "password");
    service.KillBus();
    // As a host does that has a main loop of GLib's.
    for (int i = 0; i < 100; ++i)
        g_main_context_iteration(nullptr, FALSE);
    EXPECT_EQ(Get("service", "account"), kNone);
    EXPECT_FALSE(mStore.Lock());
    g_main_context_iteration(nullptr, FALSE);
}

TEST_F(SecretService, FollowsToAnotherBus)
{
    {
        StSecretService const service;
        mStore.AddPassword("service", "account", "one");
    }
    StSecretService const service;
    EXPECT_EQ(Get("service", "account"), kNone);
    mStore.AddPassword("service", "account", "other");
    EXPECT_EQ(Get("service", "account"), "other");
}

TEST_F(SecretService, ServesSeveralThreads)
{
    StSecretService const service;
    EXPECT_TRUE(mStore.HasPwdDB());
    std::vector<std::future<std::string>> answers;
    for (int i = 0; i < 4; ++i) {
        answers.push_back(std::async(std::launch::async, [this, i] {
            std::string const account = std::to_string(i);
            mStore.AddPassword("service", account, "of " + account);
            return Get("service", account);
        }));
    }
    for (std::size_t i = 0; i < answers.size(); ++i)
        EXPECT_EQ(answers[i].get(), "of " + std::to_string(i));
}

TEST_F(SecretService, LocksAndUnlocks)
{
#ifndef LOAM_MOCK_PROMPTER
    GTEST_SKIP() << "there was no gcr to build the user with who answers";
#else
    sHadPrompt = true;
    StSecretService const service(StSecretService::kKeyring, LOAM_MOCK_PROMPTER,
                                  {"-", StSecretService::kPassword});
    mStore.AddPassword("service", "account", "password");
    EXPECT_TRUE(mStore.IsUnlocked());
    EXPECT_TRUE(mStore.Lock());
    EXPECT_FALSE(mStore.IsUnlocked());
    // The user refuses, and then doesn't.
    EXPECT_FALSE(mStore.Unlock());
    EXPECT_FALSE(mStore.IsUnlocked());
    EXPECT_TRUE(mStore.Unlock());
    EXPECT_TRUE(mStore.IsUnlocked());
    EXPECT_EQ(Get("service", "account"), "password");
#endif
}

TEST_F(SecretService, WaitsForTheUserAsLongAsItTakes)
{
#ifndef LOAM_MOCK_PROMPTER
    GTEST_SKIP() << "there was no gcr to build the user with who answers";
#else
    sHadPrompt = true;
    // Longer than all else may take.
    StSecretService const service(StSecretService::kKeyring, LOAM_MOCK_PROMPTER,
                                  {"+2500", StSecretService::kPassword});
    mStore.AddPassword("service", "account", "password");
    EXPECT_TRUE(mStore.Lock());
    EXPECT_EQ(Get("service", "account"), "password");
#endif
}

TEST_F(SecretService, KeepsAskingTheUserWhateverIsAllowed)
{
#ifndef LOAM_MOCK_PROMPTER
    GTEST_SKIP() << "there was no gcr to build the user with who answers";
#else
    sHadPrompt = true;
    StSecretService const service(StSecretService::kKeyring, LOAM_MOCK_PROMPTER,
                                  {"-", StSecretService::kPassword});
    mStore.AddPassword("service", "account", "password");
    EXPECT_TRUE(mStore.Lock());
    mStore.AllowUserInteraction(false);
    EXPECT_EQ(Get("service", "account"), kNone);
    EXPECT_EQ(Get("service", "account"), "password");
    EXPECT_TRUE(mStore.IsUnlocked());
#endif
}

TEST_F(SecretService, ALockedStoreWithoutAUserFails)
{
    sHadPrompt = true;
    StSecretService const service;
    mStore.AddPassword("service", "account", "password");
    EXPECT_TRUE(mStore.Lock());
    EXPECT_TRUE(mStore.Lock());
    EXPECT_FALSE(mStore.Unlock());
    EXPECT_EQ(Get("service", "account"), kNone);
    mStore.AddPassword("service", "account", "changed");
    mStore.AddPassword("service", "another", "new");
    EXPECT_EQ(Get("service", "another"), kNone);
    EXPECT_FALSE(mStore.IsUnlocked());
}
