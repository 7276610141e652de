// Compression beside direct calls of the libraries, with the same parameters: in one shot, in
// chunks of 128 KB, and of 1,000 small documents with a dictionary.
//
// Bytes a second are those of the plain text, by the processor time of all threads. Both sides keep
// what they write into, and zstd's both keep their context. `Peak...` tells by how much one call in
// a process of its own makes that grow at most: the library's own into a buffer of the bound beside
// ours into a block.
#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <bzlib.h>
#include <sys/wait.h>
#include <unistd.h>

#define ZSTD_STATIC_LINKING_ONLY
#include <zstd.h>

#include "benchmarks/Corpora.h"
#include "compression/CDataCompressor.h"
#include "compression/CZstdCompressor.h"
#include "marl/amortizedmemblock.h"

namespace {

constexpr std::size_t kChunk = 128 << 10;
constexpr auto kZstd = CDataCompressionServices::kDataCompressionZstd;
constexpr auto kBzip2 = CDataCompressionServices::kDataCompressionBzip2;

std::string const& Text()
{
    static std::string const sText = [] {
        std::string text;
        for (Corpus const& corpus : Corpora())
            text += corpus.mText.substr(0, 200000);
        text.resize(std::min<std::size_t>(text.size(), 2 << 20));
        return text;
    }();
    return sText;
}

// As many workers as the library takes.
int Workers()
{
    long const count = sysconf(_SC_NPROCESSORS_ONLN);
    return static_cast<int>(count < 8 ? count : count * 3 / 4);
}

std::unique_ptr<CZstdCompressor> NewZstd(int level)
{
    auto* const made = CDataCompressionServices::NewCompressor(kZstd, nullptr);
    std::unique_ptr<CZstdCompressor> compressor(dynamic_cast<CZstdCompressor*>(made));
    compressor->SetCompressionLevel(level);
    return compressor;
}

ZSTD_CCtx* NewContext(int level)
{
    ZSTD_CCtx* const context = ZSTD_createCCtx();
    ZSTD_CCtx_setParameter(context, ZSTD_c_nbWorkers, Workers());
    ZSTD_CCtx_setParameter(context, ZSTD_c_compressionLevel, level);
    return context;
}

void Count(benchmark::State& state, std::size_t bytes)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(bytes));
}

void OneShotLoam(benchmark::State& state)
{
    auto const compressor = NewZstd(static_cast<int>(state.range(0)));
    amortizedmemblock out(1024, 2.0F, true);
    for (auto _ : state) {
        out.resize(0);
        compressor->Compress(Text().data(), Text().size(), out);
    }
    Count(state, Text().size());
}

void OneShotZstd(benchmark::State& state)
{
    ZSTD_CCtx* const context = NewContext(static_cast<int>(state.range(0)));
    std::vector<char> out(ZSTD_compressBound(Text().size()));
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            ZSTD_compress2(context, out.data(), out.size(), Text().data(), Text().size()));
    }
    ZSTD_freeCCtx(context);
    Count(state, Text().size());
}

template <class Use>
void EachChunk(std::string const& text, Use use)
{
    for (std::size_t at = 0; at < text.size(); at += kChunk)
        use(text.data() + at, std::min(kChunk, text.size() - at));
}

void ChunksLoam(benchmark::State& state)
{
    auto const compressor = NewZstd(static_cast<int>(state.range(0)));
    amortizedmemblock out;
    for (auto _ : state) {
        compressor->StartCompressChunks(kChunk, out);
        EachChunk(Text(), [&](char const* data, std::size_t size) {
            compressor->CompressChunk(data, size, out);
            benchmark::DoNotOptimize(out.data());
        });
        compressor->FinishCompressChunks(out);
    }
    Count(state, Text().size());
}

void ChunksZstd(benchmark::State& state)
{
    ZSTD_CCtx* const context = NewContext(static_cast<int>(state.range(0)));
    std::vector<char> out(ZSTD_CStreamOutSize());
    for (auto _ : state) {
        EachChunk(Text(), [&](char const* data, std::size_t size) {
            ZSTD_inBuffer in{data, size, 0};
            while (in.pos < in.size) {
                ZSTD_outBuffer to{out.data(), out.size(), 0};
                ZSTD_compressStream2(context, &to, &in, ZSTD_e_continue);
                benchmark::DoNotOptimize(out.data());
            }
        });
        for (std::size_t left = 1; left > 0;) {
            ZSTD_inBuffer in{nullptr, 0, 0};
            ZSTD_outBuffer to{out.data(), out.size(), 0};
            left = ZSTD_compressStream2(context, &to, &in, ZSTD_e_end);
        }
    }
    ZSTD_freeCCtx(context);
    Count(state, Text().size());
}

