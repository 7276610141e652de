#include "loamctl/tests/RunLoamctl.h"

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "testing/StTempDir.h"

extern char** environ;

namespace {

using Arguments = std::vector<std::string>;

// Files for the child's streams; a terminal is a file too.
struct Streams
{
    std::string mOutput;
    std::string mError;
};

pid_t Start(Arguments const& arguments, Streams const& streams)
{
    std::vector<char*> argv;
    for (std::string const& argument : arguments)
        argv.push_back(const_cast<char*>(argument.c_str()));
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    int const flags = O_WRONLY | O_CREAT | O_NOCTTY;
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, streams.mOutput.c_str(), flags, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, streams.mError.c_str(), flags, 0600);
    pid_t child = -1;
    int const error = posix_spawn(&child, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::runtime_error("cannot run " + arguments[0]);
    return child;
}

int Wait(pid_t child)
{
    int status = 0;
    if (waitpid(child, &status, 0) != child) throw std::runtime_error("waitpid failed");
    return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

RunResult Run(Arguments const& arguments)
{
    StTempDir const streams;
    int const exitCode = Wait(Start(arguments, {streams.Path("output"), streams.Path("error")}));
    return {exitCode, streams.Read("output"), streams.Read("error")};
}

Arguments WithProgram(Arguments arguments)
{
    arguments.insert(arguments.begin(), LOAMCTL_PROGRAM);
    return arguments;
}

// Everything until the other side is closed, which a terminal tells by an error.
std::string ReadAll(int descriptor)
{
    std::string result;
    char buffer[4096];
    for (;;) {
        ssize_t const count = read(descriptor, buffer, sizeof(buffer));
        if (count <= 0) return result;
        result.append(buffer, static_cast<std::size_t>(count));
    }
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
    int const terminal = posix_openpt(O_RDWR | O_NOCTTY);
    if (terminal < 0 || grantpt(terminal) != 0 || unlockpt(terminal) != 0) {
        throw std::runtime_error("there is no terminal to be had");
    }
    std::string const name = ptsname(terminal);
    pid_t const child = Start(WithProgram(arguments), {name, name});
    RunResult result;
    result.mOutput = ReadAll(terminal);
    result.mExitCode = Wait(child);
    close(terminal);
    return result;
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
