#include "testing/StServiceDaemon.h"

#include <stdexcept>

#include <fcntl.h>
#include <sched.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "testing/OwnMount.h"

extern char** environ;

StServiceDaemon::StServiceDaemon()
{
    if (!MountOwnFileSystem("/run", "size=16m") || unshare(CLONE_NEWNET) != 0) {
        mWhyNot = "this process may not have a network of its own";
        return;
    }
    Run();
    std::string const answer = Hear();
    if (answer != "ready") mWhyNot = answer;
}

StServiceDaemon::~StServiceDaemon()
{
    if (mHelper < 0) return;
    close(mToHelper);
    waitpid(mHelper, nullptr, 0);
    close(mFromHelper);
}

void StServiceDaemon::Stop()
{
    Say("stop");
    if (Hear() != "stopped") throw std::runtime_error("the daemon doesn't stop");
}

void StServiceDaemon::Start()
{
    Say("start");
    if (Hear() != "ready") throw std::runtime_error("the daemon doesn't start");
}

// The script ends when its input does, also if this process dies.
void StServiceDaemon::Run()
{
    int input[2];
    int output[2];
    if (pipe2(input, O_CLOEXEC) != 0 || pipe2(output, O_CLOEXEC) != 0)
        throw std::runtime_error("there is no pipe to be had");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    char shell[] = "/bin/bash";
    char script[] = LOAM_AVAHI_ENV;
    char* argv[] = {shell, script, nullptr};
    int const error = posix_spawn(&mHelper, shell, &actions, nullptr, argv, environ);
    posix_spawn_file_actions_destroy(&actions);
    close(input[0]);
    close(output[1]);
    mToHelper = input[1];
    mFromHelper = output[0];
    if (error != 0) throw std::runtime_error("cannot run " LOAM_AVAHI_ENV);
}

void StServiceDaemon::Say(std::string const& order) const
{
    std::string const line = order + "\n";
    if (write(mToHelper, line.data(), line.size()) != static_cast<ssize_t>(line.size()))
        throw std::runtime_error("the helper of the daemon has gone");
}

std::string StServiceDaemon::Hear() const
{
    std::string line;
    for (char c = 0; read(mFromHelper, &c, 1) == 1 && c != '\n';)
        line += c;
    return line.empty() ? "the helper of the daemon has gone" : line;
}
