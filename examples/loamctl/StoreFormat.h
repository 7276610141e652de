// The bytes of a store, as docs/store-format.md tells them: numbers with the lowest byte first,
// strings with their size in front. Whatever is read is checked, since a store is a file like any
// other.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "loamctl/CBasicWalk.h"
#include "loamctl/Failure.h"
#include "loamctl/Reading.h"

constexpr std::uint32_t kStoreVersion = 1;
constexpr std::size_t kStoreHeaderSize = 184;
/// No part of a store unpacks to more than so many times its size.
constexpr std::uint64_t kMostExpansion = 1 << 16;

/// A store that can't be what `index` wrote.
class CBadStore : public CUsageError
{
public:
    using CUsageError::CUsageError;
};

struct StoreSection
{
    std::uint64_t mOffset = 0;    ///< from the start of the file
    std::uint64_t mSize = 0;      ///< in the file
    std::uint64_t mFullSize = 0;  ///< unpacked
    std::uint32_t mChecksum = 0;  ///< of what is in the file; 0 for the texts
};

/// In the order in which they lie in the file, right behind the header and one another.
struct StoreHeader
{
    std::uint32_t mEntryCount = 0;
    StoreSection mDictionary;  ///< as `train` makes it; empty if there was too little to learn from
    StoreSection mTexts;       ///< zstd frames
    StoreSection mFilters;     ///< of the folded texts, as they are
    StoreSection mEntries;     ///< one zstd frame
    StoreSection mWords;       ///< one zstd frame
};

/// A frame in the section of texts.
struct StoredText
{
    std::uint64_t mOffset = 0;  ///< from the section's start
    std::uint64_t mSize = 0;    ///< packed; 0 for nothing
    std::uint64_t mFullSize = 0;
    std::uint32_t mChecksum = 0;  ///< of the packed bytes

    bool operator==(StoredText const&) const = default;
};

/// What came of an entry of the walk.
struct StoredEntry
{
    TreeEntry::Kind mKind = TreeEntry::Kind::kUnknown;
    bool mNamed = false;
    std::string mPath;
    Reading mReading;
    std::string mCharset;
    std::string mLanguage;
    StoredText mFolded;             ///< UTF-8, packed with the dictionary
    StoredText mBytes;              ///< the file's own, with those of its neighbours
    std::uint64_t mBytesStart = 0;  ///< among them
    std::uint64_t mBytesSize = 0;
    std::uint64_t mFilterOffset = 0;  ///< from the start of the filters
    std::uint32_t mFilterSize = 0;
};

/// Puts numbers and strings at the end of a string.
class CByteWriter
{
public:
    explicit CByteWriter(std::string& bytes)
        : mBytes(bytes)
    {
    }

    void Add(std::uint64_t number, int size);
    void Add(std::string_view text);
    /// In as few bytes as it needs, most of the time one.
    void AddStep(std::uint32_t step);

private:
    std::string& mBytes;
};

/// Takes them from the front again. Throws `CBadStore` where there are too few bytes.
class CByteReader
{
public:
    explicit CByteReader(std::string_view bytes)
        : mBytes(bytes)
    {
    }

    std::uint64_t TakeNumber(int size);

    std::uint32_t TakeNumber32() { return static_cast<std::uint32_t>(TakeNumber(4)); }

    std::string_view TakeText();
    std::uint32_t TakeStep();

    bool IsAtEnd() const { return mBytes.empty(); }

private:
    std::string_view mBytes;
};

std::string BytesOf(StoreHeader const& header);
/// Throws `CBadStore` unless the header is whole and its sections fill a file of that size.
StoreHeader ParseStoreHeader(std::string_view bytes, std::uint64_t fileSize);

void AddEntry(std::string& bytes, StoredEntry const& entry);
/// Throws `CBadStore` for what no entry is, and for what lies beyond its section.
StoredEntry TakeEntry(CByteReader& reader, StoreHeader const& header);

/// The CRC-32 of ISO 3309 and RFC 1952.
std::uint32_t ChecksumOf(std::string_view bytes);
