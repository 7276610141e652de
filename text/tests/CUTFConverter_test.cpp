#include "text/CUTFConverter.h"

#include "testing/NaiveUTF.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace {

using Mode = CUTFConverter::ConversionMode;
constexpr Mode kBothModes[] = {CUTFConverter::kStrictMode, CUTFConverter::kLenientMode};

ConversionFlags FlagsOf(Mode mode)
{
    return mode == CUTFConverter::kStrictMode ? strictConversion : lenientReplaceConversion;
}

std::u16string Naive16(std::string const& source, Mode mode)
{
    auto const done =
        NaiveUTF8toUTF16({source.begin(), source.end()}, source.size() + 1, FlagsOf(mode));
    if (done.mResult != conversionOK) return {};
    return {done.mWritten.begin(), done.mWritten.end()};
}

std::string Naive8(std::u16string const& source, Mode mode)
{
    auto const done =
        NaiveUTF16toUTF8({source.begin(), source.end()}, 3 * source.size() + 1, FlagsOf(mode));
    if (done.mResult != conversionOK) return {};
    return {done.mWritten.begin(), done.mWritten.end()};
}

struct Free
{
    void operator()(void* block) const { std::free(block); }
};

template <class Unit>
using Block = std::unique_ptr<Unit, Free>;

}  // namespace

TEST(CUTFConverter, ConvertsUTF8)
{
    struct Case
    {
        char const* mWhat;
        std::string mSource;
        Mode mMode;
        bool mIsConverted;
        std::u16string mExpected;
    };

    Case const cases[] = {
        {"nothing, strict", "", CUTFConverter::kStrictMode, true, u""},
        {"nothing, lenient", "", CUTFConverter::kLenientMode, true, u""},
        {"all lengths", "aé日😀", CUTFConverter::kStrictMode, true, u"aé日😀"},
        {"a null byte", std::string("a\0b", 3), CUTFConverter::kStrictMode, true,
         std::u16string(u"a\0b", 3)},
        {"a stray byte, lenient", "abc\x80", CUTFConverter::kLenientMode, false, u""},
        {"a stray byte, strict", "abc\x80", CUTFConverter::kStrictMode, false, u""},
        {"a cut sequence, lenient", "abc\xE2\x82", CUTFConverter::kLenientMode, false, u""},
        {"a surrogate, lenient", "\xED\xA0\x80", CUTFConverter::kLenientMode, true, u"\xFFFD"},
        {"a surrogate, strict", "a\xED\xA0\x80", CUTFConverter::kStrictMode, false, u""},
        {"two surrogates make no pair", "\xED\xA0\x80\xED\xB0\x80", CUTFConverter::kLenientMode,
         true, u"\xFFFD\xFFFD"},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        std::u16string target = u"what was there";
        EXPECT_EQ(CUTFConverter::ConvertUTF8toUTF16(c.mSource, target, c.mMode), c.mIsConverted);
        EXPECT_EQ(target, c.mExpected);
        target = u"what was there";
        auto const length = static_cast<int>(c.mSource.size());
        EXPECT_EQ(CUTFConverter::ConvertUTF8toUTF16(c.mSource.data(), length, target, c.mMode),
                  c.mIsConverted);
        EXPECT_EQ(target, c.mExpected);
    }
}

TEST(CUTFConverter, ConvertsUTF16)
{
    struct Case
    {
        char const* mWhat;
        std::u16string mSource;
        Mode mMode;
        bool mIsConverted;
        std::string mExpected;
    };

    Case const cases[] = {
        {"nothing, strict", u"", CUTFConverter::kStrictMode, true, ""},
        {"nothing, lenient", u"", CUTFConverter::kLenientMode, true, ""},
        {"all lengths", u"aé日😀", CUTFConverter::kStrictMode, true, "aé日😀"},
        {"a null unit", std::u16string(u"a\0b", 3), CUTFConverter::kStrictMode, true,
         std::string("a\0b", 3)},
        {"a high surrogate ahead of another unit, lenient", u"\xD800x", CUTFConverter::kLenientMode,
         true, "\xEF\xBF\xBDx"},
        {"a high surrogate ahead of another unit, strict", u"a\xD800x", CUTFConverter::kStrictMode,
         false, ""},
        {"a low surrogate, lenient", u"x\xDC00", CUTFConverter::kLenientMode, true,
         "x\xEF\xBF\xBD"},
        {"a low surrogate, strict", u"x\xDC00", CUTFConverter::kStrictMode, false, ""},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        std::string target = "what was there";
        EXPECT_EQ(CUTFConverter::ConvertUTF16toUTF8(c.mSource, target, c.mMode), c.mIsConverted);
        EXPECT_EQ(target, c.mExpected);
        target = "what was there";
        auto const length = static_cast<int>(c.mSource.size());
        EXPECT_EQ(CUTFConverter::ConvertUTF16toUTF8(c.mSource.data(), length, target, c.mMode),
                  c.mIsConverted);
        EXPECT_EQ(target, c.mExpected);
    }
}

