#include "compression/CZstdCompressor.h"

#include "compression/CDataCompressionProgress.h"
#include "compression/platform/CBasicProcessorPlatform.h"
#include "compression/tests/CompressionTesting.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include <unistd.h>

#define ZSTD_STATIC_LINKING_ONLY
#include <zstd.h>

namespace {

constexpr Kind kZstd = CDataCompressionServices::kDataCompressionZstd;

class CScriptedProcessors final : public CBasicProcessorPlatform
{
public:
    explicit CScriptedProcessors(int count)
        : mCount(count)
    {
    }

    int CountRunningProcessors() const override { return mCount; }

private:
    int mCount;
};

// A compressor that shows its contexts.
class COpenCompressor : public CZstdCompressor
{
public:
    COpenCompressor()
        : CZstdCompressor(kZstd, nullptr)
    {
    }

    bool HasContexts() const { return mCCtx || mDCtx; }

    int Parameter(ZSTD_cParameter parameter)
    {
        InitCompressContextIfNeeded();
        int value = -1;
        ZSTD_CCtx_getParameter(mCCtx, parameter, &value);
        return value;
    }
};

std::string FrameOf(std::string const& text)
{
    return Compressed(*NewCompressor(kZstd), text).mBytes;
}

// From a run of chunks: a frame that doesn't state its size.
std::string UnsizedFrameOf(std::string const& text)
{
    return CompressedInChunks(*NewCompressor(kZstd), text, text.size(), text.size()).mBytes;
}

bool StatesItsSize(std::string const& frame)
{
    unsigned long long const size = ZSTD_getFrameContentSize(frame.data(), frame.size());
    return size != ZSTD_CONTENTSIZE_UNKNOWN && size != ZSTD_CONTENTSIZE_ERROR;
}

// The start of a frame that states a size of 64 bits.
std::string HeaderStating(unsigned long long size)
{
    std::string header("\x28\xB5\x2F\xFD\xE0", 5);
    for (int i = 0; i < 8; ++i)
        header += static_cast<char>(size >> (8 * i));
    return header + std::string("\x01\0\0", 3);
}

}  // namespace

TEST(CZstdCompressor, HasAWorkerForEachProcessorAndThreeQuartersOfMany)
{
    struct
    {
        int mProcessors;
        int mWorkers;
    } const cases[] = {{0, 0}, {1, 1}, {2, 2}, {4, 4}, {7, 7}, {8, 6}, {9, 6}, {10, 7}, {16, 12}};

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mProcessors);
        CScriptedProcessors processors(c.mProcessors);
        StProcessorPlatform const inUse(processors);
        EXPECT_EQ(CZstdCompressor::GetNumberOfCPUCores(), c.mProcessors);
        EXPECT_EQ(COpenCompressor().Parameter(ZSTD_c_nbWorkers), c.mWorkers);
    }
}

TEST(CZstdCompressor, TheSystemsOwnPlatformCountsWhatIsOnline)
{
    EXPECT_EQ(CZstdCompressor::GetNumberOfCPUCores(), sysconf(_SC_NPROCESSORS_ONLN));
    EXPECT_GE(CZstdCompressor::GetNumberOfCPUCores(), 1);
}

TEST(CZstdCompressor, AppliesItsStateToANewContextAndToOneThatIsThere)
{
    COpenCompressor compressor;
    compressor.SetCompressionLevel(7);
    compressor.EnableLongDistanceMatching(true);
    EXPECT_FALSE(compressor.HasContexts());
    EXPECT_EQ(compressor.Parameter(ZSTD_c_compressionLevel), 7);
    EXPECT_EQ(compressor.Parameter(ZSTD_c_enableLongDistanceMatching), 1);
    EXPECT_EQ(compressor.Parameter(ZSTD_c_format), ZSTD_f_zstd1);

    compressor.SetCompressionLevel(compressor.GetMaxCompressionLevel());
    compressor.EnableLongDistanceMatching(false);
    EXPECT_EQ(compressor.Parameter(ZSTD_c_compressionLevel), ZSTD_maxCLevel());
    EXPECT_EQ(compressor.Parameter(ZSTD_c_enableLongDistanceMatching), 0);
}

TEST(CZstdCompressor, KeepsLevelsBelow1FromTheContext)
{
    COpenCompressor compressor;
    compressor.SetCompressionLevel(7);
    EXPECT_EQ(compressor.Parameter(ZSTD_c_compressionLevel), 7);
    for (int const level : {0, -7}) {
        compressor.SetCompressionLevel(level);
        EXPECT_EQ(compressor.GetCompressionLevel(), level);
        EXPECT_EQ(compressor.Parameter(ZSTD_c_compressionLevel), 7);
    }
    COpenCompressor fresh;
    fresh.SetCompressionLevel(0);
    EXPECT_EQ(fresh.Parameter(ZSTD_c_compressionLevel), ZSTD_defaultCLevel());
}

