// Walks to the end of texts in which nothing is found: the category searches, `HasMappableText`,
// and what a program with ICU does to learn the same, which is to span a set. Bytes a second are
// those of the text as UTF-16.
#include "benchmarks/Corpora.h"
#include "text/CUTFConverter.h"
#include "text/CUnicodeCategoriesTable.h"
#include "text/CUnicodeCategoryTable.h"
#include "text/CUnicodeMappingTable.h"
#include "text/tables/CategoryTableData.h"

#include <benchmark/benchmark.h>
#include <unicode/uset.h>

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace {

using Table = CUnicodeCategoriesTable;

constexpr Table::CategoriesMask kSeparators = 0x03C00000;
constexpr Table::CategoriesMask kLettersAndNumbers = 0x0000071F;
constexpr std::size_t kShort = 200;

using Walk = bool (*)(std::u16string const& text);

// Each of them says false at the end of the text.

template <
    bool (*kSearch)(unsigned int&, char16_t const*, int, Table::CategoriesMask, Table::Flags, bool)>
bool Search(std::u16string const& text,
            Table::CategoriesMask mask,
            Table::Flags flags = 0,
            bool flagSense = false)
{
    unsigned int index = 0;
    return kSearch(index, text.data(), static_cast<int>(text.size()), mask, flags, flagSense);
}

bool FirstLetter(std::u16string const& text)
{
    return Search<Table::FindFirstOfCategories>(text, kLettersAndNumbers);
}

bool FirstOther(std::u16string const& text)
{
    return Search<Table::FindFirstNotOfCategories>(text, kLettersAndNumbers);
}

bool FirstSeparator(std::u16string const& text)
{
    return Search<Table::FindFirstOfCategories>(text, kSeparators);
}

bool LastSeparator(std::u16string const& text)
{
    return Search<Table::FindLastOfCategories>(text, kSeparators);
}

bool LastOther(std::u16string const& text)
{
    return Search<Table::FindLastNotOfCategories>(text, kLettersAndNumbers);
}

bool FirstPictograph(std::u16string const& text)
{
    return Search<Table::FindFirstOfCategories>(text, 0, Table::kFlagSymbolPlane, true);
}

bool FirstOfPages(std::u16string const& text)
{
    static auto const& table = *[] {
        auto* const made = new CUnicodeCategoryTable;
        made->LoadCategoryTable(sSeparatorControlCategoryTableData,
                                sSeparatorControlCategoryTableDataLen);
        return made;
    }();
    unsigned int index = 0;
    return table.FindFirstOfCategory(text.data(), static_cast<int>(text.size()), index);
}

bool HasMappable(std::u16string const& text)
{
    return CUnicodeMappingTable::GetDefaultTable()->HasMappableText(text);
}

bool HasDiacritics(std::u16string const& text)
{
    return CUnicodeMappingTable::GetDecomposeDiacriticsTable()->HasMappableText(text);
}

bool SpanByICU(std::u16string const& text)
{
    static USet const* const set = [] {
        UErrorCode error = U_ZERO_ERROR;
        USet* const separators = uset_openPattern(u"[[:Z:][:Cc:]]", -1, &error);
        uset_freeze(separators);
        return separators;
    }();
    auto const length = static_cast<std::int32_t>(text.size());
    return uset_span(set, text.data(), length, USET_SPAN_NOT_CONTAINED) < length;
}

// The units at which a walk ends, asked once.
std::vector<bool> const& EndsOf(Walk walk)
{
    static std::map<Walk, std::vector<bool>> known;
    std::vector<bool>& ends = known[walk];
    for (unsigned int unit = 0; ends.size() < 0x10000; ++unit)
        ends.push_back(walk(std::u16string(1, static_cast<char16_t>(unit))));
    return ends;
}

std::u16string Without(Walk walk, std::u16string text)
{
    std::vector<bool> const& ends = EndsOf(walk);
    std::erase_if(text, [&ends](char16_t unit) { return ends[unit]; });
    return text;
}

void Register(std::string const& name, Walk walk, std::u16string text)
{
    if (text.empty() || walk(text)) return;
    benchmark::RegisterBenchmark(
        name.c_str(), [walk, text = std::move(text)](benchmark::State& state) {
            for (auto _ : state)
                benchmark::DoNotOptimize(walk(text));
            state.SetBytesProcessed(state.iterations() *
                                    static_cast<std::int64_t>(text.size() * sizeof text[0]));
        });
}

int RegisterAll()
{
    struct
    {
        char const* mName;
        Walk mWalk;
        Walk mEnds;
    } const walks[] = {
        {"first_letter", FirstLetter, FirstLetter},
        {"first_other", FirstOther, FirstOther},
        {"last_other", LastOther, FirstOther},
        {"first_separator", FirstSeparator, FirstSeparator},
        {"last_separator", LastSeparator, FirstSeparator},
        {"first_separator_pages", FirstOfPages, FirstSeparator},
        {"first_separator_icu", SpanByICU, FirstSeparator},
        {"first_pictograph", FirstPictograph, FirstPictograph},
        {"has_mappable", HasMappable, HasMappable},
        {"has_diacritics", HasDiacritics, HasDiacritics},
    };

    for (Corpus const& corpus : Corpora()) {
        if (IsShortLines(corpus)) continue;
        std::u16string text;
        CUTFConverter::ConvertUTF8toUTF16(corpus.mText, text, CUTFConverter::kStrictMode);
        for (auto const& walk : walks) {
            std::u16string const left = Without(walk.mEnds, text);
            std::string const name = std::string("walk/") + walk.mName + "/" + corpus.mName;
            Register(name, walk.mWalk, left);
            Register(name + "/short", walk.mWalk, left.substr(0, kShort));
        }
    }
    return 0;
}

int const sRegistered = RegisterAll();

}  // namespace
