#include "system/CPropertyList.h"

#include "system/PropertyListLimits.h"

#include <limits>
#include <string>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

using Array = CPropertyList::Array;
using Data = CPropertyList::Data;
using Date = CPropertyList::Date;
using Dictionary = CPropertyList::Dictionary;

std::string const kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                          "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                          "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                          "<plist version=\"1.0\">\n";
std::string const kTail = "</plist>\n";

CPropertyList Text(std::string const& text)
{
    return CPropertyList(text);
}

CPropertyList Number(std::int64_t number)
{
    return CPropertyList(number);
}

std::string Repeat(std::string const& text, std::size_t times)
{
    std::string all;
    for (std::size_t i = 0; i < times; ++i)
        all += text;
    return all;
}

std::string Nested(std::size_t levels)
{
    return "<plist>" + Repeat("<array>", levels) + Repeat("</array>", levels) + "</plist>";
}

std::string BigEndian(std::uint64_t number, unsigned size)
{
    std::string bytes;
    while (size-- > 0)
        bytes += static_cast<char>(number >> 8 * size);
    return bytes;
}

std::string Trailer(unsigned char offsetSize,
                    unsigned char referenceSize,
                    std::uint64_t count,
                    std::uint64_t top,
                    std::uint64_t table)
{
    return std::string(6, '\0') + static_cast<char>(offsetSize) + static_cast<char>(referenceSize) +
           BigEndian(count, 8) + BigEndian(top, 8) + BigEndian(table, 8);
}

// A binary list whose first object is the outermost; objects refer to each other by one byte.
std::string Binary(std::vector<std::string> const& objects)
{
    std::string bytes = "bplist00";
    std::string table;
    for (std::string const& object : objects) {
        table += BigEndian(bytes.size(), 4);
        bytes += object;
    }
    std::size_t const at = bytes.size();
    return bytes + table + Trailer(4, 1, objects.size(), 0, at);
}

// Each object an array of `times` times the next one.
std::string BinaryTower(unsigned levels, unsigned times)
{
    std::vector<std::string> objects;
    for (unsigned i = 1; i < levels; ++i) {
        objects.push_back(static_cast<char>(0xA0 + times) +
                          std::string(times, static_cast<char>(i)));
    }
    objects.push_back("\xA0");
    return Binary(objects);
}

}  // namespace