TEST(CZstdCompressor, KeepsAContextInAFrameFromLongDistances)
{
    COpenCompressor compressor;
    amortizedmemblock out;
    ASSERT_TRUE(compressor.StartCompressChunks(4, out));
    ASSERT_TRUE(compressor.CompressChunk("text", 4, out));
    compressor.EnableLongDistanceMatching(true);
    EXPECT_EQ(compressor.Parameter(ZSTD_c_enableLongDistanceMatching), 0);
    ASSERT_TRUE(compressor.FinishCompressChunks(out));
    EXPECT_EQ(compressor.Parameter(ZSTD_c_enableLongDistanceMatching), 0);
}

TEST(CZstdCompressor, NeverCallsItsProgress)
{
    class CCountingProgress final : public CDataCompressionProgress
    {
    public:
        bool ProgressOfTotal(unsigned long long, unsigned int) override { return ++mCalls < 0; }

        bool ProgressOfChunks(unsigned int) override { return ++mCalls < 0; }

        int mCalls = 0;
    };

    CCountingProgress progress;
    auto const compressor = NewCompressor(kZstd, &progress);
    std::string const text = TextOf(5000);
    std::string const frame = Compressed(*compressor, text).mBytes;
    EXPECT_EQ(Decompressed(*compressor, frame), (Made{true, text}));
    Made const chunks = CompressedInChunks(*compressor, text, 1000, 1000);
    EXPECT_EQ(DecompressedInChunks(*compressor, chunks.mBytes, 100, 100), (Made{true, text}));
    EXPECT_EQ(progress.mCalls, 0);
}

TEST(CZstdCompressor, LevelsMakeADifference)
{
    std::string const text = TextOf(200000);
    auto const compressor = NewCompressor(kZstd);
    compressor->SetCompressionLevel(1);
    std::string const fast = Compressed(*compressor, text).mBytes;
    compressor->SetCompressionLevel(19);
    EXPECT_LT(Compressed(*compressor, text).mBytes.size(), fast.size());
}

TEST(CZstdCompressor, MatchesOverLongDistances)
{
    // The same noise twice, farther apart than the window of level 1 reaches.
    std::string const noise = NoiseOf(600000);
    std::string const content = noise + NoiseOf(1500000, 2) + noise;
    CZstdCompressor compressor(kZstd, nullptr);
    compressor.SetCompressionLevel(1);
    std::string const shortSighted = Compressed(compressor, content).mBytes;
    compressor.EnableLongDistanceMatching(true);
    Made const farSighted = Compressed(compressor, content);
    EXPECT_LT(farSighted.mBytes.size() + 500000, shortSighted.size());
    EXPECT_TRUE((Decompressed(compressor, farSighted.mBytes) == Made{true, content}));
}

TEST(CZstdCompressor, MagiclessFramesNeedBothSidesToAgree)
{
    std::string const text = TextOf(1000);
    CZstdCompressor writer(kZstd, nullptr);
    writer.SetMagiclessFormat(true);
    std::string const frame = Compressed(writer, text).mBytes;
    EXPECT_EQ(FrameOf(text), "\x28\xB5\x2F\xFD" + frame);
    std::string const inChunks = CompressedInChunks(writer, text, 300, 300).mBytes;

    CZstdCompressor reader(kZstd, nullptr);
    reader.SetMagiclessFormat(true);
    EXPECT_EQ(Decompressed(reader, frame), (Made{true, text}));
    EXPECT_EQ(Decompressed(reader, inChunks), (Made{true, text}));
    EXPECT_EQ(DecompressedInChunks(reader, frame, 100, 100), (Made{true, text}));
    EXPECT_EQ(Decompressed(*NewCompressor(kZstd), frame), (Made{false, ""}));

    CZstdCompressor deaf(kZstd, nullptr);
    deaf.SetMagiclessFormat(true);
    EXPECT_FALSE(DecompressedInChunks(deaf, FrameOf(text), 100, 100).mResult);
}

