// Memory for key material, wiped when it goes.
#pragma once

#include "marl/memblock.h"

#include <cstddef>
#include <cstring>

/// Sets bytes to 0 so that no compiler takes it for needless.
inline void WipeBytes(void* bytes, std::size_t size)
{
    if (size == 0) return;
    std::memset(bytes, 0, size);
    asm volatile("" : : "r"(bytes) : "memory");
}

template <std::size_t kSize>
class StWipedBytes
{
public:
    StWipedBytes() = default;
    StWipedBytes(StWipedBytes const&) = delete;
    StWipedBytes& operator=(StWipedBytes const&) = delete;

    ~StWipedBytes() { WipeBytes(mBytes, kSize); }

    char mBytes[kSize];
};

/// A block for a scope. What it leaves behind where it grows isn't wiped: size it once.
class StWipedBlock
{
public:
    explicit StWipedBlock(memblock& block)
        : mBlock(block)
    {
    }

    StWipedBlock(StWipedBlock const&) = delete;
    StWipedBlock& operator=(StWipedBlock const&) = delete;

    ~StWipedBlock() { WipeBytes(mBlock.data(), mBlock.size()); }

private:
    memblock& mBlock;
};
