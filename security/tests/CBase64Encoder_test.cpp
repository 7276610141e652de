#include "security/CBase64Encoder.h"

#include "marl/memblock.h"
#include "security/Base64Kernels.h"
#include "testing/NaiveBase64.h"

#include <cstring>
#include <random>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

memblock BlockOf(std::string const& bytes)
{
    memblock block;
    block.append(bytes.data(), bytes.size());
    return block;
}

std::string TextOf(memblock const& block)
{
    return block.size() == 0 ? std::string() : std::string(block.data(), block.size());
}

std::string Encode(std::string const& bytes, bool lineBreaks = false)
{
    memblock out = BlockOf("what was there before");
    CBase64Encoder::Encode(BlockOf(bytes), &out, lineBreaks);
    return TextOf(out);
}

NaivelyDecoded Decode(std::string const& text)
{
    memblock out = BlockOf("what was there before");
    unsigned long consumed = 4711;
    CBase64Encoder::Decode(BlockOf(text), &out, &consumed);
    return {TextOf(out), consumed};
}

std::string EncodeHeader(std::string const& bytes)
{
    std::string out = "what was there before";
    CBase64Encoder::EncodeHeaderStr(bytes, &out);
    return out;
}

std::string DecodeHeader(std::string const& text)
{
    std::string out = "what was there before";
    CBase64Encoder::DecodeHeaderStr(text, &out);
    return out;
}

std::string RandomBytes(std::size_t size)
{
    std::mt19937 random(static_cast<unsigned int>(size));
    std::string bytes(size, ' ');
    for (char& byte : bytes)
        byte = static_cast<char>(random());
    return bytes;
}

// All that a kernel reads lies in a block of its own size, so that sanitizers see a step beyond;
// behind what it writes stands a guard.
constexpr std::size_t kGuard = 64;

std::string EncodeBy(Base64Kernels const& kernels, std::string const& bytes)
{
    std::vector<unsigned char> const in(bytes.begin(), bytes.end());
    std::string out(bytes.size() / 3 * 4 + kGuard, '#');
    kernels.mEncode(in.data(), in.size(), out.data());
    if (out.substr(out.size() - kGuard) != std::string(kGuard, '#')) return "wrote too far";
    return out.substr(0, out.size() - kGuard);
}

NaivelyDecoded DecodeBy(Base64Kernels const& kernels, std::string const& text)
{
    std::vector<char> const in(text.begin(), text.end());
    std::vector<unsigned char> out(text.size() / 4 * 3 + kGuard, '#');
    std::size_t const done = kernels.mDecode(in.data(), in.size(), out.data());
    for (std::size_t i = out.size() - kGuard; i < out.size(); ++i) {
        if (out[i] != '#') return {"wrote too far", 0};
    }
    return {std::string(out.begin(), out.begin() + static_cast<std::ptrdiff_t>(done / 4 * 3)),
            done};
}

}  // namespace

TEST(CBase64Encoder, KnowsItsNumber)
{
    CBase64Encoder const encoder;
    EXPECT_EQ(static_cast<CEncoder const&>(encoder).GetEncoding(), 4);
}

// What a line is expected to be after others makes no difference.
TEST(CBase64Encoder, DecodesLinesOfAnyLengths)
{
    constexpr std::size_t kLengths[] = {0, 4, 8, 60, 64, 68, 76, 128, 200};
    std::string const text = EncodeBase64Naively(RandomBytes(150), false);
    for (std::size_t const first : kLengths) {
        for (std::size_t const second : kLengths) {
            SCOPED_TRACE(std::to_string(first) + " " + std::to_string(second));
            std::string const line = text.substr(0, second);
            std::string const lines = text.substr(0, first) + "\r\n" + line + "\r\n" + line;
            bool isSame = true;
            for (char const* const end : {"", "=", "QQ==", "\r\nQUI=\r\n", " Q!JD", "=\nQQ=="})
                isSame = isSame && Decode(lines + end) == DecodeBase64Naively(lines + end);
            EXPECT_TRUE(isSame);
        }
    }
}

