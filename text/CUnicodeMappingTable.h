// Folds text for search: each UTF-16 unit on its own becomes zero or more units, by table.
//
// CAUTION: `FindMappedText` reads behind its needle, by up to the length of an entry. The needle
// must be followed by a unit that no entry holds, as the NUL behind a string's text is.
//
// There is no context, no reordering and no composition, so that mapping can stop and go on
// anywhere and an array of offsets leads back to the raw text: `offsets[k]` is the raw index of the
// unit that gave mapped unit k, and one more entry holds the raw length. Mapped units a to b, b
// exclusive, are raw units `offsets[a]` to `offsets[b]`; where b lies inside an expansion both name
// the same raw unit, and one more belongs to the hit.
//
// A loaded table only gets read, by any number of threads; an operation that changes it needs the
// object for itself. Lengths, positions and capacities are in UTF-16 units. What a string or vector
// throws when it can't grow goes on to the caller; nothing else fails. A table takes 4 KB and, for
// each page of 256 units with a mapping, 1344 bytes and its entries: 100 KB for the default one.
// The first walk over mapped words by a table adds 83 KB, which stay until its content changes.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "foundation/LoamExport.h"

class CUnicodeCategoryTable;
struct MappedWordFacts;

class LOAM_EXPORT CUnicodeMappingTable
{
public:
    /// The longest mapping in the built-in tables, and the longest that a computed table keeps.
    static constexpr int kLongestMapping = 18;
    /// What `MapToSingleUnit` answers where a unit gives none or several.
    static constexpr char16_t kNoSingleUnit = 0xFFFF;

    /// A table that maps nothing.
    CUnicodeMappingTable() { InitMappingTable(); }

    CUnicodeMappingTable(CUnicodeMappingTable const&) = delete;
    CUnicodeMappingTable& operator=(CUnicodeMappingTable const&) = delete;

    ~CUnicodeMappingTable() { UnloadMappingTable(); }

    /// Forgets all mappings without freeing them: for an object that holds none.
    /// `UnloadMappingTable` frees them.
    void InitMappingTable();

    /// Replaces the content by that of a blob of `length` bytes, as
    /// `text/tables/MappingTableData.h` exports them; its storage must be a whole number of groups
    /// of eight bytes. The blob is not written to nor kept. A page that occurs twice counts as it
    /// is told last. A record that runs past `length`, or with an entry that runs out of it, ends
    /// the load; what came before it stays.
    void LoadMappingTable(signed char* data, int length);

    void LoadMappingTable(signed char const* data, int length)
    {
        LoadMappingTable(const_cast<signed char*>(data), length);
    }

    /// Frees all mappings, so that the table maps nothing.
    void UnloadMappingTable();

    /// Replaces the content by a computed table: each unit goes through all of `mappings` in their
    /// order, then loses what is in any of `categories`, and is cut to `kLongestMapping` units.
    /// Null pointers are passed over. The object itself must not be among `mappings`. Takes some
    /// milliseconds for each table.
    void CreateDynamicMappingTableFromMultipleMappingAndCategoryTables(
        std::vector<CUnicodeMappingTable*> const& mappings,
        std::vector<CUnicodeCategoryTable*> const& categories);

    /// Whether any unit of the text has a mapping, deletion included. A length below 1 gives false.
    /// Allocates nothing.
    bool HasMappableText(char16_t const* text, int length) const;
    bool HasMappableText(std::u16string const& text) const;

    /// Maps `source` from `sourcePos` on into `target` from `targetPos` on, and moves both
    /// positions. A source unit is written wholly or not at all: where `targetCapacity` leaves no
    /// room for the next, answers false with both positions at it, and a call with more room goes
    /// on from there. True at the end of the source. `offsets` may be null, and otherwise has room
    /// for `targetCapacity` + 1 values: it gets the raw index of each unit written, and at the end
    /// `offsets[targetPos]` = `sourcePos`. Positions must not be negative. Allocates nothing.
    bool MapText(char16_t const* source,
                 int sourceLength,
                 int& sourcePos,
                 char16_t* target,
                 int targetCapacity,
                 int& targetPos,
                 int* offsets) const;

