#include "testing/ScriptedFilePlatform.h"

namespace {

std::string Shown(char const* text)
{
    return text ? text : "null";
}

template <class... More>
std::string Shown(char const* first, More... more)
{
    return Shown(first) + ", " + Shown(more...);
}

}  // namespace

ScriptedFilePlatform::ScriptedFilePlatform()
    : mSystem(NewFilePlatform())
{
}

ScriptedFilePlatform::~ScriptedFilePlatform() = default;

int ScriptedFilePlatform::OpenLocked(char const* path, int flags, int& error)
{
    if (auto const fault = Note("OpenLocked", Shown(path) + ", " + std::to_string(flags))) {
        error = fault->mError;
        return -1;
    }
    return mSystem->OpenLocked(path, flags, error);
}

int ScriptedFilePlatform::MakeWatch()
{
    return Note("MakeWatch", "") ? -1 : mSystem->MakeWatch();
}

FileChange ScriptedFilePlatform::WaitOnWatch(int watch, int descriptor, char const* path)
{
    if (Note("WaitOnWatch", Shown(path))) return kFileWatchFailed;
    return mWaitOnWatch ? mWaitOnWatch() : mSystem->WaitOnWatch(watch, descriptor, path);
}

void ScriptedFilePlatform::CloseWatch(int watch)
{
    if (!Note("CloseWatch", "")) mSystem->CloseWatch(watch);
}

bool ScriptedFilePlatform::GetPhysicalPosition(int descriptor,
                                               long long offset,
                                               long long& position)
{
    if (Note("GetPhysicalPosition", std::to_string(offset))) return false;
    if (!mPhysicalPosition) return mSystem->GetPhysicalPosition(descriptor, offset, position);
    position = *mPhysicalPosition;
    return true;
}

FileReplacement ScriptedFilePlatform::ReplaceObject(char const* target,
                                                    char const* replacement,
                                                    char const* backupName,
                                                    char const* workFolder)
{
    if (Note("ReplaceObject", Shown(target, replacement, backupName, workFolder))) {
        return kFileNotReplaced;
    }
    if (!mReplaceObject) {
        return mSystem->ReplaceObject(target, replacement, backupName, workFolder);
    }
    return mReplaceObject(target, replacement, backupName ? backupName : "", workFolder);
}

void ScriptedFilePlatform::SetBackupExclusion(char const* path, bool exclude)
{
    if (!Note("SetBackupExclusion", Shown(path, exclude ? "true" : "false"))) {
        mBackupExclusions[path] = exclude;
    }
}

bool ScriptedFilePlatform::GetBackupExclusion(char const* path)
{
    return !Note("GetBackupExclusion", Shown(path)) && mBackupExclusions[path];
}

void ScriptedFilePlatform::SetQuarantine(char const* path)
{
    if (!Note("SetQuarantine", Shown(path))) mSystem->SetQuarantine(path);
}

void ScriptedFilePlatform::SetAttribute(char const* path,
                                        char const* name,
                                        void const* value,
                                        std::size_t size)
{
    std::string const shown =
        value ? std::string(static_cast<char const*>(value), size) : std::string("null");
    if (!Note("SetAttribute", Shown(path, name, shown.c_str()))) {
        mSystem->SetAttribute(path, name, value, size);
    }
}

long ScriptedFilePlatform::GetAttribute(char const* path,
                                        char const* name,
                                        void* buffer,
                                        std::size_t size)
{
    if (Note("GetAttribute", Shown(path, name))) return -1;
    if (!buffer && mAttributeSize) return *mAttributeSize;
    return mSystem->GetAttribute(path, name, buffer, size);
}

long ScriptedFilePlatform::ListAttributes(char const* path, char* buffer, std::size_t size)
{
    if (Note("ListAttributes", Shown(path))) return -1;
    if (!buffer && mAttributeSize) return *mAttributeSize;
    return mSystem->ListAttributes(path, buffer, size);
}

void ScriptedFilePlatform::Fail(std::string const& operation, int nth, int error)
{
    std::lock_guard const lock(mMutex);
    mFaults[operation] = {nth, error};
}

std::vector<std::string> ScriptedFilePlatform::Calls() const
{
    std::lock_guard const lock(mMutex);
    return mCalls;
}

std::optional<ScriptedFilePlatform::Fault> ScriptedFilePlatform::Note(std::string const& operation,
                                                                      std::string const& arguments)
{
    std::lock_guard const lock(mMutex);
    mCalls.push_back(operation + "(" + arguments + ")");

    auto const found = mFaults.find(operation);
    if (found == mFaults.end()) return std::nullopt;
    Fault const fault = found->second;
    if (fault.mCallsLeft == kAlways) return fault;
    if (fault.mCallsLeft > 1) {
        --found->second.mCallsLeft;
        return std::nullopt;
    }
    mFaults.erase(found);
    return fault;
}
