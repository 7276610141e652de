#include "loamctl/CDocument.h"

#include <algorithm>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "files/CFileSpec.h"
#include "loamctl/CCharset.h"
#include "loamctl/CharsetGuess.h"
#include "loamctl/Interruption.h"
#include "loamctl/UTF16Loops.h"
#include "loamctl/tests/RunLoamctl.h"
#include "marl/HierarchicalException.h"
#include "testing/StTempDir.h"

namespace {

using namespace std::string_literals;
using Kind = CDocument::Kind;

// Enough of UTF-8 for what follows to be damage.
std::string const s_umlauts = "\u00e4\u00e4\u00e4\u00e4\u00e4\u00e4\u00e4\u00e4\u00e4\u00e4";

std::string UpperHalf()
{
    std::string bytes;
    for (int byte = 0x80; byte < 0x100; ++byte)
        bytes += static_cast<char>(byte);
    return bytes;
}

std::string const s_upperHalf = UpperHalf();

TEST(CDocument, ReadsTexts)
{
    struct
    {
        char const* mWhat;
        std::string mBytes;
        Kind mKind;
        std::u16string mText;
        int mMarkSize;
    } const cases[] = {
        {"empty", "", Kind::kEmpty, u"", 0},
        {"ASCII", "abc\n", Kind::kUTF8, u"abc\n", 0},
        {"all lengths", "a\u00e9\u20ac\U0001F600", Kind::kUTF8, u"a\u00e9\u20ac\U0001F600", 0},
        {"controls of texts", "\t\v\f\b\x1b[1m\r\n", Kind::kUTF8, u"\t\v\f\b\x1b[1m\r\n", 0},
        {"UTF-8 with mark", "\xEF\xBB\xBFx", Kind::kUTF8WithMark, u"x", 3},
        {"nothing but a mark", "\xEF\xBB\xBF", Kind::kUTF8WithMark, u"", 3},
        {"UTF-16LE", "\xFF\xFE" + AsUTF16(u"a\u00e9", false), Kind::kUTF16LE, u"a\u00e9", 2},
        {"UTF-16BE", "\xFE\xFF" + AsUTF16(u"a\U0001F600", true), Kind::kUTF16BE, u"a\U0001F600", 2},
        {"nothing but a UTF-16 mark", "\xFF\xFE", Kind::kUTF16LE, u"", 2},
        {"UTF-16LE without a mark", AsUTF16(u"Text\r\n", false), Kind::kUTF16LE, u"Text\r\n", 0},
        {"UTF-16BE without a mark", AsUTF16(u"Text\r\n", true), Kind::kUTF16BE, u"Text\r\n", 0},
        {"UTF-32LE", "\xFF\xFE\0\0a\0\0\0"s, Kind::kOtherCharset, u"a", 0},
        {"UTF-32BE", "\0\0\xFE\xFF\0\0\0a"s, Kind::kOtherCharset, u"a", 0},
        {"Latin-1", "caf\xe9 au lait", Kind::kOtherCharset, u"caf\u00e9 au lait", 0},
        {"ISO-2022-JP", "\x1b$B4A;z\x1b(B\n", Kind::kOtherCharset, u"\u6f22\u5b57\n", 0},
        {"an escape in UTF-8", "\x1b[1m\u00e9", Kind::kUTF8, u"\x1b[1m\u00e9", 0},
    };

    StTempDir const folder;
    CDocument document;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        document.Read(CFileSpec(folder.Write("file", c.mBytes), false));
        EXPECT_EQ(document.GetKind(), c.mKind);
        EXPECT_TRUE(document.IsText());
        EXPECT_EQ(document.GetReason(), "");
        EXPECT_EQ(document.GetText(), c.mText);
        EXPECT_EQ(document.GetSize(), static_cast<long long>(c.mBytes.size()));
        EXPECT_EQ(document.GetMarkSize(), c.mMarkSize);
    }
}

