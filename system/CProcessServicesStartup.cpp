// Startup processes: the file that registers one, and the program that starts, stops and unloads
// it. The two halves know nothing of each other, but that removing a file can unload first.
#include "files/CFile.h"
#include "files/CFileSpec.h"
#include "files/CFolder.h"
#include "system/CProcessServicesImp.h"
#include "system/CPropertyList.h"
#include "system/Subprocess.h"
#include "system/platform/CBasicBundlePlatform.h"
#include "system/platform/CBasicStartupPlatform.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <optional>
#include <string_view>
#include <utility>

#include <pwd.h>
#include <unistd.h>

namespace {

// What the system reads in the file.
constexpr char kLabelKey[] = "Label";
constexpr char kProgramKey[] = "Program";
constexpr char kArgumentsKey[] = "ProgramArguments";
constexpr char kRunAtLoadKey[] = "RunAtLoad";
constexpr char kUserNameKey[] = "UserName";

constexpr char kAgentsFolder[] = "LaunchAgents";
constexpr char kDaemonsFolder[] = "LaunchDaemons";
constexpr char kSuffix[] = ".plist";

constexpr char kLaunchctl[] = "/bin/launchctl";
constexpr float kLaunchctlTimeout = 10.0F;

using Arguments = std::vector<std::string>;

std::string PathOf(CFileSpec const& file)
{
    std::string path;
    file.GetFullPath8bit(&path);
    return path;
}

// ---- The file

// The login name of who runs this process; empty if the system doesn't know one.
std::string GetLoginName()
{
    std::vector<char> room(1024);
    passwd entry;
    passwd* found = nullptr;
    int error;
    while ((error = getpwuid_r(getuid(), &entry, room.data(), room.size(), &found)) == ERANGE) {
        room.resize(room.size() * 2);
    }
    return error == 0 && found ? found->pw_name : "";
}

bool AreAllText(Arguments const& texts)
{
    return std::all_of(texts.begin(), texts.end(),
                       [](std::string const& text) { return CPropertyList::IsText(text); });
}

// What the file of a startup process says.
CPropertyList MakeList(std::string const& label,
                       std::string const& path,
                       Arguments const& arguments,
                       std::string const& userName)
{
    CPropertyList list;
    list.Set(kLabelKey, CPropertyList(label));
    if (arguments.empty()) {
        list.Set(kProgramKey, CPropertyList(path));
    } else {
        CPropertyList::Array all{CPropertyList(path)};
        for (std::string const& argument : arguments)
            all.emplace_back(argument);
        list.Set(kArgumentsKey, CPropertyList(std::move(all)));
    }
    list.Set(kRunAtLoadKey, CPropertyList(true));
    if (!userName.empty()) list.Set(kUserNameKey, CPropertyList(userName));
    return list;
}

bool IsCommandLine(CPropertyList::Array const& values,
                   std::string const& path,
                   Arguments const& arguments)
{
    auto const isText = [](CPropertyList const& value, std::string const& text) {
        auto const* const string = value.As<std::string>();
        return string && *string == text;
    };
    return values.size() == arguments.size() + 1 && isText(values.front(), path) &&
           std::equal(values.begin() + 1, values.end(), arguments.begin(), isText);
}

// Whether a file says what `MakeList` would, by what it means. Further keys don't count.
bool IsUpToDate(CPropertyList const& list,
                std::string const& label,
                std::string const& path,
                Arguments const& arguments,
                std::string const& userName)
{
    auto const* const listLabel = list.FindAs<std::string>(kLabelKey);
    if (!listLabel || *listLabel != label) return false;

    if (auto const* const program = list.FindAs<std::string>(kProgramKey)) {
        if (*program != path || !arguments.empty()) return false;
    } else {
        auto const* const values = list.FindAs<CPropertyList::Array>(kArgumentsKey);
        if (!values || !IsCommandLine(*values, path, arguments)) return false;
    }
    auto const* const runsAtLoad = list.FindAs<bool>(kRunAtLoadKey);
    if (!runsAtLoad || !*runsAtLoad) return false;

    auto const* const user = list.FindAs<std::string>(kUserNameKey);
    return user ? *user == userName : userName.empty();
}

// Reads until that many bytes are there, or the file ends.
std::string ReadBytes(CFileSpec const& place, std::size_t size)
{
    CFile file(place);
    file.Open(CFile::cPrivilegeRead);
    std::string bytes(size, '\0');
    std::size_t have = 0;
    while (have < size) {
        long long const more = file.Read(bytes.data() + have, static_cast<long long>(size - have));
        if (more <= 0) break;
        have += static_cast<std::size_t>(more);
    }
    file.Close();
    bytes.resize(have);
    return bytes;
}

// A file of another length, which may be long or no real file, isn't opened.
bool Holds(CFileSpec const& place, std::string const& bytes)
{
    try {
        return CFile(place).GetLength() == static_cast<long long>(bytes.size()) &&
               ReadBytes(place, bytes.size()) == bytes;
    } catch (...) {
        return false;
    }
}

std::optional<CPropertyList> ReadList(CFileSpec const& place)
{
    // Kept on purpose: the length counts with its low 32 bits.
    auto const size = static_cast<std::uint32_t>(CFile(place).GetLength());
    if (size == 0 || size > CPropertyList::kMaxBytes) return std::nullopt;
    return CPropertyList::Read(ReadBytes(place, size));
}

void WriteBytes(CFile& file, std::string const& bytes)
{
    file.Open(CFile::cPrivilegeWrite);
    std::string_view rest = bytes;
    while (!rest.empty()) {
        long long const written = file.Write(rest.data(), static_cast<long long>(rest.size()));
        rest.remove_prefix(static_cast<std::size_t>(written));
    }
    file.Close();
}

// Leaves no part of a file behind, which the system would complain of at each start.
void CreateWith(CFileSpec const& place, std::string const& bytes)
{
    CFile file(place);
    file.Create();
    try {
        WriteBytes(file, bytes);
    } catch (...) {
        file.DeleteOrTrashWithoutError();
        throw;
    }
}

// ---- The program

// Where a service of this user is addressed.
std::string GetDomain()
{
    // Kept on purpose: an identifier from 2^31 on is written as a negative number.
    return "gui/" + std::to_string(static_cast<int>(getuid()));
}

// As texts in C end.
std::string UpToNUL(std::string const& label)
{
    return label.substr(0, label.find('\0'));
}

std::string GetService(std::string const& label)
{
    return GetDomain() + "/" + UpToNUL(label);
}

// Without the user's folder the relative path stands alone.
std::string GetAgentPath(std::string const& label)
{
    std::string const folder = StartupPlatform().GetUserLibrary();
    std::string const path = std::string(kAgentsFolder) + "/" + UpToNUL(label) + kSuffix;
    return folder.empty() ? path : folder + "/" + path;
}

// Adds what a command said, if it said anything.
void append(std::string const& text, char const* prefix, std::string& log)
{
    if (text.empty()) return;
    if (prefix) log += prefix;
    log += text;
    log += '\n';
}

void RunLaunchctl(Arguments const& arguments, char const* prefix, std::string& log)
{
    std::string text;
    RunSubprocess(kLaunchctl, arguments, kLaunchctlTimeout, text, nullptr);
    append(text, prefix, log);
}

}  // namespace

