#include "loamctl/CLanguageProfile.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>

#include <fmt/format.h>

namespace {

constexpr std::size_t kLongestGram = 6;

// Found by experiment. The share that an n-gram which never occurred is given, and how finely
// weights are told apart.
constexpr double kUnseenShare = 1e-6;
constexpr double kScale = 100;

struct Line
{
    std::string_view mGram;
    long mCount;
    double mRank;
};

// CRC-32 of IEEE 802.3, which the library tells n-grams apart by.
constexpr std::array<std::uint32_t, 256> MakeTable()
{
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        std::uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit)
            value = value >> 1 ^ (value & 1 ? 0xEDB88320 : 0);
        table[byte] = value;
    }
    return table;
}

constexpr std::array<std::uint32_t, 256> kTable = MakeTable();

std::size_t BucketOf(std::string_view gram)
{
    std::uint32_t crc = 0xFFFFFFFF;
    for (char const c : gram)
        crc = crc >> 8 ^ kTable[(crc ^ static_cast<unsigned char>(c)) & 0xFF];
    return ~crc % CLanguageProfile::kBuckets;
}

// The bytes that the library counts: no control characters, and one blank for a run of them.
std::string Counted(std::string_view text)
{
    std::string counted;
    for (char const c : text) {
        if (static_cast<unsigned char>(c) < ' ') continue;
        if (c == ' ' && (counted.empty() || counted.back() == ' ')) continue;
        counted += c;
    }
    return counted;
}

// What a line can't begin with, or stands for a blank there.
bool IsWritable(std::string_view gram)
{
    return gram[0] != '#' && gram.find('_') == gram.npos;
}

std::string Written(std::vector<Line>& lines, std::size_t limit)
{
    auto const isBefore = [](Line const& a, Line const& b) {
        return a.mRank != b.mRank ? a.mRank > b.mRank : a.mGram < b.mGram;
    };
    std::sort(lines.begin(), lines.end(), isBefore);
    if (lines.size() > limit) lines.resize(limit);
    std::string written;
    for (Line const& line : lines) {
        std::string gram(line.mGram);
        std::replace(gram.begin(), gram.end(), ' ', '_');
        written += fmt::format("{}\t{}\n", gram, line.mCount);
    }
    return written;
}

}  // namespace

void CLanguageProfile::Add(std::string_view gram, double count)
{
    Bucket& bucket = mBuckets[BucketOf(gram)];
    bucket.mCount += count;
    mTotal += count;
    if (!IsWritable(gram)) return;
    if (bucket.mGram == gram) {
        bucket.mVotes += count;
    } else if (bucket.mVotes >= count) {
        bucket.mVotes -= count;
    } else {
        bucket.mVotes = count - bucket.mVotes;
        bucket.mGram = gram;
    }
}

void CLanguageProfile::AddText(std::string_view text)
{
    std::string const counted = Counted(text);
    std::string_view const all = counted;
    for (std::size_t start = 0; start < all.size(); ++start) {
        std::size_t const longest = std::min(kLongestGram, all.size() - start);
        for (std::size_t length = 1; length <= longest; ++length)
            Add(all.substr(start, length), 1);
    }
}

void CLanguageProfile::AddLines(std::string_view lines)
{
    while (!lines.empty()) {
        std::string_view const line = lines.substr(0, lines.find('\n'));
        lines.remove_prefix(std::min(line.size() + 1, lines.size()));
        std::size_t const tab = line.find('\t');
        if (tab == line.npos || tab == 0 || tab > kLongestGram) continue;
        std::string gram(line.substr(0, tab));
        if (gram[0] == '#' || gram[0] == ' ') continue;
        std::replace(gram.begin(), gram.end(), '_', ' ');
        long count = 0;
        std::from_chars(line.data() + tab + 1, line.data() + line.size(), count);
        if (count > 0) Add(gram, static_cast<double>(count));
    }
}

std::string CLanguageProfile::CountLines() const
{
    std::vector<Line> lines;
    for (Bucket const& bucket : mBuckets) {
        if (!bucket.mGram.empty())
            lines.push_back({bucket.mGram, std::lround(bucket.mCount), bucket.mCount});
    }
    return Written(lines, kBuckets);
}

std::string CLanguageProfile::WeightLines(std::vector<CLanguageProfile> const& others,
                                          std::size_t limit) const
{
    std::vector<Line> lines;
    for (std::size_t i = 0; i < kBuckets; ++i) {
        double const here = mBuckets[i].mCount / mTotal;
        double usual = 0;
        double most = 0;
        std::string_view usualGram;
        for (CLanguageProfile const& other : others) {
            double const there = other.mBuckets[i].mCount / other.mTotal;
            usual += there / static_cast<double>(others.size());
            if (there <= most || other.mBuckets[i].mGram.empty()) continue;
            most = there;
            usualGram = other.mBuckets[i].mGram;
        }
        double const weight = std::log((here + kUnseenShare) / (usual + kUnseenShare));
        long const count = std::lround(weight * kScale);
        // What is seldom here is called by what it is elsewhere.
        std::string_view const gram =
            count > 0 && !mBuckets[i].mGram.empty() ? mBuckets[i].mGram : usualGram;
        if (gram.empty() || count == 0) continue;
        // Between the two: what is frequent, and what tells the language from others.
        double const rank = std::abs(weight) * std::sqrt(std::max(here, usual));
        lines.push_back({gram, count, rank});
    }
    return Written(lines, limit);
}
