#include "compression/CDataCompressionServices.h"

#include "compression/CBzip2Compressor.h"
#include "compression/CZstdCompressor.h"

CDataCompressor* CDataCompressionServices::NewCompressor(DataCompressionEnum type,
                                                         CDataCompressionProgress* progress)
{
    switch (type) {
    case kDataCompressionBzip2:
        return new CBzip2Compressor(type, progress);
    case kDataCompressionZstd:
        return new CZstdCompressor(type, progress);
    }
    return nullptr;
}
