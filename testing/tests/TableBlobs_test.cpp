#include "testing/TableBlobs.h"

#include <bit>
#include <string>

#include <gtest/gtest.h>

namespace {

TEST(TableBlobs, StoreInGroupsOfEightAsTheHostKeepsANumber)
{
    TableBlob const blob = StoreBlob("abcdefghij");
    EXPECT_EQ(10, blob.mLength);
    std::string const stored(blob.mBytes.begin(), blob.mBytes.end());
    std::string const expected = std::endian::native == std::endian::little
                                     ? std::string("hgfedcba\0\0\0\0\0\0ji", 16)
                                     : std::string("abcdefghij\0\0\0\0\0\0", 16);
    EXPECT_EQ(expected, stored);
    EXPECT_EQ("abcdefghij", StreamOf(blob.mBytes.data(), blob.mLength));
    EXPECT_EQ("abc", StreamOf(StoreBlob("abcdefghij", 3).mBytes.data(), 3));
}

TEST(TableBlobs, WriteMappingsAsRecords)
{
    UnitMapping const mapping = {{u'a', u"xy"}, {u'c', u""}, {u'\u2010', u"z"}};
    std::string const expected("\x00\x00\x04\x00\x02\x00x\x00y\x00\x00"
                               "ac\x00\x00\xFF\xFF\x00\x03"
                               "\x20\x00\x02\x00\x01\x00z\x10\x10\x00\x00",
                               30);
    EXPECT_EQ(expected, StreamOf(mapping));
    EXPECT_EQ(mapping, MappingOf(MappingRecordsOf(expected)));
    EXPECT_EQ(1U, MappingRecordsOf(expected.substr(0, 29)).size());
}

}  // namespace
