// What process control does: priority, launching and ending other processes, helper programs,
// startup processes, processors and their load.
//
// Nothing here throws but `std::bad_alloc`: each operation tells how it reports a failure. Texts
// are UTF-8. Any thread may call, but two at once must not sample the load of one object
// (`GetCPUActivity`).
#pragma once

#include "files/CBasicFileSpec.h"
#include "foundation/LoamExport.h"

#include <string>
#include <vector>

class CFileSpec;

class LOAM_EXPORT CBasicProcessServicesImp
{
public:
    /// Five levels, which set the process's nice value to 20, 10, 0, -10 and -20.
    enum Priority : unsigned int
    {
        kPriorityLowest = 0,
        kPriorityLow = 1,
        kPriorityNormal = 2,
        kPriorityHigh = 3,
        kPriorityHighest = 4,
    };

    CBasicProcessServicesImp() = default;
    CBasicProcessServicesImp(CBasicProcessServicesImp const&) = delete;
    CBasicProcessServicesImp& operator=(CBasicProcessServicesImp const&) = delete;

    // Virtual operations keep their order for ever; new ones go last.

    virtual ~CBasicProcessServicesImp() = default;
    /// Sets the priority of this process with all its threads; any other number than those named
    /// sets that of `kPriorityNormal`. 0, or -1 with `errno` if the system refuses, as it does with
    /// a higher one for an ordinary user.
    virtual int SetPriority(Priority priority) const = 0;
    /// The level by the nice value: 20 and more is `kPriorityLowest`, 1 to 19 `kPriorityLow`, 0
    /// `kPriorityNormal`, -20 to -1 `kPriorityHighest`. So `kPriorityHigh` reads back as
    /// `kPriorityHighest`, as does a failure, and on Linux, which cuts 20 to 19, `kPriorityLowest`
    /// reads back as `kPriorityLow`.
    virtual Priority GetPriority() const = 0;
    /// Turns the process into one without a place in the desktop's lists, or back. False, with no
    /// effect, where the desktop doesn't offer that; always so on Linux.
    virtual bool SetDaemonMode(bool isDaemon) const = 0;
    /// Changes the name that the desktop shows for the process. False where the desktop doesn't
    /// offer that; always so on Linux.
    virtual bool ChangeProcessName(char const* name) const = 0;
    /// Does nothing on the systems of today.
    virtual void EnableCrashUserAlerts(bool enable) const = 0;
    /// From here on the children of this process leave nothing behind when they end. Nobody can
    /// then learn how they ended; a wait for one of them fails.
    virtual void PreventChildZombies() const = 0;
    /// Starts a program and doesn't wait for it. The identifier of the child, which the caller
    /// collects, or 0 if it can't be started. A folder whose name ends in ".app" stands for the
    /// program inside it where the desktop finds one. The program's path is argument 0 of the
    /// child, each further argument is cut at its first NUL, and no search path is looked at. The
    /// last argument isn't read.
    ///
    /// The child has all that a child inherits: environment, folder, priority, open descriptors
    /// that aren't marked close-on-exec, and the calling thread's blocked signals. Signals that are
    /// ignored stay ignored in it: SIGPIPE once this process has used the network, SIGCHLD after
    /// `PreventChildZombies`.
    virtual int LaunchProcess(CFileSpec const& program,
                              std::vector<std::string> const& arguments,
                              bool unused) const = 0;
    /// The identifier of this process.
    virtual int GetCurrentProcess() const = 0;
    /// When the system was started, in seconds since 1970-01-01 00:00:00 UTC; -1 if it doesn't
    /// tell. On Linux it may be a second off from one call to another.
    virtual long GetBootTime() const = 0;
    /// Whether there is such a process. One that has ended and waits for its parent to collect it
    /// isn't running.
    virtual bool IsProcessRunning(int process) const = 0;
    /// Asks the process to end (SIGTERM), and kills it (SIGKILL) if it is still there after three
    /// seconds. Blocks until it is gone, for up to these three seconds. As with `kill`, 0 is the
    /// caller's own process group, and a negative number a group or everything: never hand on the
    /// 0 of a launch that failed.
    virtual void KillProcess(int process) const = 0;

    // Startup processes: programs that the desktop's `launchd` starts by itself. `label` is the
    // name of one, and its file is the label with ".plist" behind it: with `system` false that of
    // an agent, in the folder "LaunchAgents" of `cContainerUserLibrary`, started when this user
    // logs in; with `system` true that of a daemon, in "LaunchDaemons" of
    // `cContainerMachineLibrary`, started with the machine under the name of the user who installed
    // it. Files are made the same way on Linux, in the containers as they are there, for a
    // `launchd` that isn't.
    //
    // A label's illegal characters are made legal in the file's name and a long one is cut, as
    // `CFileSpec` tells, so that two labels can come to share a file. A label that isn't UTF-8 or
    // holds a NUL has no file: it can't be installed. Nobody is kept from installing the same label
    // at the same time.

