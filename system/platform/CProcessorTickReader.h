// The ticks of all processors from the Linux kernel's "/proc/stat" (kernel documentation,
// filesystems/proc).
#pragma once

#include "system/platform/CBasicLoadPlatform.h"

#include <array>
#include <mutex>
#include <string_view>
#include <vector>

/// Makes snapshots whose processors keep their places: the place is the processor's number. The
/// kernel lists only those that are switched on; one that isn't stays as it was last seen, and one
/// that never was stands at zero. Any thread may call.
class CProcessorTickReader
{
public:
    /// A snapshot of what the file's content tells, whose array the caller releases with
    /// `delete[]`. User and nice are the kernel's; system takes in the time for interrupts and
    /// what the host of a virtual machine kept, idle takes in waiting for devices. No counter goes
    /// back, though the kernel's do at times. False, and `snapshot` as it was, if the content
    /// lists no processor.
    bool Take(std::string_view stat, ProcessorSnapshot& snapshot);

private:
    using Counters = std::array<unsigned long long, 4>;  // in the order of `ProcessorTicks`

    void Note(unsigned int processor, Counters const& counters);

    std::mutex mMutex;
    std::vector<Counters> mLast;  // by processor number; guarded by mMutex
};
