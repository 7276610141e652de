#include "testing/StSecretService.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr char const* kBusConfiguration =
    R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=@FOLDER@/bus</listen>
  <servicedir>@FOLDER@/services</servicedir>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

constexpr char const* kServiceFile = "[D-BUS Service]\n"
                                     "Name=org.freedesktop.secrets\n"
                                     "Exec=/bin/sh @FOLDER@/start\n";

// The bus waits until the keyring has taken its name, so that nobody else has to. An empty password
// would make no keyring.
constexpr char const* kStartKeyring =
    "echo $$ >@FOLDER@/service.pid\n"
    "if [ -s @FOLDER@/prompter ]; then\n"
    "    export GNOME_KEYRING_TEST_PROMPTER=$(cat @FOLDER@/prompter)\n"
    "fi\n"
    "exec gnome-keyring-daemon --unlock --foreground --components=secrets \\\n"
    "    <@FOLDER@/password >@FOLDER@/service.log 2>&1\n";

constexpr char const* kStartNothing = "echo $$ >@FOLDER@/service.pid\n"
                                      "exec sleep 1000\n";

std::string Filled(std::string text, std::string const& folder)
{
    std::string const place = "@FOLDER@";
    for (std::size_t at = text.find(place); at != text.npos; at = text.find(place, at))
        text.replace(at, place.size(), folder);
    return text;
}

bool HasProgram(std::string const& name)
{
    return std::system(("command -v " + name + " >/dev/null 2>&1").c_str()) == 0;
}

std::string ReadLine(int descriptor)
{
    std::string line;
    for (char next = 0;;) {
        ssize_t const count = read(descriptor, &next, 1);
        if (count == -1 && errno == EINTR) continue;
        if (count <= 0) throw std::runtime_error("a program of the test's session has ended early");
        if (next == '\n') return line;
        line += next;
    }
}

void End(pid_t child)
{
    if (child == -1) return;
    kill(child, SIGKILL);
    while (waitpid(child, nullptr, 0) == -1 && errno == EINTR) {}
}

}  // namespace

bool StSecretService::IsThere()
{
    return HasProgram("dbus-daemon") && HasProgram("gnome-keyring-daemon");
}

StSecretService::StSecretService(Kind kind,
                                 std::string const& prompter,
                                 std::vector<std::string> const& answers)
    : mAddress("unix:path=" + mFolder.Path("bus"))
    , mEnvironment("DBUS_SESSION_BUS_ADDRESS", mAddress)
{
    std::string const& folder = mFolder.Path();
    mFolder.Write("bus.conf", Filled(kBusConfiguration, folder));
    mFolder.Write("password", kPassword);
    mFolder.MakeFolder("services");
    for (char const* const name : {"home", "run", "data", "config", "cache"})
        chmod(mFolder.MakeFolder(name).c_str(), 0700);
    if (kind != kNoService) {
        mFolder.Write("services/org.freedesktop.secrets.service", Filled(kServiceFile, folder));
        mFolder.Write("start", Filled(kind == kKeyring ? kStartKeyring : kStartNothing, folder));
    }
    StartTalker({"dbus-daemon", "--config-file=" + mFolder.Path("bus.conf"), "--nofork",
                 "--print-address=1"},
                mBus);
    if (prompter.empty()) return;
    std::vector<std::string> arguments{prompter};
    arguments.insert(arguments.end(), answers.begin(), answers.end());
    std::string const name = StartTalker(arguments, mPrompter);
    mFolder.Write("prompter", name);
}

StSecretService::~StSecretService()
{
    SignalService(SIGKILL);
    if (mPrompterInput != -1) close(mPrompterInput);
    End(mPrompter);
    End(mBus);
}

void StSecretService::KillBus()
{
    End(mBus);
    mBus = -1;
}

void StSecretService::SilenceService() const
{
    SignalService(SIGSTOP);
}

pid_t StSecretService::Start(std::vector<std::string> const& arguments, int output, int input) const
{
    char const* const path = std::getenv("PATH");
    std::vector<std::string> const environment{
        std::string("PATH=") + (path ? path : "/usr/bin:/bin"),
        "LANG=C",
        "DBUS_SESSION_BUS_ADDRESS=" + mAddress,
        "HOME=" + mFolder.Path("home"),
        "XDG_RUNTIME_DIR=" + mFolder.Path("run"),
        "XDG_DATA_HOME=" + mFolder.Path("data"),
        "XDG_CONFIG_HOME=" + mFolder.Path("config"),
        "XDG_CACHE_HOME=" + mFolder.Path("cache"),
    };
    auto const pointersTo = [](std::vector<std::string> const& texts) {
        std::vector<char*> pointers;
        pointers.reserve(texts.size() + 1);
        for (std::string const& text : texts)
            pointers.push_back(const_cast<char*>(text.c_str()));
        pointers.push_back(nullptr);
        return pointers;
    };
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = -1;
    int const error = posix_spawnp(&child, arguments[0].c_str(), &actions, nullptr,
                                   pointersTo(arguments).data(), pointersTo(environment).data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("cannot run " + arguments[0]);
    return child;
}

std::string StSecretService::StartTalker(std::vector<std::string> const& arguments, pid_t& child)
{
    int output[2];
    int input[2];
    if (pipe2(output, O_CLOEXEC) != 0 || pipe2(input, O_CLOEXEC) != 0)
        throw std::runtime_error("there are no pipes");
    child = Start(arguments, output[1], input[0]);
    close(output[1]);
    close(input[0]);
    std::string line = ReadLine(output[0]);
    close(output[0]);
    // Who talks to us goes when we do.
    if (mPrompterInput != -1) close(mPrompterInput);
    mPrompterInput = input[1];
    return line;
}

// The service is a child of the bus, but keeps its number through exec.
void StSecretService::SignalService(int signal) const
{
    if (!mFolder.Has("service.pid")) return;
    int const service = std::atoi(mFolder.Read("service.pid").c_str());
    if (service > 0) kill(service, signal);
}