bool CProcessServicesImp::InstallStartupProcess(CFileSpec const& program,
                                                std::string const& label,
                                                bool system,
                                                std::vector<std::string> const& arguments) const
{
    CFileSpec place;
    bool exists = false;
    bool writable = false;
    std::string userName;
    GetStartupProcessPlistFile(label, system, place, exists, writable, userName);
    // Kept on purpose: what can't be changed counts as installed.
    if (!writable) return exists;

    try {
        std::string path = PathOf(program);
        StartupPlatform().GetBundleExecutable(path, path);
        if (!CPropertyList::IsText(path) || !AreAllText(arguments)) return false;
        std::string const bytes = MakeList(label, path, arguments, userName).ToXML();
        if (exists && Holds(place, bytes)) return true;

        UninstallStartupProcess(program, label, system, false);
        CFile file(place);
        if (file.Exist()) file.Delete();
        CreateWith(place, bytes);
        return true;
    } catch (...) {
        return false;
    }
}

void CProcessServicesImp::CheckStartupProcess(CFileSpec const& program,
                                              std::string const& label,
                                              bool system,
                                              std::vector<std::string> const& arguments,
                                              bool& exists,
                                              bool& upToDate,
                                              bool& writable) const
{
    exists = false;
    writable = true;
    upToDate = false;
    try {
        std::string path = PathOf(program);
        BundlePlatform().GetExecutable(path.c_str(), path);
        CFileSpec place;
        std::string userName;
        GetStartupProcessPlistFile(label, system, place, exists, writable, userName);
        if (!exists) return;
        auto const list = ReadList(place);
        upToDate = list && IsUpToDate(*list, label, path, arguments, userName);
    } catch (...) {  // the flags stand as far as they were set
    }
}

