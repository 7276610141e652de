#include "text/CUnicodeCategoryTable.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>

#include "foundation/FirstUse.h"
#include "text/CTableBlobReader.h"
#include "text/UnitSearch.h"

namespace {

constexpr std::size_t kPageSize = 32;
constexpr std::size_t kRecordSize = 1 + kPageSize;

constexpr CUnicodeCategoriesTable::CategoriesMask kLetterNumber = 0x183C071F;
constexpr CUnicodeCategoriesTable::CategoriesMask kLetterNumberNSM = 0x0000073F;
constexpr CUnicodeCategoriesTable::CategoriesMask kMarkSymbol = 0x003C00C0;
constexpr CUnicodeCategoriesTable::CategoriesMask kPunctuation = 0x0003F800;
constexpr CUnicodeCategoriesTable::CategoriesMask kSeparatorControl = 0x03C00000;
constexpr CUnicodeCategoriesTable::CategoriesMask kNSM = 0x00000020;

// The units of loaded pages. Any may be null, which is known when it is met.
class CPageSet final : public CUnitSet
{
public:
    explicit CPageSet(unsigned char* const (&pages)[256])
        : CUnitSet({}, AllPages())
        , mPages(pages)
    {
    }

private:
    static ByteBits AllPages()
    {
        ByteBits all;
        std::fill(std::begin(all.mBytes), std::end(all.mBytes), 0xFF);
        return all;
    }

    void FillPage(unsigned int page, ByteBits& bits) const override
    {
        bits = {};
        if (mPages[page]) std::copy_n(mPages[page], kPageSize, bits.mBytes);
    }

    unsigned char* const (&mPages)[256];  // not owned
};

// Apart, since a set takes 8 KB of the stack.
[[gnu::noinline]] char16_t const* FindInRest(FindUnit& find,
                                             unsigned char* const (&pages)[256],
                                             char16_t const* begin,
                                             char16_t const* end,
                                             bool isMember)
{
    CPageSet set(pages);
    return find(set, begin, end, isMember);
}

CUnicodeCategoryTable* GetShared(std::atomic<CUnicodeCategoryTable*>& slot,
                                 CUnicodeCategoriesTable::CategoriesMask mask)
{
    return GetOrMake(slot, [mask] {
        auto table = std::make_unique<CUnicodeCategoryTable>();
        table->SetCategriesMask(mask);
        return table;
    });
}

}  // namespace

std::atomic<CUnicodeCategoryTable*> CUnicodeCategoryTable::sLetterNumberTable;
std::atomic<CUnicodeCategoryTable*> CUnicodeCategoryTable::sLetterNumberNSMTable;
std::atomic<CUnicodeCategoryTable*> CUnicodeCategoryTable::sMarkSymbolTable;
std::atomic<CUnicodeCategoryTable*> CUnicodeCategoryTable::sPunctuationTable;
std::atomic<CUnicodeCategoryTable*> CUnicodeCategoryTable::sSeparatorControlTable;
std::atomic<CUnicodeCategoryTable*> CUnicodeCategoryTable::sNSMTable;

CUnicodeCategoryTable::CUnicodeCategoryTable()
{
    InitCategoryTable();
}

CUnicodeCategoryTable::~CUnicodeCategoryTable()
{
    UnloadCategoryTable();
}

void CUnicodeCategoryTable::InitCategoryTable()
{
    std::fill(std::begin(mPages), std::end(mPages), nullptr);
}

void CUnicodeCategoryTable::LoadCategoryTable(signed char* data, int length)
{
    UnloadCategoryTable();
    CTableBlobReader blob(data, length);
    while (blob.Left() >= kRecordSize) {
        unsigned char*& page = mPages[blob.Byte()];
        if (!page) page = new unsigned char[kPageSize];
        std::generate_n(page, kPageSize, [&blob] { return blob.Byte(); });
    }
}

void CUnicodeCategoryTable::UnloadCategoryTable()
{
    for (unsigned char const* const page : mPages)
        delete[] page;
    InitCategoryTable();
}

void CUnicodeCategoryTable::SetCategriesMask(CategoriesMask mask)
{
    mMaskMode = true;
    mMask = mask;
    mFlags = 0;
    mFlagSense = false;
}

bool CUnicodeCategoryTable::FindFirstOfCategory(char16_t const* text,
                                                int length,
                                                unsigned int& index) const
{
    if (mMaskMode) {
        return CUnicodeCategoriesTable::FindFirstOfCategories(index, text, length, mMask, mFlags,
                                                              mFlagSense);
    }
    return FindFirstUnit(
        index, text, length, [this](char16_t unit) { return HasBit(unit); },
        [this](auto begin, auto end) {
            return FindInRest(*GetTextKernels().mFindFirstUnit, mPages, begin, end, true);
        });
}

bool CUnicodeCategoryTable::FindFirstNotOfCategory(char16_t const* text,
                                                   int length,
                                                   unsigned int& index) const
{
    if (mMaskMode) {
        return CUnicodeCategoriesTable::FindFirstNotOfCategories(index, text, length, mMask, mFlags,
                                                                 mFlagSense);
    }
    return FindFirstUnit(
        index, text, length, [this](char16_t unit) { return !HasBit(unit); },
        [this](auto begin, auto end) {
            return FindInRest(*GetTextKernels().mFindFirstUnit, mPages, begin, end, false);
        });
}

bool CUnicodeCategoryTable::FindLastOfCategory(char16_t const* text,
                                               int length,
                                               unsigned int& index) const
{
    if (mMaskMode) {
        return CUnicodeCategoriesTable::FindLastOfCategories(index, text, length, mMask, mFlags,
                                                             mFlagSense);
    }
    return FindLastUnit(
        index, text, length, [this](char16_t unit) { return HasBit(unit); },
        [this](auto begin, auto end) {
            return FindInRest(*GetTextKernels().mFindLastUnit, mPages, begin, end, true);
        });
}

bool CUnicodeCategoryTable::FindLastNotOfCategory(char16_t const* text,
                                                  int length,
                                                  unsigned int& index) const
{
    if (mMaskMode) {
        return CUnicodeCategoriesTable::FindLastNotOfCategories(index, text, length, mMask, mFlags,
                                                                mFlagSense);
    }
    return FindLastUnit(
        index, text, length, [this](char16_t unit) { return !HasBit(unit); },
        [this](auto begin, auto end) {
            return FindInRest(*GetTextKernels().mFindLastUnit, mPages, begin, end, false);
        });
}

CUnicodeCategoryTable* CUnicodeCategoryTable::GetLetterNumberTable()
{
    return GetShared(sLetterNumberTable, kLetterNumber);
}

CUnicodeCategoryTable* CUnicodeCategoryTable::GetLetterNumberNSMTable()
{
    return GetShared(sLetterNumberNSMTable, kLetterNumberNSM);
}

CUnicodeCategoryTable* CUnicodeCategoryTable::GetMarkSymbolTable()
{
    return GetShared(sMarkSymbolTable, kMarkSymbol);
}

CUnicodeCategoryTable* CUnicodeCategoryTable::GetPunctuationTable()
{
    return GetShared(sPunctuationTable, kPunctuation);
}

CUnicodeCategoryTable* CUnicodeCategoryTable::GetSeparatorControlTable()
{
    return GetShared(sSeparatorControlTable, kSeparatorControl);
}

CUnicodeCategoryTable* CUnicodeCategoryTable::GetNSMTable()
{
    return GetShared(sNSMTable, kNSM);
}