TEST(CUTFConverter, KeepsHighSurrogateAtTheEnd)
{
    for (Mode const mode : kBothModes) {
        std::string target;
        EXPECT_TRUE(CUTFConverter::ConvertUTF16toUTF8(std::u16string(u"\xD800"), target, mode));
        EXPECT_EQ(target, "\xED\xA0\x80");
    }
}

TEST(CUTFConverter, TakesAnyOtherModeAsLenient)
{
    for (int const mode : {2, -1}) {
        std::string target;
        EXPECT_TRUE(CUTFConverter::ConvertUTF16toUTF8(std::u16string(u"\xD800x"), target,
                                                      static_cast<Mode>(mode)));
        EXPECT_EQ(target, "\xEF\xBF\xBDx");
    }
}

TEST(CUTFConverter, TakesNegativeLengthAsEmpty)
{
    std::u16string target16 = u"x";
    EXPECT_TRUE(CUTFConverter::ConvertUTF8toUTF16("abc", -1, target16, CUTFConverter::kStrictMode));
    EXPECT_EQ(target16, u"");
    std::string target8 = "x";
    EXPECT_TRUE(CUTFConverter::ConvertUTF16toUTF8(u"abc", -1, target8, CUTFConverter::kStrictMode));
    EXPECT_EQ(target8, "");

    char16_t* buffer = nullptr;
    int capacity = 0;
    auto const* const source = reinterpret_cast<unsigned char const*>("abc");
    EXPECT_EQ(CUTFConverter::ConvertUTF8toUTF16(source, -1, &buffer, &capacity,
                                                CUTFConverter::kStrictMode),
              0);
    std::free(buffer);
}

TEST(CUTFConverter, TakesNullAsEmptyText)
{
    std::u16string target = u"x";
    EXPECT_TRUE(CUTFConverter::ConvertUTF8toUTF16(nullptr, 0, target, CUTFConverter::kStrictMode));
    EXPECT_EQ(target, u"");
}

// Strings of every length around those at which the inner buffers change, each with what fails or
// diverts it at its start, in its middle and at its end.
TEST(CUTFConverter, GivesTheSameTextAtEveryLength)
{
    std::string const fillers[] = {"a", "é", "日", "😀", "aé日😀"};
    constexpr size_t kLengths[] = {0,   1,    2,    60,   127,  128,  300,  511, 512,
                                   513, 1023, 1024, 1025, 2047, 2048, 2049, 6000};
    std::string const pieces[] = {"", "\xED\xA0\x80", "\x80"};
    for (std::string const& filler : fillers) {
        for (std::string const& piece : pieces) {
            for (size_t const count : kLengths) {
                std::string text;
                while (text.size() < count)
                    text += filler;
                for (std::string const& source :
                     {piece + text, text + piece, text + piece + text}) {
                    for (Mode const mode : kBothModes) {
                        std::u16string const expected = Naive16(source, mode);
                        std::u16string target;
                        bool const isConverted =
                            CUTFConverter::ConvertUTF8toUTF16(source, target, mode);
                        ASSERT_EQ(isConverted, !expected.empty() || source.empty());
                        ASSERT_TRUE(target == expected) << source.size() << " bytes";

                        std::u16string const back =
                            isConverted ? target : u"x\xD800" + std::u16string(count, u'é');
                        std::string const expected8 = Naive8(back, mode);
                        std::string target8;
                        ASSERT_EQ(CUTFConverter::ConvertUTF16toUTF8(back, target8, mode),
                                  !expected8.empty() || back.empty());
                        ASSERT_TRUE(target8 == expected8) << back.size() << " units";
                    }
                }
            }
        }
    }
}

TEST(CUTFConverter, KeepsStorageOfTheTarget)
{
    std::u16string target(5000, u'x');
    char16_t const* const storage = target.data();
    std::string const source(4000, 'y');
    EXPECT_TRUE(CUTFConverter::ConvertUTF8toUTF16(source, target, CUTFConverter::kStrictMode));
    EXPECT_EQ(target, std::u16string(4000, u'y'));
    EXPECT_EQ(target.data(), storage);
}

