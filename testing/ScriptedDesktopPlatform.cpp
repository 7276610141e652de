#include "testing/ScriptedDesktopPlatform.h"

#include "text/CUTFConverter.h"

namespace {

std::string FourCharacters(unsigned int code)
{
    std::string text;
    for (int shift = 24; shift >= 0; shift -= 8)
        text += static_cast<char>(code >> shift & 0xFF);
    return text;
}

std::string ToUTF8(std::u16string const& text)
{
    std::string result;
    CUTFConverter::ConvertUTF16toUTF8(text, result, CUTFConverter::kLenientMode);
    return result;
}

std::string Shown(short domain, unsigned int type)
{
    return "(" + std::to_string(domain) + ", " + FourCharacters(type) + ")";
}

// Copies what a map holds; false and nothing done if it holds nothing.
template <class Map, class Key, class Value>
bool Find(Map const& map, Key const& key, Value& value)
{
    auto const found = map.find(key);
    if (found == map.end()) return false;
    value = found->second;
    return true;
}

}  // namespace

FolderLookup
ScriptedDesktopPlatform::FindFolder(short domain, unsigned int type, std::u16string& path)
{
    Note("FindFolder" + Shown(domain, type));
    std::optional<std::u16string> folder;
    if (!Find(mFolders, FolderKey(domain, FourCharacters(type)), folder)) return kFolderUnknown;
    if (!folder) return kFolderPathless;
    path = *folder;
    return kFolderFound;
}

bool ScriptedDesktopPlatform::GetVolumeOfFolder(short domain, unsigned int type, short& volume)
{
    Note("GetVolumeOfFolder" + Shown(domain, type));
    return Find(mVolumes, FolderKey(domain, FourCharacters(type)), volume);
}

bool ScriptedDesktopPlatform::MountServerVolume(std::string const& url, short& volume)
{
    Note("MountServerVolume(" + url + ")");
    return Find(mServers, url, volume);
}

std::vector<std::string> ScriptedDesktopPlatform::GetMountPoints()
{
    Note("GetMountPoints()");
    return mMountPoints;
}

bool ScriptedDesktopPlatform::GetAttributes(std::u16string const& path,
                                            DesktopAttributes& attributes)
{
    Note("GetAttributes(" + ToUTF8(path) + ")");
    return Find(mAttributes, path, attributes);
}

void ScriptedDesktopPlatform::SetTypeCreator(std::u16string const& path,
                                             unsigned int type,
                                             unsigned int creator)
{
    Note("SetTypeCreator(" + ToUTF8(path) + ", " + FourCharacters(type) + ", " +
         FourCharacters(creator) + ")");
    mAttributes[path].mType = type;
    mAttributes[path].mCreator = creator;
}

std::u16string ScriptedDesktopPlatform::GetDisplayName(std::u16string const& path)
{
    Note("GetDisplayName(" + ToUTF8(path) + ")");
    std::u16string name = path.substr(path.rfind(u'/') + 1);
    Find(mDisplayNames, path, name);
    return name;
}

bool ScriptedDesktopPlatform::GetResourceValues(std::u16string const& path,
                                                DesktopResourceValues& values)
{
    Note("GetResourceValues(" + ToUTF8(path) + ")");
    return Find(mResourceValues, path, values);
}

void ScriptedDesktopPlatform::SetLabel(std::u16string const& path, unsigned int label)
{
    Note("SetLabel(" + ToUTF8(path) + ", " + std::to_string(label) + ")");
    mResourceValues[path].mLabel = label;
}

bool ScriptedDesktopPlatform::MakeReplacementFolder(std::u16string const& path,
                                                    std::u16string& folder)
{
    Note("MakeReplacementFolder(" + ToUTF8(path) + ")");
    if (!mReplacementFolder) return false;
    folder = *mReplacementFolder;
    return true;
}

std::string ScriptedDesktopPlatform::TakeCalls()
{
    return std::exchange(mCalls, std::string());
}

void ScriptedDesktopPlatform::Note(std::string const& call)
{
    if (!mCalls.empty()) mCalls += ' ';
    mCalls += call;
}
