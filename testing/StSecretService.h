// A session bus of a test's own, with a real Secret Service on it, headless, in a home of its own.
//
//     if (!StSecretService::IsThere()) GTEST_SKIP() << "...";
//     StSecretService const service;
//     CPwdDBServices().AddPassword("service", "account", "password");
#pragma once

#include "testing/StEnvironment.h"
#include "testing/StTempDir.h"

#include <string>
#include <vector>

#include <sys/types.h>

/// While it lives, the process's session bus is this one. Uses the environment: only for tests that
/// run no thread beside.
class StSecretService
{
public:
    enum Kind
    {
        kKeyring,      ///< GNOME Keyring, unlocked; its default collection opens by `kPassword`
        kNoService,    ///< a bus without a service that could be started
        kSilentStart,  ///< a service that starts and never comes up
    };

    static constexpr char const* kPassword = "of the keyring";

    /// Whether the programs for this are installed.
    static bool IsThere();

    /// `answers` are what a user says who is asked for the password, one after another; "-" is a
    /// refusal. They need `prompter`, the path of the program that gives them.
    explicit StSecretService(Kind kind = kKeyring,
                             std::string const& prompter = "",
                             std::vector<std::string> const& answers = {});
    StSecretService(StSecretService const&) = delete;
    StSecretService& operator=(StSecretService const&) = delete;
    /// Ends all that was started.
    ~StSecretService();

    /// Ends the bus in the middle of its life.
    void KillBus();
    /// The service, which has been started, says nothing any more, and holds its name on the bus.
    void SilenceService() const;

private:
    pid_t Start(std::vector<std::string> const& arguments, int output, int input) const;
    /// Starts a program and waits for its first line.
    std::string StartTalker(std::vector<std::string> const& arguments, pid_t& child);
    void SignalService(int signal) const;

    StTempDir mFolder;
    std::string mAddress;
    pid_t mBus = -1;
    pid_t mPrompter = -1;
    int mPrompterInput = -1;
    StEnvironment mEnvironment;
};
