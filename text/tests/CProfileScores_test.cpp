#include "text/CProfileScores.h"

#include "text/LanguageGuesser.h"

#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <vector>

namespace {

// Some buckets filled, a few of them as far as counts reach.
void FillAtRandom(UDM_LANGMAP& map, std::mt19937& random)
{
    for (int i = 0; i < 500; ++i)
        map.memb[random() % UDM_LM_BUCKETS].count = static_cast<int>(random() % 800) - 400;
    if (random() % 4 == 0) map.memb[random() % UDM_LM_BUCKETS].count = 2147483647;
    UdmPrepareLangMap(&map);
}

}  // namespace

TEST(CProfileScores, AgreesWithTheComparisonOfTwo)
{
    std::mt19937 random(38);
    for (size_t const count : {0U, 1U, 15U, 16U, 17U, 75U}) {
        SCOPED_TRACE(count);
        std::vector<UDM_LANGMAP> maps(count);
        // Every seventh has no counts at all.
        for (size_t i = 0; i < count; ++i) {
            if (i % 7 != 6) FillAtRandom(maps[i], random);
        }
        CProfileScores scores;
        ASSERT_TRUE(scores.Fill(maps.data(), count));
        EXPECT_EQ(scores.GetCount(), count);

        auto const text = std::make_unique<UDM_LANGMAP>();
        for (int i = 0; i < 3; ++i) {
            std::vector<float> found(count * 2 + 1, 7);
            scores.Score(*text, found.data(), 2);
            for (size_t map = 0; map < count; ++map) {
                EXPECT_NEAR(found[map * 2], UdmCheckLangMap(&maps[map], text.get()), 1e-5) << map;
                EXPECT_EQ(found[map * 2 + 1], 7) << map;
            }
            FillAtRandom(*text, random);
        }
    }
}
