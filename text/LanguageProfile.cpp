#include "text/GramHash.h"
#include "text/LanguageGuesser.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>

namespace {

// The bytes that count are put in a row, a stretch at a time. An n-gram that may go on beyond the
// stretch waits for the next one.
constexpr size_t kWaiting = UDM_LM_MAXGRAM - 1;
constexpr size_t kRow = 8192;

// An n-gram of a row: its place, and its length in the lowest bits.
constexpr uint32_t kPlace = 8;
static_assert(UDM_LM_MAXGRAM < kPlace);
// A bucket's entry: the last n-gram of the row that belongs there, and above it how many do.
constexpr int kCountShift = 16;
constexpr uint32_t kOne = 1 << kCountShift;
static_assert(kRow * kPlace <= kOne && kRow * UDM_LM_MAXGRAM < kOne);

// What a row comes to. It stays in the processor's first cache, where a profile doesn't.
using Tally = std::array<uint32_t, UDM_LM_BUCKETS>;

// The buckets of the n-grams that begin at a byte.
class Buckets
{
public:
    // Goes on to the byte before.
    void PutInFront(unsigned char byte)
    {
        mLonger = kBucketChanges[byte] ^ mLonger << kBucketBits ^ mOfOne;
        mOfOne = kByteBuckets[byte];
    }

    size_t Get(size_t length) const
    {
        return length == 1 ? mOfOne : mLonger >> (length - 2) * kBucketBits & UDM_LM_HASHMASK;
    }

private:
    uint64_t mLonger = 0;
    uint64_t mOfOne = 0;
};

// From the last n-gram to the first: the one that finds its bucket empty is the last one in it.
inline void Count(uint32_t& entry, size_t gram)
{
    entry = (entry ? entry : static_cast<uint32_t>(gram)) + kOne;
}

// Counts the n-grams of a row; without `isEnd` those that begin in its last bytes wait.
void CountRow(unsigned char const* row, size_t size, bool isEnd, Tally& tally)
{
    Buckets buckets;
    size_t const whole = size > kWaiting ? size - kWaiting : 0;
    size_t at = size;
    while (at > whole) {
        buckets.PutInFront(row[--at]);
        for (size_t length = isEnd ? size - at : 0; length > 0; --length)
            Count(tally[buckets.Get(length)], at * kPlace + length);
    }
    static_assert(UDM_LM_MAXGRAM == 6);
    while (at > 0) {
        buckets.PutInFront(row[--at]);
        Count(tally[buckets.Get(6)], at * kPlace + 6);
        Count(tally[buckets.Get(5)], at * kPlace + 5);
        Count(tally[buckets.Get(4)], at * kPlace + 4);
        Count(tally[buckets.Get(3)], at * kPlace + 3);
        Count(tally[buckets.Get(2)], at * kPlace + 2);
        Count(tally[buckets.Get(1)], at * kPlace + 1);
    }
}

// Which of an n-gram's 8 bytes are its own, by its length; of none where a bucket got none.
constexpr unsigned char kFF = 0xFF;
constexpr unsigned char kOwn[UDM_LM_MAXGRAM + 1][8] = {
    {},
    {kFF},
    {kFF, kFF},
    {kFF, kFF, kFF},
    {kFF, kFF, kFF, kFF},
    {kFF, kFF, kFF, kFF, kFF},
    {kFF, kFF, kFF, kFF, kFF, kFF},
};

// Adds what a row came to. No branch: which buckets are empty can't be foreseen.
void AddTally(Tally const& tally, unsigned char const* row, UDM_LANGMAP& map)
{
    for (size_t bucket = 0; bucket < UDM_LM_BUCKETS; ++bucket) {
        UDM_LANGITEM& item = map.memb[bucket];
        uint32_t const entry = tally[bucket];
        item.count =
            static_cast<int>(static_cast<unsigned int>(item.count) + (entry >> kCountShift));
        uint64_t gram = 0;
        uint64_t own = 0;
        uint64_t former = 0;
        std::memcpy(&gram, row + entry % kOne / kPlace, sizeof gram);
        std::memcpy(&own, kOwn[entry % kPlace], sizeof own);
        std::memcpy(&former, item.str, sizeof former);
        gram = own ? gram & own : former;
        std::memcpy(item.str, &gram, sizeof gram);
    }
}

}  // namespace

extern "C" {

uint32_t UdmCRC32(char const* buffer, size_t length)
{
    uint32_t crc = kCRC32Start;
    for (size_t i = 0; i < length; ++i)
        crc = NextCRC32(crc, static_cast<unsigned char>(buffer[i]));
    return ~crc;
}

void UdmBuildLangMap(UDM_LANGMAP* map, char const* text, long length)
{
    unsigned char row[kRow + 8] = {};
    Tally tally{};
    size_t filled = 0;
    unsigned char previous = ' ';
    for (long i = 0; i < length; ++i) {
        unsigned char const byte = static_cast<unsigned char>(text[i]);
        if (byte < ' ' || (byte == ' ' && previous == ' ')) continue;
        previous = byte;
        row[filled++] = byte;
        if (filled < kRow) continue;
        CountRow(row, filled, false, tally);
        AddTally(tally, row, *map);
        tally.fill(0);
        std::memmove(row, row + kRow - kWaiting, kWaiting);
        filled = kWaiting;
    }
    CountRow(row, filled, true, tally);
    AddTally(tally, row, *map);
}

void UdmPrepareLangMap(UDM_LANGMAP* map)
{
    long long sum = 0;
    for (UDM_LANGITEM const& item : map->memb)
        sum += item.count;
    map->mean = static_cast<float>(sum) / UDM_LM_BUCKETS;

    // Four sums side by side: one would wait for itself at every step.
    double squares[4] = {};
    for (size_t i = 0; i < UDM_LM_BUCKETS; i += 4) {
        for (size_t k = 0; k < 4; ++k) {
            double const deviation = map->memb[i + k].count - static_cast<double>(map->mean);
            squares[k] += deviation * deviation;
        }
    }
    double const total = squares[0] + squares[1] + squares[2] + squares[3];
    map->std = static_cast<float>(std::sqrt(total / UDM_LM_BUCKETS));
}

float UdmCheckLangMap(UDM_LANGMAP const* a, UDM_LANGMAP const* b)
{
    double const stdOfA = a->std;
    double const stdOfB = b->std;
    if (stdOfA < UDM_LM_LEASTSTD || stdOfB < UDM_LM_LEASTSTD) return 0;
    double const meanOfA = a->mean;
    double const meanOfB = b->mean;
    double sum = 0;
    for (size_t i = 0; i < UDM_LM_BUCKETS; ++i)
        sum += (a->memb[i].count - meanOfA) * (b->memb[i].count - meanOfB);
    return static_cast<float>(sum / UDM_LM_BUCKETS / (stdOfA * stdOfB));
}
}
