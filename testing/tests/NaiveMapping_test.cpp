#include "testing/NaiveMapping.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace {

UnitMapping const kMapping = {{u'A', u"a"}, {u'-', u""}, {u'S', u"ss"}};

TEST(NaiveMapping, RemembersWhereEachUnitCameFrom)
{
    NaivelyMapped const mapped = MapNaively(kMapping, u"-A-Sx-");
    EXPECT_EQ(u"assx", mapped.mText);
    EXPECT_EQ((std::vector<int>{1, 3, 3, 4, 6}), mapped.mOffsets);
}

TEST(NaiveMapping, FindsAsRawPositionAndLength)
{
    EXPECT_EQ(std::pair(2, 3), FindNaively(kMapping, u"x-A-Sx", 0, std::u16string(u"ass\0", 4), 3));
    EXPECT_EQ(std::nullopt, FindNaively(kMapping, u"x-A-Sx", 3, std::u16string(u"ass\0", 4), 3));
    EXPECT_EQ(std::nullopt, FindNaively(kMapping, u"S", 0, std::u16string(u"s\0", 2), 1));
}

}  // namespace
