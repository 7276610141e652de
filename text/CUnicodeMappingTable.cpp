#include "text/CUnicodeMappingTable.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include "foundation/FirstUse.h"
#include "text/CTableBlobReader.h"
#include "text/CUnicodeCategoryTable.h"
#include "text/MappedUnits.h"
#include "text/MappedWordFacts.h"
#include "text/UnitSearch.h"
#include "text/simd/TextKernels.h"
#include "text/tables/MappingTableData.h"

namespace {

// What the growing forms map into before they append it: neither blank-filled nor allocated.
constexpr int kChunkSize = 1024;

// Where ordinary text finds room at once.
std::size_t FirstCapacity(std::size_t sourceLength)
{
    return std::max<std::size_t>(10, sourceLength + sourceLength / 10);
}

CUnicodeMappingTable*
GetShared(std::atomic<CUnicodeMappingTable*>& slot, signed char const* data, int length)
{
    return GetOrMake(slot, [data, length] {
        auto table = std::make_unique<CUnicodeMappingTable>();
        table->LoadMappingTable(data, length);
        return table;
    });
}

// How many raw units from `text` on give the needle: 0 if they don't, and nothing if the text ends
// before there is a difference.
std::optional<int> Match(CUnicodeMappingTable const& table,
                         char16_t const* text,
                         char16_t const* end,
                         char16_t const* needle,
                         int needleLength)
{
    int matched = 0;  // units of the needle
    for (char16_t const* at = text; at != end; ++at) {
        char16_t const single = table.MapToSingleUnit(*at);
        char16_t const* units = &single;
        int count = 1;
        if (single == CUnicodeMappingTable::kNoSingleUnit) {
            units = at;
            table.FindEntry(*at, units, count);
        }
        // Kept on purpose: this goes on behind the needle's end, up to the first difference.
        for (int k = 0; k < count; ++k) {
            if (units[k] != needle[matched + k]) return 0;
        }
        matched += count;
        if (matched == needleLength) return static_cast<int>(at - text) + 1;
        // A deleted unit in front of a hit isn't part of it.
        if (matched == 0) return 0;
    }
    return {};
}

}  // namespace

std::atomic<CUnicodeMappingTable*> CUnicodeMappingTable::sDefaultTable;
std::atomic<CUnicodeMappingTable*> CUnicodeMappingTable::sDecomposeAllTable;
std::atomic<CUnicodeMappingTable*> CUnicodeMappingTable::sDecomposeDiacriticsTable;
std::atomic<CUnicodeMappingTable*> CUnicodeMappingTable::sCaseFoldingTable;
std::atomic<CUnicodeMappingTable*> CUnicodeMappingTable::sStripNSMTable;

constinit CUnicodeMappingTable::PageIndex const CUnicodeMappingTable::sEmptyIndex = [] {
    PageIndex index{};
    for (std::uint16_t& entry : index.mEntries)
        entry = kUnmapped;
    return index;
}();

// A page on its way into its slot.
struct CUnicodeMappingTable::Page
{
    unsigned int mNumber;
    std::size_t mCount;  // of units in `mData`
    std::unique_ptr<char16_t[]> mData;
    std::unique_ptr<PageIndex> mIndex;

    Page(unsigned int number, std::size_t count)
        : mNumber(number)
        , mCount(count)
        , mData(std::make_unique<char16_t[]>(count))
        , mIndex(std::make_unique<PageIndex>(sEmptyIndex))
    {
    }

    // Whether `at` is the offset of an entry, the whole of which lies in the data.
    bool HasEntry(std::size_t at) const { return at < mCount && mData[at] < mCount - at; }

    // From the entries.
    void FillFacts()
    {
        for (unsigned int low = 0; low < 256; ++low) {
            std::size_t const at = mIndex->mEntries[low];
            mIndex->mSearchCodes[low] = SearchCodeOf(low);
            if (at == kUnmapped) continue;
            unsigned int const single = mData[at] == 1 ? mData[at + 1] : kNoSingleUnit;
            mIndex->mSteps[low] = static_cast<std::uint16_t>(single - (mNumber << 8 | low));
            unsigned int const isDeleted = mData[at] == 0 ? 1 : 0;
            mIndex->mDeleted[low / 16] |= static_cast<std::uint16_t>(isDeleted << low % 16);
            mIndex->mMapped[low / 8] |= static_cast<std::uint8_t>(1U << low % 8);
        }
    }

