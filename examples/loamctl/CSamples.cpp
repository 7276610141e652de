#include "loamctl/CSamples.h"

#include <algorithm>

#include "compression/CZstdCompressor.h"

namespace {

// What zstd takes for a dictionary at least, and how many samples make one worth its room.
constexpr unsigned long kSmallest = 256;
constexpr std::size_t kFewest = 8;

}  // namespace

void CSamples::Add(std::string_view bytes)
{
    if (bytes.empty() || IsFull()) return;
    bytes = bytes.substr(0, kMostOfOne);
    mAll.append(bytes.data(), bytes.size());
    mSizes.push_back(static_cast<long long>(bytes.size()));
}

// A dictionary comes out in full size, with zeros behind it where there was too little to learn: so
// it is never asked to be larger than a part of what it is made of.
bool CSamples::Train(CZstdCompressor& compressor, unsigned long size, amortizedmemblock& dictionary)
{
    size = std::min(size, mAll.size() / 8);
    if (size < kSmallest || mSizes.size() < kFewest) return false;
    return compressor.BuildDictionary(mAll, mSizes, static_cast<long long>(size), dictionary);
}