TEST(CUTFConverter, AllocatesTheBlockThatIsMissing)
{
    struct Case
    {
        char const* mWhat;
        int mCapacity;
        int mLength;
        int mExpectedCapacity;
    };

    Case const cases[] = {
        {"no capacity", 0, 5, 128},       {"a negative one", -7, 5, 128},
        {"a small one", 127, 5, 128},     {"a larger one is taken as it is", 129, 5, 129},
        {"as much as fits", 0, 128, 128}, {"one more", 0, 129, 256},
        {"doubled twice", 0, 257, 512},   {"doubled from an odd one", 129, 259, 516},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        std::vector<unsigned char> const source8(static_cast<size_t>(c.mLength), 'a');
        int capacity = c.mCapacity;
        char16_t* buffer16 = nullptr;
        EXPECT_EQ(CUTFConverter::ConvertUTF8toUTF16(source8.data(), c.mLength, &buffer16, &capacity,
                                                    CUTFConverter::kStrictMode),
                  c.mLength);
        Block<char16_t> const block16(buffer16);
        EXPECT_EQ(capacity, c.mExpectedCapacity);
        EXPECT_EQ(std::u16string(buffer16, static_cast<size_t>(c.mLength)),
                  std::u16string(static_cast<size_t>(c.mLength), u'a'));

        std::u16string const source16(static_cast<size_t>(c.mLength), u'a');
        capacity = c.mCapacity;
        unsigned char* buffer8 = nullptr;
        EXPECT_EQ(CUTFConverter::ConvertUTF16toUTF8(source16.data(), c.mLength, &buffer8, &capacity,
                                                    CUTFConverter::kStrictMode),
                  c.mLength);
        Block<unsigned char> const block8(buffer8);
        EXPECT_EQ(capacity, c.mExpectedCapacity);
    }
}

TEST(CUTFConverter, UsesTheCallersBlockWhileItIsLargeEnough)
{
    auto* buffer = static_cast<unsigned char*>(std::malloc(3));
    unsigned char* const given = buffer;
    int capacity = 3;
    EXPECT_EQ(
        CUTFConverter::ConvertUTF16toUTF8(u"日", 1, &buffer, &capacity, CUTFConverter::kStrictMode),
        3);
    EXPECT_EQ(buffer, given);
    EXPECT_EQ(capacity, 3);
    EXPECT_EQ(std::string(buffer, buffer + 3), "日");

    EXPECT_EQ(CUTFConverter::ConvertUTF16toUTF8(u"日本", 2, &buffer, &capacity,
                                                CUTFConverter::kStrictMode),
              6);
    EXPECT_EQ(capacity, 6);
    EXPECT_EQ(std::string(buffer, buffer + 6), "日本");
    std::free(buffer);
}

TEST(CUTFConverter, LeavesTheBlockToTheCallerOnFailure)
{
    auto* buffer = static_cast<char16_t*>(std::malloc(4 * sizeof(char16_t)));
    char16_t* const given = buffer;
    int capacity = 4;
    auto const* const source = reinterpret_cast<unsigned char const*>("abc\x80");
    EXPECT_EQ(CUTFConverter::ConvertUTF8toUTF16(source, 4, &buffer, &capacity,
                                                CUTFConverter::kLenientMode),
              -1);
    EXPECT_EQ(buffer, given);
    EXPECT_EQ(capacity, 4);
    std::free(buffer);

    buffer = nullptr;
    capacity = 0;
    EXPECT_EQ(CUTFConverter::ConvertUTF8toUTF16(source, 4, &buffer, &capacity,
                                                CUTFConverter::kLenientMode),
              -1);
    EXPECT_NE(buffer, nullptr);
    EXPECT_EQ(capacity, 128);
    std::free(buffer);
}

// With capacity 0 the pointer is not looked at, so that it may be anything.
TEST(CUTFConverter, KeepsBlockWithoutCapacityUnfreed)
{
    char16_t notFromMalloc[1];
    char16_t* buffer = notFromMalloc;
    int capacity = 0;
    auto const* const source = reinterpret_cast<unsigned char const*>("ab");
    EXPECT_EQ(CUTFConverter::ConvertUTF8toUTF16(source, 2, &buffer, &capacity,
                                                CUTFConverter::kStrictMode),
              2);
    EXPECT_NE(buffer, notFromMalloc);
    EXPECT_EQ(capacity, 128);
    std::free(buffer);
}