TEST(CDocument, RefusesWhatIsNoTextWithAReason)
{
    struct
    {
        char const* mWhat;
        std::string mBytes;
        Kind mKind;
        char const* mReason;
    } const cases[] = {
        {"a null byte", "abc\0"s, Kind::kBinary, "a null byte at offset 3"},
        {"a null byte, then a lot", "a\0"s + std::string(100000, 'a'), Kind::kBinary,
         "a null byte at offset 1"},
        {"late", std::string(100000, 'a') + "\0"s, Kind::kBinary, "a null byte at offset 100000"},
        {"malformed, with controls", "a\x01\xff", Kind::kBinary, "control byte 0x01 at offset 1"},
        {"stray trail", s_umlauts + "\x80", Kind::kUnknownCharset,
         "not UTF-8: byte 0x80 at offset 20"},
        {"overlong", s_umlauts + "\xC0\x80 x", Kind::kUnknownCharset,
         "not UTF-8: byte 0xC0 at offset 20"},
        {"overlong of three", s_umlauts + "a\xE0\x80\x80", Kind::kUnknownCharset,
         "not UTF-8: byte 0xE0 at offset 21"},
        {"surrogate", s_umlauts + "\xED\xA0\x80", Kind::kUnknownCharset,
         "not UTF-8: byte 0xED at offset 20"},
        {"too high", s_umlauts + "\xF4\x90\x80\x80", Kind::kUnknownCharset,
         "not UTF-8: byte 0xF4 at offset 20"},
        {"no lead", s_umlauts + "\xF5\x80\x80\x80 ", Kind::kUnknownCharset,
         "not UTF-8: byte 0xF5 at offset 20"},
        {"cut off", "a\U0001F600\xE2\x82", Kind::kUnknownCharset,
         "not UTF-8: byte 0xE2 at offset 5"},
        {"bytes of no charset",
         std::string("\x80\x81\x8D\x8F\x90\x9D\xFF\xFE\xA0\xFD") + s_upperHalf,
         Kind::kUnknownCharset, "no charset makes a text of it"},
        {"cut off in Shift_JIS",
         "\x93\xFA\x96{\x8C\xEA\x82\xCC\x95\xB6\x8F\xCD\x82\xC5\x82\xB7\x81", Kind::kUnknownCharset,
         "not Shift_JIS: byte 0x81 at offset 16"},
        {"behind a mark", "\xEF\xBB\xBF\xFF", Kind::kUnknownCharset,
         "not UTF-8: byte 0xFF at offset 3"},
        {"half a unit",
         "\xFF\xFE"
         "a\0b"s,
         Kind::kUnknownCharset, "not UTF-16: ends within a unit at offset 4"},
        {"UTF-16 with a null", "\xFE\xFF\0a\0\0"s, Kind::kBinary, "a null character at offset 4"},
        {"lone high surrogate", "\xFE\xFF\xD8\0\0a"s, Kind::kUnknownCharset,
         "not UTF-16: lone surrogate at offset 2"},
        {"last high surrogate", "\xFE\xFF\0a\xD8\0"s, Kind::kUnknownCharset,
         "not UTF-16: lone surrogate at offset 4"},
        {"lone low surrogate",
         "\xFF\xFE"
         "a\0\0\xDC"s,
         Kind::kUnknownCharset, "not UTF-16: lone surrogate at offset 4"},
    };

    StTempDir const folder;
    CDocument document;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        document.Read(CFileSpec(folder.Write("file", c.mBytes), false));
        EXPECT_EQ(document.GetKind(), c.mKind);
        EXPECT_FALSE(document.IsText());
        EXPECT_EQ(document.GetReason(), c.mReason);
        EXPECT_EQ(document.GetText(), u"");
        EXPECT_EQ(document.GetSize(), static_cast<long long>(c.mBytes.size()));
    }
}

TEST(CDocument, ForgetsTheFileBefore)
{
    StTempDir const folder;
    CDocument document;
    document.Read(CFileSpec(folder.Write("binary", "a long one with a \0 in it"s), false));
    document.Read(CFileSpec(folder.Write("marked", "\xEF\xBB\xBFlong text"), false));
    document.Read(CFileSpec(folder.Write("text", "ab"), false));
    EXPECT_EQ(document.GetKind(), Kind::kUTF8);
    EXPECT_EQ(document.GetText(), u"ab");
    EXPECT_EQ(document.GetMarkSize(), 0);
    EXPECT_EQ(document.GetReason(), "");
}

TEST(CDocument, ReadsFilesOfAllSizesAroundItsBuffer)
{
    StTempDir const folder;
    CDocument document;
    for (std::size_t const size : {1U, 4095U, 4096U, 65535U, 65536U, 65537U, 300000U}) {
        SCOPED_TRACE(size);
        document.Read(CFileSpec(folder.Write("file", std::string(size, 'x')), false));
        EXPECT_EQ(document.GetText().size(), size);
    }
}

TEST(CDocument, ReadsFilesThatSayTheyAreEmpty)
{
    std::string const path = "/proc/self/status";
    if (!std::filesystem::exists(path)) GTEST_SKIP() << "no " << path << " on this system";
    CDocument document;
    document.Read(CFileSpec(path, false));
    EXPECT_EQ(document.GetKind(), Kind::kUTF8);
    EXPECT_TRUE(document.GetText().starts_with(u"Name:"));
}

TEST(CDocument, RefusesHugeFilesUnread)
{
    StTempDir const folder;
    std::string const path = folder.Write("huge", "x");
    std::filesystem::resize_file(path, static_cast<std::uintmax_t>(CDocument::kSizeLimit) + 1);
    CDocument document;
    document.Read(CFileSpec(path, false));
    EXPECT_EQ(document.GetKind(), Kind::kTooLarge);
    EXPECT_EQ(document.GetReason(), "larger than 512 MiB");
    EXPECT_EQ(document.GetSize(), CDocument::kSizeLimit + 1);
}

TEST(CDocument, ThrowsWhatTheFileThrows)
{
    StTempDir const folder;
    CDocument document;
    EXPECT_THROW(document.Read(CFileSpec(folder.Path("missing"), false)), HierarchicalException);
    EXPECT_THROW(document.Read(CFileSpec(folder.Path(), false)), HierarchicalException);
}

