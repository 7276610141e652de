// Back ends whose libraries have no memory for them, and what is left behind.
#include "compression/CBzip2Compressor.h"
#include "compression/CZstdCompressor.h"
#include "compression/tests/CompressionTesting.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

constexpr Kind kBzip2 = CDataCompressionServices::kDataCompressionBzip2;
constexpr Kind kZstd = CDataCompressionServices::kDataCompressionZstd;

bool sFails = false;
int sEnds = 0;
bz_stream sLastBegun;

// Lets every context and stream state fail to come into being for a scope.
class StNoMemory
{
public:
    StNoMemory() { sFails = true; }

    StNoMemory(StNoMemory const&) = delete;
    StNoMemory& operator=(StNoMemory const&) = delete;

    ~StNoMemory() { sFails = false; }
};

}  // namespace

// Seen from outside: a library that another one brings along may use zstd too, and the linker takes
// its calls for wrapped ones.
#pragma GCC visibility push(default)
extern "C" {

ZSTD_CCtx_s* __real_ZSTD_createCCtx();
ZSTD_DCtx_s* __real_ZSTD_createDCtx();
int __real_BZ2_bzCompressInit(bz_stream* stream, int blockSize, int verbosity, int workFactor);
int __real_BZ2_bzCompressEnd(bz_stream* stream);
int __real_BZ2_bzDecompressInit(bz_stream* stream, int verbosity, int small);

ZSTD_CCtx_s* __wrap_ZSTD_createCCtx();
ZSTD_DCtx_s* __wrap_ZSTD_createDCtx();
int __wrap_BZ2_bzCompressInit(bz_stream* stream, int blockSize, int verbosity, int workFactor);
int __wrap_BZ2_bzCompressEnd(bz_stream* stream);
int __wrap_BZ2_bzDecompressInit(bz_stream* stream, int verbosity, int small);

ZSTD_CCtx_s* __wrap_ZSTD_createCCtx()
{
    return sFails ? nullptr : __real_ZSTD_createCCtx();
}

ZSTD_DCtx_s* __wrap_ZSTD_createDCtx()
{
    return sFails ? nullptr : __real_ZSTD_createDCtx();
}

int __wrap_BZ2_bzCompressInit(bz_stream* stream, int blockSize, int verbosity, int workFactor)
{
    if (sFails) return BZ_MEM_ERROR;
    int const status = __real_BZ2_bzCompressInit(stream, blockSize, verbosity, workFactor);
    sLastBegun = *stream;
    return status;
}

int __wrap_BZ2_bzCompressEnd(bz_stream* stream)
{
    ++sEnds;
    return __real_BZ2_bzCompressEnd(stream);
}

int __wrap_BZ2_bzDecompressInit(bz_stream* stream, int verbosity, int small)
{
    return sFails ? BZ_MEM_ERROR : __real_BZ2_bzDecompressInit(stream, verbosity, small);
}
}
#pragma GCC visibility pop

TEST(CompressionFailures, ContextsThatCannotBeMadeAreAnsweredWithFalse)
{
    StNoMemory const noMemory;
    for (Kind const kind : {kBzip2, kZstd}) {
        SCOPED_TRACE(kind);
        auto const compressor = NewCompressor(kind);
        amortizedmemblock out = BlockOf("as it was");
        EXPECT_FALSE(compressor->Compress("text", 4, out));
        EXPECT_FALSE(compressor->Decompress("text", 4, out));
        EXPECT_EQ(Content(out), "as it was");
        EXPECT_FALSE(compressor->StartCompressChunks(10, out));
        EXPECT_FALSE(compressor->CompressChunk("text", 4, out));
        EXPECT_FALSE(compressor->StartDecompressChunks(10, out));
        EXPECT_FALSE(compressor->DecompressChunk("text", 4, out));
        EXPECT_EQ(out.size(), 0U);
    }
}

TEST(CompressionFailures, DictionariesWithoutContextsAreSurvived)
{
    CZstdCompressor compressor(kZstd, nullptr);
    {
        StNoMemory const noMemory;
        compressor.SetDictionaryAndCompressionLevel("any", 3, 7);
        EXPECT_EQ(compressor.GetCompressionLevel(), 7);
    }
    std::string const text = TextOf(100);
    EXPECT_EQ(Decompressed(compressor, Compressed(compressor, text).mBytes), (Made{true, text}));
}

TEST(CompressionFailures, KeepsAnsweringTrueForADictionaryThatCouldNotBeCompressed)
{
    std::string const text = TextOf(20000);
    std::vector<long long> const sizes(100, 200);
    CZstdCompressor compressor(kZstd, nullptr);
    amortizedmemblock out;
    StNoMemory const noMemory;
    EXPECT_TRUE(compressor.BuildDictionary(BlockOf(text), sizes, 1024, out));
    EXPECT_EQ(out.size(), 0U);
}

TEST(CompressionFailures, KeepsTheMemoryOfARunThatIsDeletedInIt)
{
    // The state lives on its own; the test ends it, by another stream. A state begins with the
    // address of the stream that it belongs to.
    sEnds = 0;
    amortizedmemblock out;
    ASSERT_TRUE(NewCompressor(kBzip2)->StartCompressChunks(10, out));
    EXPECT_EQ(sEnds, 0);
    bz_stream heir = sLastBegun;
    void* const self = &heir;
    std::memcpy(heir.state, &self, sizeof(self));
    EXPECT_EQ(__real_BZ2_bzCompressEnd(&heir), BZ_OK);
}

TEST(CompressionFailures, AnExceptionOfTheBlockLosesNoMemory)
{
    // ASan's leak check looks on; so does the count here.
    class CFullBlock : public amortizedmemblock
    {
    public:
        void resize(unsigned long newSize) override
        {
            if (newSize > 2000) throw std::bad_alloc();
            amortizedmemblock::resize(newSize);
        }
    };

    std::string const noise = NoiseOf(9000);
    CFullBlock out;
    sEnds = 0;
    EXPECT_THROW(NewCompressor(kBzip2)->Compress(noise.data(), noise.size(), out), std::bad_alloc);
    EXPECT_EQ(sEnds, 1);

    // Nor does the end of a run, which is ended then.
    auto const compressor = NewCompressor(kBzip2);
    out.clear();
    ASSERT_TRUE(compressor->StartCompressChunks(0, out));
    ASSERT_TRUE(compressor->CompressChunk(noise.data(), noise.size(), out));
    EXPECT_THROW(compressor->FinishCompressChunks(out), std::bad_alloc);
    EXPECT_EQ(sEnds, 2);
    EXPECT_FALSE(compressor->FinishCompressChunks(out));
}
