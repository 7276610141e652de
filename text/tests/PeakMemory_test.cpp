// How much memory the operations on a whole text hold at most at any one time, beyond what was held
// before: what their headers say, for short texts and long ones.
#include "files/CFileSpec.h"
#include "marl/amortizedmemblock.h"
#include "security/CBase64Encoder.h"
#include "testing/StTempDir.h"
#include "text/CCharsetConverter.h"
#include "text/CLanguageServices.h"
#include "text/CUTFConverter.h"
#include "text/CUnicodeCategoriesTable.h"
#include "text/CUnicodeCategoryTable.h"
#include "text/CUnicodeMappingTable.h"
#include "text/CUnicodeWordDelimiter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include <malloc.h>

namespace {

// Blocks are a little larger than what was asked for: by less than a page each.
constexpr std::size_t kRounding = 4 * 4096;

// What this thread holds more than at the start of a scope, now and at most. Scopes aren't nested.
class StHeapPeak
{
public:
    StHeapPeak() { sCurrent = this; }

    StHeapPeak(StHeapPeak const&) = delete;
    StHeapPeak& operator=(StHeapPeak const&) = delete;

    ~StHeapPeak() { sCurrent = nullptr; }

    std::size_t Get() const { return static_cast<std::size_t>(mMost); }

    static void* Count(void* block)
    {
        if (sCurrent && block) sCurrent->Add(static_cast<long long>(malloc_usable_size(block)));
        return block;
    }

    static void Uncount(void* block)
    {
        if (sCurrent && block) sCurrent->Add(-static_cast<long long>(malloc_usable_size(block)));
    }

    // Of a block that has moved, or might have: both were held.
    static void Exchange(long long former, void* block)
    {
        Count(block);
        if (sCurrent && block) sCurrent->Add(-former);
    }

private:
    void Add(long long change)
    {
        mNow += change;
        mMost = std::max(mMost, mNow);
    }

    long long mNow = 0;   // bytes
    long long mMost = 0;  // bytes

    static thread_local StHeapPeak* sCurrent;  // not owned
};

thread_local StHeapPeak* StHeapPeak::sCurrent = nullptr;

}  // namespace

extern "C" {
void* __real_malloc(std::size_t size);
void* __real_calloc(std::size_t count, std::size_t size);
void* __real_realloc(void* block, std::size_t size);
void __real_free(void* block);
void* __wrap_malloc(std::size_t size);
void* __wrap_calloc(std::size_t count, std::size_t size);
void* __wrap_realloc(void* block, std::size_t size);
void __wrap_free(void* block);

void* __wrap_malloc(std::size_t size)
{
    return StHeapPeak::Count(__real_malloc(size));
}

void* __wrap_calloc(std::size_t count, std::size_t size)
{
    return StHeapPeak::Count(__real_calloc(count, size));
}

void* __wrap_realloc(void* block, std::size_t size)
{
    auto const former = static_cast<long long>(malloc_usable_size(block));
    void* const moved = __real_realloc(block, size);
    StHeapPeak::Exchange(former, moved);
    return moved;
}

void __wrap_free(void* block)
{
    StHeapPeak::Uncount(block);
    __real_free(block);
}
}

// What the standard library calls too. All forms: the sanitizers' own don't lead to one another.
void* operator new(std::size_t size, std::nothrow_t const&) noexcept
{
    return __wrap_malloc(std::max<std::size_t>(size, 1));
}

void* operator new(std::size_t size)
{
    if (void* const block = operator new(size, std::nothrow)) return block;
    throw std::bad_alloc();
}

void* operator new(std::size_t size, std::align_val_t alignment, std::nothrow_t const&) noexcept
{
    auto const align = static_cast<std::size_t>(alignment);
    return StHeapPeak::Count(std::aligned_alloc(align, (size + align - 1) / align * align));
}

void* operator new(std::size_t size, std::align_val_t alignment)
{
    if (void* const block = operator new(size, alignment, std::nothrow)) return block;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size)
{
    return operator new(size);
}

void* operator new[](std::size_t size, std::nothrow_t const& no) noexcept
{
    return operator new(size, no);
}

void* operator new[](std::size_t size, std::align_val_t align)
{
    return operator new(size, align);
}

void* operator new[](std::size_t size, std::align_val_t align, std::nothrow_t const& no) noexcept
{
    return operator new(size, align, no);
}

void operator delete(void* block) noexcept
{
    __wrap_free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    __wrap_free(block);
}

void operator delete(void* block, std::nothrow_t const&) noexcept
{
    __wrap_free(block);
}

void operator delete(void* block, std::align_val_t) noexcept
{
    __wrap_free(block);
}