TEST(CBase64Encoder, AgreesWithThePublishedVectors)
{
    // RFC 4648, section 10.
    struct
    {
        char const* mBytes;
        char const* mText;
    } const cases[] = {
        {"", ""},
        {"f", "Zg=="},
        {"fo", "Zm8="},
        {"foo", "Zm9v"},
        {"foob", "Zm9vYg=="},
        {"fooba", "Zm9vYmE="},
        {"foobar", "Zm9vYmFy"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mBytes);
        EXPECT_EQ(Encode(c.mBytes), c.mText);
        EXPECT_EQ(Encode(c.mBytes, true), c.mText);
        EXPECT_EQ(EncodeHeader(c.mBytes), c.mText);
        EXPECT_EQ(Decode(c.mText), (NaivelyDecoded{c.mBytes, std::strlen(c.mText)}));
        EXPECT_EQ(DecodeHeader(c.mText), c.mBytes);
    }
}

TEST(CBase64Encoder, EncodesAGroup)
{
    struct
    {
        char const* mWhat;
        short mCount;
        char const* mText;
    } const cases[] = {
        {"below", -1, "QQ=="}, {"none", 0, "QQ=="},  {"one", 1, "QQ=="},
        {"two", 2, "QUI="},    {"three", 3, "QUJD"}, {"more", 4, "QUJD"},
    };

    unsigned char const bytes[] = {0x41, 0x42, 0x43};
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        char text[4];
        CBase64Encoder::Encode(bytes, text, c.mCount);
        EXPECT_EQ(std::string(text, 4), c.mText);
    }
}

TEST(CBase64Encoder, ReadsOnlyTheBytesOfAGroup)
{
    std::vector<unsigned char> const one{0xFF};
    std::vector<unsigned char> const two{0xFF, 0xFF};
    char text[4];
    CBase64Encoder::Encode(one.data(), text, 1);
    EXPECT_EQ(std::string(text, 4), "/w==");
    CBase64Encoder::Encode(two.data(), text, 2);
    EXPECT_EQ(std::string(text, 4), "//8=");
}

TEST(CBase64Encoder, DecodesAGroup)
{
    struct
    {
        char const* mText;
        char const* mBytes;
        short mCount;
    } const cases[] = {
        {"QUJD", "\x41\x42\x43", 3}, {"QUI=", "\x41\x42\x00", 2}, {"QQ==", "\x41\x00\x00", 1},
        {"QQ=D", "\x41\x00\x03", 1}, {"==JD", "\x00\x02\x43", 3}, {"\xFF!JD", "\x00\x02\x43", 3},
        {"====", "\x00\x00\x00", 1},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mText);
        unsigned char bytes[3] = {0xAA, 0xAA, 0xAA};
        short count = 0;
        CBase64Encoder::Decode(c.mText, bytes, &count);
        EXPECT_EQ(std::memcmp(bytes, c.mBytes, 3), 0);
        EXPECT_EQ(count, c.mCount);
    }
}

TEST(CBase64Encoder, BreaksLinesBehind76Characters)
{
    struct
    {
        std::size_t mSize;
        std::size_t mLength;
        std::size_t mEnd;  // of the last full line
    } const cases[] = {{54, 72, 0},  {55, 78, 78}, {56, 78, 78},
                       {57, 78, 78}, {58, 82, 78}, {114, 156, 156}};

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mSize);
        std::string const text = Encode(std::string(c.mSize, 'A'), true);
        EXPECT_EQ(text.size(), c.mLength);
        EXPECT_EQ(text.rfind('\n') + 1, c.mEnd);
    }
}

TEST(CBase64Encoder, DecodesBlocksAsTheyCome)
{
    struct
    {
        char const* mWhat;
        std::string mText;
        std::string mBytes;
        std::size_t mConsumed;
    } const cases[] = {
        {"nothing", "", "", 0},
        {"less than a group", "QUJ", "", 0},
        {"blanks alone", " \t\r\n  ", "", 0},
        {"a break between groups", "QUJD\r\nQUJD", "ABCABC", 10},
        {"blanks and tabs in front", " \t QUJD", "ABC", 7},
        {"blanks at the end", "QUJD \r\n\t ", "ABC", 4},
        {"streams joined", "QQ==QQ==", "AA", 8},
        {"a group cut", "QUJDQQ", "ABC", 4},
        {"a group cut behind a break", "QUJD\r\nQQ=", "ABC", 4},
        {"another white space is data", "\vUJD", "\x01\x42\x43", 4},
        {"a zero is data", "\0UJD"s, "\x01\x42\x43", 4},
        {"padding alone", "====", "\0"s, 4},
        {"a third byte that isn't padding's", "QQ=D", "A", 4},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(Decode(c.mText), (NaivelyDecoded{c.mBytes, c.mConsumed}));
    }
}