TEST(CZstdCompressor, KeepsTheFormatOfAContextThatIsThere)
{
    std::string const text = TextOf(1000);
    CZstdCompressor compressor(kZstd, nullptr);
    std::string const frame = Compressed(compressor, text).mBytes;
    compressor.SetMagiclessFormat(true);
    EXPECT_EQ(Compressed(compressor, text).mBytes, frame);
    // The other direction has no context yet.
    EXPECT_FALSE(DecompressedInChunks(compressor, frame, 100, 100).mResult);
}

TEST(CZstdCompressor, OneShotsStateTheirSizeAndRunsDoNot)
{
    std::string const text = TextOf(1000);
    EXPECT_TRUE(StatesItsSize(FrameOf(text)));
    EXPECT_FALSE(StatesItsSize(UnsizedFrameOf(text)));
}

TEST(CZstdCompressor, EndsARunWithoutAByteWithNoFrame)
{
    auto const compressor = NewCompressor(kZstd);
    amortizedmemblock out;
    ASSERT_TRUE(compressor->StartCompressChunks(100, out));
    EXPECT_TRUE(compressor->FinishCompressChunks(out));
    EXPECT_EQ(out.size(), 0U);

    ASSERT_TRUE(compressor->StartCompressChunks(100, out));
    EXPECT_TRUE(compressor->CompressChunk(nullptr, 0, out));
    EXPECT_TRUE(compressor->FinishCompressChunks(out));
    EXPECT_EQ(out.size(), 0U);
    // And what is no byte at all is read as none.
    EXPECT_EQ(Decompressed(*compressor, ""), (Made{true, ""}));
    EXPECT_EQ(DecompressedInChunks(*compressor, "", 1, 0), (Made{true, ""}));
}

TEST(CZstdCompressor, KeepsARunWithNothingLeftToFlushWithoutItsEnd)
{
    CScriptedProcessors none(0);
    StProcessorPlatform const inUse(none);
    std::string const text = TextOf(300000);
    Made const made = CompressedInChunks(*NewCompressor(kZstd), text, 100000, 100000);
    EXPECT_TRUE(made.mResult);
    Made const read = Decompressed(*NewCompressor(kZstd), made.mBytes);
    EXPECT_TRUE(read.mResult);
    EXPECT_LT(read.mBytes.size(), text.size());
    EXPECT_TRUE(text.starts_with(read.mBytes));
}

TEST(CZstdCompressor, KeepsTheFrameOfARunThatWasGivenUpOpen)
{
    auto const compressor = NewCompressor(kZstd);
    amortizedmemblock out;
    ASSERT_TRUE(compressor->StartCompressChunks(100, out));
    ASSERT_TRUE(compressor->CompressChunk("given up, ", 10, out));
    std::string const start = Content(out);
    std::string const rest = Compressed(*compressor, "gone on").mBytes;
    EXPECT_EQ(Decompressed(*NewCompressor(kZstd), start + rest), (Made{true, "given up, gone on"}));

    // So it is with a stream that is read.
    std::string const frame = UnsizedFrameOf("left in the middle");
    auto const reader = NewCompressor(kZstd);
    ASSERT_TRUE(reader->StartDecompressChunks(100, out));
    ASSERT_TRUE(reader->DecompressChunk(frame.data(), 7, out));
    ASSERT_TRUE(reader->FinishDecompressChunks(out));
    EXPECT_EQ(Decompressed(*reader, frame.substr(7)), (Made{true, "left in the middle"}));
}

TEST(CZstdCompressor, KeepsFailingInStreamsAfterOneThatFailed)
{
    std::string const text = TextOf(500);
    auto const compressor = NewCompressor(kZstd);
    EXPECT_FALSE(Decompressed(*compressor, "no frame at all").mResult);
    EXPECT_EQ(Decompressed(*compressor, UnsizedFrameOf(text)), (Made{false, ""}));
    EXPECT_FALSE(DecompressedInChunks(*compressor, FrameOf(text), 100, 100).mResult);
    EXPECT_EQ(Decompressed(*compressor, FrameOf(text)), (Made{true, text}));
}

TEST(CZstdCompressor, EveryCutOfAFrameThatStatesItsSizeIsRefused)
{
    std::string const text = TextOf(400);
    std::string const frame = FrameOf(text);
    int wrong = 0;
    for (std::size_t size = 0; size < frame.size(); ++size) {
        std::string const cut = frame.substr(0, size);
        // Until the header is complete, it is a stream that goes on.
        Made const expected{!StatesItsSize(cut), "as it was"};
        amortizedmemblock out = BlockOf("as it was");
        bool const result = NewCompressor(kZstd)->Decompress(cut.data(), cut.size(), out);
        if (Made{result, Content(out)} != expected) ++wrong;
    }
    EXPECT_EQ(wrong, 0);
}

