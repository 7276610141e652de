#include "desktop/CFileSpecIteratorMacOSX.h"

#include "desktop/CFileSpecMacOSX.h"
#include "desktop/platform/CBasicAliasPlatform.h"
#include "files/CFileSpec.h"
#include "text/CUTFConverter.h"

namespace {

// False for a root that no specifier can name.
bool HasPath(std::string const& root)
{
    std::u16string path;
    return !root.empty() &&
           CUTFConverter::ConvertUTF8toUTF16(root, path, CUTFConverter::kStrictMode);
}

}  // namespace

// For a folder nothing here touches errno, which may tell why the folder can't be read.
CFileSpecIteratorMacOSX::CFileSpecIteratorMacOSX(CFileSpec const& folder)
    : CFileSpecIteratorImp(folder)
{
    auto const* const imp = dynamic_cast<CFileSpecMacOSX const*>(folder.GetImp());
    if (!imp || !imp->IsVolumesEnumerator()) return;
    mVolumePaths = AliasPlatform().GetVolumeRoots();
    std::erase_if(mVolumePaths, [](std::string const& root) { return !HasPath(root); });
}

bool CFileSpecIteratorMacOSX::Next(CFileSpec* result)
{
    // Kept on purpose: all volumes, where there is none, are a folder like any other.
    if (mVolumePaths.empty()) return CFileSpecIteratorImp::Next(result);

    std::lock_guard const lock(mIndexMutex);
    auto const index = static_cast<std::size_t>(mIndex);
    if (index == mVolumePaths.size()) return false;
    *result = CFileSpec(mVolumePaths[index], false);
    ++mIndex;
    return true;
}
