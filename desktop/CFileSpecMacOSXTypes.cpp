// Type identifiers: what CFileSpecMacOSX.h declares for all specifiers together.
#include "desktop/CFileSpecMacOSX.h"

#include "desktop/FileTypeAndExtension.h"
#include "desktop/platform/CBasicTypePlatform.h"
#include "foundation/FourCharacterCode.h"
#include "marl/progressive_lock.h"
#include "text/CUTFConverter.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <shared_mutex>
#include <utility>

namespace {

constexpr unsigned int kTextType = FourCharacterCode("TEXT");
constexpr unsigned int kNoTypes[] = {0, FourCharacterCode("    "), FourCharacterCode("????")};

using UTIMap = std::map<FileTypeAndExtension, std::string, FileTypeAndExtensionComparator>;

// Both are made before their first use, whoever comes first, and destroyed at exit, the map first.
std::shared_mutex& UTIMapMutex()
{
    static std::shared_mutex sUTIMapMutex;
    return sUTIMapMutex;
}

// Guarded by UTIMapMutex().
UTIMap& TypesByKey()
{
    static UTIMap sUTIMap;
    return sUTIMap;
}

bool FindKnownType(FileTypeAndExtensionView const& key, std::string* uti)
{
    UTIMap const& types = TypesByKey();
    auto const found = types.find(key);
    if (found == types.end()) return false;
    *uti = found->second;
    return true;
}

void ToUTF8(std::u16string const& type, std::string& uti)
{
    CUTFConverter::ConvertUTF16toUTF8(type, uti, CUTFConverter::kLenientMode);
}

}  // namespace

void CFileSpecMacOSX::GetUTIForAttributes(std::u16string const& extension,
                                          unsigned int fileType,
                                          unsigned int /*creator*/,
                                          bool isFolder,
                                          std::string* uti)
{
    uti->clear();
    // Kept on purpose: the folder flag is no part of the key, so the first to ask decides for all.
    FileTypeAndExtensionView const key{fileType, extension};
    progressive_lock lock(&UTIMapMutex(), progressive_lock::shared);
    if (FindKnownType(key, uti)) return;

    // Somebody else may have found it out before the lock was ours alone.
    lock.lock_exclusive();
    if (FindKnownType(key, uti)) return;

    // The type says little of a text, so there its extension speaks first.
    bool const isExtensionFirst = fileType == kTextType;
    if (isExtensionFirst) UTIForExtension(extension, isFolder, *uti);
    if (uti->empty()) UTIForFileType(fileType, *uti);
    if (uti->empty() && !isExtensionFirst) UTIForExtension(extension, isFolder, *uti);
    // Kept on purpose: that there is no answer is remembered too, for good.
    TypesByKey().emplace(FileTypeAndExtension{fileType, extension}, *uti);
}

void CFileSpecMacOSX::UTIForExtension(std::u16string const& extension,
                                      bool isFolder,
                                      std::string& uti)
{
    uti.clear();
    if (extension.empty()) return;
    CBasicTypePlatform const& platform = TypePlatform();
    std::u16string type;
    if (isFolder) type = platform.GetTypeForExtension(extension, true);
    if (type.empty()) type = platform.GetTypeForExtension(extension, false);
    ToUTF8(type, uti);
}

void CFileSpecMacOSX::UTIForFileType(unsigned int fileType, std::string& uti)
{
    uti.clear();
    if (std::count(std::begin(kNoTypes), std::end(kNoTypes), fileType) != 0) return;
    ToUTF8(TypePlatform().GetTypeForFileType(fileType), uti);
}