    /// Writes the file that has `program` started with `arguments` (the program itself isn't one of
    /// them). Starts nothing. A folder that is a bundle stands for the program inside it. The file
    /// is XML, as `plutil` writes it, and stays untouched if it says the same already, byte for
    /// byte; else the old one is removed by `CFile::DeleteOrTrashWithoutError`. The folder above
    /// the file is made where it is missing.
    ///
    /// True if the file stands. Mind that a file that is there and can't be changed counts as
    /// installed, whatever it says: ask `CheckStartupProcess`. False if the file can't be made,
    /// which can leave none where an old one was, and for a path or an argument that isn't UTF-8 or
    /// holds a NUL. Sets the process's `umask` as `CFile::Create` does.
    virtual bool InstallStartupProcess(CFileSpec const& program,
                                       std::string const& label,
                                       bool system,
                                       std::vector<std::string> const& arguments) const = 0;
    /// Whether the file is there, or something that can't be looked at; whether it can be changed,
    /// or made; and whether it says what `InstallStartupProcess` would write now, by what it means:
    /// other keys, the form of the property list and which of two ways to name a program without
    /// arguments don't count. A file of more than a megabyte isn't up to date. Whether the system
    /// has loaded it isn't looked at.
    ///
    /// | `exists` | `writable` | `upToDate` | |
    /// |---|---|---|---|
    /// | false | true | false | not installed |
    /// | false | false | false | can't be installed |
    /// | true | true | false | says something else |
    /// | true | true | true | installed |
    /// | true | false | either | can't be changed |
    virtual void CheckStartupProcess(CFileSpec const& program,
                                     std::string const& label,
                                     bool system,
                                     std::vector<std::string> const& arguments,
                                     bool& exists,
                                     bool& upToDate,
                                     bool& writable) const = 0;
    /// Removes the file, by `CFile::DeleteOrTrashWithoutError`, and with `unloadFirst` calls
    /// `UnloadStartupProcess` before that. `program` isn't looked at. No failure is reported.
    virtual void UninstallStartupProcess(CFileSpec const& program,
                                         std::string const& label,
                                         bool system,
                                         bool unloadFirst) const = 0;
    /// Has `/bin/launchctl` enable, load and start this user's agent; "stop" ends its process. Both
    /// answer what the commands said, a line for each that said anything, with its name ahead of
    /// it: nothing is a good sign, and all that Linux has to say. Labels end at their first NUL.
    /// The commands look for the file under the label as it is: one whose characters had to be made
    /// legal, or that was cut, isn't found. Each of up to three commands blocks for up to 11
    /// seconds.
    virtual std::string StartStartupProcess(std::string const& label) const = 0;
    virtual std::string StopStartupProcess(std::string const& label) const = 0;

    // Helper programs.

    /// Runs the program at `launchPath` to its end and answers what it printed: its output, and
    /// what it wrote to standard error behind a line "stderr:" with a blank line ahead of it, each
    /// only if there is any. The text ends at its first NUL. Empty if the program can't be started
    /// or its output isn't UTF-8; errors that aren't are left out. How the program ended isn't
    /// told. `launchPath` is taken as it is, without a search path, and is argument 0 of the child;
    /// each argument is cut at its first NUL. Bytes that aren't UTF-8 are handed over on Linux,
    /// while the desktop doesn't start the program.
    ///
    /// Blocks. A `timeoutSeconds` above 0 ends the program: SIGINT when that time has passed by the
    /// system's clock, SIGTERM a second later, up to 0.1 s late each, and nothing after that.
    /// With 0, less, or no number it may run for ever. The outputs are read when that wait is over,
    /// output first, until nobody holds them open: a program that ignores both signals holds the
    /// caller until it closes them, as does a child of its own that lives on. And a program that
    /// prints more than a pipe holds gets no further and is ended by the timeout; without one the
    /// call never returns. Pipes are as large as the system lets them be: on Linux 1 MB unless it
    /// is set otherwise, less when the user has many of them.
    ///
    /// The child inherits standard input, environment, folder, user and priority, and no other
    /// descriptor. On Linux no signal is blocked in it. Signals that are ignored stay ignored:
    /// SIGPIPE once this process has used the network, SIGCHLD after `PreventChildZombies`, which
    /// doesn't disturb this call. A child that outlives the call leaves no zombie; a thread waits
    /// for it.
    virtual std::string ExecuteSubprocess(std::string const& launchPath,
                                          std::vector<std::string> const& arguments,
                                          float timeoutSeconds) const = 0;

    // Processors.

    /// How many cores and how many processors (threads of a core) the machine has, those that
    /// are switched off among them; but Linux tells nothing of a core that is switched off, and it
    /// isn't counted. 0 for what the system doesn't tell.
    virtual void GetCPUInfo(int& physical, int& logical) const = 0;
    /// The load since the call before. The first one only takes a sample and answers false, as does
    /// one for which the system has no answer: `perProcessorLoad` is then empty and the other two
    /// are as they were.
    ///
    /// Each load is a fraction: 1.0 is one processor's whole time. `totalLoad` is the sum over all
    /// of them, and `processLoad` what this process used. A processor with no tick (10 ms) of the
    /// system's clock between two calls has a load of 0: call a few times a second at most. Two
    /// calls within one microsecond leave `processLoad` infinite or no number.
    virtual bool GetCPUActivity(float& totalLoad,
                                std::vector<float>& perProcessorLoad,
                                float& processLoad) const = 0;

    // More of startup processes.

    /// Has `/bin/launchctl` unload this user's agent, and answers like `StartStartupProcess`.
    virtual std::string UnloadStartupProcess(std::string const& label) const = 0;
    /// Finds the file of a label in the folder `folderName` of a container, and makes that folder
    /// where it is missing. `exists`: something stands there, or can't be looked at. `writable`:
    /// the folder can be read, changed and searched, and the file read and changed if it is there.
    /// `file` becomes its place if one of the two is true, and else stays as it was.
    virtual void GetStartupProcessPlistFile(std::string const& label,
                                            CBasicFileSpec::StdContainerEnum container,
                                            char const* folderName,
                                            CFileSpec& file,
                                            bool& exists,
                                            bool& writable) const = 0;
    /// The same for an agent or a daemon. `userName` becomes the login name of this user for a
    /// daemon, and else empty.
    virtual void GetStartupProcessPlistFile(std::string const& label,
                                            bool system,
                                            CFileSpec& file,
                                            bool& exists,
                                            bool& writable,
                                            std::string& userName) const = 0;
};
