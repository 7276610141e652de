// Startup processes.
#include "system/CProcessServicesImp.h"

bool CProcessServicesImp::InstallStartupProcess(CFileSpec const&,
                                                std::string const&,
                                                bool,
                                                std::vector<std::string> const&) const
{
    return false;
}

void CProcessServicesImp::CheckStartupProcess(CFileSpec const&,
                                              std::string const&,
                                              bool,
                                              std::vector<std::string> const&,
                                              bool& exists,
                                              bool& upToDate,
                                              bool& writable) const
{
    exists = false;
    upToDate = false;
    writable = true;
}

void CProcessServicesImp::UninstallStartupProcess(CFileSpec const&,
                                                  std::string const&,
                                                  bool,
                                                  bool) const
{
}

std::string CProcessServicesImp::StartStartupProcess(std::string const&) const
{
    return {};
}

std::string CProcessServicesImp::StopStartupProcess(std::string const&) const
{
    return {};
}

std::string CProcessServicesImp::UnloadStartupProcess(std::string const&) const
{
    return {};
}

void CProcessServicesImp::GetStartupProcessPlistFile(std::string const&,
                                                     CBasicFileSpec::StdContainerEnum,
                                                     char const*,
                                                     CFileSpec&,
                                                     bool& exists,
                                                     bool& writable) const
{
    exists = false;
    writable = false;
}

void CProcessServicesImp::GetStartupProcessPlistFile(
    std::string const&, bool, CFileSpec&, bool& exists, bool& writable, std::string& userName) const
{
    exists = false;
    writable = false;
    userName.clear();
}
