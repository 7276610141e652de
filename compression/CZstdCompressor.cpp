// Contexts, levels and the two directions. Dictionaries are in CZstdCompressorDictionary.cpp.
#include "compression/CZstdCompressor.h"

#include "compression/platform/CBasicProcessorPlatform.h"

#include <climits>

#define ZSTD_STATIC_LINKING_ONLY
#include <zstd.h>

namespace {

constexpr int kDefaultLevel = 3;
// From so many processors on, a quarter of them is left to others.
constexpr int kManyProcessors = 8;
// Output that is made of one byte of input, as it is taken at first, and the factor from which on
// it isn't doubled any more.
constexpr unsigned long kFirstExpansion = 10;
constexpr unsigned long kLastExpansion = 100;

}  // namespace

CZstdCompressor::CZstdCompressor(CDataCompressionServices::DataCompressionEnum type,
                                 CDataCompressionProgress* progress)
    : CDataCompressor(type, progress)
{
    mCompressionLevel = kDefaultLevel;
}

CZstdCompressor::~CZstdCompressor()
{
    ZSTD_freeCCtx(mCCtx);
    ZSTD_freeCDict(mCDict);
    ZSTD_freeDCtx(mDCtx);
    ZSTD_freeDDict(mDDict);
}

int CZstdCompressor::GetNumberOfCPUCores()
{
    return ProcessorPlatform().CountRunningProcessors();
}

// Kept on purpose: what is below 1 never reaches the context, though zstd knows negative levels.
void CZstdCompressor::SetCompressionLevel(int level)
{
    mCompressionLevel = level;
    if (level >= 1 && mCCtx) ZSTD_CCtx_setParameter(mCCtx, ZSTD_c_compressionLevel, level);
}

int CZstdCompressor::GetMaxCompressionLevel()
{
    return ZSTD_maxCLevel();
}

void CZstdCompressor::EnableLongDistanceMatching(bool enable)
{
    mLongDistanceMatching = enable;
    if (mCCtx) ZSTD_CCtx_setParameter(mCCtx, ZSTD_c_enableLongDistanceMatching, enable ? 1 : 0);
}

// Kept on purpose: a context that is there keeps its format.
void CZstdCompressor::SetMagiclessFormat(bool enable)
{
    mMagiclessFormat = enable;
}

// Kept on purpose: neither context is ever reset, so that a run goes on where the last was left.
void CZstdCompressor::InitCompressContextIfNeeded()
{
    if (mCCtx) return;
    mCCtx = ZSTD_createCCtx();
    if (!mCCtx) return;
    int const processors = GetNumberOfCPUCores();
    int const workers = processors < kManyProcessors ? processors : processors * 3 / 4;
    ZSTD_CCtx_setParameter(mCCtx, ZSTD_c_nbWorkers, workers);
    SetCompressionLevel(mCompressionLevel);
    EnableLongDistanceMatching(mLongDistanceMatching);
    if (mMagiclessFormat) ZSTD_CCtx_setParameter(mCCtx, ZSTD_c_format, ZSTD_f_zstd1_magicless);
}

void CZstdCompressor::InitDecompressContextIfNeeded()
{
    if (mDCtx) return;
    mDCtx = ZSTD_createDCtx();
    if (mDCtx && mMagiclessFormat)
        ZSTD_DCtx_setParameter(mDCtx, ZSTD_d_format, ZSTD_f_zstd1_magicless);
}

bool CZstdCompressor::Compress(void const* data, unsigned long long size, amortizedmemblock& out)
{
    InitCompressContextIfNeeded();
    if (!mCCtx) return false;
    unsigned long const base = out.size();
    std::size_t const bound = ZSTD_compressBound(size);
    if (ZSTD_isError(bound) || bound > ULONG_MAX - base) return false;
    out.resize(base + bound);
    std::size_t written = 0;
    std::size_t read = 0;
    std::size_t const left = ZSTD_compressStream2_simpleArgs(
        mCCtx, out.data() + base, bound, &written, data, size, &read, ZSTD_e_end);
    if (ZSTD_isError(left)) {
        out.resize(base);
        return false;
    }
    out.resize(base + written);
    return true;
}

