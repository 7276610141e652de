#include "loamctl/CASCIIFinder.h"

#include <algorithm>

#include "loamctl/Interruption.h"
#include "text/CUnicodeMappingTable.h"

namespace {

// So many places are looked at before anything is decided, which compilers make vectors of.
constexpr std::size_t kBlock = 64;

// After so many bytes somebody may want to stop: a few milliseconds.
constexpr std::size_t kStep = 1 << 24;

constexpr unsigned char kCaseBit = 0x20;

// The most frequent characters of texts and programs first. What isn't among them is rare.
constexpr std::string_view kFrequent = " etaoinsrlhdcumpfgybvwk-.,0_1()\"=/;:";

std::size_t RarityOf(char c)
{
    return std::min(kFrequent.find(c), kFrequent.size());
}

bool IsLowercase(char c)
{
    return c >= 'a' && c <= 'z';
}

// One byte of the needle in either case, where case doesn't count.
struct Wanted
{
    Wanted(char c, bool anyCase)
        : mCaseBit(anyCase && IsLowercase(c) ? kCaseBit : 0)
        , mByte(static_cast<unsigned char>(c))
    {
    }

    bool Is(char c) const
    {
        return static_cast<unsigned char>(static_cast<unsigned char>(c) | mCaseBit) == mByte;
    }

    unsigned char mCaseBit;
    unsigned char mByte;
};

bool HasCandidate(char const* first, char const* second, Wanted a, Wanted b)
{
    unsigned char found = 0;
    for (std::size_t i = 0; i < kBlock; ++i)
        found |= static_cast<unsigned char>(int{a.Is(first[i])} & int{b.Is(second[i])});
    return found != 0;
}

}  // namespace

CASCIIFinder::CASCIIFinder(std::u16string_view folded, CUnicodeMappingTable const& table)
    : mIsUsable(table.GetASCIIMapping() != CUnicodeMappingTable::ASCIIMapping::kOther)
    , mLowercased(table.GetASCIIMapping() == CUnicodeMappingTable::ASCIIMapping::kLowercased)
    , mIsBeyondASCII(
          std::any_of(folded.begin(), folded.end(), [](char16_t c) { return c >= 0x80; }))
{
    for (char16_t const unit : folded)
        mNeedle += static_cast<char>(unit);
    auto const isRarer = [this](std::size_t a, std::size_t b) {
        return RarityOf(mNeedle[a]) > RarityOf(mNeedle[b]);
    };
    for (std::size_t i = 1; i < mNeedle.size(); ++i) {
        if (isRarer(i, mFirst)) mFirst = i;
    }
    mSecond = mFirst == 0 ? mNeedle.size() - 1 : 0;
    for (std::size_t i = 0; i < mNeedle.size(); ++i) {
        if (i != mFirst && isRarer(i, mSecond)) mSecond = i;
    }
}

std::size_t CASCIIFinder::Find(std::string_view ascii, std::size_t at) const
{
    if (mIsBeyondASCII || ascii.size() < mNeedle.size()) return ascii.npos;
    Wanted const a(mNeedle[mFirst], mLowercased);
    Wanted const b(mNeedle[mSecond], mLowercased);
    char const* const text = ascii.data();
    std::size_t const end = ascii.size() - mNeedle.size() + 1;
    std::size_t check = at + kStep;
    while (at < end) {
        if (at >= check) [[unlikely]] {
            ThrowIfInterrupted();
            check = at + kStep;
        }
        char const* const first = text + at + mFirst;
        char const* const second = text + at + mSecond;
        std::size_t const stop = std::min(at + kBlock, end);
        if (stop - at == kBlock && !HasCandidate(first, second, a, b)) {
            at = stop;
            continue;
        }
        for (; at < stop; ++at) {
            if (a.Is(text[at + mFirst]) && b.Is(text[at + mSecond]) && IsAt(text + at)) return at;
        }
    }
    return ascii.npos;
}

bool CASCIIFinder::IsAt(char const* text) const
{
    return std::equal(mNeedle.begin(), mNeedle.end(), text,
                      [this](char wanted, char c) { return Wanted(wanted, mLowercased).Is(c); });
}
