#include "compression/CBzip2Compressor.h"

#include "compression/CDataCompressionProgress.h"
#include "compression/tests/CompressionTesting.h"

#include <gtest/gtest.h>

#include <cstring>
#include <utility>
#include <vector>

namespace {

constexpr Kind kBzip2 = CDataCompressionServices::kDataCompressionBzip2;

// The stream of nothing: its header, its end and the checksum of nothing.
constexpr char const* kNothing = "BZh3\x17\x72\x45\x38\x50\x90\0\0\0\0";
constexpr std::size_t kNothingSize = 14;

// Notes what it is told, and stops at a call.
class CNotedProgress final : public CDataCompressionProgress
{
public:
    explicit CNotedProgress(std::size_t stopAt = SIZE_MAX)
        : mStopAt(stopAt)
    {
    }

    bool ProgressOfTotal(unsigned long long totalSize, unsigned int doneSize) override
    {
        mCalls.emplace_back(totalSize, doneSize);
        return mCalls.size() < mStopAt;
    }

    bool ProgressOfChunks(unsigned int doneSize) override
    {
        mCalls.emplace_back(0, doneSize);
        return mCalls.size() < mStopAt;
    }

    std::vector<std::pair<unsigned long long, unsigned int>> mCalls;

private:
    std::size_t mStopAt;
};

std::string StreamOf(std::string const& text)
{
    return Compressed(*NewCompressor(kBzip2), text).mBytes;
}

}  // namespace

TEST(CBzip2Compressor, MakesAStreamOfNothing)
{
    auto const compressor = NewCompressor(kBzip2);
    std::string const nothing(kNothing, kNothingSize);
    EXPECT_EQ(Compressed(*compressor, ""), (Made{true, nothing}));
    EXPECT_EQ(CompressedInChunks(*compressor, "", 1, 0), (Made{true, nothing}));
    EXPECT_EQ(Decompressed(*compressor, nothing), (Made{true, ""}));
    EXPECT_EQ(DecompressedInChunks(*compressor, nothing, 3, 3), (Made{true, ""}));
}

TEST(CBzip2Compressor, KeepsBlocksOf300KBWhateverTheLevel)
{
    std::string const text = TextOf(500000);
    std::string const stream = StreamOf(text);
    EXPECT_EQ(stream.substr(0, 4), "BZh3");
    auto const compressor = NewCompressor(kBzip2);
    compressor->SetCompressionLevel(9);
    EXPECT_EQ(compressor->GetCompressionLevel(), 9);
    EXPECT_TRUE(Compressed(*compressor, text).mBytes == stream);
}

TEST(CBzip2Compressor, ProgressIsToldOfEachStep)
{
    CNotedProgress progress;
    auto const compressor = NewCompressor(kBzip2, &progress);
    std::string const text = TextOf(2000);
    std::string const stream = Compressed(*compressor, text).mBytes;
    // All of the text goes in at once, then the stream is finished.
    using Calls = std::vector<std::pair<unsigned long long, unsigned int>>;
    EXPECT_EQ(progress.mCalls, (Calls{{2000, 2000}, {2000, 2000}}));

    auto const size = static_cast<unsigned int>(stream.size());
    progress.mCalls.clear();
    EXPECT_EQ(Decompressed(*compressor, stream), (Made{true, text}));
    EXPECT_EQ(progress.mCalls, (Calls{{size, size}}));

    progress.mCalls.clear();
    CompressedInChunks(*compressor, text, 800, 800);
    EXPECT_EQ(progress.mCalls, (Calls{{0, 800}, {0, 1600}, {0, 2000}}));
    progress.mCalls.clear();
    EXPECT_EQ(DecompressedInChunks(*compressor, stream, 400, 400), (Made{true, text}));
    EXPECT_EQ(progress.mCalls.back().second, size);
}

TEST(CBzip2Compressor, ProgressStopsAOneShot)
{
    std::string const noise = NoiseOf(1000000);
    std::string const stream = StreamOf(noise);
    CNotedProgress atOnce(1);
    auto const compressor = NewCompressor(kBzip2, &atOnce);
    // Room for a tenth: the first step ends where that is full, in the midst of the first block.
    Made const packed = Compressed(*compressor, noise);
    EXPECT_FALSE(packed.mResult);
    EXPECT_EQ(packed.mBytes.size(), 101000U);
    EXPECT_TRUE(stream.starts_with(packed.mBytes));

    CNotedProgress atOnceToo(1);
    auto const reader = NewCompressor(kBzip2, &atOnceToo);
    std::string const zeros(1000000, '\0');
    Made const read = Decompressed(*reader, StreamOf(zeros));
    EXPECT_FALSE(read.mResult);
    EXPECT_LT(read.mBytes.size(), zeros.size());
    EXPECT_TRUE(zeros.starts_with(read.mBytes));
    EXPECT_EQ(atOnceToo.mCalls.size(), 1U);
}

