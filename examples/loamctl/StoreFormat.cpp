#include "loamctl/StoreFormat.h"

#include <bit>

#include "loamctl/TextFilter.h"

namespace {

constexpr std::string_view kMagic = "LOAMSTR\n";

// Flags of an entry.
constexpr unsigned int kNamed = 1;
constexpr unsigned int kError = 2;
constexpr unsigned int kText = 4;

constexpr int kSectionCount = 5;
using Sections = std::array<StoreSection*, kSectionCount>;

Sections SectionsOf(StoreHeader& header)
{
    return {&header.mDictionary, &header.mTexts, &header.mFilters, &header.mEntries,
            &header.mWords};
}

// Eight tables: what a byte does to the sum, and what it does with one to seven more behind it.
using ChecksumTables = std::array<std::array<std::uint32_t, 256>, 8>;

constexpr ChecksumTables MakeChecksumTables()
{
    ChecksumTables tables{};
    for (std::uint32_t i = 0; i < 256; ++i) {
        std::uint32_t sum = i;
        for (int bit = 0; bit < 8; ++bit)
            sum = sum >> 1 ^ ((sum & 1) != 0 ? 0xEDB88320U : 0U);
        tables[0][i] = sum;
    }
    for (std::size_t t = 1; t < tables.size(); ++t) {
        for (std::size_t i = 0; i < 256; ++i) {
            std::uint32_t const before = tables[t - 1][i];
            tables[t][i] = before >> 8 ^ tables[0][before & 0xFF];
        }
    }
    return tables;
}

constexpr ChecksumTables kTables = MakeChecksumTables();

std::uint32_t ByteOf(char c)
{
    return static_cast<unsigned char>(c);
}

std::uint32_t FourBytes(char const* at)
{
    return ByteOf(at[0]) | ByteOf(at[1]) << 8 | ByteOf(at[2]) << 16 | ByteOf(at[3]) << 24;
}

void AddTextPlace(CByteWriter& writer, StoredText const& text)
{
    writer.Add(text.mOffset, 8);
    writer.Add(text.mSize, 8);
    writer.Add(text.mFullSize, 8);
    writer.Add(text.mChecksum, 4);
}

bool CanUnpackTo(std::uint64_t size, std::uint64_t fullSize)
{
    return fullSize <= PTRDIFF_MAX && fullSize / kMostExpansion <= size;
}

StoredText TakeTextPlace(CByteReader& reader, std::uint64_t textsSize)
{
    StoredText text;
    text.mOffset = reader.TakeNumber(8);
    text.mSize = reader.TakeNumber(8);
    text.mFullSize = reader.TakeNumber(8);
    text.mChecksum = reader.TakeNumber32();
    bool const isInside = text.mOffset <= textsSize && text.mSize <= textsSize - text.mOffset;
    bool const isFromNothing = text.mSize == 0 && text.mFullSize > 0;
    if (!isInside || isFromNothing || !CanUnpackTo(text.mSize, text.mFullSize)) {
        throw CBadStore("a text lies outside of it");
    }
    return text;
}

void TakeFilterPlace(CByteReader& reader, std::uint64_t filtersSize, StoredEntry& entry)
{
    std::uint64_t const offset = reader.TakeNumber(8);
    std::uint32_t const size = reader.TakeNumber32();
    bool const isInside = offset <= filtersSize && size <= filtersSize - offset;
    bool const isSize =
        std::has_single_bit(size) && size >= kSmallestFilter && size <= kLargestFilter;
    if (!isInside || !isSize) throw CBadStore("a filter lies outside of it");
    entry.mFilterOffset = offset;
    entry.mFilterSize = size;
}

}  // namespace

void CByteWriter::Add(std::uint64_t number, int size)
{
    for (int i = 0; i < size; ++i)
        mBytes += static_cast<char>(number >> (8 * i));
}

void CByteWriter::Add(std::string_view text)
{
    Add(text.size(), 4);
    mBytes += text;
}

// LEB128, as DWARF has it: seven bits a byte, the lowest first, and a bit for more to come.
void CByteWriter::AddStep(std::uint32_t step)
{
    for (; step >= 0x80; step >>= 7)
        mBytes += static_cast<char>(step | 0x80);
    mBytes += static_cast<char>(step);
}

std::uint64_t CByteReader::TakeNumber(int size)
{
    auto const count = static_cast<std::size_t>(size);
    if (mBytes.size() < count) throw CBadStore("it ends too early");
    std::uint64_t number = 0;
    if (size == 4) {
        number = FourBytes(mBytes.data());
    } else {
        for (std::size_t i = count; i-- > 0;)
            number = number << 8 | ByteOf(mBytes[i]);
    }
    mBytes.remove_prefix(count);
    return number;
}

std::string_view CByteReader::TakeText()
{
    std::uint64_t const size = TakeNumber(4);
    if (mBytes.size() < size) throw CBadStore("it ends too early");
    std::string_view const text = mBytes.substr(0, size);
    mBytes.remove_prefix(size);
    return text;
}

std::uint32_t CByteReader::TakeStep()
{
    std::uint64_t step = 0;
    for (unsigned int shift = 0; shift < 32; shift += 7) {
        std::uint64_t const byte = TakeNumber(1);
        step |= (byte & 0x7F) << shift;
        if (byte < 0x80) {
            if (step > UINT32_MAX) break;
            return static_cast<std::uint32_t>(step);
        }
    }
    throw CBadStore("a step is too long");
}

