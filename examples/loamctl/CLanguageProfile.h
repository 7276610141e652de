// A language profile in the making: how often the n-grams of 1 to 6 bytes occur in a text.
//
// The library keeps one number for all n-grams that share a bucket of its hash, so counting is done
// by bucket too. Each bucket is written under the name of an n-gram that is common in it.
#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

class CLanguageProfile
{
public:
    static constexpr std::size_t kBuckets = 4096;

    /// Counts the n-grams of a text in UTF-8. One that spans two texts isn't counted.
    void AddText(std::string_view text);

    /// Takes over the n-grams of a `.lm` file's content.
    void AddLines(std::string_view lines);

    /// All that was counted, as lines of a `.lm` file, the most frequent first.
    std::string CountLines() const;

    /// The same by weight: how much more often (above 0) or seldom than in the average of `others`
    /// a bucket's n-grams occur, as a logarithm. Only the `limit` that tell most are kept.
    std::string WeightLines(std::vector<CLanguageProfile> const& others, std::size_t limit) const;

    /// How much was counted; 0 for a profile of nothing.
    double GetTotal() const { return mTotal; }

private:
    struct Bucket
    {
        double mCount = 0;
        // By majority: an n-gram that makes up more than half of the count is found for certain.
        std::string mGram;
        double mVotes = 0;
    };

    void Add(std::string_view gram, double count);

    std::array<Bucket, kBuckets> mBuckets;
    double mTotal = 0;
};
