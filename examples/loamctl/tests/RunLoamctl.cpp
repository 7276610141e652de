#include "loamctl/tests/RunLoamctl.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "testing/StTempDir.h"

extern char** environ;

namespace {

using Arguments = std::vector<std::string>;

// With the reason, since what a busy machine lacks can't be told afterwards.
std::system_error Failed(std::string const& what, int error)
{
    return {error, std::generic_category(), what};
}

pid_t Start(Arguments const& arguments, int output, int error)
{
    std::vector<char*> argv;
    for (std::string const& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, error, STDERR_FILENO);
    pid_t child = -1;
    int const failure = posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) throw Failed("cannot run " + arguments[0], failure);
    return child;
}

// A file for a stream of the child's.
struct StFile
{
    explicit StFile(std::string const& path)
        : mDescriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600))
    {
        int const error = errno;
        if (mDescriptor < 0) throw Failed("cannot write " + path, error);
    }

    StFile(StFile const&) = delete;
    StFile& operator=(StFile const&) = delete;

    ~StFile() { close(mDescriptor); }

    int mDescriptor;
};

int Wait(pid_t child)
{
    int status = 0;
    if (waitpid(child, &status, 0) != child) {
        int const error = errno;
        throw Failed("waitpid failed", error);
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

RunResult Run(Arguments const& arguments)
{
    StTempDir const streams;
    StFile const output(streams.Path("output"));
    StFile const error(streams.Path("error"));
    int const exitCode = Wait(Start(arguments, output.mDescriptor, error.mDescriptor));
    return {exitCode, streams.Read("output"), streams.Read("error")};
}

Arguments WithProgram(Arguments arguments)
{
    arguments.insert(arguments.begin(), LOAMCTL_PROGRAM);
    return arguments;
}

int MakeTerminal()
{
    int const terminal = posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0) {
        throw std::runtime_error("there is no terminal to be had");
    }
    return terminal;
}

}  // namespace

RunResult RunLoamctl(Arguments const& arguments)
{
    return Run(WithProgram(arguments));
}

RunResult RunLoamctlIn(std::string const& folder, Arguments const& arguments)
{
    Arguments all{"/bin/sh", "-c", R"(cd "$0" && exec "$@")", folder};
    for (std::string const& argument : WithProgram(arguments))
        all.push_back(argument);
    return Run(all);
}

RunResult RunShell(std::string const& line)
{
    return Run({"/bin/sh", "-c", R"(LOAMCTL=$0 DOCUMENTS=$1; eval "$2")", LOAMCTL_PROGRAM,
                LOAMCTL_DOCUMENTS, line});
}

RunResult RunLoamctlOnTerminal(Arguments const& arguments)
{
    StChannel terminal = StChannel::Terminal();
    StLoamctl loamctl(arguments, terminal.In(), terminal.In());
    terminal.CloseIn();
    RunResult result;
    result.mOutput = terminal.ReadAll();
    result.mExitCode = loamctl.Wait();
    return result;
}

StLoamctl::StLoamctl(Arguments const& arguments, int output, int error)
    : mChild(Start(WithProgram(arguments), output, error))
{
}

StLoamctl::~StLoamctl()
{
    if (mChild < 0) return;
    kill(mChild, SIGKILL);
    waitpid(mChild, nullptr, 0);
}

void StLoamctl::Signal(int signal) const
{
    if (mChild < 0) throw std::runtime_error("loamctl has ended");
    kill(mChild, signal);
}

int StLoamctl::Wait()
{
    int status = 0;
    if (waitpid(std::exchange(mChild, -1), &status, 0) < 0)
        throw std::runtime_error("waitpid failed");
    mKilled = WIFSIGNALED(status);
    return mKilled ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
}

StChannel::StChannel(int out, int in)
    : mOut(out)
    , mIn(in)
{
}

// Not inherited but as a stream, so that the end of each is seen.
StChannel StChannel::Pipe()
{
    int ends[2];
    if (pipe(ends) != 0) throw std::runtime_error("there is no pipe to be had");
    fcntl(ends[0], F_SETFD, FD_CLOEXEC);
    fcntl(ends[1], F_SETFD, FD_CLOEXEC);
    return {ends[0], ends[1]};
}

StChannel StChannel::Terminal()
{
    int const terminal = MakeTerminal();
    fcntl(terminal, F_SETFD, FD_CLOEXEC);
    return {terminal, open(ptsname(terminal), O_RDWR | O_NOCTTY | O_CLOEXEC)};
}

StChannel::~StChannel()
{
    close(mOut);
    CloseIn();
}

void StChannel::CloseIn()
{
    if (mIn >= 0) close(std::exchange(mIn, -1));
}

void StChannel::Fill() const
{
    int const flags = fcntl(mIn, F_GETFL);
    fcntl(mIn, F_SETFL, flags | O_NONBLOCK);
    // Once more by bytes: a pipe takes no long piece where a short one has room.
    std::string const filling(4096, '-');
    while (write(mIn, filling.data(), filling.size()) > 0) {}
    while (write(mIn, "-", 1) > 0) {}
    fcntl(mIn, F_SETFL, flags);
}

std::string StChannel::ReadUntil(std::string const& text) const
{
    std::string result;
    char buffer[4096];
    while (text.empty() || result.find(text) == result.npos) {
        // A terminal tells its end by an error.
        ssize_t const count = read(mOut, buffer, sizeof(buffer));
        if (count <= 0) break;
        result.append(buffer, static_cast<std::size_t>(count));
    }
    return result;
}

std::string StChannel::ReadAll() const
{
    return ReadUntil("");
}

std::vector<nlohmann::json> ParseLines(std::string const& output)
{
    std::vector<nlohmann::json> result;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        result.push_back(nlohmann::json::parse(line));
    }
    return result;
}

std::vector<nlohmann::json> ParseLines(std::string const& output, std::string const& type)
{
    std::vector<nlohmann::json> result;
    for (nlohmann::json const& object : ParseLines(output)) {
        if (object.at("type") == type) result.push_back(object);
    }
    return result;
}

std::string Document(std::string const& name)
{
    return LOAMCTL_DOCUMENTS "/" + name;
}

std::string ReadBytes(std::string const& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::string AsUTF16(std::u16string_view text, bool bigEndian)
{
    std::string bytes;
    for (char16_t const unit : text) {
        char const high = static_cast<char>(unit >> 8);
        char const low = static_cast<char>(unit & 0xFF);
        bytes += bigEndian ? high : low;
        bytes += bigEndian ? low : high;
    }
    return bytes;
}