TEST(CBase64Encoder, KeepsBreaksInsideAGroupAsData)
{
    EXPECT_EQ(Decode("QU\r\nJD"), (NaivelyDecoded{"\x41\x40\0"s, 4}));
}

TEST(CBase64Encoder, KeepsBadCharactersAsA)
{
    for (int byte = 0; byte < 256; ++byte) {
        if (std::strchr(cEncodingTable, byte) || std::strchr(" \t\r\n", byte)) continue;
        std::string const bad(1, static_cast<char>(byte));
        EXPECT_EQ(Decode(bad + "UJD"), Decode("AUJD")) << byte;
        EXPECT_EQ(Decode("QU" + bad + "D"), Decode("QUAD")) << byte;
    }
}

TEST(CBase64Encoder, DecodesWithoutTellingThePosition)
{
    memblock out;
    CBase64Encoder::Decode(BlockOf("QUJD"), &out, nullptr);
    EXPECT_EQ(TextOf(out), "ABC");
}

TEST(CBase64Encoder, ReadsAStreamPieceByPiece)
{
    std::string const bytes = RandomBytes(500);
    std::string const text = Encode(bytes, true);
    for (std::size_t piece = 1; piece < 100; ++piece) {
        std::string pending;
        std::string result;
        for (std::size_t i = 0; i < text.size(); i += piece) {
            pending += text.substr(i, piece);
            NaivelyDecoded const decoded = Decode(pending);
            result += decoded.mBytes;
            pending.erase(0, decoded.mConsumed);
        }
        ASSERT_EQ(result, bytes) << piece;
    }
}

