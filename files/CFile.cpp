#include "files/CFile.h"

#include "files/CFileImp.h"
#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"
#include "text/CUTFConverter.h"

#include <algorithm>
#include <utility>

namespace {

// A name that isn't UTF-8 becomes an empty one.
std::u16string From8bit(std::string const& name)
{
    std::u16string name16;
    CUTFConverter::ConvertUTF8toUTF16(name, name16, CUTFConverter::kLenientMode);
    return name16;
}

}  // namespace

CBasicFile::~CBasicFile() = default;

CFile::CFile(CFileSpec const& fileSpec)
    : mImp(new CFileImp(fileSpec))
    , mEndianness(cLittleEndian)
    , mSwapping(false)
{
}

CFile::CFile(CFile const& other)
    : CBasicFile(other)
    , mImp(new CFileImp(*other.mImp->GetFileSpec()))
    , mEndianness(other.mEndianness)
    , mSwapping(other.mSwapping)
{
}

CFile& CFile::operator=(CFile const& other)
{
    // A copy first, which serves self-assignment and a failure too.
    CFile copy(other);
    std::swap(mImp, copy.mImp);
    mEndianness = copy.mEndianness;
    mSwapping = copy.mSwapping;
    return *this;
}

CFile::~CFile()
{
    delete mImp;
}

// ---- Byte order

void CFile::SetFileEndianness(Endianness endianness)
{
    mEndianness = endianness == cNativeEndian ? cLittleEndian : endianness;
    mSwapping = mEndianness != cLittleEndian;
}

CFile::Endianness CFile::GetFileEndianness() const
{
    return mEndianness;
}

bool CFile::IsSwappingEndian() const
{
    return mSwapping;
}

// ---- Place

bool CFile::Exist()
{
    return GetFileSpec()->Exist();
}

bool CFile::Readable()
{
    return GetFileSpec()->Readable();
}

bool CFile::Writeable()
{
    return GetFileSpec()->Writeable();
}

void CFile::Create()
{
    mImp->Create();
}

void CFile::Open(PrivilegesEnum privileges)
{
    mImp->Open(privileges);
}

bool CFile::IsOpen()
{
    return mImp->IsOpen();
}

void CFile::Close()
{
    mImp->Close();
}

void CFile::Delete()
{
    mImp->Delete();
}

void CFile::MoveToTrash()
{
    mImp->MoveToTrash();
}

void CFile::DeleteOrTrash()
{
    if (!Exist()) return;
    try {
        Delete();
    } catch (...) {
        MoveToTrash();
    }
}

void CFile::DeleteOrTrashWithoutError()
{
    try {
        DeleteOrTrash();
    } catch (...) {
        // As the name says.
    }
}

void CFile::MakeAlias(CFileSpec const& target)
{
    mImp->MakeAlias(target);
}

void CFile::Rename(std::u16string const& name, bool unique, bool overwrite)
{
    mImp->Rename(name, unique, overwrite);
}

void CFile::Rename(std::string const& name, bool unique, bool overwrite)
{
    Rename(From8bit(name), unique, overwrite);
}

void CFile::CopyTo(CFileSpec const& folder,
                   std::u16string const& name,
                   bool unique,
                   bool overwrite,
                   CFileSpec* result,
                   long long skipStart,
                   long long skipEnd)
{
    mImp->CopyTo(folder, name, unique, overwrite, result, skipStart, skipEnd);
}

void CFile::CopyTo(CFileSpec const& folder,
                   std::string const& name,
                   bool unique,
                   bool overwrite,
                   CFileSpec* result,
                   long long skipStart,
                   long long skipEnd)
{
    CopyTo(folder, From8bit(name), unique, overwrite, result, skipStart, skipEnd);
}

void CFile::MoveTo(CFileSpec const& folder,
                   std::u16string const& name,
                   bool unique,
                   bool overwrite,
                   CFileSpec* result)
{
    mImp->MoveTo(folder, name, unique, overwrite, result);
}

