// The inner loops of Base64, one set for each kind of processor. All of them do the same.
//
// For x86_64 they follow Wojciech Muła and Daniel Lemire, "Faster Base64 Encoding and Decoding
// Using AVX2 Instructions" (ACM Transactions on the Web 12/3, 2018), and "Base64 encoding and
// decoding at almost the speed of a memory copy" (Software: Practice and Experience 50/2, 2020).
#pragma once

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

/// How far decoding got.
struct Base64Run
{
    std::size_t mRead = 0;  ///< characters up to the end of the last group
    std::size_t mWritten = 0;

    bool operator==(Base64Run const&) const = default;
};

/// Encodes `size` bytes as `(size + 2) / 3 * 4` characters with the padding, and writes no other.
using EncodeBase64 = void(unsigned char const* in, std::size_t size, char* out);

/// Decodes groups of four characters of the alphabet up to the first group that has another one in
/// it, and answers how many characters that were. `size` is a multiple of 4. Of the last group the
/// last `padding` characters, 0 to 2, aren't looked at and bring out no byte. `out` has room for
/// `size / 4 * 3 - padding` bytes, all of which may be written.
using DecodeBase64 = std::size_t(char const* in,
                                 std::size_t size,
                                 std::size_t padding,
                                 unsigned char* out);

/// The same for any size, and with white space in front of groups, which is stepped over. `out` has
/// room for `size / 4 * 3` bytes, all of which may be written.
using DecodeBase64Lines = Base64Run(char const* in, std::size_t size, unsigned char* out);

/// What is told above holds for each level, to the character.
struct Base64Kernels
{
    char const* mName;
    EncodeBase64* mEncode;
    DecodeBase64* mDecode;
    DecodeBase64Lines* mDecodeLines;
};

/// The plain loops, with which the others do what is left for them, and those of processors.
EncodeBase64 EncodeBase64Plain;
DecodeBase64 DecodeBase64Plain;
#if defined(__x86_64__)
EncodeBase64 EncodeBase64SSSE3;
DecodeBase64 DecodeBase64SSSE3;
EncodeBase64 EncodeBase64AVX2;
DecodeBase64 DecodeBase64AVX2;
EncodeBase64 EncodeBase64AVX512;
DecodeBase64 DecodeBase64AVX512;
DecodeBase64Lines DecodeBase64LinesAVX512;
#elif defined(__aarch64__)
EncodeBase64 EncodeBase64NEON;
DecodeBase64 DecodeBase64NEON;
#endif

/// All that this processor can run, the plain ones first and the fastest last.
std::vector<Base64Kernels const*> GetAllBase64Kernels();

/// Null before the first use.
extern std::atomic<Base64Kernels const*> sBase64KernelsInUse;
Base64Kernels const& ChooseBase64Kernels();

/// Those in use: the fastest, unless a guard says otherwise.
inline Base64Kernels const& GetBase64Kernels()
{
    Base64Kernels const* const inUse = sBase64KernelsInUse.load(std::memory_order_relaxed);
    return inUse ? *inUse : ChooseBase64Kernels();
}

/// For tests and fuzzers: puts other kernels in use for a scope, in the whole process. Scopes are
/// nested.
class StBase64Kernels
{
public:
    /// `kernels` outlives the guard.
    explicit StBase64Kernels(Base64Kernels const& kernels)
        : mFormer(sBase64KernelsInUse.exchange(&kernels))
    {
    }

    ~StBase64Kernels() { sBase64KernelsInUse.store(mFormer); }

    StBase64Kernels(StBase64Kernels const&) = delete;
    StBase64Kernels& operator=(StBase64Kernels const&) = delete;

private:
    Base64Kernels const* mFormer;  // not owned; null before the choice
};

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

constexpr bool IsBase64Space(char character)
{
    return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

/// Four values to three bytes.
inline void
JoinBase64(unsigned int p, unsigned int q, unsigned int r, unsigned int s, unsigned char* out)
{
    out[0] = static_cast<unsigned char>(p << 2 | q >> 4);
    out[1] = static_cast<unsigned char>(q << 4 | r >> 2);
    out[2] = static_cast<unsigned char>(r << 6 | s);
}

/// Line by line, each by a run of `kDecode`. A line mostly is as long as the one before it. Where
/// that holds the next step doesn't wait for the outcome of this one.
template <DecodeBase64* kDecode>
Base64Run DecodeBase64LinesBy(char const* in, std::size_t size, unsigned char* out)
{
    Base64Run done;
    std::size_t next = 0;
    std::size_t line = size;
    while (true) {
        while (next < size && IsBase64Space(in[next]))
            ++next;
        std::size_t const expected = std::min(line, size - next) & ~std::size_t{3};
        std::size_t const run = kDecode(in + next, expected, 0, out + done.mWritten);
        if (run == 0) return done;
        next += run;
        done = {next, done.mWritten + run / 4 * 3};
        line = next < size && IsBase64Space(in[next]) ? run : size;
    }
}
