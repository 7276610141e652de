// What both back ends have in common, and where their answers differ.
#include "compression/CDataCompressor.h"

#include "compression/tests/CompressionTesting.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <optional>
#include <vector>

#include <zstd.h>

namespace {

constexpr Kind kBzip2 = CDataCompressionServices::kDataCompressionBzip2;
constexpr Kind kZstd = CDataCompressionServices::kDataCompressionZstd;
constexpr Kind kKinds[] = {kBzip2, kZstd};

char const* NameOf(Kind kind)
{
    return kind == kBzip2 ? "bzip2" : "zstd";
}

// A block that refuses to grow beyond a size, as a host caps a hostile stream.
class CCappedBlock : public amortizedmemblock
{
public:
    explicit CCappedBlock(unsigned long cap)
        : amortizedmemblock(1024, 1.0F)
        , mCap(cap)
    {
    }

    void resize(unsigned long newSize) override
    {
        if (newSize > mCap) throw std::bad_alloc();
        amortizedmemblock::resize(newSize);
    }

private:
    unsigned long mCap;
};

// Runs a program of that name over `input`; nothing if it isn't here.
std::optional<std::string>
RunProgram(std::string const& program, std::string const& arguments, std::string const& input)
{
    StTempDir const folder;
    folder.Write("input", input);
    std::string const line = "cd '" + folder.Path() + "' && command -v " + program +
                             " >/dev/null && " + program + " " + arguments + " <input >output";
    if (std::system(line.c_str()) != 0) return std::nullopt;
    return folder.Read("output");
}

}  // namespace

TEST(CDataCompressionServices, MakesWhatIsThereAndNothingElse)
{
    EXPECT_EQ(NewCompressor(kBzip2)->GetCompressionLevel(), -1);
    EXPECT_EQ(NewCompressor(kZstd)->GetCompressionLevel(), 3);
    EXPECT_EQ(NewCompressor(static_cast<Kind>(0)), nullptr);
    EXPECT_EQ(NewCompressor(static_cast<Kind>(2)), nullptr);
}

TEST(CDataCompressor, RemembersItsLevel)
{
    for (Kind const kind : kKinds) {
        SCOPED_TRACE(NameOf(kind));
        auto const compressor = NewCompressor(kind);
        compressor->SetCompressionLevel(9);
        EXPECT_EQ(compressor->GetCompressionLevel(), 9);
        compressor->SetCompressionLevel(-5);
        EXPECT_EQ(compressor->GetCompressionLevel(), -5);
    }
}

TEST(CDataCompressor, OneShotAppends)
{
    std::string const text = TextOf(1000);
    for (Kind const kind : kKinds) {
        SCOPED_TRACE(NameOf(kind));
        auto const compressor = NewCompressor(kind);
        std::string const packed = Compressed(*compressor, text).mBytes;
        amortizedmemblock out = BlockOf("0123456789");
        ASSERT_TRUE(compressor->Compress(text.data(), text.size(), out));
        EXPECT_EQ(Content(out), "0123456789" + packed);
        ASSERT_TRUE(compressor->Decompress(packed.data(), packed.size(), out));
        EXPECT_EQ(Content(out), "0123456789" + packed + text);
    }
}

TEST(CDataCompressor, ChunksReplaceWhatTheBlockHolds)
{
    std::string const text = TextOf(1000);
    for (Kind const kind : kKinds) {
        SCOPED_TRACE(NameOf(kind));
        auto const compressor = NewCompressor(kind);
        amortizedmemblock out;
        ASSERT_TRUE(compressor->StartCompressChunks(1000, out));
        out.resize(0);
        out.append("rubbish", 7);
        ASSERT_TRUE(compressor->CompressChunk(text.data(), text.size(), out));
        std::string packed = Content(out);
        out.append("rubbish", 7);
        ASSERT_TRUE(compressor->FinishCompressChunks(out));
        packed += Content(out);
        EXPECT_EQ(Decompressed(*compressor, packed), (Made{true, text}));
    }
}

TEST(CDataCompressor, EveryCutOfASmallStreamGivesTheSame)
{
    std::string const text = TextOf(60);
    for (Kind const kind : kKinds) {
        SCOPED_TRACE(NameOf(kind));
        auto const compressor = NewCompressor(kind);
        int wrong = 0;
        for (std::size_t cut = 1; cut <= text.size(); ++cut) {
            Made const packed = CompressedInChunks(*compressor, text, cut, cut);
            if (!packed.mResult || Decompressed(*compressor, packed.mBytes).mBytes != text) ++wrong;
        }
        EXPECT_EQ(wrong, 0) << "chunks of the text";

        std::string const packed = CompressedInChunks(*compressor, text, 60, 60).mBytes;
        for (std::size_t cut = 1; cut <= packed.size(); ++cut) {
            if (DecompressedInChunks(*compressor, packed, cut, cut) != Made{true, text}) ++wrong;
        }
        EXPECT_EQ(wrong, 0) << "chunks of the stream";
    }
}