    // Of the unit of a low byte.
    std::uint8_t SearchCodeOf(unsigned int low) const
    {
        std::size_t const at = mIndex->mEntries[low];
        if (at == kUnmapped) return SearchCode::Of(static_cast<char16_t>(mNumber << 8 | low));
        if (mData[at] == 0) return SearchCode::kDeleted;
        return mData[at] == 1 ? SearchCode::Of(mData[at + 1]) : SearchCode::kSeveral;
    }

    // A bit for each half.
    unsigned int FindMappedHalves() const
    {
        unsigned int halves = 0;
        for (unsigned int low = 0; low < 256; ++low) {
            if (mIndex->mEntries[low] != kUnmapped) halves |= 1U << low / kHalfSize;
        }
        return halves;
    }

    // Of page 0.
    ASCIIMapping FindASCIIMapping() const
    {
        unsigned int const upperStep = mIndex->mSteps[unsigned{'A'}];
        for (unsigned int unit = 0; unit < 0x80; ++unit) {
            bool const isUpper = unit >= 'A' && unit <= 'Z';
            if (mIndex->mSteps[unit] != (isUpper ? upperStep : 0)) return ASCIIMapping::kOther;
        }
        if (upperStep == 0) return ASCIIMapping::kKept;
        return upperStep == 'a' - 'A' ? ASCIIMapping::kLowercased : ASCIIMapping::kOther;
    }

    static std::optional<Page> Read(CTableBlobReader& blob);
    static std::optional<Page> Compose(unsigned int number, std::u16string const (&mappings)[256]);
};

// The next record of a mapping blob, or nothing where it runs past the end or leads out of its own
// data.
std::optional<CUnicodeMappingTable::Page> CUnicodeMappingTable::Page::Read(CTableBlobReader& blob)
{
    if (blob.Left() < 3) return {};
    unsigned int const number = blob.Byte();
    std::size_t const count = blob.Word();
    if (blob.Left() < 2 * count + 2) return {};

    Page page(number, count);
    std::generate_n(page.mData.get(), count, [&blob] { return blob.Word(); });
    std::size_t const first = blob.Byte();
    std::size_t const last = blob.Byte();
    if (last < first || blob.Left() < 2 * (last - first + 1)) return {};

    for (std::size_t low = first; low <= last; ++low) {
        std::uint16_t const at = blob.Word();
        if (at != kUnmapped && !page.HasEntry(at)) return {};
        page.mIndex->mEntries[low] = at;
    }
    page.FillFacts();
    return page;
}

// The page on which the unit of each low byte becomes the string of that number, or nothing where
// all stay as they are.
std::optional<CUnicodeMappingTable::Page>
CUnicodeMappingTable::Page::Compose(unsigned int number, std::u16string const (&mappings)[256])
{
    auto const isUnchanged = [number, &mappings](unsigned int low) {
        return mappings[low].size() == 1 && mappings[low][0] == (number << 8 | low);
    };
    std::size_t count = 0;
    for (unsigned int low = 0; low < 256; ++low) {
        if (!isUnchanged(low)) count += mappings[low].size() + 1;
    }
    if (count == 0) return {};

    Page page(number, count);
    std::size_t at = 0;
    for (unsigned int low = 0; low < 256; ++low) {
        if (isUnchanged(low)) continue;
        std::u16string const& mapping = mappings[low];
        page.mIndex->mEntries[low] = static_cast<std::uint16_t>(at);
        page.mData[at++] = static_cast<char16_t>(mapping.size());
        at += mapping.copy(&page.mData[at], mapping.size());
    }
    page.FillFacts();
    return page;
}

void CUnicodeMappingTable::TakePage(Page&& page)
{
    Slot& slot = mSlots[page.mNumber];
    Free(slot);
    if (page.mNumber == 0) mASCIIMapping = page.FindASCIIMapping();
    std::uint16_t& halves = mMappedHalves[page.mNumber / 8];
    unsigned int const shift = page.mNumber % 8 * 2;
    halves =
        static_cast<std::uint16_t>((halves & ~(3U << shift)) | page.FindMappedHalves() << shift);
    slot = {page.mData.release(), page.mIndex.release()};
}