std::string BytesOf(StoreHeader const& header)
{
    std::string bytes(kMagic);
    CByteWriter writer(bytes);
    writer.Add(kStoreVersion, 4);
    writer.Add(header.mEntryCount, 4);
    StoreHeader copy = header;
    for (StoreSection const* const section : SectionsOf(copy)) {
        writer.Add(section->mOffset, 8);
        writer.Add(section->mSize, 8);
        writer.Add(section->mFullSize, 8);
        writer.Add(section->mChecksum, 8);
    }
    writer.Add(ChecksumOf(bytes), 8);
    return bytes;
}

StoreHeader ParseStoreHeader(std::string_view bytes, std::uint64_t fileSize)
{
    if (!bytes.starts_with(kMagic)) throw CBadStore("it doesn't begin as one");
    CByteReader reader(bytes.substr(kMagic.size()));
    std::uint32_t const version = reader.TakeNumber32();
    if (version != kStoreVersion) {
        throw CBadStore("it has version " + std::to_string(version) + ", and only " +
                        std::to_string(kStoreVersion) + " is known here");
    }
    StoreHeader header;
    header.mEntryCount = reader.TakeNumber32();
    std::uint64_t end = kStoreHeaderSize;
    bool isGood = true;
    for (StoreSection* const section : SectionsOf(header)) {
        section->mOffset = reader.TakeNumber(8);
        section->mSize = reader.TakeNumber(8);
        section->mFullSize = reader.TakeNumber(8);
        section->mChecksum = static_cast<std::uint32_t>(reader.TakeNumber(8));
        isGood = isGood && section->mOffset == end && section->mSize <= fileSize - end &&
                 CanUnpackTo(section->mSize, section->mFullSize);
        if (isGood) end += section->mSize;
    }
    if (reader.TakeNumber(8) != ChecksumOf(bytes.substr(0, kStoreHeaderSize - 8))) {
        throw CBadStore("its header is damaged");
    }
    if (!isGood || end != fileSize) throw CBadStore("it isn't as long as it says");
    return header;
}

void AddEntry(std::string& bytes, StoredEntry const& entry)
{
    CByteWriter writer(bytes);
    Reading const& reading = entry.mReading;
    writer.Add(static_cast<std::uint64_t>(entry.mKind), 1);
    writer.Add((entry.mNamed ? kNamed : 0) | (reading.mError ? kError : 0) |
                   (reading.mText ? kText : 0),
               1);
    writer.Add(static_cast<std::uint64_t>(reading.mSize), 8);
    for (std::string const* const text :
         {&entry.mPath, &reading.mKind, &reading.mReason, &entry.mCharset, &entry.mLanguage}) {
        writer.Add(*text);
    }
    if (!reading.mText) return;
    AddTextPlace(writer, entry.mFolded);
    AddTextPlace(writer, entry.mBytes);
    writer.Add(entry.mBytesStart, 8);
    writer.Add(entry.mBytesSize, 8);
    writer.Add(entry.mFilterOffset, 8);
    writer.Add(entry.mFilterSize, 4);
}

StoredEntry TakeEntry(CByteReader& reader, StoreHeader const& header)
{
    StoredEntry entry;
    Reading& reading = entry.mReading;
    std::uint64_t const kind = reader.TakeNumber(1);
    std::uint64_t const flags = reader.TakeNumber(1);
    if (kind > static_cast<std::uint64_t>(TreeEntry::Kind::kUnknown)) {
        throw CBadStore("an entry is of no kind");
    }
    entry.mKind = static_cast<TreeEntry::Kind>(kind);
    entry.mNamed = (flags & kNamed) != 0;
    reading.mError = (flags & kError) != 0;
    reading.mText = (flags & kText) != 0;
    reading.mSize = static_cast<long long>(reader.TakeNumber(8));
    if (reading.mSize < -1) throw CBadStore("a file has no size");
    for (std::string* const text :
         {&entry.mPath, &reading.mKind, &reading.mReason, &entry.mCharset, &entry.mLanguage}) {
        *text = reader.TakeText();
    }
    if (reading.mText) {
        entry.mFolded = TakeTextPlace(reader, header.mTexts.mSize);
        entry.mBytes = TakeTextPlace(reader, header.mTexts.mSize);
        entry.mBytesStart = reader.TakeNumber(8);
        entry.mBytesSize = reader.TakeNumber(8);
        if (entry.mBytesStart > entry.mBytes.mFullSize ||
            entry.mBytesSize > entry.mBytes.mFullSize - entry.mBytesStart) {
            throw CBadStore("a file lies outside of it");
        }
        TakeFilterPlace(reader, header.mFilters.mSize, entry);
    }
    return entry;
}

// Eight bytes at a time ("slicing-by-8", Kounavis and Berry, 2005).
std::uint32_t ChecksumOf(std::string_view bytes)
{
    std::uint32_t sum = ~0U;
    char const* at = bytes.data();
    std::size_t left = bytes.size();
    for (; left >= 8; at += 8, left -= 8) {
        std::uint32_t const low = FourBytes(at) ^ sum;
        std::uint32_t const high = FourBytes(at + 4);
        sum = kTables[7][low & 0xFF] ^ kTables[6][low >> 8 & 0xFF] ^ kTables[5][low >> 16 & 0xFF] ^
              kTables[4][low >> 24] ^ kTables[3][high & 0xFF] ^ kTables[2][high >> 8 & 0xFF] ^
              kTables[1][high >> 16 & 0xFF] ^ kTables[0][high >> 24];
    }
    for (; left > 0; ++at, --left)
        sum = sum >> 8 ^ kTables[0][(sum ^ ByteOf(*at)) & 0xFF];
    return ~sum;
}
