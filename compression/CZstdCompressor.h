// The zstd back end of `CDataCompressor`, with what only zstd can do: worker threads, matches over
// long distances, frames without the magic number, dictionaries and their training.
//
//     auto* const compressor =
//     dynamic_cast<CZstdCompressor*>(CDataCompressionServices::NewCompressor(
//         CDataCompressionServices::kDataCompressionZstd, nullptr));
//     compressor->SetDictionaryAndCompressionLevel(dictionary.data(), dictionary.size(), 19);
//
// BEWARE of what is kept between calls. A context, once made, is never reset: after a run that was
// given up, or a stream that failed in chunks or without its size stated, the next run goes on in
// the middle of that one. Make a new compressor then.
//
// Frames are those of RFC 8878, without a checksum. From a run of chunks they don't state their
// size. Compression starts threads of zstd's own: one for each processor that runs, from 8
// processors on three quarters of them; they are gone with the object.
#pragma once

#include "compression/CDataCompressor.h"
#include "marl/amortizedmemblock.h"

#include <cstddef>
#include <vector>

struct ZSTD_CCtx_s;
struct ZSTD_CDict_s;
struct ZSTD_DCtx_s;
struct ZSTD_DDict_s;

/// Hosts get one from `NewCompressor` and use its virtual operations.
class LOAM_EXPORT CZstdCompressor : public CDataCompressor
{
public:
    /// A list of samples, each of which is read only.
#if defined(_LIBCPP_VERSION) && _LIBCPP_VERSION < 190000
    using StdSampleList = std::vector<memblock const>;
#else
    using StdSampleList = std::vector<memblock>;  // these libraries hold no constant elements
#endif

    CZstdCompressor(CDataCompressionServices::DataCompressionEnum type,
                    CDataCompressionProgress* progress);
    ~CZstdCompressor() override;

    /// Takes effect at once, but not on frames with a dictionary, which brings its own level. A
    /// level of 0 or below is kept and answered by `GetCompressionLevel`, but never reaches zstd,
    /// which stays at the level before.
    void SetCompressionLevel(int level) override;

    bool Compress(void const* data, unsigned long long size, amortizedmemblock& out) override;
    bool StartCompressChunks(unsigned long long sizeHint, amortizedmemblock& out) override;
    bool CompressChunk(void const* data, unsigned long long size, amortizedmemblock& out) override;
    /// BEWARE: a run that was fed no byte ends without a frame, and so does one whose last chunk
    /// left nothing to flush, whose frame then has no end. The latter can't be with a worker
    /// thread, unless the last chunk was cut where a worker's piece ended, which is megabytes long.
    bool FinishCompressChunks(amortizedmemblock& out) override;

    /// A frame that doesn't state its size is made in a block of the compressor's first, which
    /// keeps its storage for the next one, and then appended. One that states it is refused if more
    /// than that comes out, a second frame too.
    bool Decompress(void const* data, unsigned long long size, amortizedmemblock& out) override;
    bool StartDecompressChunks(unsigned long long sizeHint, amortizedmemblock& out) override;
    /// Reads frame after frame, wherever they were cut.
    bool
    DecompressChunk(void const* data, unsigned long long size, amortizedmemblock& out) override;
    /// True, also where the last frame was cut.
    bool FinishDecompressChunks(amortizedmemblock& out) override;

    // Virtual operations keep their order for ever; new ones go last.

    /// Frames without the magic number, 4 bytes shorter, in both directions. Set it before the
    /// first use: once there is a context for a direction, that stays as it is.
    virtual void SetMagiclessFormat(bool enable);
    virtual int GetMaxCompressionLevel();
    /// Matches over long distances, for large data that repeats itself; takes effect at once, but
    /// is lost on a context in the midst of a frame: set it before a run.
    virtual void EnableLongDistanceMatching(bool enable);
    /// Arms both directions with a dictionary that `BuildDictionary` made. Frames don't name it:
    /// the reader has to know. Bytes that aren't one act as an empty dictionary. `level`, here also
    /// one of 0 (zstd's own default) or below, is the dictionary's for good. Within an open frame
    /// the former dictionary stays in use.
    virtual void
    SetDictionaryAndCompressionLevel(void const* dictionary, unsigned long long size, int level);
    /// Trains a dictionary of `dictionarySize` bytes, 256 or more, from samples that lie in one
    /// block behind one another, and puts it into `out`, compressed. False with an empty `out`
    /// where the samples are too few or too small, or their sizes go beyond the block. Takes
    /// seconds for megabytes of samples, on as many threads as there are processors.
    virtual bool BuildDictionary(memblock const& samples,
                                 std::vector<long long> const& sampleSizes,
                                 long long dictionarySize,
                                 amortizedmemblock& out);
    virtual bool
    BuildDictionary(StdSampleList const& samples, long long dictionarySize, amortizedmemblock& out);

    /// The processors that run now; 0 if the system doesn't say. For the library itself.
    static int GetNumberOfCPUCores();

protected:
    void InitCompressContextIfNeeded();
    void InitDecompressContextIfNeeded();
    /// The directive is a `ZSTD_EndDirective`: a template, so that hosts need no header of zstd's.
    template <class EndDirective>
    bool CompressChunk_(void const* data,
                        unsigned long long size,
                        amortizedmemblock& out,
                        EndDirective directive);
    bool DecompressChunk_(void const* data, unsigned long long size, amortizedmemblock& out);

    ZSTD_CCtx_s* mCCtx = nullptr;     // owned, made on first need
    ZSTD_CDict_s* mCDict = nullptr;   // owned
    ZSTD_DCtx_s* mDCtx = nullptr;     // owned, made on first need
    ZSTD_DDict_s* mDDict = nullptr;   // owned
    std::size_t mFlushRemaining = 0;  // zstd's last answer in a compressing run
    bool mLongDistanceMatching = false;
    amortizedmemblock mWorkBlock{1024, 2.0F, true};  // for frames that don't state their size
    bool mMagiclessFormat = false;
};