void operator delete(void* block, std::size_t, std::align_val_t) noexcept
{
    __wrap_free(block);
}

void operator delete(void* block, std::align_val_t, std::nothrow_t const&) noexcept
{
    __wrap_free(block);
}

void operator delete[](void* block) noexcept
{
    __wrap_free(block);
}

void operator delete[](void* block, std::size_t) noexcept
{
    __wrap_free(block);
}

void operator delete[](void* block, std::nothrow_t const&) noexcept
{
    __wrap_free(block);
}

void operator delete[](void* block, std::align_val_t) noexcept
{
    __wrap_free(block);
}

void operator delete[](void* block, std::size_t, std::align_val_t) noexcept
{
    __wrap_free(block);
}

void operator delete[](void* block, std::align_val_t, std::nothrow_t const&) noexcept
{
    __wrap_free(block);
}

namespace {

// One text as UTF-16, as UTF-8 and as Base64.
struct Text
{
    explicit Text(std::u16string units)
        : mUnits(std::move(units))
    {
        CUTFConverter::ConvertUTF16toUTF8(mUnits, mBytes, CUTFConverter::kStrictMode);
        mBlock.append(mBytes.data(), mBytes.size());
        CBase64Encoder::Encode(mBlock, &mBase64, true);
        CBase64Encoder::EncodeHeaderStr(mBytes, &mHeader);
    }

    int Length() const { return static_cast<int>(mUnits.size()); }

