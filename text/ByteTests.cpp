#include "text/ByteTests.h"

#include "foundation/ProcessorFeatures.h"

#include <cstdint>
#include <cstring>

#if defined(__x86_64__)
#include <tmmintrin.h>
#define LOAM_CLASSIFIER __attribute__((target("ssse3")))
#elif defined(__aarch64__)
#include <arm_neon.h>
#define LOAM_CLASSIFIER
#endif

namespace {

using Bytes = std::uint8_t __attribute__((vector_size(16)));
using SignedBytes = std::int8_t __attribute__((vector_size(16)));
using Units = std::uint16_t __attribute__((vector_size(16)));
using Words = std::uint64_t __attribute__((vector_size(16)));

constexpr std::size_t kVector = sizeof(Bytes);
// How much is looked at between two questions whether to go on.
constexpr std::size_t kStride = 4 * kVector;

template <class Vector>
[[gnu::always_inline]] inline Vector Load(void const* from)
{
    Vector result;
    std::memcpy(&result, from, sizeof result);
    return result;
}

[[gnu::always_inline]] inline bool IsAnySet(Bytes bytes)
{
    Words const words = reinterpret_cast<Words>(bytes);
    return (words[0] | words[1]) != 0;
}

// 0xFF for each byte that is in 0x80..0x9F, which are the lowest ones with a sign.
[[gnu::always_inline]] inline Bytes C1In(char const* bytes)
{
    return reinterpret_cast<Bytes>(Load<SignedBytes>(bytes) < static_cast<std::int8_t>(-0x60));
}

[[gnu::always_inline]] inline bool HasC1(char const* stride)
{
    return IsAnySet(C1In(stride) | C1In(stride + kVector) | C1In(stride + 2 * kVector) |
                    C1In(stride + 3 * kVector));
}

// All bits that occur in a stride.
[[gnu::always_inline]] inline Bytes BitsOf(char const* stride)
{
    return Load<Bytes>(stride) | Load<Bytes>(stride + kVector) | Load<Bytes>(stride + 2 * kVector) |
           Load<Bytes>(stride + 3 * kVector);
}

}  // namespace

bool HoldsNoC1(char const* bytes, std::size_t size)
{
    std::size_t done = 0;
    for (; size - done >= kStride; done += kStride) {
        if (HasC1(bytes + done)) return false;
    }
    for (; done < size; ++done) {
        if ((static_cast<unsigned char>(bytes[done]) & 0xE0) == 0x80) return false;
    }
    return true;
}

bool HoldsNoBits(char const* units, std::size_t count, char16_t mask)
{
    std::size_t const size = count * sizeof(char16_t);
    std::size_t done = 0;
    for (; size - done >= kStride; done += kStride) {
        if (IsAnySet(reinterpret_cast<Bytes>(reinterpret_cast<Units>(BitsOf(units + done)) &
                                             std::uint16_t{mask}))) {
            return false;
        }
    }
    for (; done < size; done += sizeof(char16_t)) {
        if ((Load<char16_t>(units + done) & mask) != 0) return false;
    }
    return true;
}

bool HoldsOnlyByByte(char const* bytes, std::size_t size, bool const* allowed)
{
    for (std::size_t done = 0; done < size; ++done) {
        if (!allowed[static_cast<unsigned char>(bytes[done])]) return false;
    }
    return true;
}

#if defined(LOAM_CLASSIFIER)

namespace {

// What stands in `table` at the low half of each index, or 0 where the index is 0x80 and above.
LOAM_CLASSIFIER inline Bytes LookUp(Bytes table, Bytes indices)
{
#if defined(__x86_64__)
    return reinterpret_cast<Bytes>(
        _mm_shuffle_epi8(reinterpret_cast<__m128i>(table), reinterpret_cast<__m128i>(indices)));
#else
    return reinterpret_cast<Bytes>(vqtbl1q_u8(reinterpret_cast<uint8x16_t>(table),
                                              reinterpret_cast<uint8x16_t>(indices & 0x8F)));
#endif
}

// A set of bytes as two tables by the low half of a byte. Bit n of an entry tells whether the byte
// with the high half n, or n + 8 in the second table, is in the set.
struct ByteSet
{
    Bytes mLower;
    Bytes mUpper;
};

inline Bytes GatherHalf(bool const* allowed)
{
    Bytes result = {};
    for (std::size_t high = 8; high-- > 0;)
        result = (result + result) | Load<Bytes>(allowed + high * 16);
    return result;
}

// 0xFF for each byte that is not in the set.
LOAM_CLASSIFIER inline Bytes Refused(ByteSet const& set, char const* from)
{
    constexpr Bytes kBits = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
    Bytes const bytes = Load<Bytes>(from);
    Bytes const answers = LookUp(set.mLower, bytes) | LookUp(set.mUpper, bytes ^ 0x80);
    return reinterpret_cast<Bytes>((answers & LookUp(kBits, bytes >> 4)) == 0);
}

}  // namespace

LOAM_CLASSIFIER bool HoldsOnlyByHalves(char const* bytes, std::size_t size, bool const* allowed)
{
    ByteSet const set = {GatherHalf(allowed), GatherHalf(allowed + 128)};
    std::size_t done = 0;
    for (; size - done >= kStride; done += kStride) {
        char const* const stride = bytes + done;
        if (IsAnySet(Refused(set, stride) | Refused(set, stride + kVector) |
                     Refused(set, stride + 2 * kVector) | Refused(set, stride + 3 * kVector))) {
            return false;
        }
    }
    return HoldsOnlyByByte(bytes + done, size - done, allowed);
}

bool CanClassify()
{
#if defined(__x86_64__)
    return GetProcessorFeatures().mSSSE3;
#else
    return true;
#endif
}

#else

bool HoldsOnlyByHalves(char const* bytes, std::size_t size, bool const* allowed)
{
    return HoldsOnlyByByte(bytes, size, allowed);
}

bool CanClassify()
{
    return false;
}

#endif

bool HoldsOnly(char const* bytes, std::size_t size, bool const* allowed)
{
    return size >= kStride && CanClassify() ? HoldsOnlyByHalves(bytes, size, allowed)
                                            : HoldsOnlyByByte(bytes, size, allowed);
}
