// How often ICU's converters are opened.
#include "text/CCharsetConverter.h"

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <unicode/ucnv.h>

// ICU puts its version behind the names of its functions.
#define JOINED(a, b) a##b
#define WRAP(function) JOINED(__wrap_, function)
#define REAL(function) JOINED(__real_, function)

namespace {

std::atomic<int> sOpened{0};

// There and back, with what has to go through a converter.
bool IsSameAgain(CCharsetConverter const& converter)
{
    std::string const bytes = "\x93\xFA\x96{ Shift_JIS";
    std::u16string text;
    std::string again;
    converter.mImp->ToUnicode(bytes, &text);
    converter.mImp->FromUnicode(text, &again);
    return text == u"\u65E5\u672C Shift_JIS" && again == bytes;
}

}  // namespace

extern "C" {
UConverter* REAL(ucnv_open)(char const* name, UErrorCode* error);
UConverter* WRAP(ucnv_open)(char const* name, UErrorCode* error);

UConverter* WRAP(ucnv_open)(char const* name, UErrorCode* error)
{
    ++sOpened;
    return REAL(ucnv_open)(name, error);
}
}

TEST(CICUCharset, IsOpenedOnceForAllTextsOfAThread)
{
    CCharsetConverter converter;
    converter.SetCharset("Shift_JIS");
    ASSERT_TRUE(IsSameAgain(converter));
    int const opened = sOpened;
    EXPECT_GE(opened, 1);
    for (int i = 0; i < 100; ++i) {
        CCharsetConverter other;
        other.SetCharset("x-shift-jis-of-no-kind");
        other.SetCharset("Shift_JIS");
        ASSERT_TRUE(IsSameAgain(converter) && IsSameAgain(other));
    }
    EXPECT_EQ(sOpened, opened);
}

TEST(CICUCharset, IsOpenedOnceForEachThreadThatMeetsAnother)
{
    constexpr int kThreads = 4;
    CCharsetConverter converter;
    converter.SetCharset("Shift_JIS");
    int const before = sOpened;
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i) {
        threads.emplace_back([&] {
            for (int k = 0; k < 500; ++k)
                wrong += IsSameAgain(converter) ? 0 : 1;
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_LE(sOpened - before, kThreads);
}
