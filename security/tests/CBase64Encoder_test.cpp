#include "security/CBase64Encoder.h"

#include "marl/memblock.h"
#include "security/Base64Kernels.h"
#include "testing/NaiveBase64.h"
#include "testing/StFencedMemory.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <random>
#include <string_view>
#include <vector>

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

// Once by each set of loops.
void AtEveryLevel(std::function<void()> const& check)
{
    for (Base64Kernels const* const kernels : GetAllBase64Kernels()) {
        SCOPED_TRACE(kernels->mName);
        StBase64Kernels const use(*kernels);
        check();
    }
}

// What the loops read and what they write ends where pages begin that nobody may touch.
class CFencedKernels
{
public:
    explicit CFencedKernels(Base64Kernels const& kernels)
        : mKernels(kernels)
    {
    }

    std::string Encode(std::string const& bytes)
    {
        std::size_t const size = (bytes.size() + 2) / 3 * 4;
        auto* const out = mOut.AtEnd<char>(size);
        mKernels.mEncode(Put<unsigned char>(bytes), bytes.size(), out);
        return {out, size};
    }

    // With what `out` has room for.
    NaivelyDecoded Decode(std::string const& text, std::size_t padding = 0)
    {
        std::size_t const room = text.size() / 4 * 3 - padding;
        auto* const out = mOut.AtEnd<unsigned char>(room);
        std::size_t const read = mKernels.mDecode(Put<char>(text), text.size(), padding, out);
        std::size_t const size = read / 4 * 3 - (read == text.size() ? padding : 0);
        return {std::string(out, out + size), read};
    }

    NaivelyDecoded DecodeLines(std::string const& text)
    {
        auto* const out = mOut.AtEnd<unsigned char>(text.size() / 4 * 3);
        Base64Run const run = mKernels.mDecodeLines(Put<char>(text), text.size(), out);
        return {std::string(out, out + run.mWritten), run.mRead};
    }

private:
    template <class Unit>
    Unit const* Put(std::string const& text)
    {
        auto* const in = mIn.AtEnd<Unit>(text.size());
        std::copy(text.begin(), text.end(), in);
        return in;
    }

    Base64Kernels const& mKernels;
    StFencedMemory mIn;
    StFencedMemory mOut;
};

void WithEachKernels(std::function<void(CFencedKernels&)> const& check)
{
    for (Base64Kernels const* const kernels : GetAllBase64Kernels()) {
        SCOPED_TRACE(kernels->mName);
        CFencedKernels fenced(*kernels);
        check(fenced);
    }
}

bool IsOfAlphabet(char character)
{
    return std::memchr(cEncodingTable, character, kBase64Padding) != nullptr;
}

// A second statement of how far groups of the alphabet reach, with white space in front of them.
NaivelyDecoded DecodeLinesNaively(std::string const& text)
{
    std::size_t end = 0;
    for (std::size_t i = 0;;) {
        i = text.find_first_not_of(" \t\r\n", i);
        if (i == text.npos || i + 4 > text.size()) break;
        std::string const group = text.substr(i, 4);
        if (!std::all_of(group.begin(), group.end(), IsOfAlphabet)) break;
        end = i += 4;
    }
    return DecodeBase64Naively(text.substr(0, end));
}

std::string RandomText(std::mt19937& random, std::size_t size)
{
    std::string text(size, ' ');
    for (char& character : text)
        character = cEncodingTable[random() % kBase64Padding];
    return text;
}

// Lines of any whole groups, up to `longest` of them, ended by any white space.
std::string RandomLines(std::mt19937& random, std::size_t size, std::size_t longest)
{
    constexpr char const* kEnds[] = {"\r\n", "\n", " ", "\t\t\t", "\r\n\r\n     "};
    std::string text;
    while (text.size() < size) {
        text += RandomText(random, random() % (longest + 1) * 4);
        text += kEnds[random() % std::size(kEnds)];
    }
    return text.substr(0, size);
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
            std::string lines = text.substr(0, first);
            for (int i = 0; i < 2; ++i)
                lines.append("\r\n").append(line);
            for (char const* const end : {"", "=", "QQ==", "\r\nQUI=\r\n", " Q!JD", "=\nQQ=="}) {
                NaivelyDecoded const expected = DecodeBase64Naively(lines + end);
                AtEveryLevel([&] { ASSERT_EQ(Decode(lines + end), expected); });
            }
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
    for (std::size_t size = 0; size <= 400; ++size) {
        std::string const bytes = RandomBytes(size);
        std::string const text = EncodeBase64Naively(bytes, false);
        std::string const lines = EncodeBase64Naively(bytes, true);
        AtEveryLevel([&] {
            ASSERT_EQ(Encode(bytes), text) << size;
            ASSERT_EQ(Encode(bytes, true), lines) << size;
            ASSERT_EQ(EncodeHeader(bytes), text) << size;
            ASSERT_EQ(Decode(text), (NaivelyDecoded{bytes, text.size()})) << size;
            ASSERT_EQ(Decode(lines), (NaivelyDecoded{bytes, lines.find_last_not_of("\r\n") + 1}))
                << size;
            ASSERT_EQ(DecodeHeader(text), bytes) << size;
            ASSERT_EQ(DecodeHeader(lines), bytes) << size;
        });
    }
}

