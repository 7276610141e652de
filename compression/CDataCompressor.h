// Compresses and decompresses, in one shot or in chunks, by the back end that
// `CDataCompressionServices::NewCompressor` was asked for.
//
// BEWARE of a hostile stream: a frame of 1.5 KB can grow to 50 MB and more. A host that must cap it
// derives from `amortizedmemblock` and throws from `resize`; all that is made goes into that block,
// but for a one-shot zstd frame that doesn't state its size, which is made elsewhere before it is
// appended: decompress what you don't trust in chunks. Give such a block the growth factor 1:
// bzip2's chunks ask for all the storage that it has. After an exception a chunk run is over: call
// its `Finish...`, where bzip2 gives its memory back, and delete the compressor.
//
// Failures are told by false, never thrown; an exception can only come from the block, where memory
// runs out. Sizes are in bytes; `data` may be null where there are none, and never lies in `out`.
// An object serves one thread at a time; objects don't share anything.
#pragma once

#include "compression/CDataCompressionServices.h"
#include "foundation/LoamExport.h"

class amortizedmemblock;

/// The one-shot forms append to `out`. The chunked forms replace what it holds: take the bytes away
/// before the next call. A run of chunks is `Start...`, any number of chunks of any size, which may
/// be another than the hint's, and `Finish...`. Chunks leave no trace: what comes of them is one
/// stream, which the one-shot form reads as well, and chunks that are cut elsewhere.
///
/// The two back ends differ:
///
///     what                            zstd                        bzip2
///     level                           used, 3 at first            kept, never used; -1 at first
///     progress                        never called                called after each step
///     `out` after a failed one-shot   as it was before            holds what was made so far
///     `out` after a failed chunk      empty                       holds what this call made
///     `FinishDecompressChunks`        always true                 true if the stream was complete
///     end of a run without a byte     no byte at all              a stream of nothing
///     a chunk of no bytes             true, and nothing           false in compressing
///     a chunk behind a stream's end   the next frame              false
///     runs open at a time             one in each direction       one; one-shots may come between
///     deleted in the middle of a run  everything is released      the run's memory is lost
///     size of a one-shot              what memory holds           less than 4 GiB either way
///     the run after a failed one      goes on where that stood    begins anew
class LOAM_EXPORT CDataCompressor
{
public:
    CDataCompressor(CDataCompressor const&) = delete;
    CDataCompressor& operator=(CDataCompressor const&) = delete;

    // Virtual operations keep their order for ever; new ones go last.

    virtual ~CDataCompressor();

    virtual void SetCompressionLevel(int level);
    /// What was set last.
    virtual int GetCompressionLevel();

    /// Appends `size` bytes of `data`, compressed, to `out`.
    virtual bool Compress(void const* data, unsigned long long size, amortizedmemblock& out) = 0;
    /// Begins a run. `sizeHint` is the size of a typical chunk; `out` is given room for what comes
    /// of one, and told to keep its storage. With false there is no run.
    virtual bool StartCompressChunks(unsigned long long sizeHint, amortizedmemblock& out) = 0;
    /// `out` then holds what this chunk brought out, which may be nothing yet.
    virtual bool
    CompressChunk(void const* data, unsigned long long size, amortizedmemblock& out) = 0;
    /// `out` then holds the stream's last bytes.
    virtual bool FinishCompressChunks(amortizedmemblock& out) = 0;

    /// Appends what `size` bytes of `data` were made of to `out`.
    virtual bool Decompress(void const* data, unsigned long long size, amortizedmemblock& out) = 0;
    virtual bool StartDecompressChunks(unsigned long long sizeHint, amortizedmemblock& out) = 0;
    virtual bool
    DecompressChunk(void const* data, unsigned long long size, amortizedmemblock& out) = 0;
    /// Empties `out`. Only bzip2 tells here that the stream was cut.
    virtual bool FinishDecompressChunks(amortizedmemblock& out) = 0;

protected:
    CDataCompressor(CDataCompressionServices::DataCompressionEnum type,
                    CDataCompressionProgress* progress);

    CDataCompressionServices::DataCompressionEnum mCompressionType;
    int mCompressionLevel = -1;
    CDataCompressionProgress* mProgress;  // not owned, may be null
};