TEST(CZstdCompressor, KeepsTakingACutFrameThatDoesNotStateItsSizeForGood)
{
    // Of several blocks, so that a part comes out.
    std::string const text = TextOf(400000);
    std::string const frame = UnsizedFrameOf(text);
    int wrong = 0;
    std::size_t most = 0;
    std::size_t const step = frame.size() / 100;
    for (std::size_t size = 0; size < frame.size(); size += size < 200 ? 1 : step) {
        std::string const cut = frame.substr(0, size);
        Made const whole = Decompressed(*NewCompressor(kZstd), cut);
        Made const chunks = DecompressedInChunks(*NewCompressor(kZstd), cut, size + 1, size);
        if (!whole.mResult || whole != chunks || !text.starts_with(whole.mBytes)) ++wrong;
        most = std::max(most, whole.mBytes.size());
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(most, 200000U);
    EXPECT_LT(most, text.size());
}

TEST(CZstdCompressor, AChunkBringsOutAllThatItExpandsTo)
{
    std::string zeros;
    zeros.resize(20000000);
    std::string const frame = UnsizedFrameOf(zeros);
    ASSERT_LT(frame.size() * 160, zeros.size());
    auto const compressor = NewCompressor(kZstd);
    amortizedmemblock out;
    ASSERT_TRUE(compressor->StartDecompressChunks(1, out));
    EXPECT_EQ(out.size(), 110U);
    EXPECT_TRUE(compressor->DecompressChunk(frame.data(), frame.size(), out));
    EXPECT_TRUE(Content(out) == zeros);
}

TEST(CZstdCompressor, ReadsFrameAfterFrameInChunksOnly)
{
    std::string const text = TextOf(500);
    std::string const skipped("\x50\x2A\x4D\x18\x03\0\0\0abc", 11);
    std::string const two = FrameOf(text) + FrameOf("more");
    EXPECT_EQ(Decompressed(*NewCompressor(kZstd), two), (Made{false, ""}));
    EXPECT_EQ(DecompressedInChunks(*NewCompressor(kZstd), two, 64, 64),
              (Made{true, text + "more"}));
    // A frame to be skipped states a size of nothing.
    EXPECT_EQ(Decompressed(*NewCompressor(kZstd), skipped), (Made{true, ""}));
    EXPECT_EQ(Decompressed(*NewCompressor(kZstd), skipped + FrameOf(text)), (Made{false, ""}));
    EXPECT_EQ(DecompressedInChunks(*NewCompressor(kZstd), skipped + FrameOf(text), 64, 64),
              (Made{true, text}));
    // Where the first doesn't state its size, a one-shot streams too.
    EXPECT_EQ(Decompressed(*NewCompressor(kZstd), UnsizedFrameOf(text) + FrameOf("more")),
              (Made{true, text + "more"}));
}

TEST(CZstdCompressor, StatedSizesThatCannotBeAreFailures)
{
    amortizedmemblock out = BlockOf(std::string(100, 'x'));
    std::string const wrapping = HeaderStating(~0ULL - 50);
    EXPECT_FALSE(NewCompressor(kZstd)->Decompress(wrapping.data(), wrapping.size(), out));
    EXPECT_EQ(Content(out), std::string(100, 'x'));

    // No object can have that size, as the block says.
    std::string const huge = HeaderStating(1ULL << 63);
    EXPECT_THROW(NewCompressor(kZstd)->Decompress(huge.data(), huge.size(), out),
                 std::length_error);
    EXPECT_EQ(Content(out), std::string(100, 'x'));

    // More than the frame holds: it comes out shorter.
    std::string const generous = HeaderStating(5000);
    EXPECT_FALSE(NewCompressor(kZstd)->Decompress(generous.data(), generous.size(), out));
    EXPECT_EQ(Content(out), std::string(100, 'x'));
}

TEST(CZstdCompressor, ChunksOfARunThatWasNotStartedAreRefused)
{
    auto const compressor = NewCompressor(kZstd);
    amortizedmemblock out = BlockOf("rubbish");
    EXPECT_FALSE(compressor->CompressChunk("text", 4, out));
    EXPECT_EQ(out.size(), 0U);
    out.append("rubbish", 7);
    EXPECT_FALSE(compressor->DecompressChunk("text", 4, out));
    EXPECT_EQ(out.size(), 0U);
    out.append("rubbish", 7);
    EXPECT_TRUE(compressor->DecompressChunk(nullptr, 0, out));
    EXPECT_EQ(out.size(), 0U);
}
