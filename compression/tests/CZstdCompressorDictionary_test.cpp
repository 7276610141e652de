#include "compression/CZstdCompressor.h"

#include "compression/tests/CompressionTesting.h"

#include <gtest/gtest.h>

#include <vector>

#define ZSTD_STATIC_LINKING_ONLY
#include <zstd.h>

namespace {

constexpr Kind kZstd = CDataCompressionServices::kDataCompressionZstd;
constexpr long long kDictionarySize = 4096;

struct Samples
{
    amortizedmemblock mAll;
    std::vector<long long> mSizes;
};

std::string Document(unsigned int number)
{
    return "Subject: " + TextOf(40, number) + "\nFrom: harbour office, number " +
           std::to_string(number) + "\n\n" + TextOf(300 + number % 200, number + 1000);
}

Samples ManyDocuments()
{
    Samples samples;
    for (unsigned int i = 0; i < 200; ++i) {
        std::string const document = Document(i);
        samples.mAll.append(document.data(), document.size());
        samples.mSizes.push_back(static_cast<long long>(document.size()));
    }
    return samples;
}

// Trained once for all cases.
amortizedmemblock const& Trained()
{
    static amortizedmemblock const sDictionary = [] {
        amortizedmemblock out;
        Samples const samples = ManyDocuments();
        CZstdCompressor(kZstd, nullptr)
            .BuildDictionary(samples.mAll, samples.mSizes, kDictionarySize, out);
        return out;
    }();
    return sDictionary;
}

void SetTrained(CZstdCompressor& compressor, int level)
{
    compressor.SetDictionaryAndCompressionLevel(Trained().data(), Trained().size(), level);
}

// Notes what the list of samples is turned into.
class CNotingCompressor : public CZstdCompressor
{
public:
    CNotingCompressor()
        : CZstdCompressor(kZstd, nullptr)
    {
    }

    using CZstdCompressor::BuildDictionary;

    bool BuildDictionary(memblock const& samples,
                         std::vector<long long> const& sampleSizes,
                         long long dictionarySize,
                         amortizedmemblock& out) override
    {
        mSamples.assign(samples.data(), samples.data() + samples.size());
        mSizes = sampleSizes;
        return CZstdCompressor::BuildDictionary(samples, sampleSizes, dictionarySize, out);
    }

    std::string mSamples;
    std::vector<long long> mSizes;
};

}  // namespace

TEST(CZstdCompressorDictionary, ServesBothDirectionsOnDifferentObjects)
{
    std::string const document = Document(500);
    CZstdCompressor writer(kZstd, nullptr);
    SetTrained(writer, 3);
    CZstdCompressor reader(kZstd, nullptr);
    SetTrained(reader, 19);
    EXPECT_EQ(reader.GetCompressionLevel(), 19);
    std::string const frame = Compressed(writer, document).mBytes;
    std::string const plain = Compressed(*NewCompressor(kZstd), document).mBytes;
    EXPECT_LT(frame.size() * 10, plain.size() * 9);
    EXPECT_EQ(Decompressed(reader, frame), (Made{true, document}));
    EXPECT_EQ(Decompressed(writer, frame), (Made{true, document}));
    EXPECT_EQ(Decompressed(*NewCompressor(kZstd), frame), (Made{false, ""}));

    std::string const inChunks = CompressedInChunks(reader, document, 100, 100).mBytes;
    EXPECT_EQ(DecompressedInChunks(writer, inChunks, 33, 33), (Made{true, document}));
}

TEST(CZstdCompressorDictionary, IsNotNamedInFrames)
{
    CZstdCompressor writer(kZstd, nullptr);
    SetTrained(writer, 3);
    std::string const frame = Compressed(writer, Document(1)).mBytes;
    EXPECT_EQ(ZSTD_getDictID_fromFrame(frame.data(), frame.size()), 0U);
    amortizedmemblock bytes;
    ASSERT_TRUE(NewCompressor(kZstd)->Decompress(Trained().data(), Trained().size(), bytes));
    EXPECT_NE(ZSTD_getDictID_fromDict(bytes.data(), bytes.size()), 0U);
}

TEST(CZstdCompressorDictionary, CanBeReplaced)
{
    std::string const document = Document(500);
    CZstdCompressor compressor(kZstd, nullptr);
    std::string const plain = Compressed(compressor, document).mBytes;
    for (int round = 0; round < 3; ++round) {
        SetTrained(compressor, 3);
        std::string const frame = Compressed(compressor, document).mBytes;
        EXPECT_LT(frame.size(), plain.size());
        EXPECT_EQ(Decompressed(compressor, frame), (Made{true, document}));
    }
}

TEST(CZstdCompressorDictionary, KeepsActingAsAnEmptyOneWhereItsBytesAreGarbage)
{
    std::string const document = Document(500);
    CZstdCompressor compressor(kZstd, nullptr);
    std::string const plain = Compressed(compressor, document).mBytes;
    SetTrained(compressor, 3);
    compressor.SetDictionaryAndCompressionLevel("garbage", 7, 3);
    std::string const frame = Compressed(compressor, document).mBytes;
    EXPECT_EQ(Decompressed(*NewCompressor(kZstd), frame), (Made{true, document}));
    EXPECT_EQ(Decompressed(compressor, plain), (Made{true, document}));
}