    std::u16string mUnits;
    std::string mBytes;
    memblock mBlock;
    memblock mBase64;
    std::string mHeader;
};

std::u16string Repeated(std::u16string const& piece, std::size_t length)
{
    std::u16string text;
    while (text.size() < length)
        text += piece;
    text.resize(length);
    return text;
}

CUnicodeMappingTable const& Table()
{
    return *CUnicodeMappingTable::GetDefaultTable();
}

// Of a string or a vector that begins with room for a tenth more than the text, and doubles.
std::size_t WhileGrowing(std::size_t source, std::size_t result)
{
    return std::max(source + source / 10 + 10, 3 * result);
}

std::size_t LongestMappedWord(Text const& text)
{
    unsigned int start = 0;
    unsigned int rawLength = 0;
    unsigned int mappedLength = 0;
    amortizedmemblock block;
    std::size_t longest = 0;
    auto* const delimiter = CUnicodeWordDelimiter::GetDefaultDelimiter();
    while (delimiter->GetNextMappedWordInRawText(
        text.mUnits.data(), static_cast<unsigned int>(text.mUnits.size()),
        *CUnicodeMappingTable::GetDefaultTable(), start, rawLength, block, mappedLength)) {
        longest = std::max<std::size_t>(longest, mappedLength);
    }
    return longest;
}

struct Operation
{
    char const* mWhat;
    std::size_t (*mRun)(Text const&);  // answers how many bytes it may hold
};

constexpr auto kLenient = CUTFConverter::kLenientMode;

// What gives a text or bytes.
constexpr Operation kConversions[] = {
    {"UTF-8 to UTF-16",
     [](Text const& text) {
         std::u16string target;
         CUTFConverter::ConvertUTF8toUTF16(text.mBytes, target, kLenient);
         return 2 * text.mBytes.size();
     }},
    {"UTF-16 to UTF-8",
     [](Text const& text) {
         std::string target;
         CUTFConverter::ConvertUTF16toUTF8(text.mUnits, target, kLenient);
         return 4 * text.mUnits.size();
     }},
    {"UTF-16 to UTF-8 in a block",
     [](Text const& text) {
         unsigned char* block = nullptr;
         int capacity = text.Length();
         CUTFConverter::ConvertUTF16toUTF8(text.mUnits.data(), text.Length(), &block, &capacity,
                                           kLenient);
         std::free(block);
         return 4 * text.mUnits.size();
     }},
    {"MapText",
     [](Text const& text) {
         std::u16string target;
         Table().MapText(text.mUnits, target);
         return 2 * WhileGrowing(text.mUnits.size(), target.size());
     }},
    {"MapText with offsets",
     [](Text const& text) {
         std::u16string target;
         std::vector<int> offsets;
         Table().MapText(text.mUnits.data(), text.Length(), target, offsets);
         return (2 + sizeof offsets[0]) * WhileGrowing(text.mUnits.size(), target.size());
     }},
    {"MapText in place",
     [](Text const& text) {
         std::u16string units = text.mUnits;  // held as well, with the copy that it is mapped from
         Table().MapText(units, units);
         return 4 * text.mUnits.size() + 2 * WhileGrowing(2 * text.mUnits.size(), units.size());
     }},
    {"a charset by number to UTF-16",
     [](Text const& text) {
         std::u16string target;
         CCharsetConverter(CCharsetSelector::kCP1252).mImp->ToUnicode(text.mBytes, &target);
         return 2 * text.mBytes.size();
     }},
    {"UTF-16 to a charset by number",
     [](Text const& text) {
         std::string target;
         CCharsetConverter(CCharsetSelector::kISO_8859_15).mImp->FromUnicode(text.mUnits, &target);
         return text.mUnits.size();
     }},
    {"a charset by name to UTF-16",
     [](Text const& text) {
         CCharsetConverter converter;
         converter.SetCharset(std::string("KOI8-R"));
         std::u16string target;
         converter.mImp->ToUnicode(text.mBytes, &target);
         return 2 * text.mBytes.size();
     }},
    {"UTF-16 to a charset by name",
     [](Text const& text) {
         CCharsetConverter converter;
         converter.SetCharset(std::string("Shift_JIS"));
         std::string target;
         converter.mImp->FromUnicode(text.mUnits, &target);
         return 6 * text.mUnits.size();
     }},
    {"Base64",
     [](Text const& text) {
         memblock target;
         CBase64Encoder::Encode(text.mBlock, &target, true);
         return target.size();
     }},
    {"Base64 decoded",
     [](Text const& text) {
         memblock target;
         CBase64Encoder::Decode(text.mBase64, &target, nullptr);
         return text.mBase64.size() / 4 * 3;
     }},
    {"Base64 of a header",
     [](Text const& text) {
         std::string target;
         CBase64Encoder::EncodeHeaderStr(text.mBytes, &target);
         return target.size();
     }},
    {"Base64 of a header decoded",
     [](Text const& text) {
         std::string target;
         CBase64Encoder::DecodeHeaderStr(text.mHeader, &target);
         return text.mHeader.size() / 4 * 3 + 3;
     }},
    {"word walk", [](Text const& text) { return 2 * 4 * LongestMappedWord(text); }},
};

// What only looks at the text.
constexpr Operation kQuestions[] = {
    {"HasMappableText",
     [](Text const& text) {
         Table().HasMappableText(text.mUnits);
         return std::size_t{0};
     }},
    {"FindMappedText",
     [](Text const& text) {
         int at = 0;
         int length = 0;
         Table().FindMappedText(text.mUnits.data(), text.Length(), 0, at, length, u"zqxqz", 5);
         return std::size_t{0};
     }},
    {"searches for categories",
     [](Text const& text) {
         unsigned int at = 0;
         CUnicodeCategoriesTable::FindFirstOfCategories(
             at, text.mUnits.data(), text.Length(),
             CUnicodeCategoriesTable::MaskOf(CUnicodeCategoriesTable::kCo), 0, false);
         CUnicodeCategoryTable::GetNSMTable()->FindLastOfCategory(text.mUnits.data(), text.Length(),
                                                                  at);
         return std::size_t{0};
     }},
    {"tests of bytes",
     [](Text const& text) {
         bool flags[3] = {};
         auto const size = static_cast<long long>(text.mBytes.size());
         auto charset = CCharsetSelector::kCharsetNone;
         CCharsetConverter::SniffUTF16(text.mBytes.data(), size, &flags[0], &flags[1], &flags[2]);
         CCharsetConverter::SniffISO2022(text.mBytes, charset);
         CCharsetConverter::CanConvertFromCP_1252(text.mBytes.data(), size);
         CCharsetConverter::CanConvertLosslesslyToISO_8859_1(text.mUnits);
         CCharsetConverter::CanConvertLosslesslyToUSASCII(text.mBlock);
         return std::size_t{0};
     }},
};

struct Sample
{
    char const* mWhat;
    char16_t const* mPiece;
};

constexpr Sample kSamples[] = {
    {"plain words", u"The quick brown fox jumps over the lazy dog, and nobody minds. "},
    {"one long word", u"abcdefghijklmnopqrstuvwxyz"},
    {"three bytes each", u"\u6F22\u5B57\u4EEE\u540D"},
    {"four bytes each", u"\U0001F600\U0001F601"},
    {"what grows eighteenfold", u"\uFDFA"},
    {"words that grow", u"stra\u00DFe \uFB03x \u01C4 "},
    {"marks that go away", u"e\u0301\u0302\u0303 "},
};
constexpr std::size_t kLengths[] = {0, 1, 100, 5000, 300000};

template <class Run>
std::size_t PeakOf(Run run)
{
    StHeapPeak const peak;
    run();
    return peak.Get();
}

// What an operation held at most, if that was more than it may.
std::string
HeldTooMuch(Operation const& operation, Text const& text, std::size_t rounding = kRounding)
{
    operation.mRun(text);  // what is made at first use
    StHeapPeak const peak;
    std::size_t const allowed = operation.mRun(text) + rounding;
    return peak.Get() <= allowed
               ? std::string()
               : std::to_string(peak.Get()) + " bytes, allowed are " + std::to_string(allowed);
}

// So that no compiler leaves out what is allocated for nothing.
template <class Block>
Block* Seen(Block* block)
{
    static void* volatile sSeen;
    sSeen = block;
    return static_cast<Block*>(sSeen);
}

TEST(PeakMemory, IsTheMostThatWasHeldAtAnyTime)
{
    StHeapPeak const peak;
    delete[] Seen(new char[100000]);
    EXPECT_GE(peak.Get(), 100000U);
    std::free(Seen(std::malloc(50000)));
    EXPECT_LE(peak.Get(), 100000 + kRounding);
    void* const held = Seen(std::malloc(60000));
    delete[] Seen(new char[80000]);
    EXPECT_GE(peak.Get(), 140000U);
    EXPECT_LE(peak.Get(), 140000 + kRounding);
    std::free(Seen(std::realloc(held, 200000)));
    EXPECT_GE(peak.Get(), 260000U) << "a block that grows is held twice";
    EXPECT_LE(peak.Get(), 260000 + kRounding);
}

TEST(PeakMemory, OfAConversionIsWhatItsHeaderSays)
{
    for (Sample const& sample : kSamples) {
        for (std::size_t const length : kLengths) {
            Text const text(Repeated(sample.mPiece, length));
            for (Operation const& c : kConversions) {
                SCOPED_TRACE(std::string(c.mWhat) + ", " + sample.mWhat + ", " +
                             std::to_string(length));
                EXPECT_EQ(HeldTooMuch(c, text), "");
            }
        }
    }
}

TEST(PeakMemory, IsNotNeededToLookAtAText)
{
    for (Sample const& sample : kSamples) {
        Text const text(Repeated(sample.mPiece, kLengths[3]));
        for (Operation const& c : kQuestions) {
            SCOPED_TRACE(std::string(c.mWhat) + ", " + sample.mWhat);
            EXPECT_EQ(HeldTooMuch(c, text, 0), "");
        }
    }
}

// However often the content changes, or is said to be forgotten.
TEST(PeakMemory, OfTheFirstWalkByATableIsWhatItsHeaderSays)
{
    Text const text(Repeated(kSamples[0].mPiece, 100));
    CUnicodeWordDelimiter* const delimiter = CUnicodeWordDelimiter::GetDefaultDelimiter();
    CUnicodeMappingTable table;
    auto const walk = [&] {
        unsigned int start = 0;
        unsigned int rawLength = 0;
        unsigned int mappedLength = 0;
        amortizedmemblock block;
        while (delimiter->GetNextMappedWordInRawText(
            text.mUnits.data(), static_cast<unsigned int>(text.mUnits.size()), table, start,
            rawLength, block, mappedLength)) {}
    };
    std::size_t const peak = PeakOf([&] {
        for (int round = 0; round < 4; ++round) {
            walk();
            table.InitMappingTable();
            walk();
            table.UnloadMappingTable();
        }
    });
    EXPECT_GE(peak, 82000U);
    EXPECT_LE(peak, 83000 + kRounding);
}

TEST(PeakMemory, OfNamingALanguageDependsOnTheProfilesAlone)
{
    StTempDir const folder;
    for (char const* const name : {"one", "two", "three"}) {
        folder.Write(std::string(name) + ".lm", std::string("Language: ") + name +
                                                    "\nCharset: utf-8\n_t\t50\nhe\t40\n_" + name +
                                                    "\t30\n");
    }
    CLanguageServices services;
    services.LoadLanguageDefinitions(CFileSpec(folder.Path(), false), nullptr);

    std::string language;
    float confidence = 0;
    for (Sample const& sample : kSamples) {
        SCOPED_TRACE(sample.mWhat);
        Text const text(Repeated(sample.mPiece, kLengths[4]));
        services.IdentifyLanguage(text.mBytes, language, confidence);
        EXPECT_LE(PeakOf([&] { services.IdentifyLanguage(text.mBytes, language, confidence); }),
                  kRounding);
        EXPECT_LE(PeakOf([&] { services.IdentifyLanguage(text.mUnits, language, confidence); }),
                  4 * text.mUnits.size() + kRounding);
    }
}

}  // namespace