    /// Maps a whole text. `offsets` gets one value more than `target` has units. `source` must not
    /// lie in `target`. Either of them begins with room for 1.1 times the source's length and
    /// holds, if it has to grow beyond that, at most three times what its result takes.
    void MapText(char16_t const* source,
                 int sourceLength,
                 std::u16string& target,
                 std::vector<int>& offsets) const;
    /// The two may be the same string: then a copy of it is held meanwhile, and its former storage
    /// beside room for twice its length. Otherwise `target` takes as much as above.
    void MapText(std::u16string const& source, std::u16string& target) const;

    /// Looks for `needle`, which has been mapped by this table, in raw `text` from `startPos` on,
    /// which must not be negative, and answers the first hit as raw position and raw length. Marks
    /// and the like that the table deletes are in `matchLength` inside a hit, but not before or
    /// behind it. A hit covers whole raw units: "s" is not found in "ß". False leaves the results
    /// as they are. Where `needleLength` is 0, the first unit that has a mapping is the hit.
    /// Allocates nothing.
    bool FindMappedText(char16_t const* text,
                        int textLength,
                        int startPos,
                        int& matchPos,
                        int& matchLength,
                        char16_t const* needle,
                        int needleLength) const;

    /// The mapping of one unit: false if it stays as it is, otherwise `count` units, possibly none,
    /// at `units`, which live as long as the table's content. For loops that walk a text by
    /// themselves.
    bool FindEntry(char16_t unit, char16_t const*& units, int& count) const
    {
        Slot const& slot = mSlots[unit >> 8];
        std::uint16_t const at = slot.mIndex->mEntries[unit & 0xFF];
        if (at == kUnmapped) return false;
        count = slot.mData[at];
        units = slot.mData + at + 1;
        return true;
    }

    /// What `unit` gives if that is exactly one unit (itself where it has no mapping), and
    /// `kNoSingleUnit` otherwise; that answer for U+FFFF says nothing. One load for most units: try
    /// this first, then `FindEntry`.
    char16_t MapToSingleUnit(char16_t unit) const
    {
        std::uint16_t const step = mSlots[unit >> 8].mIndex->mSteps[unit & 0xFF];
        return static_cast<char16_t>(unit + step);
    }

    /// What a table does to the 128 units of ASCII.
    enum class ASCIIMapping : unsigned char
    {
        kKept,        ///< each stays as it is
        kLowercased,  ///< A to Z become a to z, the others stay
        kOther,
    };

    /// For loops that take many units at a time: all built-in tables keep or lowercase.
    ASCIIMapping GetASCIIMapping() const { return mASCIIMapping; }

    /// The same facts for loops over vectors, by half of a page: unit u is the (u % 128)th of half
    /// u / 128. All of them live as long as the table's content.
    static constexpr unsigned int kHalfSize = 128;
    static constexpr unsigned int kHalves = 0x10000 / kHalfSize;

    /// A bit for each half of a page, sixteen in a word from the lowest on: whether any unit of it
    /// has a mapping.
    std::uint16_t const* GetMappedHalves() const { return mMappedHalves; }

    /// By unit of a half, the distance modulo 65,536 to what `MapToSingleUnit` answers.
    std::uint16_t const* GetSteps(unsigned int half) const
    {
        return mSlots[half / 2].mIndex->mSteps + std::size_t{half % 2} * kHalfSize;
    }

    /// A bit for each unit of a half, sixteen in a word from the lowest on: whether it gives
    /// nothing.
    std::uint16_t const* GetDeleted(unsigned int half) const
    {
        return mSlots[half / 2].mIndex->mDeleted + std::size_t{half % 2} * (kHalfSize / 16);
    }

