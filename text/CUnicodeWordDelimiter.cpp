#include "text/CUnicodeWordDelimiter.h"

#include <memory>

#include "foundation/FirstUse.h"
#include "text/CUnicodeCategoryTable.h"
#include "text/CUnicodeWordDelimiterStub.h"
#include "text/WordUnits.h"

std::atomic<CUnicodeWordDelimiter*> CUnicodeWordDelimiter::sDefaultDelimiter{nullptr};
std::atomic<CUnicodeCategoryTable*> CUnicodeWordDelimiter::sWordDelimiterCategoryTable{nullptr};

CUnicodeWordDelimiter::~CUnicodeWordDelimiter() = default;

CUnicodeCategoryTable* CUnicodeWordDelimiter::GetWordDelimiterCategoryTable()
{
    return GetOrMake(sWordDelimiterCategoryTable, [] {
        auto table = std::make_unique<CUnicodeCategoryTable>();
        table->SetCategriesMask(WordUnits::kWord);
        return table;
    });
}

CUnicodeWordDelimiter* CUnicodeWordDelimiter::CreateDelimiter()
{
    return new CUnicodeWordDelimiterStub;
}

CUnicodeWordDelimiter* CUnicodeWordDelimiter::GetDefaultDelimiter()
{
    return GetOrMake(sDefaultDelimiter,
                     [] { return std::unique_ptr<CUnicodeWordDelimiter>(CreateDelimiter()); });
}
