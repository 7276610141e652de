#include "loamctl/Passphrase.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <fmt/format.h>
#include <termios.h>
#include <unistd.h>

#include "loamctl/Command.h"
#include "loamctl/Failure.h"
#include "loamctl/Interruption.h"
#include "loamctl/WriteAll.h"

namespace {

constexpr std::size_t kLongestLine = 1 << 16;

std::string ReadLine(int descriptor, std::string const& what)
{
    std::string line;
    for (char next = 0;;) {
        ssize_t const count = read(descriptor, &next, 1);
        int const error = errno;
        ThrowIfInterrupted();
        if (count < 0 && error == EINTR) continue;
        if (count < 0) {
            throw CUsageError(
                fmt::format("the {}: {}", what, std::generic_category().message(error)));
        }
        if (count == 0 || next == '\n') return line;
        line += next;
        if (line.size() > kLongestLine) throw CUsageError(fmt::format("the {} is too long", what));
    }
}

// The terminal of the process without echo, put back at the end.
class StSilentTerminal
{
public:
    StSilentTerminal()
        : mTerminal(open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        mIsThere = mTerminal >= 0 && tcgetattr(mTerminal, &mFormer) == 0;
        if (!mIsThere) return;
        termios silent = mFormer;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        silent.c_lflag |= ECHONL;
        mIsThere = tcsetattr(mTerminal, TCSAFLUSH, &silent) == 0;
    }

    StSilentTerminal(StSilentTerminal const&) = delete;
    StSilentTerminal& operator=(StSilentTerminal const&) = delete;

    ~StSilentTerminal()
    {
        if (mIsThere) tcsetattr(mTerminal, TCSAFLUSH, &mFormer);
        if (mTerminal >= 0) close(mTerminal);
    }

    bool IsThere() const { return mIsThere; }

    std::string Ask(std::string const& question, std::string const& what) const
    {
        WriteAll(mTerminal, question + ": ");
        return ReadLine(mTerminal, what);
    }

private:
    int mTerminal;
    bool mIsThere = false;
    termios mFormer = {};
};

}  // namespace

std::string ReadPassphrase(std::string const& what, int descriptor, bool twice, Session& session)
{
    if (descriptor >= 0) return ReadLine(descriptor, what);
    // So that Ctrl-C leaves the terminal as it was.
    session.mInterruption.Start();
    StSilentTerminal const terminal;
    if (!terminal.IsThere())
        throw CUsageError(fmt::format("there is no terminal to ask for the {} on", what));
    std::string answer = terminal.Ask(what, what);
    if (twice && terminal.Ask(what + " again", what) != answer)
        throw CUsageError(fmt::format("the {} was not the same twice", what));
    return answer;
}
