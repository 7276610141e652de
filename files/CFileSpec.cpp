#include "files/CFileSpec.h"

#include "desktop/CFileSpecMacOSX.h"
#include "text/CUTFConverter.h"

#include <type_traits>
#include <utility>

namespace {

/// The body that every specifier is made with.
using SpecImp = CFileSpecMacOSX;

std::u16string ToUTF16(std::string const& text)
{
    std::u16string result;
    CUTFConverter::ConvertUTF8toUTF16(text, result, CUTFConverter::kLenientMode);
    return result;
}

/// The position of the dot in front of the extension; npos if there is none.
template <class String>
typename String::size_type ExtensionDot(String const& name)
{
    using Char = typename String::value_type;
    constexpr std::size_t kShortestName = 3;
    if (name.size() < kShortestName) return String::npos;
    auto const dot = name.rfind(Char('.'));
    if (dot == String::npos || dot == 0 || dot == name.size() - 1) return String::npos;
    for (auto i = dot + 1; i < name.size(); ++i) {
        auto const unit = static_cast<std::make_unsigned_t<Char>>(name[i]);
        if (unit < '!' || unit > '~') return String::npos;
    }
    return dot;
}

template <class String>
bool ExtensionOf(String const& name, String& result)
{
    auto const dot = ExtensionDot(name);
    result = dot == String::npos ? String() : name.substr(dot + 1);
    return dot != String::npos;
}

}  // namespace

CFileSpec::CFileSpec()
    : mImp(new SpecImp)
{
}

CFileSpec::CFileSpec(CFileSpec const& other)
    : CBasicFileSpec(other)
    , mImp(new SpecImp(other))
{
}

CFileSpec::CFileSpec(CFileSpecImp const& imp)
    : mImp(new SpecImp(imp))
{
}

CFileSpec::CFileSpec(CFileSpec const& container, std::u16string const& name, bool unique)
    : mImp(new SpecImp(container, name, unique))
{
}

CFileSpec::CFileSpec(CFileSpec const& container, std::string const& name, bool unique)
    : CFileSpec(container, ToUTF16(name), unique)
{
}

CFileSpec::CFileSpec(StdContainerEnum container, std::u16string const& name, bool unique)
    : mImp(new SpecImp(container, name, unique))
{
}

CFileSpec::CFileSpec(StdContainerEnum container, std::string const& name, bool unique)
    : CFileSpec(container, ToUTF16(name), unique)
{
}

CFileSpec::CFileSpec(StdContainerEnum container)
    : CFileSpec(container, std::u16string(), false)
{
}

CFileSpec::CFileSpec(std::u16string path, bool unique)
    : mImp(new SpecImp(std::move(path), unique))
{
}

CFileSpec::CFileSpec(std::string const& path, bool unique)
    : CFileSpec(ToUTF16(path), unique)
{
}

CFileSpec& CFileSpec::operator=(CFileSpec const& other)
{
    return *this = CFileSpec(other);
}

CFileSpec& CFileSpec::operator=(CFileSpec&& other) noexcept
{
    std::swap(mImp, other.mImp);
    // As with a copy, what was read from the file system stays behind, and a path was given.
    mImp->SetupFromFile();
    mImp->SetChanged();
    return *this;
}

CFileSpec::~CFileSpec()
{
    delete mImp;
}

void CFileSpec::SetupFromFile()
{
    mImp->SetupFromFile();
}

void CFileSpec::SetFileTypeCreator(unsigned int type, unsigned int creator)
{
    mImp->SetFileTypeCreator(type, creator);
}

unsigned int CFileSpec::GetFileLabel() const
{
    return mImp->GetFileLabel();
}

void CFileSpec::SetFileLabel(unsigned int label)
{
    mImp->SetFileLabel(label);
}

bool CFileSpec::operator==(CFileSpec const& other) const
{
    return mImp->IsEqualTo(other);
}

void CFileSpec::GetFileName(std::u16string* name) const
{
    mImp->GetFileName(name);
}

void CFileSpec::GetFileName8bit(std::string* name) const
{
    mImp->GetFileName8bit(name);
}

void CFileSpec::GetDisplayFileName(std::u16string* name) const
{
    mImp->GetDisplayFileName(name);
}

void CFileSpec::GetDisplayFileName(std::string* name) const
{
    std::u16string name16;
    GetDisplayFileName(&name16);
    CUTFConverter::ConvertUTF16toUTF8(name16, *name, CUTFConverter::kLenientMode);
}

void CFileSpec::GetFileTypeCreator(unsigned int* type, unsigned int* creator) const
{
    mImp->GetFileTypeCreator(type, creator);
}

void CFileSpec::GetFullPath(std::u16string* path) const
{
    mImp->GetFullPath(path);
}

void CFileSpec::GetFullPath8bit(std::string* path) const
{
    mImp->GetFullPath8bit(path);
}

void CFileSpec::GetExtension(std::u16string* extension) const
{
    std::u16string name;
    GetFileName(&name);
    GetExtension(name, *extension);
}