TEST(CBzip2Compressor, KeepsAStopBehindAChunksLastByteFromFailingIt)
{
    std::string const zeros(1000000, '\0');
    std::string const stream = StreamOf(zeros);
    CNotedProgress progress(1);
    auto const compressor = NewCompressor(kBzip2, &progress);
    amortizedmemblock out;
    ASSERT_TRUE(compressor->StartDecompressChunks(0, out));
    EXPECT_FALSE(compressor->DecompressChunk(stream.data(), stream.size(), out));
    EXPECT_TRUE(out.size() > 0 && out.size() < zeros.size());
    EXPECT_FALSE(compressor->FinishDecompressChunks(out));

    CNotedProgress late(1);
    auto const writer = NewCompressor(kBzip2, &late);
    ASSERT_TRUE(writer->StartCompressChunks(100, out));
    EXPECT_TRUE(writer->CompressChunk(zeros.data(), 100, out));
    EXPECT_TRUE(writer->FinishCompressChunks(out));
    EXPECT_EQ(late.mCalls.size(), 1U);
}

TEST(CBzip2Compressor, TellsEveryCutOfAStream)
{
    // Two blocks, so that a part can be decoded.
    std::string const text = TextOf(300000) + NoiseOf(20000);
    std::string const stream = StreamOf(text);
    int wrong = 0;
    std::size_t most = 0;
    std::size_t const step = stream.size() / 200;
    for (std::size_t size = 0; size < stream.size(); size += size < 300 ? 1 : step) {
        std::string const cut = stream.substr(0, size);
        auto const compressor = NewCompressor(kBzip2);
        Made const whole = Decompressed(*compressor, cut);
        if (whole.mResult || !text.starts_with(whole.mBytes)) ++wrong;
        most = std::max(most, whole.mBytes.size());

        amortizedmemblock out;
        if (!compressor->StartDecompressChunks(size, out)) ++wrong;
        if (!compressor->DecompressChunk(cut.data(), cut.size(), out)) ++wrong;
        if (Content(out) != whole.mBytes) ++wrong;
        if (compressor->FinishDecompressChunks(out) || out.size() != 0) ++wrong;
    }
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(most, 200000U);
}

TEST(CBzip2Compressor, OneShotFailuresLeaveWhatWasMade)
{
    std::string const text = TextOf(300000) + NoiseOf(100000);
    std::string stream = StreamOf(text);
    stream[stream.size() - 50000] = static_cast<char>(stream[stream.size() - 50000] ^ 1);
    amortizedmemblock out = BlockOf("as it was ");
    EXPECT_FALSE(NewCompressor(kBzip2)->Decompress(stream.data(), stream.size(), out));
    // The first block is good, and a block's checksum is looked at behind its last byte.
    std::string const good = "as it was " + text.substr(0, 290000);
    EXPECT_TRUE(Content(out).starts_with(good));
}

TEST(CBzip2Compressor, KeepsNothingOfAStepThatFailsInAChunk)
{
    std::string const text = TextOf(300000) + NoiseOf(100000);
    std::string stream = StreamOf(text);
    stream[stream.size() - 50000] = static_cast<char>(stream[stream.size() - 50000] ^ 1);
    auto const compressor = NewCompressor(kBzip2);
    amortizedmemblock out;
    ASSERT_TRUE(compressor->StartDecompressChunks(stream.size(), out));
    EXPECT_FALSE(compressor->DecompressChunk(stream.data(), stream.size(), out));
    EXPECT_EQ(out.size(), 0U);
    EXPECT_FALSE(compressor->FinishDecompressChunks(out));
}

TEST(CBzip2Compressor, RefusesBytesBehindTheEndOfAStreamInChunks)
{
    std::string const text = TextOf(100);
    std::string const stream = StreamOf(text);
    auto const compressor = NewCompressor(kBzip2);
    // A one-shot doesn't look at what follows.
    EXPECT_EQ(Decompressed(*compressor, stream + "more"), (Made{true, text}));
    EXPECT_EQ(Decompressed(*compressor, stream + stream), (Made{true, text}));

    amortizedmemblock out;
    std::string const longer = stream + "m";
    ASSERT_TRUE(compressor->StartDecompressChunks(longer.size(), out));
    EXPECT_FALSE(compressor->DecompressChunk(longer.data(), longer.size(), out));
    EXPECT_EQ(Content(out), text);
    EXPECT_FALSE(compressor->FinishDecompressChunks(out));

    ASSERT_TRUE(compressor->StartDecompressChunks(longer.size(), out));
    EXPECT_TRUE(compressor->DecompressChunk(stream.data(), stream.size(), out));
    EXPECT_EQ(Content(out), text);
    EXPECT_FALSE(compressor->DecompressChunk("m", 1, out));
    EXPECT_EQ(out.size(), 0U);
    EXPECT_FALSE(compressor->FinishDecompressChunks(out));

    // So does a chunk of nothing: the end was reached, and isn't any more.
    ASSERT_TRUE(compressor->StartDecompressChunks(stream.size(), out));
    EXPECT_TRUE(compressor->DecompressChunk(stream.data(), stream.size(), out));
    EXPECT_FALSE(compressor->DecompressChunk(nullptr, 0, out));
    EXPECT_FALSE(compressor->FinishDecompressChunks(out));
}

