#include "testing/OwnMount.h"

#include <string>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

namespace {

bool Write(char const* path, std::string const& text)
{
    int const descriptor = open(path, O_WRONLY);
    if (descriptor == -1) return false;
    bool const isWritten = write(descriptor, text.data(), text.size()) != -1;
    close(descriptor);
    return isWritten;
}

// Without root, as root of a user namespace.
bool LeaveMounts()
{
    std::string const user = std::to_string(geteuid());
    std::string const group = std::to_string(getegid());
    if (user == "0") return unshare(CLONE_NEWNS) == 0;
    return unshare(CLONE_NEWNS | CLONE_NEWUSER) == 0 && Write("/proc/self/setgroups", "deny") &&
           Write("/proc/self/uid_map", "0 " + user + " 1") &&
           Write("/proc/self/gid_map", "0 " + group + " 1");
}

}  // namespace

bool MountOwnFileSystem(char const* place, char const* options)
{
    return LeaveMounts() && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("loam-test", place, "tmpfs", 0, options) == 0;
}