void CUnicodeMappingTable::Free(Slot const& slot)
{
    delete[] slot.mData;
    if (slot.mIndex != &sEmptyIndex) delete slot.mIndex;
}

void CUnicodeMappingTable::InitMappingTable()
{
    std::fill(std::begin(mSlots), std::end(mSlots), Slot{nullptr, &sEmptyIndex});
    std::fill(std::begin(mMappedHalves), std::end(mMappedHalves), std::uint16_t{0});
    mASCIIMapping = ASCIIMapping::kKept;
    // A table without a mapping has them too, once words were told by it.
    delete mWordFacts.exchange(nullptr, std::memory_order_relaxed);
}

void CUnicodeMappingTable::LoadMappingTable(signed char* data, int length)
{
    UnloadMappingTable();
    CTableBlobReader blob(data, length);
    while (std::optional<Page> page = Page::Read(blob))
        TakePage(std::move(*page));
}

void CUnicodeMappingTable::UnloadMappingTable()
{
    for (Slot const& slot : mSlots)
        Free(slot);
    InitMappingTable();
}

MappedWordFacts const& CUnicodeMappingTable::GetWordFacts() const
{
    return *GetOrMake(mWordFacts,
                      [this] { return std::make_unique<MappedWordFacts const>(*this); });
}

void CUnicodeMappingTable::CreateDynamicMappingTableFromMultipleMappingAndCategoryTables(
    std::vector<CUnicodeMappingTable*> const& mappings,
    std::vector<CUnicodeCategoryTable*> const& categories)
{
    UnloadMappingTable();
    std::u16string strings[256];
    std::u16string mapped;
    auto const isDeleted = [&categories](char16_t unit) {
        return std::any_of(categories.begin(), categories.end(),
                           [unit](auto const* table) { return table && table->Contains(unit); });
    };
    for (unsigned int number = 0; number < 256; ++number) {
        for (unsigned int low = 0; low < 256; ++low) {
            std::u16string& string = strings[low];
            string.assign(1, static_cast<char16_t>(number << 8 | low));
            for (CUnicodeMappingTable const* const table : mappings) {
                if (!table) continue;
                table->MapText(string, mapped);
                string.swap(mapped);
            }
            std::erase_if(string, isDeleted);
            if (string.size() > kLongestMapping) string.resize(kLongestMapping);
        }
        std::optional<Page> page = Page::Compose(number, strings);
        if (page) TakePage(std::move(*page));
    }
}

bool CUnicodeMappingTable::HasMappableText(char16_t const* text, int length) const
{
    return length > 0 && FindMappable(text, text + length) != text + length;
}

bool CUnicodeMappingTable::HasMappableText(std::u16string const& text) const
{
    char16_t const* const end = text.data() + text.size();
    return FindMappable(text.data(), end) != end;
}

// The first unit that has a mapping, or `end`.
char16_t const* CUnicodeMappingTable::FindMappable(char16_t const* text, char16_t const* end) const
{
    char16_t const* const tested = end - text < kLongText ? end : text + kTestedUnits;
    char16_t const* const found = std::find_if(text, tested, [this](char16_t unit) {
        return mSlots[unit >> 8].mIndex->mEntries[unit & 0xFF] != kUnmapped;
    });
    return found == tested && tested < end ? FindMappedUnit(*this, tested, end) : found;
}

bool CUnicodeMappingTable::MapText(char16_t const* source,
                                   int sourceLength,
                                   int& sourcePos,
                                   char16_t* target,
                                   int targetCapacity,
                                   int& targetPos,
                                   int* offsets) const
{
    return GetTextKernels().mMapText(*this, source, sourceLength, sourcePos, target, targetCapacity,
                                     targetPos, offsets);
}

void CUnicodeMappingTable::MapText(char16_t const* source,
                                   int sourceLength,
                                   std::u16string& target,
                                   std::vector<int>& offsets) const
{
    target.clear();
    offsets.clear();
    if (sourceLength > 0) {
        offsets.reserve(FirstCapacity(static_cast<std::size_t>(sourceLength)) + 1);
        AppendMapped(source, sourceLength, target, &offsets);
    }
    offsets.push_back(std::max(sourceLength, 0));
}

