#include "net/tests/StProgram.h"

#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

StProgram::StProgram(std::string const& command)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) == -1) throw std::runtime_error("pipe2 failed");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF);
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    char const* const arguments[] = {"sh", "-c", command.c_str(), nullptr};
    int const error = posix_spawn(&mId, "/bin/sh", &actions, &attributes,
                                  const_cast<char* const*>(arguments), environ);
    posix_spawnattr_destroy(&attributes);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    mOutput = fdopen(ends[0], "r");
    if (error != 0 || !mOutput) throw std::runtime_error("no shell");
}

StProgram::~StProgram()
{
    kill(-mId, SIGKILL);
    while (waitpid(mId, nullptr, 0) == -1 && errno == EINTR) {}
    std::fclose(mOutput);
}

bool StProgram::IsThere(char const* name)
{
    StProgram which(std::string("command -v ") + name);
    return which.Hear() != "(gone)";
}

std::string StProgram::Hear()
{
    std::string line;
    for (int next = 0; (next = std::getc(mOutput)) != EOF;) {
        if (next == '\n') return line;
        line += static_cast<char>(next);
    }
    return line.empty() ? "(gone)" : line;
}

std::string StProgram::HearOf(std::string const& text)
{
    for (;;) {
        std::string line = Hear();
        if (line == "(gone)" || line.find(text) != std::string::npos) return line;
    }
}