// A large file is converted step by step, and no character is cut.
TEST(CDocument, ReadsLargeTextsWhole)
{
    StTempDir const folder;
    CDocument document;
    for (std::size_t start = 0; start < 4; ++start) {
        SCOPED_TRACE(start);
        constexpr std::size_t kCount = (std::size_t{9} << 20) / 4;
        std::string bytes(start, 'a');
        std::u16string text(start, u'a');
        for (std::size_t i = 0; i < kCount; ++i) {
            bytes += "\U0001F600";
            text += u"\U0001F600";
        }
        document.Read(CFileSpec(folder.Write("large", bytes), false));
        EXPECT_TRUE(document.GetText() == text);

        bytes += "\xff";
        document.Read(CFileSpec(folder.Write("bad", bytes), false));
        EXPECT_EQ(document.GetReason(),
                  "not UTF-8: byte 0xFF at offset " + std::to_string(bytes.size() - 1));
    }
}

// So are those of other charsets: the steps end behind a line, a blank or any byte of a table.
TEST(CDocument, ReadsLargeTextsOfOtherCharsetsWhole)
{
    struct
    {
        char const* mWhat;
        char const* mCharset;
        std::u16string mPart;
        std::string mBad;  // which no text of the charset ends in; empty if there is no such thing
        char const* mReason;
    } const cases[] = {
        {"a table", "windows-874",
         u"\u0e20\u0e32\u0e29\u0e32\u0e44\u0e17\u0e22\u0e40\u0e1b\u0e47\u0e19\n", "", ""},
        {"two bytes, in lines", "Shift_JIS",
         u"\u543e\u8f29\u306f\u732b\u3067\u3042\u308b\u3002\u540d\u524d\u306f\u307e\u3060\n",
         "\x81", "not Shift_JIS: byte 0x81 at offset "},
        {"two bytes, all in one", "Shift_JIS",
         u"\u543e\u8f29\u306f\u732b\u3067\u3042\u308b\u3002\u540d\u524d\u306f\u307e\u3060", "", ""},
        {"UTF-16", "UTF-16BE", u"\u543e\u8f29\u306f\u732b, caf\u00e9\n", "\xD8\x3D",
         "not UTF-16: lone surrogate at offset "},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        std::string part;
        ASSERT_TRUE(CCharset(c.mCharset).Encode(c.mPart, part));
        std::string bytes;
        std::u16string text;
        while (bytes.size() <= std::size_t{9} << 20) {
            bytes += part;
            text += c.mPart;
        }
        CDocument document;
        document.Read(bytes);
        EXPECT_EQ(document.GetKindName(), c.mCharset);
        EXPECT_TRUE(document.GetText() == text);

        if (c.mBad.empty()) continue;
        document.Read(bytes + c.mBad);
        EXPECT_EQ(document.GetReason(), c.mReason + std::to_string(bytes.size()));
    }
}

TEST(CDocument, MindsThatItIsNotWantedAnyMore)
{
    StUnwanted const unwanted;
    CDocument document;
    EXPECT_THROW(document.Read(std::string_view("caf\xe9 au lait")), CInterrupted);
    EXPECT_THROW(document.Read(std::string_view("caf\u00e9 au lait")), CInterrupted);
    EXPECT_THROW(GuessCharset("caf\xe9 au lait"), CInterrupted);
}

std::size_t FindLonePlainly(std::u16string const& text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        bool const isHigh = (text[i] & 0xFC00) == 0xD800;
        bool const isLow = (text[i] & 0xFC00) == 0xDC00;
        bool const isPair = isHigh && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00;
        if (isLow || (isHigh && !isPair)) return i;
        if (isPair) ++i;
    }
    return text.size();
}

TEST(UTF16Loops, AgreeWithThePlainRules)
{
    std::u16string const cases[] = {
        u"\ud7ff\ue000",     u"\U0001F600", u"\xd83dx",      u"x\xd83d",
        u"\U0001F600\xde00", u"x\xde00",    u"\xde00\xd83d", std::u16string(u"x\0", 2)};
    std::size_t wrong = 0;
    for (std::u16string const& middle : cases) {
        for (std::size_t before = 0; before < 100; ++before) {
            for (std::size_t behind = 0; behind < 70; ++behind) {
                std::u16string const text =
                    std::u16string(before, u'x') + middle + std::u16string(behind, u'x');
                wrong += FindLoneSurrogate(text) != FindLonePlainly(text);
                wrong += FindNull(text) != std::min(text.find(u'\0'), text.size());
            }
        }
    }
    EXPECT_EQ(wrong, 0U);
}

TEST(UTF16Loops, SwapBytesOfTextsOfAnyLength)
{
    for (std::size_t length = 0; length < 100; ++length) {
        SCOPED_TRACE(length);
        std::u16string units(length, u'\x1234');
        SwapBytes(units.data(), units.size());
        EXPECT_EQ(units, std::u16string(length, u'\x3412'));
    }
}

}  // namespace