TEST(CPropertyList, IsWrittenAsTheDesktopWritesIt)
{
    struct
    {
        char const* mWhat;
        CPropertyList mList;
        std::string mBody;
    } const cases[] = {
        {"nothing", CPropertyList(), "<dict/>\n"},
        {"no values", CPropertyList(Array()), "<array/>\n"},
        {"no text", Text(""), "<string></string>\n"},
        {"escapes", Text("a & b < c > d \" e '"),
         "<string>a &amp; b &lt; c &gt; d \" e '</string>\n"},
        {"blanks, controls and other letters as they are", Text(" \t\r\n\x01\x7F\xC3\xA9 "),
         "<string> \t\r\n\x01\x7F\xC3\xA9 </string>\n"},
        {"the largest number", Number(std::numeric_limits<std::int64_t>::max()),
         "<integer>9223372036854775807</integer>\n"},
        {"the smallest number", Number(std::numeric_limits<std::int64_t>::min()),
         "<integer>-9223372036854775808</integer>\n"},
        {"zero", CPropertyList(0.0), "<real>0.0</real>\n"},
        {"a half", CPropertyList(0.5), "<real>0.5</real>\n"},
        {"a tenth", CPropertyList(0.1), "<real>0.10000000000000001</real>\n"},
        {"much", CPropertyList(-1e300), "<real>-1.0000000000000001e+300</real>\n"},
        {"no number", CPropertyList(std::numeric_limits<double>::quiet_NaN()),
         "<real>nan</real>\n"},
        {"beyond all", CPropertyList(std::numeric_limits<double>::infinity()),
         "<real>+infinity</real>\n"},
        {"below all", CPropertyList(-std::numeric_limits<double>::infinity()),
         "<real>-infinity</real>\n"},
        {"true", CPropertyList(true), "<true/>\n"},
        {"false", CPropertyList(false), "<false/>\n"},
        {"the first second", CPropertyList(Date()), "<date>1970-01-01T00:00:00Z</date>\n"},
        {"the second before", CPropertyList(Date{-1}), "<date>1969-12-31T23:59:59Z</date>\n"},
        {"a leap day", CPropertyList(Date{951827696}), "<date>2000-02-29T12:34:56Z</date>\n"},
        {"no data", CPropertyList(Data()), "<data>\n</data>\n"},
        {"data of one byte", CPropertyList(Data{255}), "<data>\n/w==\n</data>\n"},
        {"data that fills its line", CPropertyList(Data(57)),
         "<data>\n" + Repeat("A", 76) + "\n</data>\n"},
        {"data of a line and a byte", CPropertyList(Data(58)),
         "<data>\n" + Repeat("A", 76) + "\nAA==\n</data>\n"},
        {"keys in order, a tab for each level",
         CPropertyList(Dictionary{
             {"b", CPropertyList(Array{Text("x"), CPropertyList(Data(50)), CPropertyList()})},
             {"B<", CPropertyList(true)},
             {"a", CPropertyList(Dictionary{{"", Number(1)}})}}),
         "<dict>\n"
         "\t<key>B&lt;</key>\n"
         "\t<true/>\n"
         "\t<key>a</key>\n"
         "\t<dict>\n"
         "\t\t<key></key>\n"
         "\t\t<integer>1</integer>\n"
         "\t</dict>\n"
         "\t<key>b</key>\n"
         "\t<array>\n"
         "\t\t<string>x</string>\n"
         "\t\t<data>\n"
         "\t\t" +
             Repeat("A", 60) + "\n\t\tAAAAAAA=\n" +
             "\t\t</data>\n"
             "\t\t<dict/>\n"
             "\t</array>\n"
             "</dict>\n"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(c.mList.ToXML(), kHead + c.mBody + kTail);
    }
}

TEST(CPropertyList, IndentsDataByNoMoreThanEightTabs)
{
    CPropertyList list(Data(10));
    for (int i = 0; i < 9; ++i)
        list = CPropertyList(Array{list});
    std::string const tabs(8, '\t');
    EXPECT_NE(
        list.ToXML().find("\t<data>\n" + tabs + "AAAAAAAAAAAA\n" + tabs + "AA==\n\t" + tabs + "</"),
        std::string::npos);
}

TEST(CPropertyList, ReadsWhatItWrote)
{
    CPropertyList list(Dictionary{
        {"text", Text(" \t\r\n& &amp; <b> ]]> \x01\x7F\xC3\xA9\xF0\x9F\x98\x80 ")},
        {"long", Text(Repeat("0123456789", 1000))},
        {"none", Text("")},
        {"&<>", Number(std::numeric_limits<std::int64_t>::min() + 1)},
        {"real", CPropertyList(0.1)},
        {"yes", CPropertyList(true)},
        {"no", CPropertyList(false)},
        {"date", CPropertyList(Date{951827696})},
        {"data", CPropertyList(Data{0, 1, 2, 254, 255})},
        {"nothing", CPropertyList(Data())},
        {"nested", CPropertyList(Array{CPropertyList(), CPropertyList(Array{Number(-5)})})},
    });
    EXPECT_EQ(CPropertyList::Read(list.ToXML()), list);
    for (int level = 4; level < CPropertyList::kMaxDepth; ++level)
        list = CPropertyList(Array{list});
    EXPECT_EQ(CPropertyList::Read(list.ToXML()), list);
    list = CPropertyList(Array{list});
    EXPECT_EQ(CPropertyList::Read(list.ToXML()), std::nullopt);
}

TEST(CPropertyList, FindsAndReplacesMembers)
{
    CPropertyList list(Dictionary{{"b", Number(1)}, {"a", Number(2)}, {"b", Text("last")}});
    EXPECT_EQ(list.As<Dictionary>()->size(), 2U);
    EXPECT_EQ(*list.FindAs<std::string>("b"), "last");
    EXPECT_EQ(*list.FindAs<std::int64_t>("a"), 2);
    EXPECT_EQ(list.FindAs<std::string>("a"), nullptr);
    EXPECT_EQ(list.Find("c"), nullptr);

    list.Set("aa", CPropertyList(true));
    list.Set("a", CPropertyList(false));
    EXPECT_EQ(list,
              CPropertyList(Dictionary{
                  {"aa", CPropertyList(true)}, {"b", Text("last")}, {"a", CPropertyList(false)}}));

    CPropertyList text = Text("text");
    EXPECT_EQ(text.Find("a"), nullptr);
    text.Set("a", Number(1));
    EXPECT_EQ(text, CPropertyList(Dictionary{{"a", Number(1)}}));
}

TEST(CPropertyList, ReadsXML)
{
    struct
    {
        char const* mWhat;
        std::string mBytes;
        CPropertyList mList;
    } const cases[] = {
        {"the header", kHead + "<true/>" + kTail, CPropertyList(true)},
        {"no header", "<plist><true/></plist>", CPropertyList(true)},
        {"a byte order mark", "\xEF\xBB\xBF" + kHead + "<true/>" + kTail, CPropertyList(true)},
        {"blanks", " \r\n\t<plist version='1.0' >\r\n<true />\t</plist >\n", CPropertyList(true)},
        {"another way to write the encoding", "<?xml encoding = 'utf-8' ?><plist><true/></plist>",
         CPropertyList(true)},
        {"more behind the encoding",
         "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"no\"?><plist><true/></plist>",
         CPropertyList(true)},
        {"comments", "<!-- <a> ' --><plist><array><!-- </array> --><true/></array></plist>",
         CPropertyList(Array{CPropertyList(true)})},
        {"characters of text", "<plist><string>a&lt;&#65;&#x1F600;&amp;</string></plist>",
         Text("a<A\xF0\x9F\x98\x80&")},
        {"text as it stands", "<plist><string>a<![CDATA[</array>&<x>]]>b</string></plist>",
         Text("a</array>&<x>b")},
        {"no text", "<plist><string/></plist>", Text("")},
        {"the last of two members",
         "<plist><dict><key>a</key><true/><key>a</key><false/></dict></plist>",
         CPropertyList(Dictionary{{"a", CPropertyList(false)}})},
        {"data on lines", "<plist><data>\n\t AAEC \n\tAw==\n</data></plist>",
         CPropertyList(Data{0, 1, 2, 3})},
        {"a date", "<plist><date>2000-02-29T12:34:56Z</date></plist>",
         CPropertyList(Date{951827696})},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(CPropertyList::Read(c.mBytes), c.mList);
    }
}

// The parser goes another way with those: nothing that isn't text may be taken for it.
TEST(CPropertyList, ReadsTextsFullOfReferences)
{
    std::string const many(CPropertyList::kMaxBytes / 6, '&');
    std::string const some = Repeat("<&;>", 700);
    CPropertyList const list(Dictionary{{some, Text(some + ";;" + many)},
                                        {"a", CPropertyList(Array{Text("&"), Text(some)})}});
    std::string const xml = list.ToXML();
    EXPECT_EQ(CPropertyList::Read(xml), list);

    std::string const ends = Repeat("&;", 2000);
    EXPECT_EQ(CPropertyList::Read("<?x '>" + ends + "' ?><!-- > < " + ends + " --><plist><string>" +
                                  "a<![CDATA[> < " + ends + "]]>b<!-- > " + ends + " -->" +
                                  Repeat("&gt;", 100) + "c</string></plist>"),
              Text("a> < " + ends + "b" + std::string(100, '>') + "c"));
    EXPECT_EQ(
        CPropertyList::Read("<plist><string>" + Repeat("&amp;", 2000) + "&amp</string></plist>"),
        std::nullopt);
}

TEST(CPropertyList, ReadsBinary)
{
    std::string const list = Binary({"\xD5\1\2\3\4\5\6\7\x08\x09\x0A"s, "\x51\x61", "\x51\x62",
                                     "\x51\x63", "\x51\x64", "\x51\x65", "\x62\x00\xE9\x20\x14"s,
                                     "\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFB"s, "\xA2\x0B\x0B"s,
                                     "\x43"
                                     "\x00\x01\xFF"s,
                                     "\x33\x41\xB8\x00\x00\x00\x00\x00\x00"s, "\x09"s});
    EXPECT_EQ(CPropertyList::Read(list),
              CPropertyList(
                  Dictionary{{"a", Text("\xC3\xA9\xE2\x80\x94")},
                             {"b", Number(-5)},
                             {"c", CPropertyList(Array{CPropertyList(true), CPropertyList(true)})},
                             {"d", CPropertyList(Data{0, 1, 255})},
                             {"e", CPropertyList(Date{978307200 + 0x18000000})}}));
}

TEST(CPropertyList, ReadsPairsOfBinary)
{
    EXPECT_EQ(CPropertyList::Read(Binary({"\x64\x00\x41\xD8\x3D\xDE\x00\xFF\xFD"s})),
              Text("A\xF0\x9F\x98\x80\xEF\xBF\xBD"));
}

TEST(CPropertyList, TakesGarbageForNoList)
{
    struct
    {
        char const* mWhat;
        std::string mBytes;
    } const cases[] = {
        {"nothing", ""},
        {"blanks", " \n\t"},
        {"a byte order mark", "\xEF\xBB\xBF"},
        {"a zero byte", "\0"s},
        {"a zero byte behind a list", "<plist><true/></plist>\0"s},
        {"bytes that are no text", "<plist><string>\xFF</string></plist>"},
        {"a surrogate", "<plist><string>\xED\xA0\x80</string></plist>"},
        {"two-byte text", "\xFE\xFF\0<\0p\0l\0i\0s\0t\0>"s},
        {"a sign alone", "<"},
        {"no element", "<!-- nothing -->"},
        {"an element without a value", "<plist></plist>"},
        {"an element cut short", "<plist><dict><key>a</key><true/></dict>"},
        {"a tag cut short", "<plist><true/></plist"},
        {"crossed elements", "<plist><array></plist></array>"},
        {"a close too many", "<plist><true/></plist></plist>"},
        {"another encoding", "<?xml version=\"1.0\" encoding=\"UTF-7\"?><plist><true/></plist>"},
        {"another encoding behind the first",
         "<?xml encoding=\"UTF-8\" encoding=\"UTF-7\"?><plist><true/></plist>"},
        {"entities of its own",
         "<!DOCTYPE plist [<!ENTITY a \"b\">]><plist><string>&a;</string></plist>"},
        {"an instruction within", "<plist><?xml version=\"1.0\"?><true/></plist>"},
        {"an instruction that may end twice", "<?x \"?><plist><true/></plist> \"?>"},
        {"an instruction of no length", "<?><plist><true/></plist>"},
        {"a comment that may end twice", "<!--><plist><true/></plist><!-- -->"},
        {"a comment that may end twice, one longer", "<!---><plist><true/></plist><!-- -->"},
        {"a comment without an end", "<plist><true/></plist><!-- "},
        {"text without an end", "<plist><string><![CDATA[a]]</string></plist>"},
        {"a tag that may end twice", "<plist><array><true a=\"</array>\"/></array></plist>"},
        {"a tag in a tag", "<plist><array <true/></array></plist>"},
        {"a key without a value, which is a boolean", "<plist><dict><true/></dict></plist>"},
        {"an unknown element", "<plist><what/></plist>"},
        {"the signature alone", "bplist00"},
        {"another version", "bplist15" + Binary({"\x09"}).substr(8)},
        {"an object that isn't there", Binary({"\xA1\x01"})},
        {"an array that reaches too far", Binary({"\xAF\x13\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s})},
        {"text that reaches too far", Binary({"\x5F\x13\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"s})},
        {"a length of 16 bytes", Binary({"\xAF\x14" + std::string(16, '\0')})},
        {"a length that is no number", Binary({"\xAF\x51"
                                               "a"})},
        {"an array in itself", Binary({"\xA1\x00"s})},
        {"an array in an array in itself", Binary({"\xA1\x01", "\xA1\x00"s})},
        {"a zero in a key", Binary({"\xD1\1\2", "\x52\0a"s, "\x09"})},
        {"a zero in a key of UTF-16", Binary({"\xD1\1\2", "\x62\0a\0\0"s, "\x09"})},
        {"a zero in text", Binary({"\x52\0a"s})},
        {"text that isn't ASCII", Binary({"\x51\xFF"})},
        {"half a pair", Binary({"\x62\x00\x41\xD8\x3D"s})},
        {"half a pair amid text", Binary({"\x62\xD8\x3D\x00\x41"s})},
        {"the other half", Binary({"\x62\x00\x41\xDE\x00"s})},
        {"two first halves", Binary({"\x63\xD8\x3D\xD8\x3D\xDE\x00"s})},
        {"a zero in text", Binary({"\x53"
                                   "a\0b"s})},
        {"a zero in two-byte text", Binary({"\x62\x00\x41\x00\x00"s})},
        {"a zero in a key", Binary({"\xD1\x01\x02",
                                    "\x53"
                                    "a\0b"s,
                                    "\x09"})},
        {"a null", Binary({"\0"s})},
        {"an archive's reference", Binary({"\x80\x01"})},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(CPropertyList::Read(c.mBytes), std::nullopt);
    }
}

TEST(CPropertyList, TakesEveryShortenedListForNoList)
{
    CPropertyList const list(Dictionary{{"a", CPropertyList(Array{Text("b")})}});
    std::string const xml = list.ToXML();
    std::string const binary = Binary({"\xD1\x01\x02",
                                       "\x51"
                                       "a",
                                       "\xA1\x03",
                                       "\x51"
                                       "b"});
    EXPECT_EQ(CPropertyList::Read(xml), list);
    EXPECT_EQ(CPropertyList::Read(binary), list);
    for (std::string const& whole : {xml.substr(0, xml.size() - 1), binary}) {
        std::size_t lists = 0;
        for (std::size_t i = 0; i < whole.size(); ++i)
            lists += CPropertyList::Read(whole.substr(0, i)).has_value();
        EXPECT_EQ(lists, 0U);
    }
}

// What the readers of the systems would need the stack or the memory of a machine for.
TEST(CPropertyList, RefusesWhatCostsTooMuch)
{
    std::size_t const depth = CPropertyList::kMaxDepth;
    std::string const large(CPropertyList::kMaxBytes - 32, 'a');
    std::string const shared = "\x5F\x12" + BigEndian(300000, 4) + std::string(300000, 'a');
    std::string const member = "<key>a</key><true/>";
    auto const wideBinary = [](std::size_t members) {
        return Binary({"\xDF\x11" + BigEndian(members, 2) + std::string(members, '\1') +
                           std::string(members, '\2'),
                       "\x51"
                       "a",
                       "\x09"});
    };

    struct
    {
        char const* mWhat;
        std::string mBytes;
        bool mIsRead;
    } const cases[] = {
        {"the largest", "<plist><string>" + large + "</string></plist>", true},
        {"one byte more", "<plist><string>" + large + " </string></plist>", false},
        {"the deepest", Nested(depth), true},
        {"one level more", Nested(depth + 1), false},
        {"a level without content", Nested(depth - 1).insert(7 * depth, "<array/>"), true},
        {"one more of them", Nested(depth).insert(7 * (depth + 1), "<array/>"), false},
        {"without an end", Nested(70000).substr(0, 7 * 70000), false},
        {"very deep", Nested(69000), false},
        {"depth behind a comment's close",
         "<plist>" + Repeat("<array><!--</array>-->", depth + 1) + Repeat("</array>", depth + 1) +
             "</plist>",
         false},
        {"the most members",
         "<plist><dict>" + Repeat(member, CPropertyList::kMaxMembers) + "</dict></plist>", true},
        {"a member more",
         "<plist><dict>" + Repeat(member, CPropertyList::kMaxMembers + 1) + "</dict></plist>",
         false},
        {"more in two dictionaries of one",
         "<plist><dict>" + Repeat(member, CPropertyList::kMaxMembers - 1) + "<key>b</key><array>" +
             Repeat("<dict>" + Repeat(member, CPropertyList::kMaxMembers) + "</dict>", 2) +
             "</array></dict></plist>",
         true},
        {"the deepest binary", BinaryTower(static_cast<unsigned>(depth), 1), true},
        {"one level more", BinaryTower(static_cast<unsigned>(depth) + 1, 1), false},
        {"depth by another way", Binary([&] {
             std::vector<std::string> objects{"\xA2\x63\x01"};
             for (std::size_t i = 1; i < 99; ++i)
                 objects.push_back("\xA1" + std::string(1, static_cast<char>(i + 1)));
             objects.push_back("\xA1\x64");
             objects.push_back("\xA0");
             return objects;
         }()),
         false},
        {"the most members of a binary", wideBinary(CPropertyList::kMaxMembers), true},
        {"a member more", wideBinary(CPropertyList::kMaxMembers + 1), false},
        {"two of two of two", BinaryTower(17, 2), true},
        {"once more and again", BinaryTower(19, 2), false},
        {"and again and again", BinaryTower(60, 2), false},
        {"fifty times the same text", Binary({"\xAF\x10\x32" + std::string(50, '\1'), shared}),
         true},
        {"sixty times", Binary({"\xAF\x10\x3C" + std::string(60, '\1'), shared}), false},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(CPropertyList::Read(c.mBytes).has_value(), c.mIsRead);
    }
}

// Behind a second one the desktop's reader might find XML that nobody has looked through.
TEST(CPropertyList, LooksBehindNoSecondByteOrderMark)
{
    std::string const mark = "\xEF\xBB\xBF";
    EXPECT_EQ(CPropertyList::Read(mark + mark + Nested(1)), std::nullopt);
    EXPECT_FALSE(IsWithinPropertyListLimits(mark + Nested(70000)));
}

// Each of the objects has the bytes of the same long array: a look at all is the square of them.
TEST(CPropertyList, RefusesObjectsThatShareTheirBytes)
{
    std::size_t const count = 250;
    std::string const array = "\xAF\x10" + std::string(1, static_cast<char>(count)) + [&] {
        std::string references;
        for (std::size_t i = 1; i <= count; ++i)
            references += static_cast<char>(i);
        return references;
    }();
    std::string bytes = "bplist00" + array + "\x09";
    std::size_t const table = bytes.size();
    for (std::size_t i = 0; i < count; ++i)
        bytes += BigEndian(8, 4);
    bytes += BigEndian(table - 1, 4);
    EXPECT_FALSE(IsWithinPropertyListLimits(bytes + Trailer(4, 1, count + 1, 0, table)));
}

TEST(CPropertyList, RefusesTablesThatAreNotThere)
{
    std::string const start = "bplist00\x09\x08"s;
    std::uint64_t const most = std::numeric_limits<std::uint64_t>::max();

    struct
    {
        char const* mWhat;
        std::string mTrailer;
        bool mIsWithin;
    } const cases[] = {
        {"as it should be", Trailer(1, 1, 1, 0, 9), true},
        {"no offsets", Trailer(0, 1, 1, 0, 9), false},
        {"offsets of 9 bytes", Trailer(9, 1, 1, 0, 9), false},
        {"no references", Trailer(1, 0, 1, 0, 9), false},
        {"references of 9 bytes", Trailer(1, 9, 1, 0, 9), false},
        {"no objects", Trailer(1, 1, 0, 0, 9), false},
        {"too many objects", Trailer(1, 1, 2, 0, 9), false},
        {"as many objects as a number can say", Trailer(8, 1, most, 0, 9), false},
        {"another outermost object", Trailer(1, 1, 1, 1, 9), false},
        {"no such outermost object", Trailer(1, 1, 1, most, 9), false},
        {"a table behind its end", Trailer(1, 1, 1, 0, 11), false},
        {"a table far away", Trailer(1, 1, 1, 0, most), false},
        {"an object in the table", Trailer(1, 1, 1, 0, 8), false},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(IsWithinPropertyListLimits(start + c.mTrailer), c.mIsWithin);
    }
}

// Read on the desktop only; counted everywhere.
TEST(CPropertyList, CountsTheBracesOfOld)
{
    std::size_t const depth = CPropertyList::kMaxDepth;
    EXPECT_TRUE(IsWithinPropertyListLimits("{ Label = \"x\"; }"));
    EXPECT_TRUE(
        IsWithinPropertyListLimits(std::string(depth / 2, '{') + std::string(depth / 2, '(')));
    EXPECT_FALSE(IsWithinPropertyListLimits(std::string(depth, '{') + "("));
}

TEST(CPropertyList, KnowsWhatIsText)
{
    struct
    {
        char const* mWhat;
        std::string mText;
        bool mIsText;
    } const cases[] = {
        {"nothing", "", true},
        {"controls", "\x01\t\r\n\x7F", true},
        {"a letter", "\xC3\xA9", true},
        {"a zero byte", "a\0b"s, false},
        {"half a letter", "\xC3", false},
        {"a surrogate", "\xED\xA0\x80", false},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(CPropertyList::IsText(c.mText), c.mIsText);
    }
}
