#include "foundation/StNotCancelled.h"
#include "system/platform/CBasicSubprocessPlatform.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

// Some versions of this header forget to say so themselves.
extern "C" {
#include <sys/pidfd.h>
}

namespace {

constexpr int kFirstOwnDescriptor = STDERR_FILENO + 1;
// What an ordinary user's pipe may hold where the kernel doesn't tell.
constexpr int kUsualLargestPipe = 1 << 20;
constexpr size_t kReadSize = 1 << 16;
constexpr int kMicroSecondsPerMilliSecond = 1000;

// A descriptor that is closed with the scope; -1 for none.
class StDescriptor
{
public:
    explicit StDescriptor(int descriptor = -1)
        : mDescriptor(descriptor)
    {
    }

    StDescriptor(StDescriptor&& other) noexcept
        : mDescriptor(std::exchange(other.mDescriptor, -1))
    {
    }

    StDescriptor& operator=(StDescriptor&& other) noexcept
    {
        std::swap(mDescriptor, other.mDescriptor);
        return *this;
    }

    ~StDescriptor() { Close(); }

    void Close()
    {
        if (mDescriptor == -1) return;
        StNotCancelled const notCancelled;
        close(std::exchange(mDescriptor, -1));
    }

    int Get() const { return mDescriptor; }

    bool IsOpen() const { return mDescriptor != -1; }

private:
    int mDescriptor;
};

// One output of a child.
struct Pipe
{
    StDescriptor mReading;
    StDescriptor mWriting;
};

int LargestPipe()
{
    StDescriptor const file(open("/proc/sys/fs/pipe-max-size", O_RDONLY | O_CLOEXEC));
    char digits[16];
    ssize_t const size = file.IsOpen() ? read(file.Get(), digits, sizeof digits) : 0;
    int largest = kUsualLargestPipe;
    if (size > 0) std::from_chars(digits, digits + size, largest);
    return largest;
}

// Neither end is inherited by any child, and the writing one is out of the way of the descriptors
// that the child's outputs get.
bool Make(Pipe& made, int size)
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) == -1) return false;
    made = {StDescriptor(ends[0]), StDescriptor(ends[1])};
    if (ends[1] < kFirstOwnDescriptor) {
        made.mWriting = StDescriptor(fcntl(ends[1], F_DUPFD_CLOEXEC, kFirstOwnDescriptor));
        if (!made.mWriting.IsOpen()) return false;
    }
    // The pipes of a user share a limit: half is better than what there is.
    int const present = std::max(fcntl(made.mReading.Get(), F_GETPIPE_SZ), 0);
    while (size > present && fcntl(made.mReading.Get(), F_SETPIPE_SZ, size) == -1)
        size /= 2;
    return true;
}

// How the child begins: its outputs are pipes, no signal is blocked, and no further descriptor
// stays, even one that was opened without a thought for children.
class StSpawnSetup
{
public:
    StSpawnSetup(Pipe const& output, Pipe const& errors)
    {
        posix_spawn_file_actions_init(&mActions);
        posix_spawnattr_init(&mAttributes);
        sigset_t none;
        sigemptyset(&none);
        posix_spawnattr_setsigmask(&mAttributes, &none);
        posix_spawnattr_setflags(&mAttributes, POSIX_SPAWN_SETSIGMASK);
        mError = posix_spawn_file_actions_adddup2(&mActions, output.mWriting.Get(), STDOUT_FILENO);
        if (mError == 0) {
            mError =
                posix_spawn_file_actions_adddup2(&mActions, errors.mWriting.Get(), STDERR_FILENO);
        }
        if (mError == 0)
            mError = posix_spawn_file_actions_addclosefrom_np(&mActions, kFirstOwnDescriptor);
    }

    StSpawnSetup(StSpawnSetup const&) = delete;
    StSpawnSetup& operator=(StSpawnSetup const&) = delete;

    ~StSpawnSetup()
    {
        posix_spawnattr_destroy(&mAttributes);
        posix_spawn_file_actions_destroy(&mActions);
    }

    // 0 for none.
    pid_t Spawn(char* const* arguments) const
    {
        pid_t process = 0;
        bool const isStarted = mError == 0 && posix_spawn(&process, arguments[0], &mActions,
                                                          &mAttributes, arguments, environ) == 0;
        return isStarted ? process : 0;
    }

private:
    posix_spawn_file_actions_t mActions;
    posix_spawnattr_t mAttributes;
    int mError;
};

// A child by its process descriptor, which never comes to mean another process; by its number
// where there is none.
struct ChildName
{
    pid_t mProcess;
    StDescriptor mDescriptor;
};

