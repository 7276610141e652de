// Memory for key material, wiped when it goes.
#pragma once

#include <cstddef>
#include <cstring>

/// Sets bytes to 0 so that no compiler takes it for needless.
inline void WipeBytes(void* bytes, std::size_t size)
{
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
