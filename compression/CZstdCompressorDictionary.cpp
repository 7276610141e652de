// Dictionaries of CZstdCompressor: in use, and trained.
#include "compression/CZstdCompressor.h"

#include <cstring>

#define ZDICT_STATIC_LINKING_ONLY
#include <zdict.h>
#define ZSTD_STATIC_LINKING_ONLY
#include <zstd.h>

namespace {

// All but these is left at 0: the optimiser looks for the best lengths of segment and table.
ZDICT_fastCover_params_t TrainingParameters(int level)
{
    ZDICT_fastCover_params_t parameters = {};
    parameters.d = 8;
    parameters.steps = 4;
    parameters.nbThreads = static_cast<unsigned int>(CZstdCompressor::GetNumberOfCPUCores());
    parameters.splitPoint = 0.75;
    parameters.zParams.compressionLevel = level;
    parameters.zParams.notificationLevel = 0;
    return parameters;
}

// The trainer trusts the sizes. False if they go beyond `total`.
bool TakeSizes(std::vector<long long> const& sizes,
               unsigned long total,
               std::vector<std::size_t>& taken)
{
    taken.reserve(sizes.size());
    for (long long const size : sizes) {
        if (size < 0 || static_cast<unsigned long>(size) > total) return false;
        total -= static_cast<unsigned long>(size);
        taken.push_back(static_cast<std::size_t>(size));
    }
    return true;
}

}  // namespace

void CZstdCompressor::SetDictionaryAndCompressionLevel(void const* dictionary,
                                                       unsigned long long size,
                                                       int level)
{
    CZstdCompressor plain(CDataCompressionServices::kDataCompressionZstd, nullptr);
    amortizedmemblock bytes(1024, 1.1F);
    // Kept on purpose: what can't be decompressed is an empty dictionary.
    plain.Decompress(dictionary, size, bytes);

    // Within a frame zstd refuses, and goes on with the former dictionary, which must live on then.
    InitCompressContextIfNeeded();
    SetCompressionLevel(level);
    ZSTD_CDict* const cdict = ZSTD_createCDict(bytes.data(), bytes.size(), mCompressionLevel);
    if (mCCtx && !ZSTD_isError(ZSTD_CCtx_refCDict(mCCtx, cdict))) {
        ZSTD_freeCDict(mCDict);
        mCDict = cdict;
    } else {
        ZSTD_freeCDict(cdict);
    }
    if (mCCtx) ZSTD_CCtx_setParameter(mCCtx, ZSTD_c_dictIDFlag, 0);

    InitDecompressContextIfNeeded();
    ZSTD_DDict* const ddict = ZSTD_createDDict(bytes.data(), bytes.size());
    if (mDCtx && !ZSTD_isError(ZSTD_DCtx_refDDict(mDCtx, ddict))) {
        ZSTD_freeDDict(mDDict);
        mDDict = ddict;
    } else {
        ZSTD_freeDDict(ddict);
    }
}

bool CZstdCompressor::BuildDictionary(memblock const& samples,
                                      std::vector<long long> const& sampleSizes,
                                      long long dictionarySize,
                                      amortizedmemblock& out)
{
    out.reset();
    std::vector<std::size_t> sizes;
    if (dictionarySize < 0 || !TakeSizes(sampleSizes, samples.size(), sizes)) return false;

    // Kept on purpose: a dictionary that comes out shorter than the block is stored with the zeros
    // behind it, and used with them.
    memblock dictionary;
    dictionary.resize(static_cast<unsigned long>(dictionarySize));
    if (dictionarySize > 0) std::memset(dictionary.data(), 0, dictionary.size());
    ZDICT_fastCover_params_t parameters = TrainingParameters(mCompressionLevel);
    std::size_t const trained = ZDICT_optimizeTrainFromBuffer_fastCover(
        dictionary.data(), dictionary.size(), samples.data(), sizes.data(),
        static_cast<unsigned int>(sizes.size()), &parameters);
    if (ZSTD_isError(trained)) return false;

    CZstdCompressor packer(CDataCompressionServices::kDataCompressionZstd, nullptr);
    packer.SetCompressionLevel(packer.GetMaxCompressionLevel());
    // Kept on purpose: a dictionary was trained, whether it could be compressed or not.
    packer.Compress(dictionary.data(), dictionary.size(), out);
    return true;
}

bool CZstdCompressor::BuildDictionary(StdSampleList const& samples,
                                      long long dictionarySize,
                                      amortizedmemblock& out)
{
    amortizedmemblock all(1024, 2.0F);
    std::vector<long long> sizes;
    sizes.reserve(samples.size());
    for (memblock const& sample : samples) {
        all.append(sample);
        sizes.push_back(static_cast<long long>(sample.size()));
    }
    return BuildDictionary(all, sizes, dictionarySize, out);
}