std::string const& Frame()
{
    static std::string const sFrame = [] {
        amortizedmemblock out;
        NewZstd(3)->Compress(Text().data(), Text().size(), out);
        return std::string(out.data(), out.size());
    }();
    return sFrame;
}

void DecompressLoam(benchmark::State& state)
{
    auto const compressor = NewZstd(3);
    amortizedmemblock out(1024, 2.0F, true);
    for (auto _ : state) {
        out.resize(0);
        compressor->Decompress(Frame().data(), Frame().size(), out);
    }
    Count(state, Text().size());
}

void DecompressZstd(benchmark::State& state)
{
    ZSTD_DCtx* const context = ZSTD_createDCtx();
    std::vector<char> out(Text().size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            ZSTD_decompressDCtx(context, out.data(), out.size(), Frame().data(), Frame().size()));
    }
    ZSTD_freeDCtx(context);
    Count(state, Text().size());
}

void Bzip2Loam(benchmark::State& state)
{
    std::unique_ptr<CDataCompressor> const compressor(
        CDataCompressionServices::NewCompressor(kBzip2, nullptr));
    amortizedmemblock out(1024, 2.0F, true);
    for (auto _ : state) {
        out.resize(0);
        compressor->Compress(Text().data(), Text().size(), out);
    }
    Count(state, Text().size());
}

void Bzip2Direct(benchmark::State& state)
{
    std::vector<char> out(Text().size() + Text().size() / 100 + 600);
    for (auto _ : state) {
        auto size = static_cast<unsigned int>(out.size());
        benchmark::DoNotOptimize(
            BZ2_bzBuffToBuffCompress(out.data(), &size, const_cast<char*>(Text().data()),
                                     static_cast<unsigned int>(Text().size()), 3, 0, 30));
    }
    Count(state, Text().size());
}

void Bzip2ChunksLoam(benchmark::State& state)
{
    std::unique_ptr<CDataCompressor> const compressor(
        CDataCompressionServices::NewCompressor(kBzip2, nullptr));
    amortizedmemblock out;
    for (auto _ : state) {
        compressor->StartCompressChunks(kChunk, out);
        EachChunk(Text(), [&](char const* data, std::size_t size) {
            compressor->CompressChunk(data, size, out);
        });
        compressor->FinishCompressChunks(out);
    }
    Count(state, Text().size());
}

void Bzip2ChunksDirect(benchmark::State& state)
{
    std::vector<char> out(kChunk);
    for (auto _ : state) {
        bz_stream stream{};
        BZ2_bzCompressInit(&stream, 3, 0, 30);
        auto const step = [&](int action) {
            stream.next_out = out.data();
            stream.avail_out = static_cast<unsigned int>(out.size());
            return BZ2_bzCompress(&stream, action);
        };
        EachChunk(Text(), [&](char const* data, std::size_t size) {
            stream.next_in = const_cast<char*>(data);
            stream.avail_in = static_cast<unsigned int>(size);
            while (stream.avail_in > 0)
                step(BZ_RUN);
        });
        while (step(BZ_FINISH) == BZ_FINISH_OK) {}
        BZ2_bzCompressEnd(&stream);
    }
    Count(state, Text().size());
}

// 1,000 documents of 300 to 2,000 bytes, and a dictionary that is trained on them.
struct Documents
{
    std::vector<std::string> mAll;
    std::size_t mBytes = 0;
    amortizedmemblock mDictionary;  // as the library makes it
    amortizedmemblock mRaw;
};

Documents const& SmallDocuments()
{
    static Documents const sDocuments = [] {
        Documents documents;
        amortizedmemblock all;
        std::vector<long long> sizes;
        for (std::size_t i = 0; i < 1000; ++i) {
            std::string const document =
                Text().substr(i * 7919 % (Text().size() - 2000), 300 + i * 31 % 1701);
            documents.mAll.push_back(document);
            documents.mBytes += document.size();
            all.append(document.data(), document.size());
            sizes.push_back(static_cast<long long>(document.size()));
        }
        auto const compressor = NewZstd(3);
        compressor->BuildDictionary(all, sizes, 32768, documents.mDictionary);
        compressor->Decompress(documents.mDictionary.data(), documents.mDictionary.size(),
                               documents.mRaw);
        return documents;
    }();
    return sDocuments;
}