TEST(CBase64Encoder, DecodesHeadersForgivingly)
{
    struct
    {
        char const* mWhat;
        std::string mText;
        std::string mBytes;
    } const cases[] = {
        {"nothing", "", ""},
        {"a blank inside a group", "QU JD", "ABC"},
        {"bad characters everywhere", "-Q_U\x80J\0D!"s, "ABC"},
        {"all behind padding is ignored", "QQ==QUJD", "A"},
        {"a group cut", "QUJDQQ", "ABC"},
        {"two bytes", "QUI=", "AB"},
        {"two bytes, bad characters", "Q.U.I.=", "AB"},
        {"long, then cut", "QUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQUJDQQ", "ABCABCABCABCABCABCABCABCABC"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(DecodeHeader(c.mText), c.mBytes);
    }
}

TEST(CBase64Encoder, KeepsAByteForEveryPaddingOfAHeader)
{
    struct
    {
        char const* mWhat;
        std::string mText;
        std::string mBytes;
    } const cases[] = {
        {"at the start", "=", "\0"s},
        {"behind one character", "Q=", "\x40"},
        {"behind one character after a group", "QUJDQ=", "ABC\x41"},
        {"behind a group", "QUJD=", "ABCA"},
        {"behind a group and what is skipped", "QUJD \r\n=", "ABCA"},
        {"behind many groups",
         "////////////////////////////////////////QUJD=", std::string(30, '\xFF') + "ABCA"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(DecodeHeader(c.mText), c.mBytes);
    }
}

TEST(CBase64Encoder, AgreesWithPlainRulesForEveryLength)
{
    for (std::size_t size = 0; size < 400; ++size) {
        std::string const bytes = RandomBytes(size);
        std::string const text = EncodeBase64Naively(bytes, false);
        std::string const lines = EncodeBase64Naively(bytes, true);
        ASSERT_EQ(Encode(bytes), text) << size;
        ASSERT_EQ(Encode(bytes, true), lines) << size;
        ASSERT_EQ(EncodeHeader(bytes), text) << size;
        ASSERT_EQ(Decode(text), DecodeBase64Naively(text)) << size;
        ASSERT_EQ(Decode(lines), DecodeBase64Naively(lines)) << size;
        ASSERT_EQ(DecodeHeader(text), bytes) << size;
        ASSERT_EQ(DecodeHeader(lines), bytes) << size;
    }
}

TEST(CBase64Encoder, AgreesWithPlainRulesForEveryByteInEveryPlaceOfAGroup)
{
    std::string const text = Encode(RandomBytes(99));
    for (int byte = 0; byte < 256; ++byte) {
        for (std::size_t place : {0U, 1U, 2U, 3U, 64U, 65U, 66U, 67U}) {
            for (std::size_t length : {place / 4 * 4 + 4, text.size()}) {
                std::string bad = text.substr(0, length);
                bad[place] = static_cast<char>(byte);
                ASSERT_EQ(DecodeHeader(bad), DecodeBase64HeaderNaively(bad))
                    << byte << " " << place;
                ASSERT_EQ(Decode(bad), DecodeBase64Naively(bad)) << byte << " " << place;
            }
        }
    }
}

TEST(CBase64Encoder, AgreesWithPlainRulesForWildText)
{
    // Mostly of the alphabet, with a choice of what is treated in some other way.
    std::mt19937 random(1);
    std::string const others = "= \t\r\n\v-_\x80\xFF\0"s;
    for (int round = 0; round < 2000; ++round) {
        std::string text(random() % 200, ' ');
        auto const rate = 1 + random() % 60;
        for (char& character : text) {
            character = random() % rate == 0 ? others[random() % others.size()]
                                             : cEncodingTable[random() % 64];
        }
        ASSERT_EQ(Decode(text), DecodeBase64Naively(text)) << text;
        ASSERT_EQ(DecodeHeader(text), DecodeBase64HeaderNaively(text)) << text;
    }
}

TEST(Base64Kernels, AreTheFastestOfAll)
{
    std::vector<Base64Kernels> const all = GetAllBase64Kernels();
    EXPECT_EQ(std::string(all.front().mName), "plain");
    EXPECT_EQ(GetBase64Kernels().mDecode, all.back().mDecode);
    EXPECT_EQ(&GetBase64Kernels(), &GetBase64Kernels());
}

TEST(Base64Kernels, EncodeAlikeAtEveryOffsetAndLength)
{
    std::string const bytes = RandomBytes(400);
    for (Base64Kernels const& kernels : GetAllBase64Kernels()) {
        SCOPED_TRACE(kernels.mName);
        for (std::size_t offset = 0; offset < 64; ++offset) {
            for (std::size_t size = 0; size <= 330; size += 3) {
                std::string const part = bytes.substr(offset, size);
                ASSERT_EQ(EncodeBy(kernels, part), EncodeBase64Naively(part, false))
                    << offset << " " << size;
            }
        }
    }
}

TEST(Base64Kernels, DecodeAlikeAtEveryOffsetAndLength)
{
    std::string const bytes = RandomBytes(300);
    std::string const text = EncodeBase64Naively(bytes, false);
    for (Base64Kernels const& kernels : GetAllBase64Kernels()) {
        SCOPED_TRACE(kernels.mName);
        for (std::size_t offset = 0; offset < 64; offset += 4) {
            for (std::size_t size = 0; size <= 330; ++size) {
                NaivelyDecoded const expected{bytes.substr(offset / 4 * 3, size / 4 * 3),
                                              size / 4 * 4};
                ASSERT_EQ(DecodeBy(kernels, text.substr(offset, size)), expected)
                    << offset << " " << size;
            }
        }
    }
}

TEST(Base64Kernels, StopAtEveryBadByteInEveryPlace)
{
    std::string const bytes = RandomBytes(150);
    std::string const text = EncodeBase64Naively(bytes, false);
    std::string const alphabet(cEncodingTable, 64);
    for (Base64Kernels const& kernels : GetAllBase64Kernels()) {
        SCOPED_TRACE(kernels.mName);
        for (int byte = 0; byte < 256; ++byte) {
            if (alphabet.find(static_cast<char>(byte)) != alphabet.npos) continue;
            for (std::size_t place = 0; place < text.size(); ++place) {
                std::string bad = text;
                bad[place] = static_cast<char>(byte);
                std::size_t const group = place / 4;
                ASSERT_EQ(DecodeBy(kernels, bad),
                          (NaivelyDecoded{bytes.substr(0, group * 3), group * 4}))
                    << byte << " " << place;
            }
        }
    }
}
