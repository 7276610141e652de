// Process control over the platforms in use.
//
// The bodies stand in files of their own: helper programs in CProcessServicesSubprocess.cpp,
// startup processes in CProcessServicesStartup.cpp, what only the desktop offers in
// CProcessServicesDesktop.cpp, processors in CProcessServicesLoad.cpp.
#pragma once

#include "system/CBasicProcessServicesImp.h"

struct ProcessorTicks;
typedef const struct __CFString* CFStringRef;
typedef struct __CFBundle* CFBundleRef;

class CProcessServicesImp : public CBasicProcessServicesImp
{
public:
    CProcessServicesImp() = default;
    ~CProcessServicesImp() override;

    int SetPriority(Priority priority) const override;
    Priority GetPriority() const override;
    bool SetDaemonMode(bool isDaemon) const override;
    bool ChangeProcessName(char const* name) const override;
    void EnableCrashUserAlerts(bool enable) const override;
    void PreventChildZombies() const override;
    int LaunchProcess(CFileSpec const& program,
                      std::vector<std::string> const& arguments,
                      bool unused) const override;
    int GetCurrentProcess() const override;
    long GetBootTime() const override;
    bool IsProcessRunning(int process) const override;
    void KillProcess(int process) const override;
    bool InstallStartupProcess(CFileSpec const& program,
                               std::string const& label,
                               bool system,
                               std::vector<std::string> const& arguments) const override;
    void CheckStartupProcess(CFileSpec const& program,
                             std::string const& label,
                             bool system,
                             std::vector<std::string> const& arguments,
                             bool& exists,
                             bool& upToDate,
                             bool& writable) const override;
    void UninstallStartupProcess(CFileSpec const& program,
                                 std::string const& label,
                                 bool system,
                                 bool unloadFirst) const override;
    std::string StartStartupProcess(std::string const& label) const override;
    std::string StopStartupProcess(std::string const& label) const override;
    std::string ExecuteSubprocess(std::string const& launchPath,
                                  std::vector<std::string> const& arguments,
                                  float timeoutSeconds) const override;
    void GetCPUInfo(int& physical, int& logical) const override;
    bool GetCPUActivity(float& totalLoad,
                        std::vector<float>& perProcessorLoad,
                        float& processLoad) const override;
    std::string UnloadStartupProcess(std::string const& label) const override;
    void GetStartupProcessPlistFile(std::string const& label,
                                    CBasicFileSpec::StdContainerEnum container,
                                    char const* folderName,
                                    CFileSpec& file,
                                    bool& exists,
                                    bool& writable) const override;
    void GetStartupProcessPlistFile(std::string const& label,
                                    bool system,
                                    CFileSpec& file,
                                    bool& exists,
                                    bool& writable,
                                    std::string& userName) const override;

    /// The bundle with this identifier, not owned, or else the one in the folder `path`, loaded and
    /// owned by the caller; null if there is neither. `wasLoaded`, where given, tells which.
    /// Only on macOS.
    CFBundleRef LoadFramework(CFStringRef identifier, CFStringRef path, bool* wasLoaded) const;
    /// The same in plain types, on every system.
    void* LoadFramework_(char const* identifier, char const* path, bool* wasLoaded) const;

private:
    // The sampler: what the call before found. Times in microseconds.
    mutable unsigned int mHostPort = 0;
    mutable ProcessorTicks* mSnapshot = nullptr;  // owned, given back to the platform; null before
                                                  // the first sample
    mutable unsigned int mSnapshotInfoCount = 0;
    mutable long long mProcessTime = 0;
    mutable long long mSampleTime = 0;
};
