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
    return FindFirstUnit(index, text, length, [this](char16_t unit) { return HasBit(unit); });
}

bool CUnicodeCategoryTable::FindFirstNotOfCategory(char16_t const* text,
                                                   int length,
                                                   unsigned int& index) const
{
    if (mMaskMode) {
        return CUnicodeCategoriesTable::FindFirstNotOfCategories(index, text, length, mMask, mFlags,
                                                                 mFlagSense);
    }
    return FindFirstUnit(index, text, length, [this](char16_t unit) { return !HasBit(unit); });
}

bool CUnicodeCategoryTable::FindLastOfCategory(char16_t const* text,
                                               int length,
                                               unsigned int& index) const
{
    if (mMaskMode) {
        return CUnicodeCategoriesTable::FindLastOfCategories(index, text, length, mMask, mFlags,
                                                             mFlagSense);
    }
    return FindLastUnit(index, text, length, [this](char16_t unit) { return HasBit(unit); });
}

bool CUnicodeCategoryTable::FindLastNotOfCategory(char16_t const* text,
                                                  int length,
                                                  unsigned int& index) const
{
    if (mMaskMode) {
        return CUnicodeCategoriesTable::FindLastNotOfCategories(index, text, length, mMask, mFlags,
                                                                mFlagSense);
    }
    return FindLastUnit(index, text, length, [this](char16_t unit) { return !HasBit(unit); });
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
