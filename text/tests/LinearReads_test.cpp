// How often the operations on a whole text come back to what they have read: a page of the text is
// opened when it is touched and closed again when some later ones were, and each opening counts.
// What costs more than its length in time reads its text again and again, and is found out here
// without a clock.
#include "marl/amortizedmemblock.h"
#include "security/CBase64Encoder.h"
#include "testing/StTempDir.h"
#include "text/CCharsetConverter.h"
#include "text/CUTFConverter.h"
#include "text/CUnicodeCategoriesTable.h"
#include "text/CUnicodeCategoryTable.h"
#include "text/CUnicodeMappingTable.h"
#include "text/CUnicodeWordDelimiter.h"
#include "text/LanguageGuesser.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

namespace {

constexpr std::size_t kPages = 64;
// Several passes are linear too.
constexpr int kMostOpenings = 3 * kPages;

// A text that counts how often its pages are opened. One at a time.
class StCountedText
{
public:
    // Of `kPages` pages: `piece` over and over, and zeros at the end, since raw words are only
    // found there in front of a gap.
    StCountedText(void const* piece, std::size_t size)
        : mPageSize(static_cast<std::size_t>(sysconf(_SC_PAGESIZE)))
        , mStart(static_cast<char*>(
              mmap(nullptr, Size(), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0)))
    {
        EXPECT_NE(mStart, MAP_FAILED);
        for (std::size_t at = 0; at + size < Size(); at += size)
            std::memcpy(mStart + at, piece, size);
        EXPECT_EQ(mprotect(mStart, Size(), PROT_NONE), 0);
        sCurrent = this;
        struct sigaction action = {};
        action.sa_sigaction = Open;
        action.sa_flags = SA_SIGINFO | SA_NODEFER;
        EXPECT_EQ(sigaction(SIGSEGV, &action, &mFormerSegment), 0);
        EXPECT_EQ(sigaction(SIGBUS, &action, &mFormerBus), 0);
    }

    StCountedText(StCountedText const&) = delete;
    StCountedText& operator=(StCountedText const&) = delete;

    ~StCountedText()
    {
        sigaction(SIGSEGV, &mFormerSegment, nullptr);
        sigaction(SIGBUS, &mFormerBus, nullptr);
        sCurrent = nullptr;
        munmap(mStart, Size());
    }

    std::size_t Size() const { return kPages * mPageSize; }

    char const* Bytes() const { return mStart; }

    int Length8() const { return static_cast<int>(Size()); }

    char16_t const* Units() const { return reinterpret_cast<char16_t const*>(mStart); }

    int Length16() const { return static_cast<int>(Size() / sizeof(char16_t)); }

    int CountOpenings() const { return mOpenings; }

private:
    // As many as an operation looks at together.
    static constexpr std::size_t kOpen = 8;

    static void Open(int signal, siginfo_t* info, void*)
    {
        auto* const at = static_cast<char*>(info->si_addr);
        bool const isOurs =
            sCurrent && at >= sCurrent->mStart && at < sCurrent->mStart + sCurrent->Size();
        if (isOurs)
            sCurrent->OpenPage(static_cast<std::size_t>(at - sCurrent->mStart));
        else
            ::signal(signal, SIG_DFL);  // it comes again, and ends the test
    }

    void OpenPage(std::size_t offset)
    {
        char*& place = mOpened[static_cast<std::size_t>(mOpenings++) % kOpen];
        if (place) mprotect(place, mPageSize, PROT_NONE);
        place = mStart + offset / mPageSize * mPageSize;
        mprotect(place, mPageSize, PROT_READ);
    }

    std::size_t mPageSize;
    char* mStart;                        // owned
    std::array<char*, kOpen> mOpened{};  // null before so many were open
    int mOpenings = 0;
    struct sigaction mFormerSegment = {};
    struct sigaction mFormerBus = {};

    static StCountedText* sCurrent;  // not owned
};

StCountedText* StCountedText::sCurrent = nullptr;

// A block whose bytes are the text's.
class CTextBlock : public memblock
{
public:
    explicit CTextBlock(StCountedText const& text)
    {
        mData = const_cast<char*>(text.Bytes());
        mSize = mCapacity = text.Size();
    }

    CTextBlock(CTextBlock const&) = delete;
    CTextBlock& operator=(CTextBlock const&) = delete;