// Whether the child has ended; it is then collected. Without WNOHANG waits until it has. A child
// that can't be waited for has: the system collected it itself, since SIGCHLD is ignored, or
// another wait of this process has done so.
bool HasEnded(ChildName const& child, int options)
{
    bool const isByDescriptor = child.mDescriptor.IsOpen();
    auto const id = static_cast<id_t>(isByDescriptor ? child.mDescriptor.Get() : child.mProcess);
    siginfo_t info{};
    while (waitid(isByDescriptor ? P_PIDFD : P_PID, id, &info, WEXITED | options) == -1) {
        if (errno != EINTR) return true;
    }
    return info.si_pid != 0;
}

// Collects a child that outlives its call, in a thread that ends with it and takes no signals.
// Where there can be no thread it is left to the system, until this process ends.
void CollectLater(ChildName child)
{
    sigset_t all;
    sigset_t former;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &former);
    try {
        std::thread([left = std::move(child)] { HasEnded(left, 0); }).detach();
    } catch (std::system_error const&) {
    } catch (std::bad_alloc const&) {
    }
    pthread_sigmask(SIG_SETMASK, &former, nullptr);
}

bool ReadToEnd(StDescriptor const& pipe, std::string& text)
{
    text.clear();
    for (;;) {
        size_t const size = text.size();
        text.resize(size + kReadSize);
        ssize_t const count = read(pipe.Get(), text.data() + size, kReadSize);
        text.resize(size + static_cast<size_t>(std::max(count, ssize_t{0})));
        if (count == 0) return true;
        if (count == -1 && errno != EINTR) return false;
    }
}

class CSubprocessLinux final : public CBasicSubprocess
{
public:
    ~CSubprocessLinux() override
    {
        if (mChild.mProcess != 0 && IsRunning()) CollectLater(std::move(mChild));
    }

    // At most once.
    bool Launch(std::string const& path, std::vector<std::string> const& arguments)
    {
        std::vector<char*> pointers{const_cast<char*>(path.c_str())};
        for (std::string const& argument : arguments)
            pointers.push_back(const_cast<char*>(argument.c_str()));
        pointers.push_back(nullptr);

        Pipe output;
        Pipe errors;
        int const size = LargestPipe();
        if (!Make(output, size) || !Make(errors, size)) return false;
        mChild.mProcess = StSpawnSetup(output, errors).Spawn(pointers.data());
        if (mChild.mProcess == 0) return false;
        mOutput = std::move(output.mReading);
        mErrors = std::move(errors.mReading);
        // First, so that one is free: a child that can't be named by a descriptor is at the mercy
        // of its number's being given away, if SIGCHLD is ignored.
        output.mWriting.Close();
        errors.mWriting.Close();
        mChild.mDescriptor = StDescriptor(pidfd_open(mChild.mProcess, 0));
        return true;
    }

    int GetProcessId() const override { return mChild.mProcess; }

    bool IsRunning() override { return IsStillRunning(WNOHANG); }

    void WaitUntilExit() override { IsStillRunning(0); }

    void Nap(int microSeconds) override
    {
        pollfd end{mChild.mDescriptor.Get(), POLLIN, 0};
        poll(&end, 1, microSeconds / kMicroSecondsPerMilliSecond);
    }

    void Interrupt() override { Send(SIGINT); }

    void Terminate() override { Send(SIGTERM); }

    bool ReadOutput(std::string& text) override { return ReadToEnd(mOutput, text); }

    bool ReadErrors(std::string& text) override { return ReadToEnd(mErrors, text); }

private:
    bool IsStillRunning(int options)
    {
        mHasEnded = mHasEnded || HasEnded(mChild, options);
        return !mHasEnded;
    }

    void Send(int signal) const
    {
        if (mHasEnded) return;
        if (mChild.mDescriptor.IsOpen()) {
            pidfd_send_signal(mChild.mDescriptor.Get(), signal, nullptr, 0);
        } else {
            kill(mChild.mProcess, signal);
        }
    }

    ChildName mChild{0, StDescriptor()};
    StDescriptor mOutput;
    StDescriptor mErrors;
    bool mHasEnded = false;
};

class CSubprocessPlatformLinux final : public CBasicSubprocessPlatform
{
public:
    bool FileExists(std::string const& path) const override
    {
        struct stat info;
        return stat(path.c_str(), &info) == 0;
    }

    std::unique_ptr<CBasicSubprocess> Launch(std::string const& path,
                                             std::vector<std::string> const& arguments) override
    {
        auto child = std::make_unique<CSubprocessLinux>();
        if (!child->Launch(path, arguments)) return nullptr;
        return child;
    }
};

}  // namespace

CBasicSubprocessPlatform* NewSubprocessPlatform()
{
    return new CSubprocessPlatformLinux;
}