void CFileSpec::GetExtension8bit(std::string* extension) const
{
    std::string name;
    GetFileName8bit(&name);
    GetExtension(name, *extension);
}

void CFileSpec::GetUTI(std::string* identifier) const
{
    std::u16string extension;
    GetExtension(&extension);
    unsigned int type = 0;
    unsigned int creator = 0;
    GetFileTypeCreator(&type, &creator);
    GetUTIForAttributes(extension, type, creator, IsFolder(), identifier);
}

CFileSpecImp* CFileSpec::GetImp() const
{
    return static_cast<CFileSpecImp*>(mImp);
}

bool CFileSpec::GetContainer(CFileSpec* container) const
{
    return mImp->GetContainer(container->GetImp());
}

void CFileSpec::GetVolume(CFileSpec* volume) const
{
    mImp->GetVolume(volume->GetImp());
}

void CFileSpec::GetNewTempFolderInSameVolume(CFileSpec* folder) const
{
    mImp->GetNewTempFolderInSameVolume(folder->GetImp());
}

bool CFileSpec::Exist() const
{
    return mImp->Exist();
}

bool CFileSpec::Readable() const
{
    return mImp->Readable();
}

bool CFileSpec::Writeable() const
{
    return mImp->Writeable();
}

long long CFileSpec::GetFileSize() const
{
    return mImp->GetFileSize();
}

long long CFileSpec::GetDiskCapacity() const
{
    return mImp->GetDiskCapacity();
}

long long CFileSpec::GetAvailableDiskSpace() const
{
    return mImp->GetAvailableDiskSpace();
}

long CFileSpec::GetFileModifDateUTC() const
{
    return mImp->GetFileModifDateUTC();
}

long CFileSpec::GetFileAccessDateUTC() const
{
    return mImp->GetFileAccessDateUTC();
}

long CFileSpec::GetFileAttributesModifDateUTC() const
{
    return mImp->GetFileAttributesModifDateUTC();
}

long CFileSpec::GetFileCreationDateUTC() const
{
    return mImp->GetFileCreationDateUTC();
}

bool CFileSpec::IsFolder() const
{
    return mImp->IsFolder(true);
}

bool CFileSpec::IsFolder(bool followLinks) const
{
    return mImp->IsFolder(followLinks);
}

bool CFileSpec::IsVolume() const
{
    return mImp->IsVolume();
}

bool CFileSpec::IsRealFile() const
{
    return mImp->IsRealFile(true);
}

bool CFileSpec::IsRealFile(bool followLinks) const
{
    return mImp->IsRealFile(followLinks);
}

bool CFileSpec::IsAlias() const
{
    return mImp->IsAlias();
}

bool CFileSpec::IsDiskImage() const
{
    return mImp->IsDiskImage();
}

bool CFileSpec::IsVisible() const
{
    return mImp->IsVisible();
}

bool CFileSpec::IsOpaqueFolder() const
{
    return mImp->IsOpaqueFolder();
}

bool CFileSpec::HasOtherThanDFork() const
{
    return mImp->HasOtherThanDFork();
}

void CFileSpec::ResolveAlias()
{
    mImp->ResolveAlias();
}

void CFileSpec::MountDiskImage()
{
    mImp->MountDiskImage();
}

void CFileSpec::GetVolumeInfo(std::string& mountPoint,
                              std::string& imagePath,
                              std::string& serverURL,
                              std::string& fileSystem,
                              bool& isNetwork,
                              VolumeType& type) const
{
    mImp->GetVolumeInfo(mountPoint, imagePath, serverURL, fileSystem, isNetwork, type);
}

bool CFileSpec::IsInsideFolder(CFileSpec const& folder) const
{
    CFileSpec container(*this);
    while (container.GetContainer(&container)) {
        if (container == folder) return true;
    }
    return false;
}

void CFileSpec::WriteToStream(basic_binstream& stream, CFileSpec const& base) const
{
    mImp->WriteToStream(stream, base);
}

void CFileSpec::ReadFromStream(basic_binstream& stream, CFileSpec const& base)
{
    mImp->ReadFromStream(stream, base);
}

bool CFileSpec::Changed() const
{
    return mImp->Changed();
}

bool CFileSpec::GetExtension(std::u16string const& name, std::u16string& result)
{
    return ExtensionOf(name, result);
}

bool CFileSpec::GetExtension(std::string const& name, std::string& result)
{
    return ExtensionOf(name, result);
}

void CFileSpec::RemoveExtension(std::u16string const& name, std::u16string& result)
{
    result = name.substr(0, ExtensionDot(name));
}

void CFileSpec::RemoveExtension(std::string const& name, std::string& result)
{
    result = name.substr(0, ExtensionDot(name));
}

void CFileSpec::GetUTIForAttributes(std::u16string const& extension,
                                    unsigned int type,
                                    unsigned int creator,
                                    bool isFolder,
                                    std::string* result)
{
    SpecImp::GetUTIForAttributes(extension, type, creator, isFolder, result);
}
