#include "text/simd/TextKernels.h"

#include "text/ConvertUTF.h"

#include "testing/StFencedMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr ConversionFlags kAllFlags[] = {strictConversion, lenientConversion,
                                         lenientReplaceConversion};

// Two blocks of the widest kernels and some more, so that every place of a block is passed.
constexpr size_t kPlaces = 140;

template <class In, class Out>
using Routine = ConversionResult (*)(In const**, In const*, Out**, Out*, ConversionFlags);

// What a routine answers and how far its cursors got.
struct Outcome
{
    ConversionResult mResult;
    size_t mConsumed;
    size_t mWritten;

    bool operator==(Outcome const&) const = default;
};

template <class In, class Out>
Outcome Convert(Routine<In, Out> routine,
                In const* source,
                size_t size,
                Out* target,
                size_t capacity,
                ConversionFlags flags)
{
    In const* sourceCursor = source;
    Out* targetCursor = target;
    ConversionResult const result =
        routine(&sourceCursor, source + size, &targetCursor, target + capacity, flags);
    return {result, static_cast<size_t>(sourceCursor - source),
            static_cast<size_t>(targetCursor - target)};
}

template <class Unit>
std::string Hex(std::vector<Unit> const& units)
{
    std::string text;
    for (Unit const unit : units) {
        char digits[8];
        std::snprintf(digits, sizeof digits, "%02X ", unsigned{unit});
        text += digits;
    }
    return text;
}

// Holds one level's kernels against the plain ones.
template <class In, class Out>
class CComparison
{
public:
    CComparison(TextKernels const& kernels, Routine<In, Out> routine)
        : mKernels(kernels)
        , mRoutine(routine)
    {
    }

    // Where the source and the target stand in memory, in units from the start of a page, or at
    // its end where no offset is given.
    static constexpr size_t kAtEnd = ~size_t{0};

    // Tells the first difference only.
    bool Agrees(std::vector<In> const& source,
                size_t capacity,
                ConversionFlags flags,
                size_t sourceOffset = kAtEnd,
                size_t targetOffset = kAtEnd)
    {
        In* const from = Place<In>(mSource, source.size(), sourceOffset);
        Out* const to = Place<Out>(mTarget, capacity, targetOffset);
        std::copy(source.begin(), source.end(), from);
        mExpected.resize(capacity);

        StTextKernels const plain(kPlainTextKernels);
        Outcome const expected =
            Convert(mRoutine, from, source.size(), mExpected.data(), capacity, flags);
        StTextKernels const held(mKernels);
        Outcome const done = Convert(mRoutine, from, source.size(), to, capacity, flags);
        if (done == expected && std::equal(to, to + done.mWritten, mExpected.begin())) return true;
        ADD_FAILURE() << mKernels.mName << ", flags " << flags << ", into " << capacity
                      << " units, of " << Hex(source) << "\n is result " << done.mResult
                      << ", consumed " << done.mConsumed << ", wrote "
                      << Hex(std::vector<Out>(to, to + done.mWritten)) << "\n must "
                      << expected.mResult << ", consumed " << expected.mConsumed << ", wrote "
                      << Hex(std::vector<Out>(mExpected.begin(),
                                              mExpected.begin() +
                                                  static_cast<ptrdiff_t>(expected.mWritten)));
        return false;
    }

private:
    template <class Unit>
    static Unit* Place(StFencedMemory& memory, size_t size, size_t offset)
    {
        return offset == kAtEnd ? memory.AtEnd<Unit>(size) : memory.AtStart<Unit>(offset);
    }

    TextKernels const& mKernels;
    Routine<In, Out> mRoutine;
    StFencedMemory mSource;
    StFencedMemory mTarget;
    std::vector<Out> mExpected;
};

using ToUTF16 = CComparison<UTF8, UTF16>;
using ToUTF8 = CComparison<UTF16, UTF8>;

template <class Unit>
using Texts = std::vector<std::vector<Unit>>;

constexpr char16_t const* kFillers[] = {
    u"a",     u"é",  u"日",        u"😀", u"привет мир ", u"ab é cd ef gh — ij ", u"日本語 text, ",
    u"aé日😀", u"\0", u"한국어 글 "};

std::vector<UTF16> Units(std::u16string const& text)
{
    return {text.begin(), text.end()};
}

std::vector<UTF8> Bytes(std::vector<UTF16> const& units)
{
    std::vector<UTF8> bytes(3 * units.size());
    Outcome const done = Convert(ConvertUTF16toUTF8, units.data(), units.size(), bytes.data(),
                                 bytes.size(), strictConversion);
    EXPECT_EQ(done.mResult, conversionOK);
    bytes.resize(done.mWritten);
    return bytes;
}