    ~CTextBlock() override
    {
        mData = nullptr;
        mSize = mCapacity = 0;
    }
};

CUnicodeMappingTable& Table()
{
    return *CUnicodeMappingTable::GetDefaultTable();
}

void* Guesser()
{
    static void* const sGuesser = [] {
        StTempDir const folder;
        folder.Write("one.lm", "Language: one\nCharset: utf-8\n_t\t50\nhe\t40\n");
        void* const guesser = mguesserAlloc();
        mguesserLoadDefinitions(guesser, folder.Path().c_str(), nullptr);
        return guesser;  // lives to the end of the process
    }();
    return sGuesser;
}

struct Operation
{
    char const* mWhat;
    void (*mRun)(StCountedText const&);
};

constexpr auto kLenient = CUTFConverter::kLenientMode;

constexpr Operation kOnBytes[] = {
    {"UTF-8 to UTF-16",
     [](StCountedText const& text) {
         std::u16string target;
         CUTFConverter::ConvertUTF8toUTF16(text.Bytes(), text.Length8(), target, kLenient);
     }},
    {"Base64",
     [](StCountedText const& text) {
         memblock target;
         CBase64Encoder::Encode(CTextBlock(text), &target, true);
     }},
    {"Base64 decoded",
     [](StCountedText const& text) {
         memblock target;
         CBase64Encoder::Decode(CTextBlock(text), &target, nullptr);
     }},
    {"tests of bytes",
     [](StCountedText const& text) {
         bool flags[3] = {};
         CCharsetConverter::SniffUTF16(text.Bytes(), text.Length8(), &flags[0], &flags[1],
                                       &flags[2]);
     }},
    {"a test of bytes for a charset",
     [](StCountedText const& text) {
         CCharsetConverter::CanConvertFromCP_1251(text.Bytes(), text.Length8());
     }},
    {"language",
     [](StCountedText const& text) {
         mguesserParseDataLen(Guesser(), text.Bytes(), text.Length8(), nullptr, nullptr);
     }},
};

constexpr Operation kOnUnits[] = {
    {"UTF-16 to UTF-8",
     [](StCountedText const& text) {
         std::string target;
         CUTFConverter::ConvertUTF16toUTF8(text.Units(), text.Length16(), target, kLenient);
     }},
    {"MapText with offsets",
     [](StCountedText const& text) {
         std::u16string target;
         std::vector<int> offsets;
         Table().MapText(text.Units(), text.Length16(), target, offsets);
     }},
    {"HasMappableText",
     [](StCountedText const& text) { Table().HasMappableText(text.Units(), text.Length16()); }},
    {"FindMappedText",
     [](StCountedText const& text) {
         int at = 0;
         int length = 0;
         for (char16_t const* const needle : {u"the lazy dog?", u"abcdefghijklmnopqrstuvwxyza?"})
             Table().FindMappedText(text.Units(), text.Length16(), 0, at, length, needle,
                                    static_cast<int>(std::char_traits<char16_t>::length(needle)));
     }},
    {"mapped words",
     [](StCountedText const& text) {
         unsigned int start = 0;
         unsigned int rawLength = 0;
         unsigned int mappedLength = 0;
         amortizedmemblock block;
         auto& delimiter = *CUnicodeWordDelimiter::GetDefaultDelimiter();
         while (delimiter.GetNextMappedWordInRawText(
             text.Units(), static_cast<unsigned int>(text.Length16()), Table(), start, rawLength,
             block, mappedLength)) {}
     }},
    {"raw words",
     [](StCountedText const& text) {
         unsigned int start = 0;
         unsigned int length = 0;
         auto& delimiter = *CUnicodeWordDelimiter::GetDefaultDelimiter();
         while (delimiter.GetNextWord(text.Units(), static_cast<unsigned int>(text.Length16()),
                                      start, length)) {}
     }},
    {"a search for a category",
     [](StCountedText const& text) {
         unsigned int at = 0;
         CUnicodeCategoriesTable::FindFirstOfCategories(
             at, text.Units(), text.Length16(),
             CUnicodeCategoriesTable::MaskOf(CUnicodeCategoriesTable::kCo), 0, false);
     }},
    {"a search for a category from the end",
     [](StCountedText const& text) {
         unsigned int at = 0;
         CUnicodeCategoryTable::GetNSMTable()->FindLastOfCategory(text.Units(), text.Length16(),
                                                                  at);
     }},
};

// What each operation finds easy, and what it finds hard.
constexpr std::u16string_view kSamples[] = {
    u"the lazy dog, is",
    u"abcdefghijklmnop",
    u"aaaaaaaaaaaaaaaa",
    u"                ",
    u"\u6F22\u5B57\u4EEE\u540D\u6F22\u5B57\u4EEE\u540D",
    u"\U0001F600\U0001F601\U0001F600\U0001F601",
    u"\uFDFA x \uFDFA y",
    u"stra\u00DFe x",
    u"e\u0301\u0302\u0303e\u0301\u0302\u0303",
};

TEST(LinearReads, AreToldFromOthers)
{
    char const piece[16] = {};
    StCountedText const text(piece, sizeof piece);
    char volatile const* const bytes = text.Bytes();
    for (std::size_t at = 0; at < text.Size(); ++at)
        static_cast<void>(bytes[at]);
    EXPECT_EQ(text.CountOpenings(), static_cast<int>(kPages));
    // Back to the start for each page.
    for (std::size_t end = 0; end <= text.Size(); end += text.Size() / kPages) {
        for (std::size_t at = 0; at < end; at += 64)
            static_cast<void>(bytes[at]);
    }
    EXPECT_GT(text.CountOpenings(), static_cast<int>(kPages * kPages / 3));
}

TEST(LinearReads, AreAllThatBytesNeed)
{
    for (std::u16string_view const sample : kSamples) {
        std::string piece;
        CUTFConverter::ConvertUTF16toUTF8(std::u16string(sample), piece, kLenient);
        for (Operation const& c : kOnBytes) {
            SCOPED_TRACE(std::string(c.mWhat) + ", " + piece);
            StCountedText const text(piece.data(), piece.size());
            c.mRun(text);
            EXPECT_LE(text.CountOpenings(), kMostOpenings);
        }
    }
}

TEST(LinearReads, AreAllThatUnitsNeed)
{
    for (std::u16string_view const sample : kSamples) {
        std::string shown;
        CUTFConverter::ConvertUTF16toUTF8(std::u16string(sample), shown, kLenient);
        for (Operation const& c : kOnUnits) {
            SCOPED_TRACE(std::string(c.mWhat) + ", " + shown);
            StCountedText const text(sample.data(), sample.size() * sizeof(char16_t));
            c.mRun(text);
            EXPECT_LE(text.CountOpenings(), kMostOpenings);
        }
    }
}

}  // namespace
