// The inner loops of Base64, one set for each kind of processor. All of them do the same.
//
// For x86_64 they follow Wojciech Muła and Daniel Lemire, "Faster Base64 Encoding and Decoding
// Using AVX2 Instructions" (ACM Transactions on the Web 12/3, 2018), and "Base64 encoding and
// decoding at almost the speed of a memory copy" (Software: Practice and Experience 50/2, 2020).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

struct Base64Kernels
{
    char const* mName;
    /// Encodes `size` bytes, a multiple of 3, as `size / 3 * 4` characters, and writes no other.
    void (*mEncode)(unsigned char const* in, std::size_t size, char* out);
    /// Decodes groups of four characters of the alphabet up to the first group that has another
    /// one in it, and answers how many characters that were. `out` has room for `size / 4 * 3`
    /// bytes, all of which may be written.
    std::size_t (*mDecode)(char const* in, std::size_t size, unsigned char* out);
};

/// The fastest that this processor can run.
Base64Kernels const& GetBase64Kernels();

/// All that this processor can run, the plain ones first and the fastest last. For tests.
std::vector<Base64Kernels> GetAllBase64Kernels();

/// The alphabet, and "=" behind it, so that padding is looked up like data.
inline constexpr char cEncodingTable[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/=";
constexpr int kBase64Padding = 64;

/// The value of each character of the alphabet, and `bad` of all others.
constexpr std::array<std::uint8_t, 256> MakeBase64Values(std::uint8_t bad)
{
    std::array<std::uint8_t, 256> values{};
    values.fill(bad);
    for (std::uint8_t value = 0; value < kBase64Padding; ++value)
        values[static_cast<unsigned char>(cEncodingTable[value])] = value;
    return values;
}

/// The values of bytes; what isn't of the alphabet has that of "A".
inline constexpr auto cDecodingTable = MakeBase64Values(0);

/// Four values to three bytes.
inline void
JoinBase64(unsigned int p, unsigned int q, unsigned int r, unsigned int s, unsigned char* out)
{
    out[0] = static_cast<unsigned char>(p << 2 | q >> 4);
    out[1] = static_cast<unsigned char>(q << 4 | r >> 2);
    out[2] = static_cast<unsigned char>(r << 6 | s);
}

/// The plain kernels, with which the others do what is left for them.
void EncodeBase64Plain(unsigned char const* in, std::size_t size, char* out);
std::size_t DecodeBase64Plain(char const* in, std::size_t size, unsigned char* out);
