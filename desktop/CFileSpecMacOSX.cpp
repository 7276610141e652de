#include "desktop/CFileSpecMacOSX.h"

#include "desktop/platform/CBasicAliasPlatform.h"
#include "files/CFileSpec.h"

#include <algorithm>
#include <utility>

namespace {

// The colours end there.
constexpr unsigned int kLastLabel = 7;

bool IsVolumesEnumerator(CFileSpecImp const& imp)
{
    auto const* const desktopImp = dynamic_cast<CFileSpecMacOSX const*>(&imp);
    return desktopImp && desktopImp->IsVolumesEnumerator();
}

}  // namespace

// Every handle has this class as its body.
CFileSpecMacOSX::CFileSpecMacOSX(CFileSpec const& other)
    : CFileSpecMacOSX(static_cast<CFileSpecMacOSX const&>(*other.GetImp()))
{
}

CFileSpecMacOSX::CFileSpecMacOSX(CFileSpecImp const& other)
    : CFileSpecImp(other)
    , mIsVolumesEnumerator(::IsVolumesEnumerator(other))
{
}

CFileSpecMacOSX::CFileSpecMacOSX(CFileSpecMacOSX const& other)
    : CFileSpecImp(other)
    , mIsVolumesEnumerator(other.mIsVolumesEnumerator)
{
}

CFileSpecMacOSX::CFileSpecMacOSX(CFileSpec const& container,
                                 std::u16string const& name,
                                 bool unique)
    : CFileSpecImp(container, name, unique)
{
}

CFileSpecMacOSX::CFileSpecMacOSX(std::u16string path, bool unique)
    : CFileSpecImp(std::move(path), unique)
{
}

void CFileSpecMacOSX::SetupFromFile()
{
    CFileSpecImp::SetupFromFile();
    mAttributes.reset();
    mResourceValues.reset();
}

// Kept on purpose: what is set, here and with the label, leaves what has been read as it was.
void CFileSpecMacOSX::SetFileTypeCreator(unsigned int type, unsigned int creator)
{
    DesktopPlatform().SetTypeCreator(mPath, type, creator);
}

unsigned int CFileSpecMacOSX::GetFileLabel() const
{
    GetURLResourceValues();
    if (!mResourceValues) return 0;
    return static_cast<unsigned int>(mResourceValues->mLabel.value_or(0));
}

void CFileSpecMacOSX::SetFileLabel(unsigned int label)
{
    DesktopPlatform().SetLabel(mPath, std::min(label, kLastLabel));
}

void CFileSpecMacOSX::GetDisplayFileName(std::u16string* name) const
{
    *name = DesktopPlatform().GetDisplayName(mPath);
}

void CFileSpecMacOSX::GetFileTypeCreator(unsigned int* type, unsigned int* creator) const
{
    DesktopAttributes none;
    DesktopAttributes const* codes = &none;
    if (DesktopPlatform().HasFileTypes() && !IsFolder(true)) {
        FillAttributes();
        if (mAttributes) codes = &*mAttributes;
    }
    if (type) *type = static_cast<unsigned int>(codes->mType);
    if (creator) *creator = static_cast<unsigned int>(codes->mCreator);
}

void CFileSpecMacOSX::GetNewTempFolderInSameVolume(CFileSpecImp* folder) const
{
    std::u16string path;
    if (DesktopPlatform().MakeReplacementFolder(mPath, path)) {
        folder->Assign(path);
    } else {
        // Kept on purpose: among the user's temporary items, which may lie on another volume.
        CFileSpecImp::GetNewTempFolderInSameVolume(folder);
    }
}

long CFileSpecMacOSX::GetFileCreationDateUTC() const
{
    FillAttributes();
    if (!mAttributes || !mAttributes->mCreationDate) return CFileSpecImp::GetFileCreationDateUTC();
    return static_cast<long>(*mAttributes->mCreationDate);
}

bool CFileSpecMacOSX::IsRealFile(bool followLinks) const
{
    if (!CFileSpecImp::IsRealFile(followLinks)) return false;
    if (!IsAlias()) return true;
    if (!followLinks) return false;
    // Where links are all there is, the system has followed this one already, and further than we
    // can: a relative path, or a target that isn't UTF-8.
    if (AliasPlatform().GetAliasWay() == kAliasesAreLinks && CFileSpecImp::IsAlias()) return true;
    CFileSpec target(*this);
    target.ResolveAlias();
    return target.IsRealFile(false);
}

bool CFileSpecMacOSX::IsVisible() const
{
    GetURLResourceValues();
    return !mResourceValues || !mResourceValues->mIsHidden.value_or(false);
}

bool CFileSpecMacOSX::IsOpaqueFolder() const
{
    GetURLResourceValues();
    return mResourceValues && mResourceValues->mIsPackage.value_or(false);
}

void CFileSpecMacOSX::GetURLResourceValues() const
{
    if (mResourceValues) return;
    DesktopResourceValues values;
    if (DesktopPlatform().GetResourceValues(mPath, values)) mResourceValues = values;
}

void CFileSpecMacOSX::FillAttributes() const
{
    if (mAttributes) return;
    DesktopAttributes attributes;
    if (DesktopPlatform().GetAttributes(mPath, attributes)) mAttributes = attributes;
}