TEST(CBzip2Compressor, KeepsRefusingAChunkOfNoBytesToCompress)
{
    auto const compressor = NewCompressor(kBzip2);
    amortizedmemblock out;
    ASSERT_TRUE(compressor->StartCompressChunks(10, out));
    EXPECT_FALSE(compressor->CompressChunk(nullptr, 0, out));
    EXPECT_EQ(out.size(), 0U);
    // The run goes on.
    EXPECT_TRUE(compressor->CompressChunk("text", 4, out));
    EXPECT_TRUE(compressor->FinishCompressChunks(out));
    EXPECT_EQ(Decompressed(*compressor, Content(out)), (Made{true, "text"}));

    std::string const stream = Content(out);
    ASSERT_TRUE(compressor->StartDecompressChunks(10, out));
    EXPECT_TRUE(compressor->DecompressChunk(nullptr, 0, out));
    EXPECT_TRUE(compressor->DecompressChunk(stream.data(), stream.size(), out));
    EXPECT_EQ(Content(out), "text");
    EXPECT_TRUE(compressor->FinishDecompressChunks(out));
}

TEST(CBzip2Compressor, TakesABlockWithoutStorageInEveryStep)
{
    std::string const text = NoiseOf(320000);
    auto const compressor = NewCompressor(kBzip2);
    std::string packed;
    amortizedmemblock first;
    ASSERT_TRUE(compressor->StartCompressChunks(10, first));
    amortizedmemblock second;
    ASSERT_TRUE(compressor->CompressChunk(text.data(), text.size(), second));
    packed += Content(second);
    amortizedmemblock third;
    ASSERT_TRUE(compressor->FinishCompressChunks(third));
    packed += Content(third);

    ASSERT_TRUE(compressor->StartDecompressChunks(10, first));
    amortizedmemblock fourth(0, 1.0F);  // not even a step
    ASSERT_TRUE(compressor->DecompressChunk(packed.data(), packed.size(), fourth));
    EXPECT_TRUE(Content(fourth) == text);
    EXPECT_TRUE(compressor->FinishDecompressChunks(fourth));
}

TEST(CBzip2Compressor, OneShotsRunBetweenTheChunksOfARun)
{
    std::string const text = TextOf(1000);
    auto const compressor = NewCompressor(kBzip2);
    amortizedmemblock out;
    ASSERT_TRUE(compressor->StartCompressChunks(500, out));
    ASSERT_TRUE(compressor->CompressChunk(text.data(), 500, out));
    std::string packed = Content(out);
    std::string const whole = Compressed(*compressor, text).mBytes;
    EXPECT_EQ(Decompressed(*compressor, whole), (Made{true, text}));
    ASSERT_TRUE(compressor->CompressChunk(text.data() + 500, 500, out));
    packed += Content(out);
    ASSERT_TRUE(compressor->FinishCompressChunks(out));
    packed += Content(out);
    EXPECT_EQ(packed, whole);
}

TEST(CBzip2Compressor, AnswersFalseAtOnceFrom4GiBOn)
{
    // Nothing is looked at, so nothing need be there.
    auto const compressor = NewCompressor(kBzip2);
    amortizedmemblock out = BlockOf("as it was");
    EXPECT_FALSE(compressor->Compress(nullptr, 1ULL << 32, out));
    EXPECT_FALSE(compressor->Decompress(nullptr, 1ULL << 32, out));
    EXPECT_FALSE(compressor->Compress(nullptr, ~0ULL, out));
    EXPECT_EQ(Content(out), "as it was");
    EXPECT_EQ(out.allocatedSize(), 1024U);
}

TEST(CBzip2Compressor, FinishesOfNoRunAnswerFalse)
{
    auto const compressor = NewCompressor(kBzip2);
    amortizedmemblock out = BlockOf("rubbish");
    EXPECT_FALSE(compressor->FinishCompressChunks(out));
    EXPECT_EQ(out.size(), 0U);
    EXPECT_FALSE(compressor->FinishDecompressChunks(out));
    EXPECT_FALSE(compressor->CompressChunk("text", 4, out));
    EXPECT_FALSE(compressor->DecompressChunk("text", 4, out));
}
