// The bzip2 back end of `CDataCompressor`: blocks of 300 KB, work factor 30, whatever the level.
//
// A run of chunks holds memory of the bzip2 library, which only its `Finish...` gives back. One
// stream state serves both directions, so a compressing and a decompressing run can't overlap; the
// one-shot forms have a state of their own and may come in between.
#pragma once

#include "compression/CDataCompressor.h"

#include <bzlib.h>

class CBzip2Compressor : public CDataCompressor
{
public:
    CBzip2Compressor(CDataCompressionServices::DataCompressionEnum type,
                     CDataCompressionProgress* progress)
        : CDataCompressor(type, progress)
    {
    }

    bool Compress(void const* data, unsigned long long size, amortizedmemblock& out) override;
    bool StartCompressChunks(unsigned long long sizeHint, amortizedmemblock& out) override;
    bool CompressChunk(void const* data, unsigned long long size, amortizedmemblock& out) override;
    bool FinishCompressChunks(amortizedmemblock& out) override;

    bool Decompress(void const* data, unsigned long long size, amortizedmemblock& out) override;
    bool StartDecompressChunks(unsigned long long sizeHint, amortizedmemblock& out) override;
    bool
    DecompressChunk(void const* data, unsigned long long size, amortizedmemblock& out) override;
    bool FinishDecompressChunks(amortizedmemblock& out) override;

private:
    bz_stream mStream{};      // of the run of chunks
    int mLastStatus = BZ_OK;  // the library's last answer in a decompressing run
};