TEST(CDataCompressor, ChunkRunsAndOneShotsReadEachOther)
{
    // Around nothing, zstd's blocks of 128 KB, bzip2's of 300,000 bytes less 19, and 1 MB.
    std::vector<std::size_t> const sizes = {
        0, 1, 2, 1000, 131071, 131072, 131073, 299980, 299981, 299982, 1000000, 1048576, 1048577};

    struct
    {
        char const* mWhat;
        std::size_t mIn;
        std::size_t mOut;
        unsigned long long mHint;
    } const cuts[] = {
        {"whole, and room for little", 2000000, 2000000, 1},
        {"odd chunks", 65537, 4093, 65537},
        {"small chunks", 7919, 997, 0},
    };

    for (Kind const kind : kKinds) {
        SCOPED_TRACE(NameOf(kind));
        for (std::size_t const size : sizes) {
            SCOPED_TRACE(size);
            std::string const text = TextOf(size);
            auto const compressor = NewCompressor(kind);
            std::string const whole = Compressed(*compressor, text).mBytes;
            EXPECT_TRUE((Decompressed(*compressor, whole) == Made{true, text}));
            for (auto const& cut : cuts) {
                SCOPED_TRACE(cut.mWhat);
                Made const packed = CompressedInChunks(*compressor, text, cut.mIn, cut.mHint);
                ASSERT_TRUE(packed.mResult);
                bool const isSame = Decompressed(*compressor, packed.mBytes) == Made{true, text} &&
                                    DecompressedInChunks(*compressor, packed.mBytes, cut.mOut,
                                                         cut.mHint) == Made{true, text} &&
                                    DecompressedInChunks(*compressor, whole, cut.mOut, cut.mHint) ==
                                        Made{true, text};
                EXPECT_TRUE(isSame);
            }
        }
    }
}

// Each end of a block is the end of a chunk, and so are the places around it; the stream is cut
// near its ends and at many places between.
TEST(CDataCompressor, CutsAroundTheEndsOfBlocksGiveTheSame)
{
    struct
    {
        Kind mKind;
        std::size_t mBlock;
    } const cases[] = {{kZstd, 131072}, {kZstd, 1048576}, {kBzip2, 299981}};

    for (auto const& c : cases) {
        SCOPED_TRACE(NameOf(c.mKind));
        std::string const text = TextOf(c.mBlock + 3);
        auto const compressor = NewCompressor(c.mKind);
        std::string const stream = CompressedInChunks(*compressor, text, c.mBlock, 1).mBytes;
        amortizedmemblock out;
        int wrong = 0;
        for (std::size_t const cut :
             {std::size_t{1}, c.mBlock - 2, c.mBlock - 1, c.mBlock, c.mBlock + 1, c.mBlock + 2}) {
            bool isGood = compressor->StartCompressChunks(0, out);
            isGood &= compressor->CompressChunk(text.data(), cut, out);
            std::string packed = Content(out);
            isGood &= compressor->CompressChunk(text.data() + cut, text.size() - cut, out);
            packed += Content(out);
            isGood &= compressor->FinishCompressChunks(out);
            packed += Content(out);
            if (!isGood || Decompressed(*compressor, packed) != Made{true, text}) ++wrong;
        }
        EXPECT_EQ(wrong, 0) << "cuts of the text";

        std::size_t const step = stream.size() / 20;
        for (std::size_t cut = 1; cut < stream.size(); ++cut) {
            bool const isNearAnEnd = cut < 20 || stream.size() - cut < 20;
            if (!isNearAnEnd && cut % step != 0) continue;
            bool isGood = compressor->StartDecompressChunks(0, out);
            isGood &= compressor->DecompressChunk(stream.data(), cut, out);
            std::string read = Content(out);
            isGood &= compressor->DecompressChunk(stream.data() + cut, stream.size() - cut, out);
            read += Content(out);
            isGood &= compressor->FinishDecompressChunks(out);
            if (!isGood || read != text) ++wrong;
        }
        EXPECT_EQ(wrong, 0) << "cuts of the stream";
    }
}

