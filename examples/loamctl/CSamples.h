// Pieces of documents, as many as training a dictionary takes well.
#pragma once

#include <string_view>
#include <vector>

#include "marl/amortizedmemblock.h"

class CZstdCompressor;

class CSamples
{
public:
    /// Of all documents together, and of one: more makes training slow and no dictionary better.
    static constexpr unsigned long kMost = 16UL << 20;
    static constexpr unsigned long kMostOfOne = 128UL << 10;

    /// Takes the start of a document. Does nothing when there is enough.
    void Add(std::string_view bytes);

    bool IsFull() const { return mAll.size() >= kMost; }

    unsigned long GetSize() const { return mAll.size(); }

    /// Trains a dictionary of at most `size` bytes. False where there is too little to learn from.
    bool Train(CZstdCompressor& compressor, unsigned long size, amortizedmemblock& dictionary);

private:
    amortizedmemblock mAll{65536, 2.0F, true};
    std::vector<long long> mSizes;
};
