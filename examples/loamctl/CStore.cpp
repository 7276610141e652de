#include "loamctl/CStore.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

#include "compression/CZstdCompressor.h"
#include "loamctl/CNewFile.h"
#include "loamctl/CZstdFrames.h"
#include "loamctl/Compressing.h"
#include "loamctl/DisplayText.h"
#include "loamctl/TextFilter.h"

namespace {

constexpr std::uint64_t kWindowSize = 256 << 10;

}  // namespace

CStore::CSizedBlock::CSizedBlock()
    : amortizedmemblock(65536, 2.0F, true)
{
}

void CStore::CSizedBlock::resize(unsigned long newSize)
{
    if (newSize > mLimit) throw CBadStore("a part of it is larger than it says");
    amortizedmemblock::resize(newSize);
}

// Sizes that the store states can be too large for this machine, whoever wrote it.
template <class Work>
auto CStore::Guarded(Work const& work)
{
    try {
        return work();
    } catch (CBadStore const& bad) {
        throw CBadStore(SafeName(mPath) + ": is no store, or damaged: " + bad.what());
    } catch (std::bad_alloc const&) {
        throw CBadStore(SafeName(mPath) + ": needs more memory than there is, or is damaged");
    }
}

CStore::CStore(std::string const& path)
    : mPath(path)
    , mFile(SpecOfArgument(path))
    , mPlain(NewZstdCompressor())
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
    mHeader = ParseStoreHeader(ReadPart(0, kStoreHeaderSize), size);
    StoreSection const& filters = mHeader.mFilters;
    mFilters = ReadChecked(filters.mOffset, filters.mSize, filters.mChecksum);
    ReadEntries();
}

void CStore::ReadEntries()
{
    StoreSection const& section = mHeader.mEntries;
    std::string_view const packed = ReadChecked(section.mOffset, section.mSize, section.mChecksum);
    CByteReader reader(Unpack(*mPlain, packed, section.mFullSize, mBlock));
    for (std::uint32_t i = 0; i < mHeader.mEntryCount; ++i)
        mEntries.push_back(TakeEntry(reader, mHeader));
    if (!reader.IsAtEnd()) throw CBadStore("it has more entries than it says");
}

void CStore::ArmUnpacker()
{
    auto unpacker = NewZstdCompressor();
    StoreSection const& section = mHeader.mDictionary;
    if (section.mSize > 0) {
        std::string_view const bytes =
            ReadChecked(section.mOffset, section.mSize, section.mChecksum);
        unpacker->SetDictionaryAndCompressionLevel(bytes.data(), bytes.size(), 1);
    }
    mUnpacker = std::move(unpacker);
}

bool CStore::CanHave(StoredEntry const& entry, std::string_view needle)
{
    std::string_view const filters = mFilters;
    if (!FilterAllows(filters.substr(entry.mFilterOffset, entry.mFilterSize), needle)) return false;
    if (entry.mFolded.mFullSize <= kLongestFilteredText) return true;
    std::string_view const text = GetFolded(entry);
    return memmem(text.data(), text.size(), needle.data(), needle.size()) != nullptr;
}

std::string_view CStore::GetFolded(StoredEntry const& entry)
{
    return Guarded([&]() -> std::string_view {
        StoredText const& text = entry.mFolded;
        if (text.mSize == 0) return {};
        if (!mUnpacker) ArmUnpacker();
        std::string_view const packed =
            ReadChecked(mHeader.mTexts.mOffset + text.mOffset, text.mSize, text.mChecksum);
        return Unpack(*mUnpacker, packed, text.mFullSize, mBlock);
    });
}

std::string_view CStore::GetBytes(StoredEntry const& entry)
{
    return Guarded([&]() -> std::string_view {
        StoredText const& group = entry.mBytes;
        if (group.mSize == 0) return {};
        if (group != mGroupPlace) {
            mGroupPlace = {};
            std::string_view const packed =
                ReadChecked(mHeader.mTexts.mOffset + group.mOffset, group.mSize, group.mChecksum);
            Unpack(*mPlain, packed, group.mFullSize, mGroup);
            mGroupPlace = group;
        }
        return {mGroup.data() + entry.mBytesStart, entry.mBytesSize};
    });
}

std::vector<bool> CStore::FindWords(std::vector<std::string> const& words)
{
    return Guarded([&] {
        StoreSection const& section = mHeader.mWords;
        std::string_view const packed =
            ReadChecked(section.mOffset, section.mSize, section.mChecksum);
        CByteReader reader(Unpack(*mPlain, packed, section.mFullSize, mBlock));
        std::vector<std::size_t> found(mEntries.size(), 0);
        for (std::uint32_t left = reader.TakeNumber32(); left > 0; --left) {
            std::string_view const word = reader.TakeText();
            auto const wanted =
                static_cast<std::size_t>(std::count(words.begin(), words.end(), word));
            if (wanted == 0) {
                reader.Skip(4ULL * reader.TakeNumber32());
                continue;
            }
            std::uint64_t entry = 0;
            for (std::uint32_t steps = reader.TakeNumber32(); steps > 0; --steps) {
                entry += reader.TakeNumber32();
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

std::string_view
CStore::ReadChecked(std::uint64_t offset, std::uint64_t size, std::uint32_t checksum)
{
    std::string_view const bytes = ReadPart(offset, size);
    if (ChecksumOf(bytes) != checksum) throw CBadStore("a part of it isn't as it was written");
    return bytes;
}

std::string_view CStore::ReadPart(std::uint64_t offset, std::uint64_t size)
{
    bool const isThere = offset >= mWindowStart && offset - mWindowStart <= mWindow.size() &&
                         size <= mWindow.size() - (offset - mWindowStart);
    if (!isThere) {
        mWindow.resize(std::max(size, kWindowSize));
        mWindowStart = offset;
        mFile.SetCursorPos(static_cast<long long>(offset), basic_binstream::cursor_from_start);
        long long const count = mFile.Read(mWindow.data(), static_cast<long long>(mWindow.size()));
        mWindow.resize(static_cast<std::size_t>(std::max(count, 0LL)));
        if (mWindow.size() < size) throw CBadStore("it ends too early");
    }
    return std::string_view(mWindow).substr(offset - mWindowStart, size);
}

std::string_view CStore::Unpack(CZstdCompressor& compressor,
                                std::string_view packed,
                                std::uint64_t fullSize,
                                CSizedBlock& block)
{
    // A frame that didn't state its size would be made somewhere else first, whatever it becomes.
    bool const isCapped = CZstdFrames::StatesItsSize(packed);
    block.SetLimit(fullSize);
    block.resize(0);
    if (!isCapped || !compressor.Decompress(packed.data(), packed.size(), block) ||
        block.size() != fullSize) {
        throw CBadStore("a part of it can't be unpacked");
    }
    return {block.data(), block.size()};
}
