// Makes compressors.
//
//     std::unique_ptr<CDataCompressor> const compressor(CDataCompressionServices::NewCompressor(
//         CDataCompressionServices::kDataCompressionZstd, nullptr));
//     amortizedmemblock packed;
//     bool const isPacked = compressor->Compress(text.data(), text.size(), packed);
//
// The streams are plain zstd frames (RFC 8878) and bzip2 streams, as the programs of those names
// write and read them. Nothing in a stream is looked at to find out which kind it is: whoever reads
// it has to know.
#pragma once

#include "foundation/LoamExport.h"

class CDataCompressionProgress;
class CDataCompressor;

class LOAM_EXPORT CDataCompressionServices
{
public:
    enum DataCompressionEnum
    {
        kDataCompressionBzip2 = 1,
        kDataCompressionZstd = 3,  ///< made as a `CZstdCompressor`
    };

    /// A new compressor, which the caller deletes; null for any other value. `progress` may be
    /// null, belongs to the caller and outlives the compressor; zstd never calls it. Any thread may
    /// call.
    static CDataCompressor* NewCompressor(DataCompressionEnum type,
                                          CDataCompressionProgress* progress);
};
