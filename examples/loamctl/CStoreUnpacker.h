// Unpacks parts of a store, one after the other, and never into more than they say they are.
#pragma once

#include <cstdint>
#include <memory>
#include <string_view>

#include "marl/amortizedmemblock.h"

class CZstdCompressor;

class CStoreUnpacker
{
public:
    CStoreUnpacker();
    CStoreUnpacker(CStoreUnpacker const&) = delete;
    CStoreUnpacker& operator=(CStoreUnpacker const&) = delete;
    ~CStoreUnpacker();

    /// For all that follows. Its bytes aren't needed any more.
    void SetDictionary(std::string_view dictionary);

    /// Valid until the next call. Throws `CBadStore` for what isn't a frame of that size.
    std::string_view Unpack(std::string_view packed, std::uint64_t fullSize);

private:
    class CSizedBlock : public amortizedmemblock
    {
    public:
        CSizedBlock();

        void SetLimit(std::uint64_t limit) { mLimit = limit; }

        void resize(unsigned long newSize) override;

    private:
        std::uint64_t mLimit = 0;
    };

    std::unique_ptr<CZstdCompressor> mCompressor;
    CSizedBlock mBlock;
};
