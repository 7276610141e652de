// What the block forms of CUTFConverter ask of malloc and free.
#include "text/CUTFConverter.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace {

struct Call
{
    char const* mName;
    size_t mSize;
    void* mBlock;
};

// The calls made while one is in place, on its thread.
class StRecording
{
public:
    // From the malloc of this number on, counted from 0, all give null.
    explicit StRecording(size_t failFrom = 1000)
        : mFailFrom(failFrom)
    {
        sCurrent = this;
    }

    StRecording(StRecording const&) = delete;
    StRecording& operator=(StRecording const&) = delete;

    ~StRecording() { sCurrent = nullptr; }

    void Stop() { sCurrent = nullptr; }

    void Add(Call const& call)
    {
        if (mCount < std::size(mCalls)) mCalls[mCount++] = call;
    }

    Call mCalls[16] = {};
    size_t mCount = 0;
    size_t mMallocs = 0;
    size_t mFailFrom;

    static thread_local StRecording* sCurrent;
};

thread_local StRecording* StRecording::sCurrent = nullptr;

auto const* const kFiveBytes = reinterpret_cast<unsigned char const*>("abcde");

}  // namespace

extern "C" {
void* __real_malloc(size_t size);
void __real_free(void* block);
void* __wrap_malloc(size_t size);
void __wrap_free(void* block);

void* __wrap_malloc(size_t size)
{
    StRecording* const recording = StRecording::sCurrent;
    if (recording == nullptr) return __real_malloc(size);
    bool const fails = recording->mMallocs++ >= recording->mFailFrom;
    void* const block = fails ? nullptr : __real_malloc(size);
    recording->Add({"malloc", size, block});
    return block;
}

void __wrap_free(void* block)
{
    if (StRecording::sCurrent != nullptr) StRecording::sCurrent->Add({"free", 0, block});
    __real_free(block);
}
}

TEST(CUTFConverterMemory, FreesTheCallersBlockBeforeItTakesAnother)
{
    auto* buffer = static_cast<char16_t*>(std::malloc(2 * sizeof(char16_t)));
    void const* const given = buffer;
    int capacity = 2;
    StRecording recording;
    int const written = CUTFConverter::ConvertUTF8toUTF16(kFiveBytes, 5, &buffer, &capacity,
                                                          CUTFConverter::kStrictMode);
    recording.Stop();

    EXPECT_EQ(written, 5);
    EXPECT_EQ(capacity, 8);
    ASSERT_EQ(recording.mCount, 4U);
    EXPECT_STREQ(recording.mCalls[0].mName, "free");
    EXPECT_EQ(recording.mCalls[0].mBlock, given);
    EXPECT_STREQ(recording.mCalls[1].mName, "malloc");
    EXPECT_EQ(recording.mCalls[1].mSize, 4 * sizeof(char16_t));
    EXPECT_STREQ(recording.mCalls[2].mName, "free");
    EXPECT_EQ(recording.mCalls[2].mBlock, recording.mCalls[1].mBlock);
    EXPECT_STREQ(recording.mCalls[3].mName, "malloc");
    EXPECT_EQ(recording.mCalls[3].mSize, 8 * sizeof(char16_t));
    EXPECT_EQ(recording.mCalls[3].mBlock, buffer);
    std::free(buffer);
}

TEST(CUTFConverterMemory, AnswersThatTheFirstBlockCannotBeHad)
{
    unsigned char* buffer = nullptr;
    int capacity = 0;
    StRecording recording(0);
    int const written = CUTFConverter::ConvertUTF16toUTF8(u"abc", 3, &buffer, &capacity,
                                                          CUTFConverter::kStrictMode);
    recording.Stop();

    EXPECT_EQ(written, -1);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(capacity, 0);
    EXPECT_EQ(recording.mCount, 1U);
}

TEST(CUTFConverterMemory, AnswersThatALargerBlockCannotBeHad)
{
    auto* buffer = static_cast<char16_t*>(std::malloc(2 * sizeof(char16_t)));
    int capacity = 2;
    StRecording recording(1);
    int const written = CUTFConverter::ConvertUTF8toUTF16(kFiveBytes, 5, &buffer, &capacity,
                                                          CUTFConverter::kStrictMode);
    recording.Stop();

    // The caller may call again with what is left.
    EXPECT_EQ(written, -1);
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(capacity, 0);
    EXPECT_EQ(CUTFConverter::ConvertUTF8toUTF16(kFiveBytes, 5, &buffer, &capacity,
                                                CUTFConverter::kStrictMode),
              5);
    std::free(buffer);
}