TEST(CBase64Encoder, DecodesAlikeWhereverATextIsCut)
{
    std::string const bytes = RandomBytes(100);
    for (bool const lineBreaks : {false, true}) {
        std::string const text = EncodeBase64Naively(bytes, lineBreaks);
        AtEveryLevel([&] {
            for (std::size_t cut = 0; cut <= text.size(); ++cut) {
                NaivelyDecoded const first = Decode(text.substr(0, cut));
                NaivelyDecoded const second = Decode(text.substr(first.mConsumed));
                ASSERT_EQ(first.mBytes + second.mBytes, bytes) << cut;
                ASSERT_EQ(first.mConsumed + second.mConsumed, text.size()) << cut;
            }
        });
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

// At the end too, where the text's own padding may stand.
TEST(CBase64Encoder, AgreesWithPlainRulesForWhatIsSpecialInEveryPlace)
{
    std::string const special = "=\n!A";
    for (bool const lineBreaks : {false, true}) {
        std::string const text = EncodeBase64Naively(RandomBytes(100), lineBreaks);
        for (std::size_t place = 0; place + 2 <= text.size(); ++place) {
            for (char const first : special) {
                for (char const second : special) {
                    std::string bad = text;
                    bad[place] = first;
                    bad[place + 1] = second;
                    NaivelyDecoded const expected = DecodeBase64Naively(bad);
                    AtEveryLevel([&] { ASSERT_EQ(Decode(bad), expected) << bad; });
                }
            }
        }
    }
}

TEST(CBase64Encoder, AgreesWithPlainRulesForWildText)
{
    // Mostly of the alphabet, with a choice of what is treated in some other way.
    std::mt19937 random(1);
    std::string const others = "= \t\r\n\v-_\x80\xFF\0"s;
    for (int round = 0; round < 1000; ++round) {
        std::string text = RandomText(random, random() % 300);
        auto const rate = 1 + random() % 60;
        for (char& character : text) {
            if (random() % rate == 0) character = others[random() % others.size()];
        }
        NaivelyDecoded const expected = DecodeBase64Naively(text);
        std::string const header = DecodeBase64HeaderNaively(text);
        AtEveryLevel([&] {
            ASSERT_EQ(Decode(text), expected) << text;
            ASSERT_EQ(DecodeHeader(text), header) << text;
        });
    }
}

TEST(CBase64Encoder, AgreesWithPlainRulesForLinesWithPaddingAndFaults)
{
    std::mt19937 random(2);
    std::string const others = "= \n!\0\xC1"s;
    for (int round = 0; round < 1000; ++round) {
        std::string text;
        for (auto pieces = random() % 4; pieces-- > 0;) {
            text += RandomLines(random, random() % 600, 1 + random() % 30);
            text += EncodeBase64Naively(RandomBytes(random() % 100), random() % 2 == 0);
        }
        for (auto faults = random() % 3; faults-- > 0 && !text.empty();)
            text[random() % text.size()] = others[random() % others.size()];
        NaivelyDecoded const expected = DecodeBase64Naively(text);
        AtEveryLevel([&] { ASSERT_EQ(Decode(text), expected) << text; });
    }
}

TEST(Base64Kernels, AreTheFastestOfAll)
{
    std::vector<Base64Kernels const*> const all = GetAllBase64Kernels();
    EXPECT_EQ(std::string(all.front()->mName), "plain");
    EXPECT_EQ(&GetBase64Kernels(), all.back());
    {
        StBase64Kernels const use(*all.front());
        EXPECT_EQ(&GetBase64Kernels(), all.front());
    }
    EXPECT_EQ(&GetBase64Kernels(), all.back());
}

TEST(Base64Kernels, EncodeAlikeAtEveryOffsetAndLength)
{
    std::string const bytes = RandomBytes(500);
    WithEachKernels([&](CFencedKernels& kernels) {
        for (std::size_t size = 0; size <= 400; ++size) {
            std::size_t const offset = size % 64;
            std::string const part = bytes.substr(offset, size);
            ASSERT_EQ(kernels.Encode(part), EncodeBase64Naively(part, false)) << size;
        }
    });
}

TEST(Base64Kernels, EncodeNoFurtherThanTheyShould)
{
    std::vector<unsigned char> const bytes(200, 'A');
    for (Base64Kernels const* const kernels : GetAllBase64Kernels()) {
        SCOPED_TRACE(kernels->mName);
        for (std::size_t size = 0; size <= bytes.size(); ++size) {
            std::string out(400, '#');
            kernels->mEncode(bytes.data(), size, out.data());
            ASSERT_EQ(out.find('#'), (size + 2) / 3 * 4) << size;
            ASSERT_EQ(out.find_last_not_of('#') + 1, (size + 2) / 3 * 4) << size;
        }
    }
}

TEST(Base64Kernels, DecodeAlikeAtEveryLengthAndPadding)
{
    std::string const bytes = RandomBytes(400);
    WithEachKernels([&](CFencedKernels& kernels) {
        for (std::size_t size = 0; size <= 400; ++size) {
            std::string const part = bytes.substr(0, size);
            std::string const text = EncodeBase64Naively(part, false);
            std::size_t const padding = text.size() / 4 * 3 - size;
            ASSERT_EQ(kernels.Decode(text, padding), (NaivelyDecoded{part, text.size()})) << size;
        }
    });
}

TEST(Base64Kernels, StopAtEveryBadByteInEveryPlace)
{
    constexpr std::string_view kNeighbours = "*,.:@[`{\x7F\x80\xC1\xFF";
    std::string const bytes = RandomBytes(360);
    std::string const text = EncodeBase64Naively(bytes, false);
    WithEachKernels([&](CFencedKernels& kernels) {
        for (int byte = 0; byte < 256; ++byte) {
            auto const character = static_cast<char>(byte);
            if (IsOfAlphabet(character)) continue;
            bool const isNeighbour = kNeighbours.find(character) != kNeighbours.npos;
            std::size_t const places = isNeighbour ? text.size() : 68;
            for (std::size_t place = 0; place < places; ++place) {
                std::string bad = text;
                bad[place] = character;
                std::size_t const group = place / 4;
                NaivelyDecoded const expected{bytes.substr(0, group * 3), group * 4};
                ASSERT_EQ(kernels.Decode(bad), expected) << byte << " " << place;
            }
        }
    });
}

TEST(Base64Kernels, StopInPaddedGroupsAtWhatIsBadAlone)
{
    std::string const bytes = RandomBytes(150);
    std::string const text = EncodeBase64Naively(bytes, false);
    WithEachKernels([&](CFencedKernels& kernels) {
        for (std::size_t size = 4; size <= text.size(); size += 4) {
            for (std::size_t padding : {1U, 2U}) {
                for (std::size_t place = 1; place <= 4; ++place) {
                    std::string bad = text.substr(0, size);
                    bad[size - place] = '!';
                    NaivelyDecoded expected{bytes.substr(0, size / 4 * 3 - padding), size};
                    if (place > padding) expected = {bytes.substr(0, size / 4 * 3 - 3), size - 4};
                    ASSERT_EQ(kernels.Decode(bad, padding), expected) << size << " " << place;
                }
            }
        }
    });
}

TEST(Base64Kernels, StepOverWhiteSpaceInEveryPlace)
{
    std::mt19937 random(3);
    std::string const text = RandomText(random, 280);
    std::vector<std::string> cases;
    for (std::size_t size = 0; size <= 280; ++size) {
        for (char const* const space : {" ", "\r\n", "\t \t"}) {
            std::string lines = text.substr(0, size);
            cases.push_back(space + lines + space);
            cases.push_back(lines.insert(size / 2, space));
            cases.push_back(lines.insert(size / 3, space) + text);
        }
    }
    for (std::size_t spaces = 0; spaces < 200; ++spaces)
        cases.push_back(text.substr(0, 64) + std::string(spaces, '\n') + text + "!");
    for (std::string const& c : cases) {
        NaivelyDecoded const expected = DecodeLinesNaively(c);
        WithEachKernels(
            [&](CFencedKernels& kernels) { ASSERT_EQ(kernels.DecodeLines(c), expected); });
    }
}

TEST(Base64Kernels, DecodeLinesAlikeWhateverTheirLengthsAndFaults)
{
    std::mt19937 random(4);
    std::string const others = "= \n!\0\xC1\xA0\v"s;
    for (int round = 0; round < 1000; ++round) {
        std::string lines = RandomLines(random, random() % 700, 1 + random() % 40);
        if (round % 2 == 1 && !lines.empty())
            lines[random() % lines.size()] = others[random() % others.size()];
        NaivelyDecoded const expected = DecodeLinesNaively(lines);
        WithEachKernels([&](CFencedKernels& kernels) {
            ASSERT_EQ(kernels.DecodeLines(lines), expected) << lines;
        });
    }
}
