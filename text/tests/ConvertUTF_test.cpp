#include "text/ConvertUTF.h"

#include "testing/NaiveUTF.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

namespace {

constexpr ConversionFlags kAllFlags[] = {strictConversion, lenientConversion,
                                         lenientReplaceConversion};
constexpr size_t kAmple = 1000;

template <class Unit>
std::string Hex(std::vector<Unit> const& units)
{
    std::string text;
    for (Unit const unit : units) {
        char digits[24];
        std::snprintf(digits, sizeof digits, "%02lX ", static_cast<unsigned long>(unit));
        text += digits;
    }
    return text;
}

template <class Unit>
std::string Describe(Converted<Unit> const& done)
{
    return "result " + std::to_string(done.mResult) + ", consumed " +
           std::to_string(done.mConsumed) + ", wrote " + Hex(done.mWritten);
}

// Runs a routine over a copy of the source that ends where its memory ends, `offset` units in, and
// looks whether anything is written past the capacity.
template <class Out, class In, class Routine>
Converted<Out> Call(Routine routine, std::vector<In> const& source, size_t capacity, size_t offset)
{
    constexpr size_t kGuards = 8;
    constexpr Out kGuard = 0xA5;
    std::vector<In> memory(offset);
    memory.insert(memory.end(), source.begin(), source.end());
    std::vector<Out> written(capacity + kGuards, kGuard);

    In const* const begin = memory.data() + offset;
    In const* cursor = begin;
    Out* end = written.data();
    Converted<Out> done;
    done.mResult = routine(&cursor, begin + source.size(), &end, written.data() + capacity);
    done.mConsumed = static_cast<size_t>(cursor - begin);
    for (size_t i = capacity; i < written.size(); ++i) {
        if (written[i] != kGuard) ADD_FAILURE() << "wrote past the end of the target";
    }
    written.resize(static_cast<size_t>(end - written.data()));
    done.mWritten = std::move(written);
    return done;
}

// True if the routine does what the rule says; otherwise tells what it was given.
template <class Out, class In, class Routine>
bool Agrees(Routine routine,
            Converted<Out> const& expected,
            std::vector<In> const& source,
            size_t capacity,
            size_t offset,
            char const* name,
            ConversionFlags flags)
{
    Converted<Out> const done = Call<Out>(routine, source, capacity, offset);
    if (done == expected) return true;
    ADD_FAILURE() << name << " (flags " << flags << ") of " << Hex(source) << "into " << capacity
                  << " units, from offset " << offset << "\n  is   " << Describe(done)
                  << "\n  must " << Describe(expected);
    return false;
}

template <class In, class Out>
using Routine = ConversionResult (*)(In const**, In const*, Out**, Out*, ConversionFlags);

template <class In, class Out>
auto With(Routine<In, Out> routine, ConversionFlags flags)
{
    return [=](In const** source, In const* sourceEnd, Out** target, Out* targetEnd) {
        return routine(source, sourceEnd, target, targetEnd, flags);
    };
}

// All that is made of one source, compared with the rules. Every check of a table goes through one
// of these.
bool CheckUTF8(std::vector<UTF8> const& source,
               size_t capacity,
               size_t offset,
               ConversionFlags flags)
{
    return Agrees(With(ConvertUTF8toUTF16, flags), NaiveUTF8toUTF16(source, capacity, flags),
                  source, capacity, offset, "UTF-8 to UTF-16", flags) &&
           Agrees(ConvertUTF8toUTF32, NaiveUTF8toUTF32(source, capacity), source, capacity, offset,
                  "UTF-8 to UTF-32", flags);
}

bool CheckUTF16(std::vector<UTF16> const& source,
                size_t capacity,
                size_t offset,
                ConversionFlags flags)
{
    return Agrees(With(ConvertUTF16toUTF8, flags), NaiveUTF16toUTF8(source, capacity, flags),
                  source, capacity, offset, "UTF-16 to UTF-8", flags) &&
           Agrees(With(ConvertUTF16toUTF32, flags), NaiveUTF16toUTF32(source, capacity, flags),
                  source, capacity, offset, "UTF-16 to UTF-32", flags);
}

bool CheckUTF32(std::vector<UTF32> const& source,
                size_t capacity,
                size_t offset,
                ConversionFlags flags)
{
    return Agrees(With(ConvertUTF32toUTF8, flags), NaiveUTF32toUTF8(source, capacity, flags),
                  source, capacity, offset, "UTF-32 to UTF-8", flags) &&
           Agrees(With(ConvertUTF32toUTF16, flags), NaiveUTF32toUTF16(source, capacity, flags),
                  source, capacity, offset, "UTF-32 to UTF-16", flags);
}

bool CheckUTF8Questions(std::vector<UTF8> const& source)
{
    UTF8 const* const end = source.data() + source.size();
    bool isRight = isLegalUTF8Sequence(source.data(), end) == NaiveIsLegalUTF8(source);
    for (ConversionFlags const flags : kAllFlags) {
        isRight = isRight && ComputeUTF16LengthFromUTF8(source.data(), end, flags) ==
                                 NaiveUTF16Length(source, flags);
    }
    if (!isRight) ADD_FAILURE() << "legality or length of " << Hex(source);
    return isRight;
}

bool CheckUTF16Question(std::vector<UTF16> const& source)
{
    bool const isRight = isLegalUTF16Sequence(source.data(), source.data() + source.size()) ==
                         NaiveIsLegalUTF16(source);
    if (!isRight) ADD_FAILURE() << "legality of " << Hex(source);
    return isRight;
}

template <class Unit>
std::vector<Unit> operator+(std::vector<Unit> a, std::vector<Unit> const& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

std::vector<UTF8> Bytes(std::string const& text)
{
    return {text.begin(), text.end()};
}

std::vector<UTF16> Units(std::u16string const& text)
{
    return {text.begin(), text.end()};
}

template <class Unit>
std::vector<Unit> Repeated(std::vector<Unit> const& piece, size_t length)
{
    std::vector<Unit> text;
    while (text.size() < length)
        text = text + piece;
    return text;
}

// Texts of one kind each, and of kinds that take turns: what the fast loops are made for, and what
// makes them leave.
std::vector<std::vector<UTF8>> Fillers8()
{
    return {Bytes("a"),
            Bytes("é"),
            Bytes("日"),
            Bytes("😀"),
            Bytes("привет мир "),
            Bytes("ab é"),
            Bytes("日本語 text, "),
            Bytes("aé日😀")};
}

std::vector<std::vector<UTF16>> Fillers16()
{
    return {Units(u"a"),
            Units(u"é"),
            Units(u"日"),
            Units(u"😀"),
            Units(u"привет мир "),
            Units(u"ab é"),
            Units(u"日本語 text, "),
            Units(u"aé日😀")};
}

// Every kind of malformed, odd and well-formed sequence.
std::vector<std::vector<UTF8>> Pieces8()
{
    return {{0x00},
            {0x7F},
            {0x80},
            {0xBF},
            {0xC0, 0x80},
            {0xC1, 0xBF},
            {0xC2, 0x80},
            {0xC2, 0x7F},
            {0xC2, 0xC0},
            {0xDF, 0xBF},
            {0xE0, 0x9F, 0xBF},
            {0xE0, 0xA0, 0x80},
            {0xE2, 0x82},
            {0xE2, 0x82, 0x41},
            {0xE2, 0x41, 0xAC},
            {0xED, 0x9F, 0xBF},
            {0xED, 0xA0, 0x80},
            {0xED, 0xBF, 0xBF},
            {0xED, 0xA0, 0x80, 0xED, 0xB0, 0x80},
            {0xEF, 0xBF, 0xBD},
            {0xEF, 0xBF, 0xBF},
            {0xF0, 0x8F, 0xBF, 0xBF},
            {0xF0, 0x90, 0x80, 0x80},
            {0xF0, 0x9F, 0x98},
            {0xF0, 0x9F, 0x98, 0x41},
            {0xF4, 0x8F, 0xBF, 0xBF},
            {0xF4, 0x90, 0x80, 0x80},
            {0xF5, 0x80, 0x80, 0x80},
            {0xF8, 0x88, 0x80, 0x80, 0x80},
            {0xFC, 0x84, 0x80, 0x80, 0x80, 0x80},
            {0xFE},
            {0xFF}};
}

std::vector<std::vector<UTF16>> Pieces16()
{
    return {{0x0000},
            {0x007F},
            {0x0080},
            {0x07FF},
            {0x0800},
            {0xD7FF},
            {0xD800},
            {0xDBFF},
            {0xDC00},
            {0xDFFF},
            {0xE000},
            {0xFFFD},
            {0xFFFF},
            {0xD800, 0xDC00},
            {0xDBFF, 0xDFFF},
            {0xDC00, 0xD800},
            {0xD800, 0xD800},
            {0xD83D, 0x0041},
            {0xD800, 0xD800, 0xDC00},
            {0xD800, 0xDC00, 0xDC00}};
}

constexpr UTF32 kValues[] = {0x0,        0x7F,       0x80,       0x7FF,       0x800,    0xD7FF,
                             0xD800,     0xDBFF,     0xDC00,     0xDFFF,      0xE000,   0xFFFD,
                             0xFFFF,     0x10000,    0x10FFFF,   0x110000,    0x1FFFFF, 0x200000,
                             0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x100000041, ~0UL};

// Bytes that begin or end a range of the rules, for sequences too long to try them all.
constexpr UTF8 kEdgeBytes[] = {0x00, 0x7F, 0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF, 0xC0, 0xED, 0xFF};

}  // namespace

TEST(ConvertUTF, AgreesWithTheRuleOnEveryOneAndTwoByteSource)
{
    for (unsigned first = 0; first < 0x100; ++first) {
        std::vector<UTF8> const one{static_cast<UTF8>(first)};
        ASSERT_TRUE(CheckUTF8(one, kAmple, 0, strictConversion) && CheckUTF8Questions(one));
        for (unsigned second = 0; second < 0x100; ++second) {
            std::vector<UTF8> const two{static_cast<UTF8>(first), static_cast<UTF8>(second)};
            ASSERT_TRUE(CheckUTF8(two, 4, 0, strictConversion) && CheckUTF8Questions(two));
        }
    }
}

TEST(ConvertUTF, AgreesWithTheRuleOnEveryThreeByteSource)
{
    for (unsigned lead = 0xE0; lead < 0xF0; ++lead) {
        for (unsigned rest = 0; rest < 0x10000; ++rest) {
            std::vector<UTF8> const three{static_cast<UTF8>(lead), static_cast<UTF8>(rest >> 8),
                                          static_cast<UTF8>(rest)};
            for (ConversionFlags const flags : kAllFlags) {
                // The flags matter to surrogates only.
                if (flags != strictConversion && lead != 0xED) continue;
                ASSERT_TRUE(CheckUTF8(three, 4, 0, flags));
            }
            ASSERT_TRUE(CheckUTF8Questions(three));
        }
    }
}

TEST(ConvertUTF, AgreesWithTheRuleOnLongerSequencesAtTheEdgesOfItsRanges)
{
    for (unsigned lead = 0xF0; lead < 0x100; ++lead) {
        for (unsigned second = 0; second < 0x100; ++second) {
            for (UTF8 const third : kEdgeBytes) {
                for (UTF8 const fourth : kEdgeBytes) {
                    std::vector<UTF8> source{static_cast<UTF8>(lead), static_cast<UTF8>(second),
                                             third, fourth};
                    ASSERT_TRUE(CheckUTF8(source, 4, 0, lenientReplaceConversion) &&
                                CheckUTF8Questions(source));
                    // Long enough for the longest promise of a lead byte.
                    source.insert(source.end(), {0x80, 0x80, 0x41});
                    ASSERT_TRUE(CheckUTF8(source, 8, 0, strictConversion) &&
                                CheckUTF8Questions(source));
                }
            }
        }
    }
}

TEST(ConvertUTF, AgreesWithTheRuleOnEveryUnitAloneAndBesideOthers)
{
    for (unsigned value = 0; value < 0x10000; ++value) {
        auto const unit = static_cast<UTF16>(value);
        for (ConversionFlags const flags : kAllFlags) {
            ASSERT_TRUE(CheckUTF16({unit}, kAmple, 0, flags));
            ASSERT_TRUE(CheckUTF16({unit, 'A'}, kAmple, 0, flags));
            ASSERT_TRUE(CheckUTF16({0xD800, unit}, kAmple, 0, flags));
            ASSERT_TRUE(CheckUTF16({unit, 0xDC00}, kAmple, 0, flags));
        }
        ASSERT_TRUE(CheckUTF16Question({unit}) && CheckUTF16Question({0xD800, unit}) &&
                    CheckUTF16Question({unit, 0xDC00}) && CheckUTF16Question({unit, 'A'}));
    }
}

// Every value that is made of two surrogates, there and back.
TEST(ConvertUTF, TurnsEveryPairToFourBytesAndBack)
{
    for (unsigned high = 0xD800; high < 0xDC00; ++high) {
        std::vector<UTF16> row;
        for (unsigned low = 0xDC00; low < 0xE000; ++low) {
            row.push_back(static_cast<UTF16>(high));
            row.push_back(static_cast<UTF16>(low));
        }
        auto const toUTF8 =
            Call<UTF8>(With(ConvertUTF16toUTF8, strictConversion), row, 2 * row.size(), 0);
        ASSERT_EQ(toUTF8, NaiveUTF16toUTF8(row, 2 * row.size(), strictConversion));
        auto const back =
            Call<UTF16>(With(ConvertUTF8toUTF16, strictConversion), toUTF8.mWritten, row.size(), 0);
        ASSERT_EQ(back.mResult, conversionOK);
        ASSERT_EQ(back.mWritten, row);
    }
}

// Whatever stops or diverts a routine, at every place of every kind of text.
TEST(ConvertUTF, AgreesWithTheRuleOnEveryPieceAtEveryPlace)
{
    for (std::vector<UTF8> const& filler : Fillers8()) {
        std::vector<UTF8> const before = Repeated(filler, 40);
        std::vector<UTF8> const after = Repeated(filler, 40);
        for (std::vector<UTF8> const& piece : Pieces8()) {
            // Cutting from the front moves the piece against the blocks of the fast loops.
            for (size_t skip = 0; skip <= 40; ++skip) {
                std::vector<UTF8> const source =
                    std::vector<UTF8>(before.begin() + static_cast<long>(skip), before.end()) +
                    piece + after;
                for (ConversionFlags const flags : kAllFlags)
                    ASSERT_TRUE(CheckUTF8(source, kAmple, skip % 8, flags));
                ASSERT_TRUE(CheckUTF8Questions(source));
            }
        }
    }
    for (std::vector<UTF16> const& filler : Fillers16()) {
        std::vector<UTF16> const before = Repeated(filler, 40);
        for (std::vector<UTF16> const& piece : Pieces16()) {
            for (size_t skip = 0; skip <= 40; ++skip) {
                std::vector<UTF16> const source =
                    std::vector<UTF16>(before.begin() + static_cast<long>(skip), before.end()) +
                    piece + before;
                for (ConversionFlags const flags : kAllFlags)
                    ASSERT_TRUE(CheckUTF16(source, kAmple, skip % 4, flags));
                ASSERT_TRUE(CheckUTF16Question(source));
            }
        }
    }
}

TEST(ConvertUTF, AgreesWithTheRuleAtEveryCutAndEveryCapacity)
{
    for (ConversionFlags const flags : kAllFlags) {
        for (std::vector<UTF8> const& filler : Fillers8()) {
            std::vector<UTF8> const text =
                Repeated(filler, 50) + std::vector<UTF8>{0xED, 0xA0, 0x80, 'z'};
            for (size_t cut = 0; cut <= text.size(); ++cut) {
                std::vector<UTF8> const source(text.begin(), text.begin() + static_cast<long>(cut));
                ASSERT_TRUE(CheckUTF8(source, kAmple, 0, flags));
                ASSERT_TRUE(CheckUTF8Questions(source));
                if (cut + 8 < text.size() && cut % 16 != 0) continue;
                for (size_t capacity = 0; capacity <= cut + 1; ++capacity) {
                    ASSERT_TRUE(CheckUTF8(source, capacity, 0, flags));
                }
            }
        }
        for (std::vector<UTF16> const& filler : Fillers16()) {
            std::vector<UTF16> const text = Repeated(filler, 50) + std::vector<UTF16>{0xD800, 'z'};
            for (size_t cut = 0; cut <= text.size(); ++cut) {
                std::vector<UTF16> const source(text.begin(),
                                                text.begin() + static_cast<long>(cut));
                ASSERT_TRUE(CheckUTF16(source, kAmple, 0, flags));
                if (cut + 4 < text.size() && cut % 16 != 0) continue;
                for (size_t capacity = 0; capacity <= 3 * cut + 1; ++capacity) {
                    ASSERT_TRUE(CheckUTF16(source, capacity, 0, flags));
                }
            }
        }
    }
}

TEST(ConvertUTF, AgreesWithTheRuleFromEveryOffset)
{
    for (size_t offset = 0; offset < 32; ++offset) {
        for (std::vector<UTF8> const& filler : Fillers8()) {
            for (size_t length = 0; length <= 70; ++length) {
                ASSERT_TRUE(CheckUTF8(Repeated(filler, length), kAmple, offset, strictConversion));
            }
        }
        for (std::vector<UTF16> const& filler : Fillers16()) {
            for (size_t length = 0; length <= 70; ++length) {
                ASSERT_TRUE(CheckUTF16(Repeated(filler, length), kAmple, offset, strictConversion));
            }
        }
    }
}

TEST(ConvertUTF, AgreesWithTheRuleOnEveryRunOfThreeValuesAndEveryCapacity)
{
    for (ConversionFlags const flags : kAllFlags) {
        for (UTF32 const first : kValues) {
            for (UTF32 const second : kValues) {
                for (UTF32 const third : kValues) {
                    for (size_t capacity = 0; capacity <= 12; ++capacity) {
                        ASSERT_TRUE(CheckUTF32({first, second, third}, capacity, 0, flags));
                    }
                }
            }
        }
    }
}

TEST(ConvertUTF, StopsWhereTheRuleSays)
{
    struct Case
    {
        char const* mWhat;
        std::vector<UTF8> mSource;
        size_t mCapacity;
        ConversionFlags mFlags;
        Converted<UTF16> mExpected;
    };

    Case const cases[] = {
        {"nothing", {}, 0, strictConversion, {conversionOK, 0, {}}},
        {"four bytes into two units",
         {0xF0, 0x90, 0x80, 0x80},
         2,
         strictConversion,
         {conversionOK, 4, {0xD800, 0xDC00}}},
        {"four bytes into one unit",
         {'a', 0xF0, 0x90, 0x80, 0x80},
         2,
         strictConversion,
         {targetExhausted, 1, {'a'}}},
        {"a stray continuation byte is forgiven by no flag",
         {'a', 0x80},
         9,
         lenientReplaceConversion,
         {sourceIllegal, 1, {'a'}}},
        {"an impossible lead near the end is a cut sequence",
         {'a', 0xFF, 'b'},
         9,
         strictConversion,
         {sourceExhausted, 1, {'a'}}},
        {"an impossible lead with room for its promise",
         {0xFF, 'b', 'c', 'd', 'e', 'f'},
         9,
         strictConversion,
         {sourceIllegal, 0, {}}},
        {"malformed comes before full", {0x80}, 0, strictConversion, {sourceIllegal, 0, {}}},
        {"full comes before a surrogate",
         {0xED, 0xA0, 0x80},
         0,
         strictConversion,
         {targetExhausted, 0, {}}},
        {"a surrogate, strict",
         {'a', 0xED, 0xA0, 0x80},
         9,
         strictConversion,
         {sourceIllegal, 1, {'a'}}},
        {"a surrogate, lenient",
         {0xED, 0xA0, 0x80},
         9,
         lenientConversion,
         {conversionOK, 3, {0xD800}}},
        {"a surrogate, replaced",
         {0xED, 0xA0, 0x80},
         9,
         lenientReplaceConversion,
         {conversionOK, 3, {0xFFFD}}},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_TRUE(Agrees(With(ConvertUTF8toUTF16, c.mFlags), c.mExpected, c.mSource, c.mCapacity,
                           0, "UTF-8 to UTF-16", c.mFlags));
        // The second statement of the rules has to pass the same table.
        EXPECT_EQ(NaiveUTF8toUTF16(c.mSource, c.mCapacity, c.mFlags), c.mExpected);
    }
}

TEST(ConvertUTF, KeepsHighSurrogateAtTheEnd)
{
    for (ConversionFlags const flags : kAllFlags) {
        std::vector<UTF16> const source{'a', 0xD800};
        EXPECT_EQ(Call<UTF8>(With(ConvertUTF16toUTF8, flags), source, 9, 0),
                  (Converted<UTF8>{conversionOK, 2, {'a', 0xED, 0xA0, 0x80}}));
        EXPECT_EQ(Call<UTF32>(With(ConvertUTF16toUTF32, flags), source, 9, 0),
                  (Converted<UTF32>{conversionOK, 2, {'a', 0xD800}}));
        EXPECT_FALSE(isLegalUTF16Sequence(source.data(), source.data() + source.size()));
    }
}

TEST(ConvertUTF, KeepsSurrogatesOfThreeBytesWellFormed)
{
    struct Case
    {
        std::vector<UTF8> mSource;
        UTF16 mSurrogate;
    };

    Case const cases[] = {{{0xED, 0xA0, 0x80}, 0xD800}, {{0xED, 0xBF, 0xBF}, 0xDFFF}};
    for (Case const& c : cases) {
        EXPECT_TRUE(isLegalUTF8Sequence(c.mSource.data(), c.mSource.data() + 3));
        EXPECT_EQ(Call<UTF32>(ConvertUTF8toUTF32, c.mSource, 9, 0),
                  (Converted<UTF32>{conversionOK, 3, {c.mSurrogate}}));
        EXPECT_EQ(Call<UTF16>(With(ConvertUTF8toUTF16, lenientConversion), c.mSource, 9, 0),
                  (Converted<UTF16>{conversionOK, 3, {c.mSurrogate}}));
    }
}

TEST(ConvertUTF, KeepsCallingIllegalLeadBytesNearTheEndExhausted)
{
    for (unsigned lead = 0xF5; lead <= 0xFF; ++lead) {
        size_t const promised = lead < 0xF8 ? 4 : lead < 0xFC ? 5 : 6;
        std::vector<UTF8> source(promised, 'a');
        source[0] = static_cast<UTF8>(lead);
        EXPECT_EQ(Call<UTF16>(With(ConvertUTF8toUTF16, strictConversion), source, 9, 0),
                  (Converted<UTF16>{sourceIllegal, 0, {}}));
        source.pop_back();
        EXPECT_EQ(Call<UTF16>(With(ConvertUTF8toUTF16, strictConversion), source, 9, 0),
                  (Converted<UTF16>{sourceExhausted, 0, {}}));
        EXPECT_EQ(Call<UTF32>(ConvertUTF8toUTF32, source, 9, 0),
                  (Converted<UTF32>{sourceExhausted, 0, {}}));
    }
}

TEST(ConvertUTF, KeepsTwoBytesForValuesAboveFourByteRange)
{
    for (ConversionFlags const flags : kAllFlags) {
        EXPECT_EQ(Call<UTF8>(With(ConvertUTF32toUTF8, flags), std::vector<UTF32>{0x200000}, 2, 0),
                  (Converted<UTF8>{conversionOK, 1, {0xFF, 0xBD}}));
        EXPECT_EQ(Call<UTF8>(With(ConvertUTF32toUTF8, flags), std::vector<UTF32>{0x1FFFFF}, 4, 0),
                  (Converted<UTF8>{conversionOK, 1, {0xF7, 0xBF, 0xBF, 0xBF}}));
    }
}

TEST(ConvertUTF, KeepsGoingOnBehindValuesAboveUnicodeWhereStrict)
{
    std::vector<UTF32> const source{0x110000, 'A'};
    EXPECT_EQ(Call<UTF16>(With(ConvertUTF32toUTF16, strictConversion), source, 9, 0),
              (Converted<UTF16>{sourceIllegal, 2, {'A'}}));
    EXPECT_EQ(Call<UTF16>(With(ConvertUTF32toUTF16, lenientConversion), source, 9, 0),
              (Converted<UTF16>{conversionOK, 2, {0xFFFD, 'A'}}));
    // Running out of room takes the place of what was remembered.
    std::vector<UTF32> const longer{0x110000, 'A', 'B'};
    EXPECT_EQ(Call<UTF16>(With(ConvertUTF32toUTF16, strictConversion), longer, 1, 0),
              (Converted<UTF16>{targetExhausted, 2, {'A'}}));
}

TEST(ConvertUTF, GoesOnFromItsCursorsWithMoreRoom)
{
    std::vector<UTF8> const source = Repeated(Bytes("aé日😀"), 200);
    Converted<UTF16> const whole = NaiveUTF8toUTF16(source, kAmple, strictConversion);
    for (size_t room = 2; room < 40; ++room) {
        std::vector<UTF16> written;
        UTF8 const* cursor = source.data();
        UTF8 const* const end = source.data() + source.size();
        ConversionResult result = targetExhausted;
        while (result == targetExhausted) {
            std::vector<UTF16> part(room);
            UTF16* partEnd = part.data();
            result =
                ConvertUTF8toUTF16(&cursor, end, &partEnd, part.data() + room, strictConversion);
            written.insert(written.end(), part.data(), partEnd);
        }
        EXPECT_EQ(result, conversionOK);
        EXPECT_EQ(written, whole.mWritten) << "in parts of " << room;
    }
}

TEST(ConvertUTF, CountsUnitsLikeTheConversionOfWellFormedText)
{
    for (std::vector<UTF8> const& filler : Fillers8()) {
        std::vector<UTF8> const text = Repeated(filler, 100);
        size_t const units = NaiveUTF8toUTF16(text, kAmple, strictConversion).mWritten.size();
        EXPECT_EQ(
            ComputeUTF16LengthFromUTF8(text.data(), text.data() + text.size(), strictConversion),
            units);
    }
}

TEST(ConvertUTF, CountsMalformedTextUnlessStrict)
{
    struct Case
    {
        char const* mWhat;
        std::vector<UTF8> mSource;
        unsigned long mStrict, mLenient;
    };

    Case const cases[] = {
        {"nothing", {}, 0, 0},
        {"a sequence that runs past the end", {'a', 0xE2, 0x82}, 0, 0},
        {"a stray continuation byte", {0x80}, 1, 1},
        {"a surrogate", {'a', 0xED, 0xA0, 0x80}, 0, 2},
        {"above Unicode", {0xF4, 0x90, 0x80, 0x80, 'a'}, 0, 2},
        {"overlong", {0xC0, 0x80}, 1, 1},
        {"below zero", {0xC0, 0x00}, 0, 1},
        {"the last of Unicode", {0xF4, 0x8F, 0xBF, 0xBF}, 2, 2},
        {"a lead byte of five with its room", {'a', 0xF8, 0x80, 0x80, 0x80, 0x80}, 0, 0},
        {"a lead byte of six without", {'a', 0xFF}, 0, 0},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        UTF8 const* const end = c.mSource.data() + c.mSource.size();
        EXPECT_EQ(ComputeUTF16LengthFromUTF8(c.mSource.data(), end, strictConversion), c.mStrict);
        EXPECT_EQ(ComputeUTF16LengthFromUTF8(c.mSource.data(), end, lenientConversion), c.mLenient);
        EXPECT_EQ(ComputeUTF16LengthFromUTF8(c.mSource.data(), end, lenientReplaceConversion),
                  c.mLenient);
    }
}

TEST(ConvertUTF, CallsEmptyRangesWhatTheyAre)
{
    EXPECT_FALSE(isLegalUTF8Sequence(nullptr, nullptr));
    EXPECT_TRUE(isLegalUTF16Sequence(nullptr, nullptr));
    EXPECT_EQ(ComputeUTF16LengthFromUTF8(nullptr, nullptr, strictConversion), 0U);
}

TEST(ConvertUTF, LooksAtOneSequenceOnly)
{
    std::vector<UTF8> const source{0xE2, 0x82, 0xAC, 0xFF};
    EXPECT_TRUE(isLegalUTF8Sequence(source.data(), source.data() + 4));
    EXPECT_TRUE(isLegalUTF8Sequence(source.data(), source.data() + 3));
    EXPECT_FALSE(isLegalUTF8Sequence(source.data(), source.data() + 2));
}