void CFile::MoveTo(CFileSpec const& folder,
                   std::string const& name,
                   bool unique,
                   bool overwrite,
                   CFileSpec* result)
{
    MoveTo(folder, From8bit(name), unique, overwrite, result);
}

void CFile::ReplaceFile(CFileSpec const& target, bool keepReplaced)
{
    mImp->ReplaceFile(target, keepReplaced);
}

CFileSpec* CFile::GetFileSpec()
{
    return mImp->GetFileSpec();
}

bool CFile::WaitForModification()
{
    return mImp->WaitForModification();
}

void CFile::CreateFileWithUniqueName(CFileSpec::StdContainerEnum container,
                                     std::string const& name,
                                     CFileSpec& result)
{
    for (;;) {
        CFileSpec const fileSpec(container, name, true);
        try {
            CFile(fileSpec).Create();
            result = fileSpec;
            return;
        } catch (HierarchicalException const& e) {
            bool const isTaken =
                e.levels[0].signature == kFileDomain && e.levels[0].category == kFileExists;
            // A link that leads nowhere looks free and can't be created: it would be tried for
            // ever.
            if (!isTaken || (fileSpec.IsAlias() && !fileSpec.Exist())) throw;
        }
    }
}

// ---- Marks

void CFile::SetExcludeFromBackups(bool exclude)
{
    mImp->SetExcludeFromBackups(exclude);
}

bool CFile::GetExcludeFromBackups() const
{
    return mImp->GetExcludeFromBackups();
}

void CFile::SetQuarantine()
{
    mImp->SetQuarantine();
}

void CFile::SetExtendedAttribute(std::string const& name, std::string const& value)
{
    mImp->SetExtendedAttribute(name, value);
}

bool CFile::GetExtendedAttributeList(std::vector<std::string>& names) const
{
    return mImp->GetExtendedAttributeList(names);
}

bool CFile::GetExtendedAttribute(std::string const& name, std::string& value) const
{
    return mImp->GetExtendedAttribute(name, value);
}

void CFile::ClearExtendedAttribute(std::string const& name)
{
    mImp->ClearExtendedAttribute(name);
}

// ---- Content

long long CFile::GetLength()
{
    return mImp->GetLength();
}

void CFile::SetEOF(long long length)
{
    mImp->SetEOF(length);
}

bool CFile::IsEOF()
{
    return GetCursorPos() >= GetLength();
}

void CFile::Flush()
{
    mImp->Flush();
}

long long CFile::GetCursorPos()
{
    return mImp->GetCursorPos();
}

void CFile::SetCursorPos(long long offset, basic_binstream::cursorref_type reference)
{
    mImp->SetCursorPos(offset, reference);
}

bool CFile::GetDevicePhysicalPos(long long offset, long long& physical) const
{
    return mImp->GetDevicePhysicalPos(offset, physical);
}

long long CFile::Read(char* buffer, long long size)
{
    return mImp->Read(buffer, size);
}

long long CFile::ReadLine(char* buffer, long long size, EOLType* eol)
{
    long long const count = Read(buffer, size);
    EOLType end = count >= size ? cEOLNone : cEOLEndOfFile;

    long long length = 0;
    while (length < count && buffer[length] != '\r' && buffer[length] != '\n')
        ++length;
    long long used = std::min(length, count);
    if (length < count) {
        bool const isLF = buffer[length] == '\n';
        // A CR at the very end of the block ends its line by itself, whatever follows.
        bool const isCRLF = !isLF && length + 1 < count && buffer[length + 1] == '\n';
        end = isLF ? cEOLLF : isCRLF ? cEOLCRLF : cEOLCR;
        used += isCRLF ? 2 : 1;
    }

    if (eol) *eol = end;
    SetCursorPos(used - count, basic_binstream::cursor_from_current);
    // Kept on purpose: behind a full block this is `buffer[size]`.
    buffer[length] = 0;
    return used;
}

long long CFile::Write(char const* buffer, long long size)
{
    return mImp->Write(buffer, size);
}
