// A set of UTF-16 units: a bit for each unit, loaded from a blob, or a mask of categories of
// `CUnicodeCategoriesTable`.
//
// Searches only read and may run on any thread; a load, an unload or a change of the mask needs the
// object for itself. Lengths and indexes are in UTF-16 units. Nothing here fails but an allocation,
// by `std::bad_alloc`.
#pragma once

#include <atomic>
#include <cstdint>

#include "foundation/LoamExport.h"
#include "text/CUnicodeCategoriesTable.h"

class LOAM_EXPORT CUnicodeCategoryTable
{
public:
    using CategoriesMask = CUnicodeCategoriesTable::CategoriesMask;
    using Flags = CUnicodeCategoriesTable::Flags;

    /// An empty set, in page mode.
    CUnicodeCategoryTable();
    CUnicodeCategoryTable(CUnicodeCategoryTable const&) = delete;
    CUnicodeCategoryTable& operator=(CUnicodeCategoryTable const&) = delete;
    ~CUnicodeCategoryTable();

    /// Forgets all pages without freeing them: for an object that holds none. `UnloadCategoryTable`
    /// frees them.
    void InitCategoryTable();

    /// Replaces the pages by those of a blob of `length` bytes, as
    /// `text/tables/CategoryTableData.h` exports them; its storage must be a whole number of groups
    /// of eight bytes. The blob is not written to nor kept. A page that occurs twice counts as it
    /// is told last; a record that runs past `length` ends the load and what came before it stays.
    /// An object in mask mode stays in it.
    void LoadCategoryTable(signed char* data, int length);

    void LoadCategoryTable(signed char const* data, int length)
    {
        LoadCategoryTable(const_cast<signed char*>(data), length);
    }

    /// Frees all pages, so that the set is empty.
    void UnloadCategoryTable();

    /// Turns mask mode on for good: from now on the set is that of the categories in `mask`,
    /// whatever the pages say.
    void SetCategriesMask(CategoriesMask mask);

    /// Whether `unit` is in the set.
    bool Contains(char16_t unit) const
    {
        if (mMaskMode) return CUnicodeCategoriesTable::Matches(unit, mMask, mFlags, mFlagSense);
        return HasBit(unit);
    }

    /// The first or last unit of `text` that is in the set, or that isn't. True stores its index;
    /// false leaves `index` as it is. A `length` of 0 or below gives false and reads nothing.
    bool FindFirstOfCategory(char16_t const* text, int length, unsigned int& index) const;
    bool FindFirstNotOfCategory(char16_t const* text, int length, unsigned int& index) const;
    bool FindLastOfCategory(char16_t const* text, int length, unsigned int& index) const;
    bool FindLastNotOfCategory(char16_t const* text, int length, unsigned int& index) const;

    /// Shared sets, never null, made at first use and kept until the process ends; any thread may
    /// call. They belong to the library and must not be changed. The first two differ from the
    /// blobs of the same name.
    static CUnicodeCategoryTable*
    GetLetterNumberTable();  ///< Lu Ll Lt Lm Lo Nd Nl No Sm Sc Sk So, surrogates
    static CUnicodeCategoryTable* GetLetterNumberNSMTable();   ///< Lu Ll Lt Lm Lo Mn Nd Nl No
    static CUnicodeCategoryTable* GetMarkSymbolTable();        ///< Mc Me Sm Sc Sk So
    static CUnicodeCategoryTable* GetPunctuationTable();       ///< Pc Pd Ps Pe Pi Pf Po
    static CUnicodeCategoryTable* GetSeparatorControlTable();  ///< Zs Zl Zp Cc
    static CUnicodeCategoryTable* GetNSMTable();               ///< Mn

private:
    bool HasBit(char16_t unit) const
    {
        unsigned char const* const page = mPages[unit >> 8];
        return page && (page[unit >> 3 & 31] >> (unit & 7) & 1) != 0;
    }

    // A bit set of the 256 units of one high byte: the bit of unit c is bit (c & 7) of byte (c >> 3
    // & 31).
    unsigned char* mPages[256];  // owned; null for an empty page
    bool mMaskMode = false;
    CategoriesMask mMask = 0;
    Flags mFlags = 0;
    bool mFlagSense = false;

    static std::atomic<CUnicodeCategoryTable*> sLetterNumberTable;
    static std::atomic<CUnicodeCategoryTable*> sLetterNumberNSMTable;
    static std::atomic<CUnicodeCategoryTable*> sMarkSymbolTable;
    static std::atomic<CUnicodeCategoryTable*> sPunctuationTable;
    static std::atomic<CUnicodeCategoryTable*> sSeparatorControlTable;
    static std::atomic<CUnicodeCategoryTable*> sNSMTable;
};