template <class Unit>
std::vector<Unit> Repeated(std::vector<Unit> const& piece, size_t length)
{
    std::vector<Unit> text;
    while (text.size() < length)
        text.insert(text.end(), piece.begin(), piece.end());
    return text;
}

Texts<UTF16> Fillers16()
{
    Texts<UTF16> fillers;
    for (char16_t const* const filler : kFillers)
        fillers.push_back(Units(*filler ? std::u16string(filler) : std::u16string(1, u'\0')));
    return fillers;
}

Texts<UTF8> Fillers8()
{
    Texts<UTF8> fillers;
    for (std::vector<UTF16> const& filler : Fillers16())
        fillers.push_back(Bytes(filler));
    return fillers;
}

// Every kind of well-formed, odd and malformed sequence.
Texts<UTF8> Pieces8()
{
    Texts<UTF8> pieces = {{0xC2, 0x7F},
                          {0xC2, 0xC0},
                          {0xE2, 0x82, 0x41},
                          {0xE2, 0x41, 0xAC},
                          {0xE2, 0x82, 0xC2},
                          {0xE2, 0x82, 0xAC, 0x80},
                          {0xDF, 0xBF, 0xBF},
                          {0xED, 0xA0, 0x80, 0xED, 0xB0, 0x80},
                          {0xF0, 0x9F, 0x98, 0x41},
                          {0xF0, 0x9F, 0x41, 0x80},
                          {0xF0, 0x41, 0x98, 0x80},
                          {0xF0, 0x9F, 0xF0, 0x9F},
                          {0xF0, 0x9F, 0x98, 0x80, 0x80}};
    // Each lead byte with each kind of second byte, cut after every byte.
    constexpr UTF8 kLeads[] = {0x80, 0xBF, 0xC0, 0xC1, 0xC2, 0xDF, 0xE0, 0xE1, 0xEC,
                               0xED, 0xEE, 0xEF, 0xF0, 0xF1, 0xF3, 0xF4, 0xF5, 0xF7,
                               0xF8, 0xFB, 0xFC, 0xFE, 0xFF, 0x00, 0x7F};
    constexpr UTF8 kSeconds[] = {0x80, 0x8F, 0x90, 0x9F, 0xA0, 0xBF};
    for (UTF8 const lead : kLeads) {
        pieces.push_back({lead});
        for (UTF8 const second : kSeconds) {
            pieces.push_back({lead, second});
            pieces.push_back({lead, second, 0x80});
            pieces.push_back({lead, second, 0xBF, 0xBF});
        }
    }
    return pieces;
}

Texts<UTF16> Pieces16()
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
            {0xFFFF},
            {0xD800, 0xDC00},
            {0xDBFF, 0xDFFF},
            {0xDC00, 0xD800},
            {0xD800, 0xD800},
            {0xD83D, 0x0041},
            {0xD800, 0xD800, 0xDC00},
            {0xD800, 0xDC00, 0xDC00}};
}

template <class Unit>
std::vector<Unit> Inserted(std::vector<Unit> text, size_t place, std::vector<Unit> const& piece)
{
    text.insert(text.begin() + static_cast<ptrdiff_t>(place), piece.begin(), piece.end());
    return text;
}

template <class Unit>
std::vector<Unit> Cut(std::vector<Unit> const& text, size_t from, size_t to)
{
    return {text.begin() + static_cast<ptrdiff_t>(from), text.begin() + static_cast<ptrdiff_t>(to)};
}

// All of them are the same in both directions. `kMost` is how many units of the target one of the
// source comes to at the most.

template <size_t kMost, class In, class Out>
bool AgreesOnPieces(CComparison<In, Out> held, Texts<In> const& fillers, Texts<In> const& pieces)
{
    for (std::vector<In> const& filler : fillers) {
        std::vector<In> const text = Repeated(filler, kPlaces + 20);
        // Every place among characters of one kind, and one of three among others.
        size_t const step = filler.size() > 4 ? 3 : 1;
        for (std::vector<In> const& piece : pieces) {
            // Into the midst of characters too, which is another way of malforming them.
            for (size_t place = 0; place < kPlaces; place += step) {
                std::vector<In> const source = Inserted(text, place, piece);
                auto const flags = kAllFlags[place / step % 3];
                if (!held.Agrees(source, kMost * source.size(), flags)) return false;
                if (place > 70) continue;
                std::vector<In> const last = Cut(source, 0, place + piece.size());
                if (!held.Agrees(last, kMost * last.size(), flags)) return false;
            }
        }
    }
    return true;
}