void CProcessServicesImp::UninstallStartupProcess(CFileSpec const&,
                                                  std::string const& label,
                                                  bool system,
                                                  bool unloadFirst) const
{
    try {
        if (unloadFirst) UnloadStartupProcess(label);
        CFileSpec place;
        bool exists = false;
        bool writable = false;
        std::string userName;
        GetStartupProcessPlistFile(label, system, place, exists, writable, userName);
        if (exists && writable) CFile(place).DeleteOrTrashWithoutError();
    } catch (...) {  // nothing is reported
    }
}

std::string CProcessServicesImp::StartStartupProcess(std::string const& label) const
{
    // A command that fails doesn't keep the next from its try: what is loaded can't be loaded
    // again, and can be started.
    std::string log;
    RunLaunchctl({"enable", GetService(label)}, "launchctl enable: ", log);
    RunLaunchctl({"bootstrap", GetDomain(), GetAgentPath(label)}, "launchctl bootstrap: ", log);
    RunLaunchctl({"kickstart", GetService(label)}, "launchctl kickstart: ", log);
    return log;
}

std::string CProcessServicesImp::StopStartupProcess(std::string const& label) const
{
    std::string log;
    RunLaunchctl({"kill", "TERM", GetService(label)}, "launchctl kill: ", log);
    return log;
}

std::string CProcessServicesImp::UnloadStartupProcess(std::string const& label) const
{
    std::string log;
    if (StartupPlatform().IsSystemAtLeast(10, 11)) {
        RunLaunchctl({"bootout", GetDomain(), GetAgentPath(label)}, "launchctl bootout: ", log);
    } else {
        RunLaunchctl({"unload", "-F", GetAgentPath(label)}, "launchctl unload: ", log);
    }
    return log;
}

void CProcessServicesImp::GetStartupProcessPlistFile(std::string const& label,
                                                     CBasicFileSpec::StdContainerEnum container,
                                                     char const* folderName,
                                                     CFileSpec& file,
                                                     bool& exists,
                                                     bool& writable) const
{
    exists = false;
    writable = false;
    try {
        // Such a name would stand for the folder itself, or for a file without the suffix.
        if (!CPropertyList::IsText(label)) return;

        CFileSpec const folder(container, std::string(folderName), false);
        if (!folder.Exist()) CFolder(folder).Create(false);
        std::string const folderPath = PathOf(folder);
        bool const isFolderOpen = access(folderPath.c_str(), R_OK | W_OK | X_OK) == 0;
        if (!isFolderOpen && errno == ENOENT) return;

        CFileSpec const place(folder, label + kSuffix, false);
        std::string const path = PathOf(place);
        bool const isOpen = access(path.c_str(), R_OK | W_OK) == 0;
        bool const isAbsent = !isOpen && errno == ENOENT;
        // What can't be looked at may well be there.
        exists = !isAbsent;
        writable = isFolderOpen && (isOpen || isAbsent);
        if (exists || writable) file = place;
    } catch (...) {  // the flags stand as far as they were set
    }
}

void CProcessServicesImp::GetStartupProcessPlistFile(std::string const& label,
                                                     bool system,
                                                     CFileSpec& file,
                                                     bool& exists,
                                                     bool& writable,
                                                     std::string& userName) const
{
    exists = false;
    writable = false;
    userName.clear();
    try {
        if (!system) {
            GetStartupProcessPlistFile(label, CBasicFileSpec::cContainerUserLibrary, kAgentsFolder,
                                       file, exists, writable);
            return;
        }
        GetStartupProcessPlistFile(label, CBasicFileSpec::cContainerMachineLibrary, kDaemonsFolder,
                                   file, exists, writable);
        if (exists || writable) userName = GetLoginName();
    } catch (...) {  // the flags stand as far as they were set
    }
}
