// The hash that tells n-grams apart, CRC-32 of IEEE 802.3, and what all n-grams of a text are
// hashed with at once. Inner to the guesser.
//
// A CRC is linear but for a constant: an n-gram bx has the hash of x, changed by what depends only
// on its first byte b and its length. So, from the last byte of a text to the first, the n-grams
// that begin at a byte follow from those that begin at the next one, all lengths in one step.
#pragma once

#include "text/LanguageGuesser.h"

#include <array>
#include <cstddef>
#include <cstdint>

constexpr uint32_t kCRC32Start = 0xFFFFFFFF;

constexpr std::array<uint32_t, 256> MakeCRC32Table()
{
    std::array<uint32_t, 256> table{};
    for (uint32_t byte = 0; byte < table.size(); ++byte) {
        uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit)
            value = value >> 1 ^ (value & 1 ? 0xEDB88320 : 0);
        table[byte] = value;
    }
    return table;
}

inline constexpr std::array<uint32_t, 256> crc32tab = MakeCRC32Table();

constexpr uint32_t NextCRC32(uint32_t crc, unsigned char byte)
{
    return crc >> 8 ^ crc32tab[(crc ^ byte) & 0xFF];
}

/// The bits of a bucket. The buckets of n-grams of 2 to 6 bytes share a word, the shortest n-gram's
/// at its lower end; the bits above the last of them mean nothing.
constexpr int kBucketBits = 12;
static_assert(UDM_LM_BUCKETS == 1 << kBucketBits);
static_assert((UDM_LM_MAXGRAM - 1) * kBucketBits <= 64);

constexpr std::array<uint16_t, 256> MakeByteBuckets()
{
    std::array<uint16_t, 256> buckets{};
    for (size_t byte = 0; byte < buckets.size(); ++byte) {
        uint32_t const crc = NextCRC32(kCRC32Start, static_cast<unsigned char>(byte));
        buckets[byte] = static_cast<uint16_t>(~crc & UDM_LM_HASHMASK);
    }
    return buckets;
}

constexpr std::array<uint64_t, 256> MakeBucketChanges()
{
    std::array<uint64_t, 256> changes{};
    for (size_t byte = 0; byte < changes.size(); ++byte) {
        uint32_t behind = NextCRC32(kCRC32Start, static_cast<unsigned char>(byte));
        uint32_t alone = kCRC32Start;
        for (int length = 2; length <= UDM_LM_MAXGRAM; ++length) {
            behind = NextCRC32(behind, 0);
            alone = NextCRC32(alone, 0);
            uint64_t const change = (behind ^ alone) & UDM_LM_HASHMASK;
            changes[byte] |= change << (length - 2) * kBucketBits;
        }
    }
    return changes;
}

/// The bucket of a byte as an n-gram of its own.
inline constexpr std::array<uint16_t, 256> kByteBuckets = MakeByteBuckets();

/// What a byte changes when it is put in front of 1 to 5 others: what zeros instead of them have
/// with it and without it.
inline constexpr std::array<uint64_t, 256> kBucketChanges = MakeBucketChanges();
