// What the Linux kernel tells of processes and processors in small text files (kernel
// documentation, filesystems/proc and ABI/stable/sysfs-devices-system-cpu).
#pragma once

#include <string>
#include <string_view>

/// The content of a file whose size isn't known beforehand, UTF-8 path; empty if it can't be read.
std::string ReadProcFile(char const* path);

/// Whether a process has ended, by its file "stat": it only waits to be collected (state Z) or goes
/// just now (X). One whose first thread has ended while others run hasn't. False for all that isn't
/// such a file.
bool HasEnded(std::string_view stat);

/// The moment of the system's start in "/proc/stat", in seconds since 1970-01-01 00:00:00 UTC.
/// False, and `seconds` as it was, if it isn't there.
bool FindBootTime(std::string_view stat, long& seconds);

/// The processors among the entries of `folder`, those that are switched off too; 0 if there is no
/// such folder.
int CountProcessorsIn(std::string const& folder);

/// The cores that these processors belong to, by package, die and core number. One that is switched
/// off doesn't tell, and isn't counted.
int CountCoresIn(std::string const& folder);
