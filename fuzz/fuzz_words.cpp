// Walks any text by both word delimiters, raw and mapped at each level of instructions, and
// compares each call with the naive rule. The first byte of the input chooses the table, and how
// the rest becomes units: as it is, or each byte one unit of a small alphabet in which everything
// meets everything.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>

#include "marl/amortizedmemblock.h"
#include "testing/NaiveWords.h"
#include "text/CUnicodeCategoryTable.h"
#include "text/CUnicodeMappingTable.h"
#include "text/CUnicodeWordDelimiterStub.h"
#include "text/CUnicodeWordDelimiterStubLegacy.h"
#include "text/simd/TextKernels.h"

namespace {

// Longer ones only make the naive rule slow.
constexpr size_t kLongestText = 200;

constexpr char16_t kAlphabet[] =
    u"ab YZ19#'.\u0301\u0302\u00C9\u00DF\u00BC\u2460\uFB01\uFDFA\u309F\u3300\u4E00\u3007\u3099"
    u"\u2019\u00A0\u02BC\uFF07\uAC00\u0E33\u0345\uFFFF\xD800\xDC00\xD83D\xDE00\xD835\xDBFF\xDFFF"
    u"\u00FF\u00B5\u0419\u0439\u03AC\u064E\u0645\u093F\u0FFF\u1000\uD7A3\uD7A4";

struct Table
{
    CUnicodeMappingTable* mTable;
    NaiveWords::CMap mMap;
};

Table const& TableOf(unsigned int number)
{
    static Table const* const tables = [] {
        static CUnicodeMappingTable empty;
        static CUnicodeMappingTable dynamic;
        dynamic.CreateDynamicMappingTableFromMultipleMappingAndCategoryTables(
            {CUnicodeMappingTable::GetDecomposeAllTable(),
             CUnicodeMappingTable::GetCaseFoldingTable()},
            {CUnicodeCategoryTable::GetPunctuationTable()});
        auto const make = [](CUnicodeMappingTable* table) {
            return Table{table, NaiveWords::CMap(*table)};
        };
        return new Table[4]{make(CUnicodeMappingTable::GetDefaultTable()),
                            make(CUnicodeMappingTable::GetCaseFoldingTable()), make(&empty),
                            make(&dynamic)};
    }();
    return tables[number % 4];
}

void Check(bool holds, char const* what)
{
    if (holds) return;
    std::fprintf(stderr, "differs from the naive rule: %s\n", what);
    std::abort();
}

void WalkRaw(CUnicodeWordDelimiter& delimiter,
             NaiveWords::Rule rule,
             char16_t const* text,
             unsigned int length)
{
    NaiveWords::RawWalk naive;
    unsigned int start = 0;
    unsigned int wordLength = 0;
    bool isFound = true;
    for (unsigned int calls = 0; isFound; ++calls) {
        Check(calls <= length, "the raw walk doesn't end");
        isFound = delimiter.GetNextWord(text, length, start, wordLength);
        Check(isFound == NaiveWords::NextWord(rule, {text, length}, naive), "a raw word");
        Check(start == naive.mStart && wordLength == naive.mWordLength, "a raw word's span");
    }
}

void WalkMapped(CUnicodeWordDelimiter& delimiter,
                NaiveWords::Rule rule,
                char16_t const* text,
                unsigned int length,
                Table const& table)
{
    NaiveWords::MappedWalk naive;
    unsigned int start = 0;
    unsigned int rawLength = 0;
    unsigned int mappedLength = 0;
    amortizedmemblock block;
    bool isFound = true;
    for (unsigned int calls = 0; isFound; ++calls) {
        Check(calls <= 36 * length, "the mapped walk doesn't end");
        isFound = delimiter.GetNextMappedWordInRawText(text, length, *table.mTable, start,
                                                       rawLength, block, mappedLength);
        Check(isFound == NaiveWords::NextMappedWord(rule, {text, length}, table.mMap, naive),
              "a mapped word");
        Check(start == naive.mStart && rawLength == naive.mRawLength, "a mapped word's span");
        Check(mappedLength == naive.mMappedLength, "a mapped word's length");
        Check(block.size() == naive.mBlock.size() * sizeof(char16_t), "the block's size");
        Check(naive.mBlock.empty() ||
                  std::memcmp(block.data(), naive.mBlock.data(), block.size()) == 0,
              "the block's content");
    }
}

std::u16string UnitsOf(bool isAlphabet, uint8_t const* data, size_t size)
{
    std::u16string units;
    if (isAlphabet) {
        for (size_t i = 0; i < size && units.size() < kLongestText; ++i)
            units += kAlphabet[data[i] % (std::size(kAlphabet) - 1)];
    } else {
        units.resize(std::min(size / sizeof(char16_t), kLongestText));
        if (!units.empty()) std::memcpy(units.data(), data, units.size() * sizeof(char16_t));
    }
    return units;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    if (size == 0) return 0;
    Table const& table = TableOf(data[0]);
    std::u16string const units = UnitsOf((data[0] & 4) != 0, data + 1, size - 1);

    // In storage of exactly its size, so that a read outside it doesn't pass unseen.
    auto const length = static_cast<unsigned int>(units.size());
    std::unique_ptr<char16_t[]> const text(new char16_t[length]);
    units.copy(text.get(), length);

    CUnicodeWordDelimiterStub stub;
    CUnicodeWordDelimiterStubLegacy legacy;
    WalkRaw(stub, NaiveWords::Rule::kStub, text.get(), length);
    WalkRaw(legacy, NaiveWords::Rule::kLegacy, text.get(), length);
    for (TextKernels const* const level : GetAllTextKernels()) {
        StTextKernels const guard(*level);
        WalkMapped(stub, NaiveWords::Rule::kStub, text.get(), length, table);
        WalkMapped(legacy, NaiveWords::Rule::kLegacy, text.get(), length, table);
    }
    return 0;
}