void CUnicodeMappingTable::MapText(std::u16string const& source, std::u16string& target) const
{
    if (&source == &target) return MapText(std::u16string(source), target);

    target.clear();
    // What `int` counts at a time: each unit is mapped on its own, so any cut will do.
    constexpr std::size_t kLongestPiece = std::numeric_limits<int>::max();
    for (std::u16string_view rest = source; !rest.empty();) {
        std::u16string_view const piece = rest.substr(0, kLongestPiece);
        AppendMapped(piece.data(), static_cast<int>(piece.size()), target, nullptr);
        rest.remove_prefix(piece.size());
    }
}

void CUnicodeMappingTable::AppendMapped(char16_t const* source,
                                        int sourceLength,
                                        std::u16string& target,
                                        std::vector<int>* offsets) const
{
    char16_t units[kChunkSize];
    int unitOffsets[kChunkSize + 1];
    target.reserve(target.size() + FirstCapacity(static_cast<std::size_t>(sourceLength)));
    int from = 0;
    for (bool isDone = false; !isDone;) {
        int count = 0;
        isDone = MapText(source, sourceLength, from, units, kChunkSize, count,
                         offsets ? unitOffsets : nullptr);
        target.append(units, static_cast<std::size_t>(count));
        if (offsets) offsets->insert(offsets->end(), unitOffsets, unitOffsets + count);

        char16_t const* entry = nullptr;
        if (!isDone && count == 0 && FindEntry(source[from], entry, count)) {
            // Longer than a chunk, which only a hand-made table can hold.
            target.append(entry, static_cast<std::size_t>(count));
            if (offsets) offsets->insert(offsets->end(), static_cast<std::size_t>(count), from);
            ++from;
        }
    }
}

bool CUnicodeMappingTable::FindMappedText(char16_t const* text,
                                          int textLength,
                                          int startPos,
                                          int& matchPos,
                                          int& matchLength,
                                          char16_t const* needle,
                                          int needleLength) const
{
    if (startPos >= textLength) return false;
    if (needleLength <= 0) {
        // Kept on purpose: nothing is found where something is mapped.
        char16_t const* const hit = FindMappable(text + startPos, text + textLength);
        if (needleLength < 0 || hit == text + textLength) return false;
        matchPos = static_cast<int>(hit - text);
        matchLength = 1;
        return true;
    }

    FindMappedStart* const findStart = GetTextKernels().mFindMappedStart;
    for (int at = startPos; at < textLength; ++at) {
        at = findStart(*this, text, textLength, at, needle, needleLength);
        if (at == textLength) return false;
        std::optional<int> const rawLength =
            Match(*this, text + at, text + textLength, needle, needleLength);
        if (!rawLength) return false;
        if (*rawLength == 0) continue;
        matchPos = at;
        matchLength = *rawLength;
        return true;
    }
    return false;
}

CUnicodeMappingTable* CUnicodeMappingTable::GetDefaultTable()
{
    return GetShared(sDefaultTable, sDefaultMappingTableData, sDefaultMappingTableDataLen);
}

CUnicodeMappingTable* CUnicodeMappingTable::GetDecomposeAllTable()
{
    return GetShared(sDecomposeAllTable, sDecomposeAllMappingTableData,
                     sDecomposeAllMappingTableDataLen);
}

CUnicodeMappingTable* CUnicodeMappingTable::GetDecomposeDiacriticsTable()
{
    return GetShared(sDecomposeDiacriticsTable, sDecomposeDiacriticsMappingTableData,
                     sDecomposeDiacriticsMappingTableDataLen);
}

CUnicodeMappingTable* CUnicodeMappingTable::GetCaseFoldingTable()
{
    return GetShared(sCaseFoldingTable, sCaseFoldingMappingTableData,
                     sCaseFoldingMappingTableDataLen);
}

CUnicodeMappingTable* CUnicodeMappingTable::GetStripNSTable()
{
    return GetShared(sStripNSMTable, sStripNSMMappingTableData, sStripNSMMappingTableDataLen);
}