TEST(CDataCompressor, ChunksOfARunMayDifferInSize)
{
    std::string const text = TextOf(700000);
    for (Kind const kind : kKinds) {
        SCOPED_TRACE(NameOf(kind));
        auto const compressor = NewCompressor(kind);
        CNumbers numbers(7);
        amortizedmemblock out;
        bool isGood = compressor->StartCompressChunks(100, out);
        std::string packed;
        for (std::size_t at = 0, size = 0; at < text.size(); at += size) {
            size = std::min<std::size_t>(1 + (numbers.Next() >> numbers.Next() % 16),
                                         text.size() - at);
            isGood &= compressor->CompressChunk(text.data() + at, size, out);
            packed += Content(out);
        }
        isGood &= compressor->FinishCompressChunks(out);
        packed += Content(out);
        EXPECT_TRUE(isGood);
        EXPECT_TRUE((Decompressed(*compressor, packed) == Made{true, text}));

        std::string read;
        isGood = compressor->StartDecompressChunks(100, out);
        for (std::size_t at = 0, size = 0; at < packed.size(); at += size) {
            size = std::min<std::size_t>(1 + (numbers.Next() >> numbers.Next() % 16),
                                         packed.size() - at);
            isGood &= compressor->DecompressChunk(packed.data() + at, size, out);
            read += Content(out);
        }
        isGood &= compressor->FinishDecompressChunks(out);
        EXPECT_TRUE(isGood && read == text);
    }
}

TEST(CDataCompressor, NoiseAndLongRunsComeBackWhole)
{
    std::string const contents[] = {NoiseOf(400000), std::string(5000000, 'x'),
                                    std::string(3000000, 'y') + NoiseOf(1000)};
    for (Kind const kind : kKinds) {
        SCOPED_TRACE(NameOf(kind));
        for (std::string const& content : contents) {
            auto const compressor = NewCompressor(kind);
            Made const whole = Compressed(*compressor, content);
            Made const chunks = CompressedInChunks(*compressor, content, 100000, 100000);
            EXPECT_TRUE(whole.mResult && chunks.mResult);
            EXPECT_TRUE((Decompressed(*compressor, whole.mBytes) == Made{true, content}));
            EXPECT_TRUE((Decompressed(*compressor, chunks.mBytes) == Made{true, content}));
            EXPECT_TRUE(
                (DecompressedInChunks(*compressor, chunks.mBytes, 100, 1) == Made{true, content}));
        }
    }
}

TEST(CDataCompressor, RefusesStreamsOfTheOtherBackEndAndGarbage)
{
    std::string const text = TextOf(5000);

    struct
    {
        char const* mWhat;
        Kind mReader;
        std::string mStream;
    } const cases[] = {
        {"bzip2 to zstd", kZstd, Compressed(*NewCompressor(kBzip2), text).mBytes},
        {"zstd to bzip2", kBzip2, Compressed(*NewCompressor(kZstd), text).mBytes},
        {"noise to zstd", kZstd, NoiseOf(500)},
        {"noise to bzip2", kBzip2, NoiseOf(500)},
        {"text to zstd", kZstd, text},
        {"text to bzip2", kBzip2, text},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        amortizedmemblock out = BlockOf("as it was");
        EXPECT_FALSE(NewCompressor(c.mReader)->Decompress(c.mStream.data(), c.mStream.size(), out));
        EXPECT_EQ(Content(out), "as it was");

        auto const compressor = NewCompressor(c.mReader);
        ASSERT_TRUE(compressor->StartDecompressChunks(100, out));
        EXPECT_FALSE(compressor->DecompressChunk(c.mStream.data(), c.mStream.size(), out));
        EXPECT_EQ(out.size(), 0U);
        EXPECT_EQ(compressor->FinishDecompressChunks(out), c.mReader == kZstd);
    }
}

TEST(CDataCompressor, EveryDamagedByteOfAStreamIsSurvived)
{
    std::string const text = TextOf(300);
    for (Kind const kind : kKinds) {
        SCOPED_TRACE(NameOf(kind));
        std::string const good = Compressed(*NewCompressor(kind), text).mBytes;
        int refused = 0;
        for (std::size_t i = 0; i < good.size(); ++i) {
            std::string bad = good;
            bad[i] = static_cast<char>(bad[i] ^ 0x20);
            CCappedBlock out(1000000);
            bool isMade = false;
            try {
                isMade = NewCompressor(kind)->Decompress(bad.data(), bad.size(), out);
            } catch (std::exception const&) {
                // A size stated in a damaged header.
            }
            if (!isMade) ++refused;
        }
        // Zstd's frames have no checksum here, so that a changed letter is no error; bzip2's end in
        // bits that mean nothing.
        EXPECT_GE(refused, kind == kBzip2 ? static_cast<int>(good.size()) - 1 : 10);
    }
}

