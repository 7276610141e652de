#include "testing/StChildProcess.h"

#include <cerrno>
#include <csignal>
#include <exception>
#include <stdexcept>

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

CTestLink::CTestLink(int descriptor)
    : mDescriptor(descriptor)
{
}

CTestLink::~CTestLink()
{
    close(mDescriptor);
}

void CTestLink::Say(std::string const& line) const
{
    std::string const sent = line + "\n";
    for (size_t done = 0; done < sent.size();) {
        ssize_t const count =
            send(mDescriptor, sent.data() + done, sent.size() - done, MSG_NOSIGNAL);
        if (count == -1 && errno == EINTR) continue;
        if (count == -1) return;
        done += static_cast<size_t>(count);
    }
}

std::string CTestLink::Hear() const
{
    std::string line;
    for (;;) {
        char next = 0;
        ssize_t const count = recv(mDescriptor, &next, 1, 0);
        if (count == -1 && errno == EINTR) continue;
        if (count <= 0) return "(gone)";
        if (next == '\n') return line;
        line += next;
    }
}

StChildProcess::StChildProcess(std::function<void(CTestLink& parent)> const& body)
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, ends) == -1)
        throw std::runtime_error("socketpair failed");
    mId = fork();
    if (mId == -1) throw std::runtime_error("fork failed");
    if (mId != 0) {
        close(ends[1]);
        mLink = new CTestLink(ends[0]);
        return;
    }

    close(ends[0]);
    CTestLink parent(ends[1]);
    try {
        body(parent);
    } catch (std::exception const& e) {
        parent.Say(std::string("exception: ") + e.what());
    }
    _exit(0);
}

StChildProcess::~StChildProcess()
{
    if (mIsRunning) Kill();
    delete mLink;
}

void StChildProcess::Kill()
{
    kill(mId, SIGKILL);
    WaitForEnd();
}

int StChildProcess::WaitForEnd()
{
    int status = 0;
    while (waitpid(mId, &status, 0) == -1 && errno == EINTR) {}
    mIsRunning = false;
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}