    /// A bit for each of the 256 units of a page, eight in a byte from the lowest on: whether it
    /// has a mapping. 32 bytes, which live as long as the table's content.
    std::uint8_t const* GetMappedUnits(unsigned int page) const
    {
        return mSlots[page].mIndex->mMapped;
    }

    /// A byte for each of the 256 units of a page that has a mapping, as `SearchCode` in
    /// text/simd/MappingKernels.h tells. They live as long as the table's content.
    std::uint8_t const* GetSearchCodes(unsigned int page) const
    {
        return mSlots[page].mIndex->mSearchCodes;
    }

    /// What the walks over mapped words look up, made of the content at the first `GetWordFacts`;
    /// null before. Inner to them.
    MappedWordFacts const* FindWordFacts() const
    {
        return mWordFacts.load(std::memory_order_acquire);
    }

    MappedWordFacts const& GetWordFacts() const;

    /// Shared tables, never null, made at first use, whole before anybody sees them, and kept until
    /// the process ends; any thread may call. They belong to the library and must not be changed.
    /// All follow Unicode 13.0 and leave Hangul syllables and what lies outside the BMP alone.
    ///
    /// The form for search: decomposed, without nonspacing marks, case-folded.
    static CUnicodeMappingTable* GetDefaultTable();
    /// Full canonical and compatibility decomposition, and Æ æ Œ œ ı as plain letters. Fractions,
    /// circled, squared and small forms and letters of mathematical fonts come between two blanks.
    static CUnicodeMappingTable* GetDecomposeAllTable();
    /// Decomposition only as far as it leads to a nonspacing mark.
    static CUnicodeMappingTable* GetDecomposeDiacriticsTable();
    /// Common and full case folding: ß gives ss.
    static CUnicodeMappingTable* GetCaseFoldingTable();
    /// Nonspacing marks to nothing.
    static CUnicodeMappingTable* GetStripNSTable();

private:
    // What becomes of the units of a page, by low byte.
    struct alignas(64) PageIndex
    {
        std::uint16_t mSteps[256];       // as `GetSteps` tells
        std::uint16_t mEntries[256];     // offset of the entry in the page's data, or `kUnmapped`
        std::uint16_t mDeleted[16];      // as `GetDeleted` tells
        std::uint8_t mMapped[32];        // as `GetMappedUnits` tells
        std::uint8_t mSearchCodes[256];  // as `GetSearchCodes` tells
    };

    struct Slot
    {
        // Owned. A series of entries, each its length and then as many units. Null on a page with
        // no mapping.
        char16_t const* mData;
        // Owned, but `sEmptyIndex` on a page with no mapping, so that a look-up never has to ask.
        PageIndex const* mIndex;
    };

    static constexpr std::uint16_t kUnmapped = 0xFFFF;
    static PageIndex const sEmptyIndex;

    struct Page;

    void TakePage(Page&& page);
    static void Free(Slot const& slot);
    char16_t const* FindMappable(char16_t const* text, char16_t const* end) const;
    void AppendMapped(char16_t const* source,
                      int sourceLength,
                      std::u16string& target,
                      std::vector<int>* offsets) const;

    Slot mSlots[256];  // by high byte
    alignas(64) std::uint16_t mMappedHalves[kHalves / 16];
    ASCIIMapping mASCIIMapping;
    mutable std::atomic<MappedWordFacts const*> mWordFacts = nullptr;  // owned

    static std::atomic<CUnicodeMappingTable*> sDefaultTable;
    static std::atomic<CUnicodeMappingTable*> sDecomposeAllTable;
    static std::atomic<CUnicodeMappingTable*> sDecomposeDiacriticsTable;
    static std::atomic<CUnicodeMappingTable*> sCaseFoldingTable;
    static std::atomic<CUnicodeMappingTable*> sStripNSMTable;
};