TEST(CDataCompressor, AHostStopsABombByItsBlock)
{
    constexpr std::size_t kBombSize = 50000000;
    constexpr unsigned long kCap = 1000000;
    std::string const zeros(kBombSize, '\0');
    for (Kind const kind : kKinds) {
        SCOPED_TRACE(NameOf(kind));
        auto const compressor = NewCompressor(kind);
        std::string const bomb = Compressed(*compressor, zeros).mBytes;
        std::string const inChunks =
            CompressedInChunks(*compressor, zeros, kBombSize, kBombSize).mBytes;
        EXPECT_LT(bomb.size(), 2000U);
        EXPECT_LT(inChunks.size(), 2000U);

        CCappedBlock out(kCap);
        EXPECT_THROW(NewCompressor(kind)->Decompress(bomb.data(), bomb.size(), out),
                     std::bad_alloc);
        EXPECT_LE(out.allocatedSize(), kCap);
        for (std::string const& stream : {bomb, inChunks}) {
            auto const reader = NewCompressor(kind);
            CCappedBlock chunk(kCap);
            ASSERT_TRUE(reader->StartDecompressChunks(stream.size(), chunk));
            EXPECT_THROW(reader->DecompressChunk(stream.data(), stream.size(), chunk),
                         std::bad_alloc);
            EXPECT_LE(chunk.allocatedSize(), kCap);
            reader->FinishDecompressChunks(chunk);
        }
    }
}

// What a one-shot of zstd's asks of the block is the library's bound, and the stated size.
TEST(CDataCompressor, ABlockGrowsToTheBoundAndNoFurther)
{
    class CNotedBlock : public amortizedmemblock
    {
    public:
        CNotedBlock()
            : amortizedmemblock(0, 1.0F)
        {
        }

        void resize(unsigned long newSize) override
        {
            amortizedmemblock::resize(newSize);
            mMost = std::max(mMost, allocatedSize());
        }

        unsigned long mMost = 0;
    };

    std::string const text = TextOf(1000000);
    auto const compressor = NewCompressor(kZstd);
    CNotedBlock packed;
    ASSERT_TRUE(compressor->Compress(text.data(), text.size(), packed));
    EXPECT_EQ(packed.mMost, ZSTD_compressBound(text.size()));
    CNotedBlock read;
    ASSERT_TRUE(compressor->Decompress(packed.data(), packed.size(), read));
    EXPECT_EQ(read.mMost, text.size());
}

TEST(CDataCompressor, ReadsThePrograms)
{
    for (Kind const kind : kKinds) {
        SCOPED_TRACE(NameOf(kind));
        for (std::size_t const size : {0UL, 1UL, 300000UL, 2000000UL}) {
            SCOPED_TRACE(size);
            std::string const text = TextOf(size);
            auto const packed = RunProgram(NameOf(kind), "-q -c", text);
            if (!packed) GTEST_SKIP() << "there is no program " << NameOf(kind);
            auto const compressor = NewCompressor(kind);
            EXPECT_TRUE((Decompressed(*compressor, *packed) == Made{true, text}));
            EXPECT_TRUE(
                (DecompressedInChunks(*compressor, *packed, 1000, 1000) == Made{true, text}));
        }
    }
}

TEST(CDataCompressor, TheProgramsReadUs)
{
    for (Kind const kind : kKinds) {
        SCOPED_TRACE(NameOf(kind));
        for (std::size_t const size : {0UL, 1UL, 300000UL, 2000000UL}) {
            SCOPED_TRACE(size);
            std::string const text = TextOf(size);
            auto const compressor = NewCompressor(kind);
            std::string const whole = Compressed(*compressor, text).mBytes;
            auto const read = RunProgram(NameOf(kind), "-q -d -c", whole);
            if (!read) GTEST_SKIP() << "there is no program " << NameOf(kind);
            EXPECT_TRUE(*read == text);
            // A run without a byte is no frame, and none of zstd's streams.
            if (kind == kZstd && size == 0) continue;
            std::string const inChunks = CompressedInChunks(*compressor, text, 7777, 7777).mBytes;
            EXPECT_TRUE(RunProgram(NameOf(kind), "-q -d -c", inChunks) == text);
        }
    }
}