TEST(CZstdCompressorDictionary, KeepsTheLevelThatItWasSetWith)
{
    std::string text;
    for (unsigned int i = 0; i < 100; ++i)
        text += Document(i);
    CZstdCompressor compressor(kZstd, nullptr);
    SetTrained(compressor, 19);
    std::string const best = Compressed(compressor, text).mBytes;
    compressor.SetCompressionLevel(1);
    EXPECT_EQ(compressor.GetCompressionLevel(), 1);
    EXPECT_EQ(Compressed(compressor, text).mBytes, best);

    // This way a level below 1 does reach zstd.
    SetTrained(compressor, 1);
    std::string const fast = Compressed(compressor, text).mBytes;
    SetTrained(compressor, -50);
    EXPECT_EQ(compressor.GetCompressionLevel(), -50);
    EXPECT_GT(Compressed(compressor, text).mBytes.size(), fast.size());
    EXPECT_GT(fast.size(), best.size());
}

TEST(CZstdCompressorDictionary, IsNotReplacedWithinAFrame)
{
    std::string const document = Document(500);
    CZstdCompressor compressor(kZstd, nullptr);
    SetTrained(compressor, 3);
    amortizedmemblock out;
    ASSERT_TRUE(compressor.StartCompressChunks(document.size(), out));
    ASSERT_TRUE(compressor.CompressChunk(document.data(), document.size(), out));
    std::string frame = Content(out);
    compressor.SetDictionaryAndCompressionLevel(nullptr, 0, 3);
    ASSERT_TRUE(compressor.FinishCompressChunks(out));
    frame += Content(out);

    CZstdCompressor reader(kZstd, nullptr);
    SetTrained(reader, 3);
    ASSERT_TRUE(reader.StartDecompressChunks(frame.size(), out));
    ASSERT_TRUE(reader.DecompressChunk(frame.data(), 20, out));
    std::string read = Content(out);
    reader.SetDictionaryAndCompressionLevel(nullptr, 0, 3);
    ASSERT_TRUE(reader.DecompressChunk(frame.data() + 20, frame.size() - 20, out));
    EXPECT_EQ(read + Content(out), document);
}

TEST(CZstdCompressorDictionary, IsStoredCompressedInItsFullSize)
{
    Made const bytes = Decompressed(*NewCompressor(kZstd), Content(Trained()));
    EXPECT_TRUE(bytes.mResult);
    EXPECT_EQ(bytes.mBytes.size(), static_cast<std::size_t>(kDictionarySize));
    EXPECT_EQ(bytes.mBytes.substr(0, 4), "\x37\xA4\x30\xEC");
}

TEST(CZstdCompressorDictionary, KeepsTheTailBehindAShortOne)
{
    constexpr long long kMuch = 1000000;
    Samples const samples = ManyDocuments();
    CZstdCompressor compressor(kZstd, nullptr);
    amortizedmemblock out;
    ASSERT_TRUE(compressor.BuildDictionary(samples.mAll, samples.mSizes, kMuch, out));
    Made const bytes = Decompressed(*NewCompressor(kZstd), Content(out));
    ASSERT_EQ(bytes.mBytes.size(), static_cast<std::size_t>(kMuch));
    EXPECT_TRUE(bytes.mBytes.ends_with(std::string(1000, '\0')));
    // It is in use with its tail.
    compressor.SetDictionaryAndCompressionLevel(out.data(), out.size(), 3);
    std::string const document = Document(3);
    EXPECT_EQ(Decompressed(compressor, Compressed(compressor, document).mBytes),
              (Made{true, document}));
}

TEST(CZstdCompressorDictionary, IsTrainedFromAListAsFromOneBlock)
{
    CZstdCompressor::StdSampleList list;
    std::string all;
    std::vector<long long> sizes;
    for (unsigned int i = 0; i < 50; ++i) {
        std::string const document = i == 7 ? "" : Document(i);
        list.push_back(BlockOf(document));
        all += document;
        sizes.push_back(static_cast<long long>(document.size()));
    }
    CNotingCompressor compressor;
    amortizedmemblock out = BlockOf("rubbish");
    EXPECT_TRUE(compressor.BuildDictionary(list, 1024, out));
    EXPECT_TRUE(compressor.mSamples == all);
    EXPECT_EQ(compressor.mSizes, sizes);
    EXPECT_EQ(Decompressed(compressor, Content(out)).mBytes.size(), 1024U);

    EXPECT_FALSE(compressor.BuildDictionary(CZstdCompressor::StdSampleList(), 1024, out));
    EXPECT_TRUE(compressor.mSizes.empty());
    EXPECT_EQ(out.size(), 0U);
}

TEST(CZstdCompressorDictionary, BadSamplesAreRefusedAndLeaveNothing)
{
    Samples const good = ManyDocuments();
    auto const total = static_cast<long long>(good.mAll.size());

    struct
    {
        char const* mWhat;
        std::vector<long long> mSizes;
        long long mDictionarySize;
    } const cases[] = {
        {"no sample", {}, 4096},
        {"one sample", {total}, 4096},
        {"samples of nothing", std::vector<long long>(100, 0), 4096},
        {"samples of 7 bytes", {7, 7}, 4096},
        {"a size beyond the block", {total / 2, total / 2, 100}, 4096},
        {"sizes whose sum wraps", {INT64_MAX, INT64_MAX, 2 + total}, 4096},
        {"a negative size", {-1, total}, 4096},
        {"a dictionary of nothing", good.mSizes, 0},
        {"a dictionary below zstd's least", good.mSizes, 255},
        {"a negative dictionary", good.mSizes, -1},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        amortizedmemblock out = BlockOf("rubbish");
        EXPECT_FALSE(CZstdCompressor(kZstd, nullptr)
                         .BuildDictionary(good.mAll, c.mSizes, c.mDictionarySize, out));
        EXPECT_EQ(out.size(), 0U);
    }
}
