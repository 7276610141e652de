#include "text/simd/LanguageKernels.h"

#include "testing/StFencedMemory.h"
#include "text/simd/TextKernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

// What counts in `text`, and whether a blank behind it would.
struct Taken
{
    std::string mBytes;
    bool mTakesBlank;

    bool operator==(Taken const&) const = default;
};

Taken TakeNaively(std::string const& text, bool takesBlank)
{
    Taken taken{{}, takesBlank};
    for (char const byte : text) {
        if (static_cast<unsigned char>(byte) < ' ') continue;
        if (byte == ' ' && !taken.mTakesBlank) continue;
        taken.mBytes += byte;
        taken.mTakesBlank = byte != ' ';
    }
    return taken;
}

// From `source`, to the end of memory that ends with a row's spare.
Taken TakeBy(TakeBytes* takeBytes, char const* source, size_t size, bool takesBlank)
{
    StFencedMemory target;
    auto* const row = target.AtEnd<unsigned char>(size + kSpareOfRow);
    size_t const count = takeBytes(source, size, row, takesBlank);
    return {std::string(row, row + count), takesBlank};
}

// All bytes, but those that something is done with more often.
std::string RandomText(std::mt19937& random, size_t size)
{
    static constexpr char kBytes[] = "    \t\n\0\x1F\x21zz\x7F\x80\xFF";
    bool const isAny = random() % 4 == 0;
    std::string text;
    while (text.size() < size)
        text += isAny ? static_cast<char>(random()) : kBytes[random() % (sizeof kBytes - 1)];
    return text;
}

// A product and a sum, each rounded for itself whatever the processor has.
float AddProduct(float sum, float a, float b)
{
    float const volatile product = a * b;
    return sum + product;
}

std::vector<SixteenFloats>
SumRowsNaively(std::vector<SixteenFloats> const& table, size_t groups, WeightedRows const& rows)
{
    std::vector<SixteenFloats> sums(groups);
    for (size_t i = 0; i < rows.mCount; ++i) {
        for (size_t at = 0; at < groups * 16; ++at) {
            float& sum = sums[at / 16].mLanes[at % 16];
            float const lane = table[rows.mRows[i] * groups + at / 16].mLanes[at % 16];
            sum = AddProduct(sum, lane, rows.mWeights[i]);
        }
    }
    return sums;
}

}  // namespace

TEST(LanguageKernels, TakeBytesOfTextsOfAnyLengthAtAnyPlace)
{
    std::mt19937 random(38);
    StFencedMemory source;
    for (TextKernels const* const kernels : GetAllTextKernels()) {
        size_t differing = 0;
        for (size_t size = 0; size <= 200; ++size) {
            // To the end of readable memory, and from all places of a vector at its start.
            std::string const text = RandomText(random, size);
            for (char* const at : {source.AtEnd<char>(size), source.AtStart<char>(size % 64)}) {
                std::copy(text.begin(), text.end(), at);
                for (bool const takesBlank : {false, true}) {
                    differing += TakeBy(kernels->mTakeBytes, at, size, takesBlank) !=
                                 TakeNaively(text, takesBlank);
                }
            }
        }
        EXPECT_EQ(differing, 0U) << kernels->mName;
    }
}

TEST(LanguageKernels, TakeBytesOfATextCutAnywhere)
{
    std::mt19937 random(39);
    std::string const text = RandomText(random, 150) + std::string(80, ' ') +
                             std::string(70, '\n') + RandomText(random, 50);
    Taken const expected = TakeNaively(text, false);
    for (TextKernels const* const kernels : GetAllTextKernels()) {
        size_t differing = 0;
        for (size_t cut = 0; cut <= text.size(); ++cut) {
            Taken const first = TakeBy(kernels->mTakeBytes, text.data(), cut, false);
            Taken const second = TakeBy(kernels->mTakeBytes, text.data() + cut, text.size() - cut,
                                        first.mTakesBlank);
            differing += Taken{first.mBytes + second.mBytes, second.mTakesBlank} != expected;
        }
        EXPECT_EQ(differing, 0U) << kernels->mName;
    }
}

TEST(LanguageKernels, ListWhatIsFilled)
{
    std::mt19937 random(40);
    for (size_t const count : {0U, 32U, 64U, 96U, 4096U, 65536U}) {
        for (unsigned int const share : {0U, 1U, 50U, 99U, 100U}) {
            std::vector<uint32_t> entries(count);
            std::vector<uint16_t> expected;
            for (size_t i = 0; i < count; ++i) {
                if (random() % 100 >= share) continue;
                entries[i] = 1U << random() % 32;
                expected.push_back(static_cast<uint16_t>(i));
            }
            for (TextKernels const* const kernels : GetAllTextKernels()) {
                std::vector<uint16_t> found(count);
                found.resize(kernels->mListFilled(entries.data(), count, found.data()));
                EXPECT_EQ(found, expected) << kernels->mName << ", " << count << ", " << share;
            }
        }
    }
}

TEST(LanguageKernels, SumRowsOfAnyWidth)
{
    constexpr size_t kRows = 40;
    std::mt19937 random(310);
    std::normal_distribution<float> numbers(0, 1e5f);
    for (size_t groups = 0; groups <= 20; ++groups) {
        SCOPED_TRACE(groups);
        std::vector<SixteenFloats> table(kRows * groups);
        for (SixteenFloats& group : table)
            std::generate(std::begin(group.mLanes), std::end(group.mLanes),
                          [&] { return numbers(random); });
        uint16_t rows[kRows];
        float weights[kRows];
        std::generate(rows, rows + kRows, [&] { return static_cast<uint16_t>(random() % kRows); });
        std::generate(weights, weights + kRows, [&] { return numbers(random); });

        for (size_t const count : {size_t{0}, size_t{1}, size_t{2}, kRows}) {
            WeightedRows const weighted{rows, weights, count};
            auto const expected = SumRowsNaively(table, groups, weighted);
            for (TextKernels const* const kernels : GetAllTextKernels()) {
                std::vector<SixteenFloats> found(groups);
                kernels->mSumRows(table.data(), groups, weighted, found.data());
                bool const isSame = groups == 0 || std::memcmp(found.data(), expected.data(),
                                                               groups * sizeof found[0]) == 0;
                EXPECT_TRUE(isSame) << kernels->mName << ", " << count << " rows";
            }
        }
    }
}
