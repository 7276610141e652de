#include "text/platform/linux/COldCharset.h"

#include "foundation/FirstUse.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <vector>

namespace {

constexpr bool IsSequence(char16_t unit)
{
    return unit >= kOldCharsetFirstSequence && unit < 0xE000;
}

void PutValue(OldCharsetTable const& table, char16_t value, CUnitSink& sink)
{
    if (!IsSequence(value)) return sink.Put(value);
    OldCharsetSequence const& sequence = table.mSequences[value - kOldCharsetFirstSequence];
    for (std::size_t i = 0; i < sequence.mLength; ++i)
        sink.Put(sequence.mUnits[i]);
}

// A character's one or two bytes as a number, the first byte above.
bool PutCode(std::uint16_t code, CByteSink& sink)
{
    char const bytes[] = {static_cast<char>(code >> 8), static_cast<char>(code & 0xFF)};
    return code > 0xFF ? sink.Put(bytes, 2) : sink.Put(bytes[1]);
}

}  // namespace

// The code of each unit and of each sequence. Of two codes for the same the lower one is taken.
class COldCharset::CBytesOfCharacters
{
public:
    struct Match
    {
        std::size_t mLength = 0;  // in units; 0 for no character of the charset
        std::uint16_t mCode = 0;
    };

    explicit CBytesOfCharacters(OldCharsetTable const& table)
        : mTable(table)
    {
        for (unsigned int byte = 0; byte < 0x100; ++byte)
            Add(table.mUnits[byte], byte);
        for (unsigned int lead = 0x80; table.mRowOf && lead < 0x100; ++lead) {
            if (table.mRowOf[lead] == 0) continue;
            auto const& row = table.mRows[table.mRowOf[lead] - 1];
            for (unsigned int i = 0; i < kOldCharsetRow; ++i)
                Add(row[i], lead << 8 | (i + kOldCharsetFirstTrail));
        }
        // The longest one first among those that begin alike.
        std::stable_sort(mSequences.begin(), mSequences.end(), [](auto const& a, auto const& b) {
            char16_t const firstOfA = a.mSequence->mUnits[0];
            char16_t const firstOfB = b.mSequence->mUnits[0];
            return firstOfA != firstOfB ? firstOfA < firstOfB
                                        : a.mSequence->mLength > b.mSequence->mLength;
        });
    }

    // The charset's longest character at the head of a text that isn't empty.
    Match Find(char16_t const* text, std::size_t length) const
    {
        std::uint32_t const entry = GetEntry(text[0]);
        if ((entry & kBeginsSequence) != 0) {
            auto at = std::lower_bound(mSequences.begin(), mSequences.end(), text[0],
                                       [](CodedSequence const& a, char16_t unit) {
                                           return a.mSequence->mUnits[0] < unit;
                                       });
            for (; at != mSequences.end() && at->mSequence->mUnits[0] == text[0]; ++at) {
                OldCharsetSequence const& sequence = *at->mSequence;
                if (sequence.mLength <= length &&
                    std::equal(sequence.mUnits, sequence.mUnits + sequence.mLength, text)) {
                    return {sequence.mLength, at->mCode};
                }
            }
        }
        if ((entry & kIsCharacter) == 0) return {};
        return {1, static_cast<std::uint16_t>(entry & 0xFFFF)};
    }

private:
    struct CodedSequence
    {
        OldCharsetSequence const* mSequence;
        std::uint16_t mCode;
    };

    typedef std::array<std::uint32_t, 256> Page;

    static constexpr std::uint32_t kIsCharacter = 0x10000;
    static constexpr std::uint32_t kBeginsSequence = 0x20000;

    std::uint32_t GetEntry(char16_t unit) const
    {
        auto const& page = mPages[unit >> 8];
        return page ? (*page)[unit & 0xFF] : 0;
    }

    std::uint32_t& MakeEntry(char16_t unit)
    {
        auto& page = mPages[unit >> 8];
        if (!page) page = std::make_unique<Page>();
        return (*page)[unit & 0xFF];
    }

    void Add(char16_t value, unsigned int code)
    {
        if (value == kOldCharsetNone) return;
        if (IsSequence(value)) {
            OldCharsetSequence const& sequence =
                mTable.mSequences[value - kOldCharsetFirstSequence];
            mSequences.push_back({&sequence, static_cast<std::uint16_t>(code)});
            MakeEntry(sequence.mUnits[0]) |= kBeginsSequence;
            return;
        }
        std::uint32_t& entry = MakeEntry(value);
        if ((entry & kIsCharacter) == 0) entry |= kIsCharacter | code;
    }

    OldCharsetTable const& mTable;
    std::array<std::unique_ptr<Page>, 256> mPages;
    std::vector<CodedSequence> mSequences;
};

bool COldCharset::Decode(char const* source, std::size_t size, CUnitSink& sink) const
{
    auto const* bytes = reinterpret_cast<unsigned char const*>(source);
    for (std::size_t at = 0; at < size; ++at) {
        char16_t value = mTable.mUnits[bytes[at]];
        if (value == kOldCharsetNone) {
            std::size_t const row = mTable.mRowOf ? mTable.mRowOf[bytes[at]] : 0;
            if (row == 0 || ++at == size || bytes[at] < kOldCharsetFirstTrail) return false;
            value = mTable.mRows[row - 1][bytes[at] - kOldCharsetFirstTrail];
            if (value == kOldCharsetNone) return false;
        }
        PutValue(mTable, value, sink);
    }
    return true;
}

std::size_t COldCharset::Encode(char16_t const* source, std::size_t length, CByteSink& sink) const
{
    CBytesOfCharacters const& characters =
        *GetOrMake(mBytes, [this] { return std::make_unique<CBytesOfCharacters>(mTable); });
    std::size_t at = 0;
    while (at < length) {
        CBytesOfCharacters::Match const match = characters.Find(source + at, length - at);
        if (!PutCode(match.mLength != 0 ? match.mCode : '?', sink)) break;
        at += match.mLength != 0 ? match.mLength : CharacterLength(source + at, length - at);
    }
    return at;
}
