// Loads tables from arbitrary blobs or takes a built-in one, and holds mapping and finding at every
// level of instructions against a slow statement of both.
#include <cstdlib>
#include <iterator>
#include <string>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

#include "testing/NaiveMapping.h"
#include "testing/TableBlobs.h"
#include "text/CUnicodeCategoryTable.h"
#include "text/CUnicodeMappingTable.h"
#include "text/simd/TextKernels.h"

namespace {

// Hand-made entries may be long; a few of them would make texts that only cost time.
constexpr std::size_t kLongestText = 64;
constexpr std::size_t kLongestPlainText = 300;
constexpr std::size_t kLongestNeedle = 8;
constexpr std::size_t kLongestStepped = 4096;

void Require(bool holds)
{
    if (!holds) std::abort();
}

std::u16string TakeText(FuzzedDataProvider& data, std::size_t longest)
{
    std::u16string text;
    for (std::size_t left = data.ConsumeIntegralInRange<std::size_t>(0, longest); left > 0; --left)
        text += data.ConsumeIntegral<char16_t>();
    return text;
}

// Runs of neighbouring units, as the words of a script are.
std::u16string TakeRuns(FuzzedDataProvider& data, std::size_t longest)
{
    std::u16string text;
    while (data.remaining_bytes() > 0 && text.size() < longest) {
        auto const first = data.ConsumeIntegral<char16_t>();
        for (char const step : data.ConsumeRandomLengthString(longest - text.size()))
            text += static_cast<char16_t>(first + static_cast<unsigned char>(step));
    }
    return text;
}

// What the table says of the units that occur in `text`.
UnitMapping MappingOf(CUnicodeMappingTable const& table, std::u16string const& text)
{
    UnitMapping mapping;
    for (char16_t const unit : text) {
        char16_t const* units = nullptr;
        int count = 0;
        if (table.FindEntry(unit, units, count)) {
            mapping[unit].assign(units, static_cast<std::size_t>(count));
        }
    }
    return mapping;
}

// The core in steps of a few units, then the growing form.
void CheckMapping(CUnicodeMappingTable const& table,
                  UnitMapping const& mapping,
                  std::u16string const& text,
                  int step)
{
    NaivelyMapped const expected = MapNaively(mapping, text);
    std::u16string mapped;
    table.MapText(text, mapped);
    Require(mapped == expected.mText);
    std::vector<int> offsets;
    table.MapText(text.data(), static_cast<int>(text.size()), mapped, offsets);
    Require(mapped == expected.mText && offsets == expected.mOffsets);
    if (mapped.size() > kLongestStepped) return;

    int sourcePos = 0;
    int targetPos = 0;
    std::u16string target;
    offsets.clear();
    bool isDone = false;
    for (std::size_t capacity = 0; !isDone; capacity += static_cast<std::size_t>(step)) {
        target.resize(capacity);
        offsets.resize(capacity + 1);
        isDone = table.MapText(text.data(), static_cast<int>(text.size()), sourcePos, target.data(),
                               static_cast<int>(capacity), targetPos, offsets.data());
    }
    target.resize(static_cast<std::size_t>(targetPos));
    offsets.resize(static_cast<std::size_t>(targetPos) + 1);
    Require(target == expected.mText && offsets == expected.mOffsets);
}

void CheckFinding(CUnicodeMappingTable const& table,
                  UnitMapping const& mapping,
                  std::u16string const& text,
                  std::u16string const& needle)
{
    if (needle.empty()) return;
    // A terminator that no entry holds; without one the comparison may run on behind the needle.
    for (auto const& [unit, to] : mapping) {
        if (to.find(u'\0') != std::u16string::npos) return;
    }
    int pos = 0;
    int length = 0;
    int const needleLength = static_cast<int>(needle.size());
    bool const found = table.FindMappedText(text.data(), static_cast<int>(text.size()), 0, pos,
                                            length, needle.c_str(), needleLength);
    auto const expected =
        FindNaively(mapping, text, 0, needle + std::u16string(1, u'\0'), needleLength);
    Require(found == expected.has_value());
    if (found) Require(*expected == std::pair(pos, length));
}

// At every level.
void Check(CUnicodeMappingTable const& table,
           std::u16string const& text,
           std::u16string const& needle,
           int step)
{
    UnitMapping const mapping = MappingOf(table, text);
    for (TextKernels const* const kernels : GetAllTextKernels()) {
        StTextKernels const level(*kernels);
        CheckMapping(table, mapping, text, step);
        CheckFinding(table, mapping, text, needle);
    }
}

// The needle is what a piece of the text gives, so that there is something to find.
void CheckBuiltIn(CUnicodeMappingTable const& table, FuzzedDataProvider& data)
{
    int const step = data.ConsumeIntegralInRange(1, 200);
    std::size_t const place = data.ConsumeIntegralInRange<std::size_t>(0, kLongestPlainText);
    std::size_t const length = data.ConsumeIntegralInRange<std::size_t>(1, kLongestNeedle);
    std::u16string const text = TakeRuns(data, kLongestPlainText);
    std::u16string needle;
    table.MapText(text.substr(place < text.size() ? place : 0, length), needle);
    Check(table, text, needle, step);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(unsigned char const* bytes, std::size_t size)
{
    FuzzedDataProvider data(bytes, size);
    CUnicodeMappingTable* (*const builtIn[])() = {
        CUnicodeMappingTable::GetDefaultTable, CUnicodeMappingTable::GetDecomposeAllTable,
        CUnicodeMappingTable::GetDecomposeDiacriticsTable,
        CUnicodeMappingTable::GetCaseFoldingTable, CUnicodeMappingTable::GetStripNSTable};
    auto const which = data.ConsumeIntegralInRange<std::size_t>(0, std::size(builtIn));
    if (which < std::size(builtIn)) {
        CheckBuiltIn(*builtIn[which](), data);
        return 0;
    }

    std::u16string const text = TakeText(data, kLongestText);
    std::u16string const needle = TakeText(data, kLongestNeedle);
    int const step = data.ConsumeIntegralInRange(1, 40);
    std::string const stream = data.ConsumeRemainingBytesAsString();
    TableBlob blob = StoreBlob(stream);

    CUnicodeCategoryTable set;
    set.LoadCategoryTable(blob.Data(), blob.mLength);
    unsigned int index = 0;
    if (set.FindFirstOfCategory(text.data(), static_cast<int>(text.size()), index)) {
        Require(set.Contains(text[index]));
    }

    CUnicodeMappingTable table;
    table.LoadMappingTable(blob.Data(), blob.mLength);
    Check(table, text, needle, step);
    return 0;
}