bool CZstdCompressor::Decompress(void const* data, unsigned long long size, amortizedmemblock& out)
{
    InitDecompressContextIfNeeded();
    if (!mDCtx) return false;
    unsigned long const base = out.size();
    unsigned long long const stated = ZSTD_getFrameContentSize(data, size);
    if (stated != ZSTD_CONTENTSIZE_UNKNOWN && stated != ZSTD_CONTENTSIZE_ERROR) {
        if (stated > ULONG_MAX - base) return false;
        out.resize(base + stated);
        std::size_t const made = ZSTD_decompressDCtx(mDCtx, out.data() + base, stated, data, size);
        bool const isGood = !ZSTD_isError(made);
        out.resize(isGood ? base + made : base);
        return isGood;
    }

    if (!StartDecompressChunks(size, mWorkBlock)) return false;
    if (!DecompressChunk(data, size, mWorkBlock)) return false;
    out.append(mWorkBlock);
    if (!FinishDecompressChunks(mWorkBlock)) return false;
    out.append(mWorkBlock);
    return true;
}

bool CZstdCompressor::StartCompressChunks(unsigned long long sizeHint, amortizedmemblock& out)
{
    InitCompressContextIfNeeded();
    if (!mCCtx) return false;
    out.resize(ZSTD_compressBound(sizeHint));
    out.setKeepAllocation(true);
    mFlushRemaining = 0;
    return true;
}

bool CZstdCompressor::CompressChunk(void const* data,
                                    unsigned long long size,
                                    amortizedmemblock& out)
{
    return CompressChunk_(data, size, out, ZSTD_e_continue);
}

bool CZstdCompressor::FinishCompressChunks(amortizedmemblock& out)
{
    return CompressChunk_(nullptr, 0, out, ZSTD_e_end);
}

template <class EndDirective>
bool CZstdCompressor::CompressChunk_(void const* data,
                                     unsigned long long size,
                                     amortizedmemblock& out,
                                     EndDirective directive)
{
    bool const isEnd = directive == ZSTD_e_end;
    // Kept on purpose: where nothing is left to flush a run ends here, and its frame stays open.
    if (size == 0 && (!isEnd || mFlushRemaining == 0)) {
        out.resize(0);
        return true;
    }
    std::size_t capacity = ZSTD_compressBound(size);
    std::size_t written = 0;
    std::size_t read = 0;
    do {
        capacity += mFlushRemaining;
        out.resize(capacity);
        std::size_t const left =
            mCCtx ? ZSTD_compressStream2_simpleArgs(mCCtx, out.data(), capacity, &written, data,
                                                    size, &read, directive)
                  : 0;
        if (!mCCtx || ZSTD_isError(left)) {
            out.resize(0);
            return false;
        }
        mFlushRemaining = left;
    } while (read < size || (isEnd && mFlushRemaining != 0));
    out.resize(written);
    return true;
}

bool CZstdCompressor::StartDecompressChunks(unsigned long long sizeHint, amortizedmemblock& out)
{
    InitDecompressContextIfNeeded();
    if (!mDCtx) return false;
    out.resize(sizeHint * kFirstExpansion + 100);
    out.setKeepAllocation(true);
    return true;
}

bool CZstdCompressor::DecompressChunk(void const* data,
                                      unsigned long long size,
                                      amortizedmemblock& out)
{
    return DecompressChunk_(data, size, out);
}

// Ends when the input is used up. What zstd holds back after that comes with the next chunk: it
// keeps the last byte of a frame unread until all of it is out.
bool CZstdCompressor::DecompressChunk_(void const* data,
                                       unsigned long long size,
                                       amortizedmemblock& out)
{
    unsigned long expansion = kFirstExpansion;
    std::size_t capacity = size * expansion;
    std::size_t written = 0;
    std::size_t read = 0;
    while (read < size) {
        out.resize(capacity);
        std::size_t const hint = mDCtx
                                     ? ZSTD_decompressStream_simpleArgs(mDCtx, out.data(), capacity,
                                                                        &written, data, size, &read)
                                     : 0;
        if (!mDCtx || ZSTD_isError(hint)) {
            out.resize(0);
            return false;
        }
        if (written == capacity && read < size) {
            if (expansion < kLastExpansion) expansion *= 2;
            capacity += (size - read) * expansion;
        }
    }
    out.resize(written);
    return true;
}

// Kept on purpose: a frame that was cut is taken for good.
bool CZstdCompressor::FinishDecompressChunks(amortizedmemblock& out)
{
    out.resize(0);
    return true;
}