void SmallDocumentsLoam(benchmark::State& state)
{
    Documents const& documents = SmallDocuments();
    auto const compressor = NewZstd(3);
    compressor->SetDictionaryAndCompressionLevel(documents.mDictionary.data(),
                                                 documents.mDictionary.size(), 3);
    amortizedmemblock out(1024, 2.0F, true);
    for (auto _ : state) {
        for (std::string const& document : documents.mAll) {
            out.resize(0);
            compressor->Compress(document.data(), document.size(), out);
        }
    }
    Count(state, documents.mBytes);
}

void SmallDocumentsZstd(benchmark::State& state)
{
    Documents const& documents = SmallDocuments();
    ZSTD_CCtx* const context = NewContext(3);
    ZSTD_CDict* const dictionary =
        ZSTD_createCDict(documents.mRaw.data(), documents.mRaw.size(), 3);
    ZSTD_CCtx_refCDict(context, dictionary);
    ZSTD_CCtx_setParameter(context, ZSTD_c_dictIDFlag, 0);
    std::vector<char> out(ZSTD_compressBound(4096));
    for (auto _ : state) {
        for (std::string const& document : documents.mAll) {
            benchmark::DoNotOptimize(
                ZSTD_compress2(context, out.data(), out.size(), document.data(), document.size()));
        }
    }
    ZSTD_freeCCtx(context);
    ZSTD_freeCDict(dictionary);
    Count(state, documents.mBytes);
}

// A line of what the system says of this process, in KB.
long ReadStatus(std::string const& key)
{
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(key)) return std::atol(line.c_str() + key.size());
    }
    return -1;
}

template <class Work>
void Peak(benchmark::State& state, Work work)
{
    Text();
    Frame();
    for (auto _ : state) {
        int pipes[2];
        if (pipe(pipes) != 0) std::abort();
        pid_t const child = fork();
        if (child == 0) {
            long const before = ReadStatus("VmRSS:");
            work();
            long const grown = ReadStatus("VmHWM:") - before;
            _exit(write(pipes[1], &grown, sizeof(grown)) == sizeof(grown) ? 0 : 1);
        }
        long grown = -1;
        if (read(pipes[0], &grown, sizeof(grown)) != sizeof(grown)) grown = -1;
        waitpid(child, nullptr, 0);
        close(pipes[0]);
        close(pipes[1]);
        state.counters["KB"] = static_cast<double>(grown);
    }
}

void PeakCompressLoam(benchmark::State& state)
{
    Peak(state, [] {
        amortizedmemblock out;
        NewZstd(3)->Compress(Text().data(), Text().size(), out);
    });
}

void PeakCompressZstd(benchmark::State& state)
{
    Peak(state, [] {
        ZSTD_CCtx* const context = NewContext(3);
        std::vector<char> out(ZSTD_compressBound(Text().size()));
        ZSTD_compress2(context, out.data(), out.size(), Text().data(), Text().size());
        ZSTD_freeCCtx(context);
    });
}

void PeakDecompressLoam(benchmark::State& state)
{
    Peak(state, [] {
        amortizedmemblock out;
        NewZstd(3)->Decompress(Frame().data(), Frame().size(), out);
    });
}

void PeakDecompressZstd(benchmark::State& state)
{
    Peak(state, [] {
        ZSTD_DCtx* const context = ZSTD_createDCtx();
        std::vector<char> out(Text().size());
        ZSTD_decompressDCtx(context, out.data(), out.size(), Frame().data(), Frame().size());
        ZSTD_freeDCtx(context);
    });
}

}  // namespace

BENCHMARK(OneShotLoam)->Arg(1)->Arg(3)->Arg(19)->MeasureProcessCPUTime();
BENCHMARK(OneShotZstd)->Arg(1)->Arg(3)->Arg(19)->MeasureProcessCPUTime();
BENCHMARK(ChunksLoam)->Arg(1)->Arg(3)->Arg(19)->MeasureProcessCPUTime();
BENCHMARK(ChunksZstd)->Arg(1)->Arg(3)->Arg(19)->MeasureProcessCPUTime();
BENCHMARK(DecompressLoam);
BENCHMARK(DecompressZstd);
BENCHMARK(Bzip2Loam);
BENCHMARK(Bzip2Direct);
BENCHMARK(Bzip2ChunksLoam);
BENCHMARK(Bzip2ChunksDirect);
BENCHMARK(SmallDocumentsLoam);
BENCHMARK(SmallDocumentsZstd);

BENCHMARK(PeakCompressLoam)->Iterations(1);
BENCHMARK(PeakCompressZstd)->Iterations(1);
BENCHMARK(PeakDecompressLoam)->Iterations(1);
BENCHMARK(PeakDecompressZstd)->Iterations(1);

BENCHMARK_MAIN();
