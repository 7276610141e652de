// Process control: priority, launching and ending processes, helper programs, startup processes,
// processors and their load.
//
//     auto const& processes = *CProcessServices::GetProcessServices()->mImp;
//     CFileSpec const indexer("/usr/bin/indexer", false);
//     int const child = processes.LaunchProcess(indexer, {"-q"}, false);
//     if (child != 0 && processes.IsProcessRunning(child)) processes.KillProcess(child);
//
// `CBasicProcessServicesImp` tells what each operation does and how it reports a failure.
#pragma once

#include "foundation/LoamExport.h"
#include "system/CBasicProcessServicesImp.h"

#include <atomic>

/// The process's facade of process control. Any thread may call the getter, which takes no lock.
class LOAM_EXPORT CProcessServices
{
public:
    CProcessServices();
    CProcessServices(CProcessServices const&) = delete;
    CProcessServices& operator=(CProcessServices const&) = delete;
    ~CProcessServices();

    /// The one instance, made at the first call; it lives until the process ends.
    static CProcessServices* GetProcessServices();

    /// The load since the call before, as the operation of this name in `mImp` tells, with the
    /// least and the most busy processor and their number in place of each one's load. False, with
    /// these three as they were, if that one answers false. With no processor at all the least is
    /// 1 and the most 0.
    bool GetCPUActivity(float& totalLoad,
                        float& minProcessorLoad,
                        float& maxProcessorLoad,
                        float& processLoad,
                        int& processorCount) const;

    CBasicProcessServicesImp* mImp;  // owned

private:
    static std::atomic<CProcessServices*> sProcessServices;
};
