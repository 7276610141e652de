#include "text/CProfileScores.h"

#include "text/LanguageGuesser.h"
#include "text/TextProfile.h"
#include "text/simd/TextKernels.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace {

// Up to `most` buckets filled, some of them as far as counts reach.
void FillAtRandom(UDM_LANGMAP& map, std::mt19937& random, size_t most)
{
    for (size_t i = 0; i < most; ++i)
        map.memb[random() % UDM_LM_BUCKETS].count = static_cast<int>(random() % 800) - 400;
    if (most > 0 && random() % 4 == 0) {
        map.memb[random() % UDM_LM_BUCKETS].count = INT_MAX;
        map.memb[random() % UDM_LM_BUCKETS].count = INT_MIN;
    }
    UdmPrepareLangMap(&map);
}

// Profiles of every size from nothing to more counts than buckets; every seventh has none.
std::vector<UDM_LANGMAP> RandomProfiles(std::mt19937& random, size_t count)
{
    std::vector<UDM_LANGMAP> maps(count);
    for (size_t i = 0; i < count; ++i) {
        if (i % 7 != 6) FillAtRandom(maps[i], random, random() % 3 == 0 ? 9000 : random() % 4000);
    }
    return maps;
}

TextCounts CountsOf(UDM_LANGMAP const& map)
{
    TextCounts counts;
    for (size_t bucket = 0; bucket < UDM_LM_BUCKETS; ++bucket) {
        int const count = map.memb[bucket].count;
        if (count == 0) continue;
        counts.mBuckets[counts.mFilled] = static_cast<uint16_t>(bucket);
        counts.mCounts[counts.mFilled++] = static_cast<float>(count);
    }
    return counts;
}

// A product and a sum, each rounded for itself whatever the processor has.
float AddProduct(float sum, float a, float b)
{
    float const volatile product = a * b;
    return sum + product;
}

// What a score is, one profile at a time, in the order in which it is rounded.
float PlainScore(UDM_LANGMAP const& map, UDM_LANGMAP const& text)
{
    double const stdOfMap = map.std;
    if (stdOfMap < UDM_LM_LEASTSTD || static_cast<double>(text.std) < UDM_LM_LEASTSTD) return 0;
    float sum = 0;
    double total = 0;
    for (size_t i = 0; i < UDM_LM_BUCKETS; ++i) {
        double const difference = map.memb[i].count - static_cast<double>(map.mean);
        auto const deviation = static_cast<float>(difference / stdOfMap);
        sum = AddProduct(sum, deviation, static_cast<float>(text.memb[i].count));
        total += static_cast<double>(deviation);
    }
    return AddProduct(sum, -text.mean, static_cast<float>(total)) / UDM_LM_BUCKETS / text.std;
}

// Whether all bits are the same.
bool AreSame(std::vector<float> const& a, std::vector<float> const& b)
{
    return std::memcmp(a.data(), b.data(), a.size() * sizeof(float)) == 0;
}

}  // namespace

TEST(CProfileScores, AgreesWithTheComparisonOfTwo)
{
    std::mt19937 random(38);
    for (size_t const count : {0U, 1U, 15U, 16U, 17U, 75U}) {
        SCOPED_TRACE(count);
        std::vector<UDM_LANGMAP> const maps = RandomProfiles(random, count);
        CProfileScores scores;
        ASSERT_TRUE(scores.Fill(maps.data(), count));
        EXPECT_EQ(scores.GetCount(), count);

        auto const text = std::make_unique<UDM_LANGMAP>();
        for (int i = 0; i < 3; ++i) {
            std::vector<float> found(count * 2 + 1, 7);
            scores.Score(*text, CountsOf(*text), found.data(), 2);
            for (size_t map = 0; map < count; ++map) {
                EXPECT_NEAR(found[map * 2], UdmCheckLangMap(&maps[map], text.get()), 1e-5) << map;
                EXPECT_EQ(found[map * 2 + 1], 7) << map;
            }
            FillAtRandom(*text, random, 500);
        }
    }
}

TEST(CProfileScores, RoundsAlikeAtEveryLevel)
{
    std::mt19937 random(310);
    size_t differing = 0;
    for (size_t const count : {1U, 16U, 83U, 150U}) {
        std::vector<UDM_LANGMAP> const maps = RandomProfiles(random, count);
        CProfileScores scores;
        ASSERT_TRUE(scores.Fill(maps.data(), count));
        for (size_t size = 0; size < 300; size += 7) {
            std::string bytes;
            while (bytes.size() < size)
                bytes += static_cast<char>(random() % 256);
            auto const text = std::make_unique<UDM_LANGMAP>();
            TextCounts counts;
            MakeTextProfile(*text, bytes.data(), static_cast<long>(size), counts);
            std::vector<float> expected(count);
            std::transform(maps.begin(), maps.end(), expected.begin(),
                           [&](UDM_LANGMAP const& map) { return PlainScore(map, *text); });
            for (TextKernels const* const kernels : GetAllTextKernels()) {
                StTextKernels const inUse(*kernels);
                std::vector<float> found(count, 7);
                scores.Score(*text, counts, found.data(), 1);
                differing += !AreSame(found, expected);
            }
        }
    }
    EXPECT_EQ(differing, 0U);
}