template <size_t kMost, class In, class Out>
bool AgreesOnFlags(CComparison<In, Out> held, Texts<In> const& pieces)
{
    for (ConversionFlags const flags : kAllFlags) {
        for (std::vector<In> const& piece : pieces) {
            for (std::vector<In> const& other : pieces) {
                std::vector<In> const source =
                    Inserted(Inserted(std::vector<In>(70, 'a'), 66, piece), 3, other);
                if (!held.Agrees(source, kMost * source.size(), flags)) return false;
            }
        }
    }
    return true;
}

template <size_t kMost, class In, class Out>
bool AgreesOnCuts(CComparison<In, Out> held, Texts<In> const& fillers)
{
    for (std::vector<In> const& filler : fillers) {
        std::vector<In> const text = Repeated(filler, kPlaces);
        for (size_t cut = 0; cut <= text.size(); ++cut) {
            std::vector<In> const source = Cut(text, 0, cut);
            if (!held.Agrees(source, kMost * cut, strictConversion, 0, 0)) return false;
            size_t const step = cut % 8 == 0 || cut < 70 ? 1 : 7;
            for (size_t capacity = 0; capacity <= kMost * cut + 1; capacity += step) {
                if (!held.Agrees(source, capacity, strictConversion)) return false;
            }
        }
    }
    return true;
}

template <size_t kMost, class In, class Out>
bool AgreesFromOffsets(CComparison<In, Out> held, Texts<In> const& fillers)
{
    for (std::vector<In> const& filler : fillers) {
        std::vector<In> const text = Repeated(filler, kPlaces);
        for (size_t from = 0; from < 64; ++from) {
            for (size_t to = 0; to < 64; to += 3) {
                if (!held.Agrees(text, kMost * text.size(), strictConversion, from, to))
                    return false;
            }
        }
    }
    return true;
}

// Texts that stop being of one kind at any place, with something malformed in one of three.
template <size_t kMost, class In, class Out>
bool AgreesOnMixtures(CComparison<In, Out> held, Texts<In> const& fillers, Texts<In> const& pieces)
{
    std::mt19937 random(20200310);
    auto const pick = [&random](size_t below) { return random() % below; };
    for (int round = 0; round < 6000; ++round) {
        std::vector<In> source;
        size_t const length = pick(500);
        while (source.size() < length) {
            std::vector<In> const run = Repeated(fillers[pick(fillers.size())], 1 + pick(90));
            source.insert(source.end(), run.begin(), run.end());
        }
        if (pick(3) == 0) source = Inserted(source, pick(length + 1), pieces[pick(pieces.size())]);
        size_t const ample = kMost * source.size();
        size_t const capacity = pick(2) == 0 ? ample : pick(ample + 1);
        if (!held.Agrees(source, capacity, kAllFlags[pick(3)])) return false;
    }
    return true;
}

// Neither reads nor writes where one of the cursors stands behind its end, or both do.
template <class In, class Out>
bool TakesNothing(Routine<In, Out> routine, Texts<In> const& fillers)
{
    constexpr ptrdiff_t kMiddle = 300;
    constexpr ptrdiff_t kRooms[] = {-kMiddle, -64, -1, 0, 1, kMiddle};
    for (std::vector<In> const& filler : fillers) {
        std::vector<In> const text = Repeated(filler, 2 * kMiddle);
        std::vector<Out> target(2 * kMiddle);
        auto const takesNothing = [&](ptrdiff_t from, ptrdiff_t left, ptrdiff_t room,
                                      ConversionResult expected) {
            In const* const source = text.data() + from;
            In const* sourceCursor = source;
            Out* const written = target.data() + kMiddle;
            Out* targetCursor = written;
            ConversionResult const result = routine(&sourceCursor, source + left, &targetCursor,
                                                    written + room, strictConversion);
            return result == expected && sourceCursor == source && targetCursor == written;
        };
        for (ptrdiff_t const room : kRooms) {
            for (ptrdiff_t const left : {-kMiddle, ptrdiff_t{-64}, ptrdiff_t{-1}}) {
                if (!takesNothing(kMiddle, left, room, conversionOK)) return false;
            }
            for (ptrdiff_t const left : {ptrdiff_t{20}, ptrdiff_t{100}, kMiddle}) {
                if (room <= 0 && !takesNothing(0, left, room, targetExhausted)) return false;
            }
        }
        if (target != std::vector<Out>(target.size())) return false;
    }
    return true;
}

