#include "text/TextProfile.h"

#include "text/GramHash.h"
#include "text/simd/TextKernels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>

namespace {

// The bytes that count are put in a row, a stretch at a time. An n-gram that may go on beyond the
// stretch waits for the next one.
constexpr size_t kRow = 10922;
constexpr size_t kWaiting = UDM_LM_MAXGRAM - 1;

class CRow
{
public:
    unsigned char const* GetBytes() const { return mBytes; }

    size_t GetSize() const { return mSize; }

    bool IsFull() const { return mSize == kRow; }

    // Takes as many bytes as there is certainly room for, and answers where it stopped.
    char const* Take(char const* text, char const* end)
    {
        size_t const size = std::min(static_cast<size_t>(end - text), kRow - mSize);
        mSize += GetTextKernels().mTakeBytes(text, size, mBytes + mSize, mTakesBlank);
        return text + size;
    }

    // Makes 8 bytes readable from each place.
    void Terminate() { std::memset(mBytes + mSize, 0, 8); }

    void KeepWaiting()
    {
        std::memmove(mBytes, mBytes + mSize - kWaiting, kWaiting);
        mSize = kWaiting;
    }

private:
    unsigned char mBytes[kRow + kSpareOfRow];
    size_t mSize = 0;
    bool mTakesBlank = false;  // not at the start, and not behind a blank
};

// A bucket's entry: the last n-gram of the row that belongs there, all n-grams of 1 to 6 bytes
// being numbered by place and length, and above it how many do.
constexpr int kCountShift = 16;
constexpr uint32_t kOne = 1 << kCountShift;
static_assert(kRow * UDM_LM_MAXGRAM < kOne);

// What a row comes to. It stays in the processor's first cache, where a profile doesn't.
using Tally = std::array<uint32_t, UDM_LM_BUCKETS>;

// The buckets of the n-grams that begin at a byte.
class CBuckets
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

constexpr size_t GramAt(size_t place, size_t length)
{
    return place * UDM_LM_MAXGRAM + length - 1;
}

// Counts the n-grams of a row; without `isEnd` those that begin in its last bytes wait.
void CountRow(CRow const& row, bool isEnd, Tally& tally)
{
    unsigned char const* const bytes = row.GetBytes();
    size_t const size = row.GetSize();
    CBuckets buckets;
    size_t const whole = size > kWaiting ? size - kWaiting : 0;
    size_t at = size;
    while (at > whole) {
        buckets.PutInFront(bytes[--at]);
        for (size_t length = isEnd ? size - at : 0; length > 0; --length)
            Count(tally[buckets.Get(length)], GramAt(at, length));
    }
    static_assert(UDM_LM_MAXGRAM == 6);
    while (at > 0) {
        buckets.PutInFront(bytes[--at]);
        Count(tally[buckets.Get(6)], GramAt(at, 6));
        Count(tally[buckets.Get(5)], GramAt(at, 5));
        Count(tally[buckets.Get(4)], GramAt(at, 4));
        Count(tally[buckets.Get(3)], GramAt(at, 3));
        Count(tally[buckets.Get(2)], GramAt(at, 2));
        Count(tally[buckets.Get(1)], GramAt(at, 1));
    }
}

// Which of an n-gram's 8 bytes are its own, by its length less 1.
constexpr unsigned char kFF = 0xFF;
constexpr unsigned char kOwn[UDM_LM_MAXGRAM][8] = {
    {kFF},
    {kFF, kFF},
    {kFF, kFF, kFF},
    {kFF, kFF, kFF, kFF},
    {kFF, kFF, kFF, kFF, kFF},
    {kFF, kFF, kFF, kFF, kFF, kFF},
};

// Of the counts of one row.
struct Sums
{
    uint64_t mCounts = 0;
    uint64_t mSquares = 0;
};

// Adds what a row came to, and lists the buckets that got something.
Sums AddTally(Tally const& tally, CRow const& row, UDM_LANGMAP& map, TextCounts& counts)
{
    counts.mFilled = GetTextKernels().mListFilled(tally.data(), tally.size(), counts.mBuckets);
    Sums sums;
    for (size_t i = 0; i < counts.mFilled; ++i) {
        UDM_LANGITEM& item = map.memb[counts.mBuckets[i]];
        uint32_t const entry = tally[counts.mBuckets[i]];
        uint32_t const count = entry >> kCountShift;
        item.count = static_cast<int>(static_cast<unsigned int>(item.count) + count);
        counts.mCounts[i] = static_cast<float>(item.count);
        sums.mCounts += count;
        sums.mSquares += uint64_t{count} * count;

        uint64_t gram = 0;
        uint64_t own = 0;
        std::memcpy(&gram, row.GetBytes() + entry % kOne / UDM_LM_MAXGRAM, sizeof gram);
        std::memcpy(&own, kOwn[entry % kOne % UDM_LM_MAXGRAM], sizeof own);
        gram &= own;
        std::memcpy(item.str, &gram, sizeof gram);
    }
    return sums;
}

// No branch: which buckets are filled can't be foreseen.
void ListCounts(UDM_LANGMAP const& map, TextCounts& counts)
{
    size_t filled = 0;
    for (size_t bucket = 0; bucket < UDM_LM_BUCKETS; ++bucket) {
        int const count = map.memb[bucket].count;
        counts.mBuckets[filled] = static_cast<uint16_t>(bucket);
        counts.mCounts[filled] = static_cast<float>(count);
        filled += count != 0;
    }
    counts.mFilled = filled;
}

// The sums of a text that fits in one row.
std::optional<Sums> AddText(UDM_LANGMAP& map, char const* text, long length, TextCounts& counts)
{
    CRow row;
    Tally tally{};
    bool isOneRow = true;
    char const* const end = text + std::max(length, 0L);
    while (text < end) {
        text = row.Take(text, end);
        if (!row.IsFull()) continue;
        row.Terminate();
        CountRow(row, false, tally);
        AddTally(tally, row, map, counts);
        tally.fill(0);
        row.KeepWaiting();
        isOneRow = false;
    }
    row.Terminate();
    CountRow(row, true, tally);
    Sums const sums = AddTally(tally, row, map, counts);
    return isOneRow ? std::optional(sums) : std::nullopt;
}

// Does what `UdmPrepareLangMap` does, to the same last digit, and answers whether it could: the
// squares of deviations, in units of 1/4096 squared, are whole numbers, and as long as a `double`
// holds their sum exactly it doesn't matter how it is come by.
bool Prepare(UDM_LANGMAP& map, Sums const& sums)
{
    uint64_t const deviations = sums.mSquares * UDM_LM_BUCKETS - sums.mCounts * sums.mCounts;
    if (deviations >= uint64_t{1} << (std::numeric_limits<double>::digits - kBucketBits))
        return false;
    map.mean = static_cast<float>(sums.mCounts) / UDM_LM_BUCKETS;
    map.std = static_cast<float>(std::sqrt(static_cast<double>(deviations)) / UDM_LM_BUCKETS);
    return true;
}

}  // namespace

void MakeTextProfile(UDM_LANGMAP& map, char const* text, long length, TextCounts& counts)
{
    std::optional<Sums> const sums = AddText(map, text, length, counts);
    if (!sums) ListCounts(map, counts);
    if (!sums || !Prepare(map, *sums)) UdmPrepareLangMap(&map);
}

extern "C" void UdmBuildLangMap(UDM_LANGMAP* map, char const* text, long length)
{
    TextCounts counts;
    AddText(*map, text, length, counts);
}
