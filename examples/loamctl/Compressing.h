// The compressors behind `pack`, `unpack`, `train` and stores, by the options that they share.
#pragma once

#include <memory>
#include <string>

#include "compression/CDataCompressor.h"
#include "compression/CZstdCompressor.h"
#include "loamctl/CCommandLine.h"
#include "marl/amortizedmemblock.h"

struct CompressionOptions
{
    bool mBzip2 = false;
    int mLevel = 0;  ///< 0 for the library's own
    bool mLong = false;
    bool mMagicless = false;
    std::string mDictionaryPath;
    amortizedmemblock mDictionary;  ///< what is in that file; see `ReadDictionary`
};

/// Adds --bzip2, --magicless and --dict.
void AddCompressionOptions(CArguments command, CompressionOptions& options);

/// Reads the dictionary, if one is named. Throws `CUsageError` if the file is none, and what
/// `CFile` throws.
void ReadDictionary(CompressionOptions& options);

std::unique_ptr<CZstdCompressor> NewZstdCompressor();

/// A new one, since one that has failed can't be used again.
std::unique_ptr<CDataCompressor> MakeCompressor(CompressionOptions const& options,
                                                CDataCompressionProgress* progress = nullptr);