class UTFKernelsTest : public testing::TestWithParam<char const*>
{
protected:
    void SetUp() override
    {
        for (TextKernels const* const kernels : GetAllTextKernels()) {
            if (std::strcmp(kernels->mName, GetParam()) == 0) mKernels = kernels;
        }
        if (!mKernels) GTEST_SKIP() << "this processor has no " << GetParam();
    }

    ToUTF16 From8() const { return {*mKernels, ConvertUTF8toUTF16}; }

    ToUTF8 From16() const { return {*mKernels, ConvertUTF16toUTF8}; }

    TextKernels const* mKernels = nullptr;  // not owned
};

INSTANTIATE_TEST_SUITE_P(Levels,
                         UTFKernelsTest,
                         testing::Values("AVX-512 VBMI2", "AVX2", "SSE4.2", "NEON"));

}  // namespace

TEST_P(UTFKernelsTest, AgreeWithPlainOnesOnEveryPieceAtEveryPlace)
{
    EXPECT_TRUE(AgreesOnPieces<1>(From8(), Fillers8(), Pieces8()));
    EXPECT_TRUE(AgreesOnPieces<3>(From16(), Fillers16(), Pieces16()));
}

TEST_P(UTFKernelsTest, AgreeWithPlainOnesUnderEveryFlag)
{
    EXPECT_TRUE(AgreesOnFlags<1>(From8(), Pieces8()));
    EXPECT_TRUE(AgreesOnFlags<3>(From16(), Pieces16()));
}

TEST_P(UTFKernelsTest, AgreeWithPlainOnesAtEveryCutAndCapacity)
{
    EXPECT_TRUE(AgreesOnCuts<1>(From8(), Fillers8()));
    EXPECT_TRUE(AgreesOnCuts<3>(From16(), Fillers16()));
}

TEST_P(UTFKernelsTest, AgreeWithPlainOnesFromEveryOffset)
{
    EXPECT_TRUE(AgreesFromOffsets<1>(From8(), Fillers8()));
    EXPECT_TRUE(AgreesFromOffsets<3>(From16(), Fillers16()));
}

TEST_P(UTFKernelsTest, AgreeWithPlainOnesOnMixtures)
{
    EXPECT_TRUE(AgreesOnMixtures<1>(From8(), Fillers8(), Pieces8()));
    EXPECT_TRUE(AgreesOnMixtures<3>(From16(), Fillers16(), Pieces16()));
}

// A lane goes wrong for some values alone, if it does.
TEST_P(UTFKernelsTest, AgreeWithPlainOnesOnEveryCharacter)
{
    ToUTF16 from8 = From8();
    ToUTF8 from16 = From16();
    for (unsigned int first = 0; first < 0x110000; first += 0x100) {
        if (first >= 0xD800 && first < 0xE000) continue;
        std::vector<UTF16> units;
        for (unsigned int value = first; value < first + 0x100; ++value) {
            if (value >= 0x10000) units.push_back(static_cast<UTF16>(0xD7C0 + (value >> 10)));
            units.push_back(static_cast<UTF16>(value < 0x10000 ? value : 0xDC00 + value % 0x400));
        }
        std::vector<UTF8> const bytes = Bytes(units);
        ASSERT_TRUE(from16.Agrees(units, bytes.size(), strictConversion));
        ASSERT_TRUE(from8.Agrees(bytes, units.size(), strictConversion));
    }
}

TEST(UTFKernels, TakeNothingWhereACursorIsBehindItsEnd)
{
    Texts<UTF8> const fillers8 = Fillers8();
    for (TextKernels const* const kernels : GetAllTextKernels()) {
        SCOPED_TRACE(kernels->mName);
        StTextKernels const held(*kernels);
        EXPECT_TRUE(TakesNothing(ConvertUTF8toUTF16, fillers8));
        EXPECT_TRUE(TakesNothing(ConvertUTF16toUTF8, Fillers16()));
    }
}

TEST(UTFKernels, AreThoseOfTheFastestLevelUnlessAGuardSaysOtherwise)
{
    TextKernels const* const fastest = GetAllTextKernels().back();
    EXPECT_EQ(&GetTextKernels(), fastest);
    {
        StTextKernels const plain(kPlainTextKernels);
        EXPECT_EQ(&GetTextKernels(), &kPlainTextKernels);
        StTextKernels const inner(*fastest);
        EXPECT_EQ(&GetTextKernels(), fastest);
    }
    EXPECT_EQ(&GetTextKernels(), fastest);
}
