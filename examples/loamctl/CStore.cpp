#include "loamctl/CStore.h"

#include <algorithm>

#include "concurrency/StMutexLocker.h"
#include "loamctl/CNewFile.h"
#include "loamctl/CStoreUnpacker.h"
#include "loamctl/TextFilter.h"

CStore::CStore(std::string const& path)
    : mPath(path)
    , mFile(SpecOfArgument(path))
{
    if (!mFile.Exist()) throw CUsageError(SafeName(path) + ": isn't there");
    if (!mFile.GetFileSpec()->IsRealFile(true)) throw CUsageError(SafeName(path) + ": is no store");
    mFile.Open(CFile::cPrivilegeRead);
    Guarded([this] { ReadAll(); });
}

CStore::~CStore() = default;

void CStore::ReadAll()
{
    auto const size = static_cast<std::uint64_t>(mFile.GetLength());
    if (size < kStoreHeaderSize) throw CBadStore("it ends too early");
    std::string header;
    ReadUnchecked(0, kStoreHeaderSize, header);
    mHeader = ParseStoreHeader(header, size);
    ReadEntries();
}

void CStore::ReadEntries()
{
    StoreSection const& section = mHeader.mEntries;
    std::string packed;
    ReadSection(section, packed);
    CStoreUnpacker unpacker;
    CByteReader reader(unpacker.Unpack(packed, section.mFullSize));
    for (std::uint32_t i = 0; i < mHeader.mEntryCount; ++i)
        mEntries.push_back(TakeEntry(reader, mHeader));
    if (!reader.IsAtEnd()) throw CBadStore("it has more entries than it says");
}

std::vector<bool> CStore::FindPart(std::string_view part)
{
    return Guarded([&] {
        std::string bytes;
        ReadSection(mHeader.mFilters, bytes);
        std::string_view const filters = bytes;
        std::vector<bool> result;
        result.reserve(mEntries.size());
        for (StoredEntry const& entry : mEntries) {
            std::string_view const filter = filters.substr(entry.mFilterOffset, entry.mFilterSize);
            result.push_back(entry.mReading.mText && FilterAllows(filter, part));
        }
        return result;
    });
}

std::vector<bool> CStore::FindWords(std::vector<std::string> const& words)
{
    return Guarded([&] {
        StoreSection const& section = mHeader.mWords;
        std::string packed;
        ReadSection(section, packed);
        CStoreUnpacker unpacker;
        CByteReader reader(unpacker.Unpack(packed, section.mFullSize));
        std::vector<std::size_t> found(mEntries.size(), 0);
        for (std::uint32_t left = reader.TakeNumber32(); left > 0; --left) {
            std::string_view const word = reader.TakeText();
            auto const wanted =
                static_cast<std::size_t>(std::count(words.begin(), words.end(), word));
            CByteReader steps(reader.TakeText());
            if (wanted == 0) continue;
            std::uint64_t entry = 0;
            while (!steps.IsAtEnd()) {
                entry += steps.TakeStep();
                if (entry >= found.size()) throw CBadStore("a word is in no entry");
                found[entry] += wanted;
            }
        }
        std::vector<bool> result;
        result.reserve(found.size());
        for (std::size_t const count : found)
            result.push_back(count >= words.size());
        return result;
    });
}

void CStore::ReadText(StoredText const& text, std::string& bytes)
{
    Read(mHeader.mTexts.mOffset + text.mOffset, text.mSize, text.mChecksum, bytes);
}

void CStore::ReadDictionary(std::string& bytes)
{
    ReadSection(mHeader.mDictionary, bytes);
}

void CStore::ReadSection(StoreSection const& section, std::string& bytes)
{
    Read(section.mOffset, section.mSize, section.mChecksum, bytes);
}

void CStore::Read(std::uint64_t offset,
                  std::uint64_t size,
                  std::uint32_t checksum,
                  std::string& bytes)
{
    bytes.clear();
    if (size > 0) ReadUnchecked(offset, size, bytes);
    if (ChecksumOf(bytes) != checksum) throw CBadStore("a part of it isn't as it was written");
}

void CStore::ReadUnchecked(std::uint64_t offset, std::uint64_t size, std::string& bytes)
{
    bytes.resize(size);
    StMutexLocker const lock(mMutex);
    mFile.SetCursorPos(static_cast<long long>(offset), basic_binstream::cursor_from_start);
    if (mFile.Read(bytes.data(), static_cast<long long>(size)) != static_cast<long long>(size)) {
        throw CBadStore("it ends too early");
    }
}
