#include "system/PropertyListLimits.h"

#include "system/CPropertyList.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

// ---- XML

// Walks the markup as a checker of well-formedness would. Whatever two readers might take for
// different tags (a ">" in quotes, "<!-->", a document type with declarations) is refused, so that
// the depth found here is the depth that the system's reader will find.
class CMarkupWalk
{
public:
    explicit CMarkupWalk(std::string_view text)
        : mRest(text)
    {
    }

    bool IsShallow()
    {
        for (std::size_t at; (at = mRest.find('<')) != mRest.npos;) {
            mRest.remove_prefix(at + 1);
            if (!PassMarkup()) return false;
        }
        return mDepth == 0 && mHasElements;
    }

private:
    bool PassMarkup()
    {
        if (mRest.starts_with("!--")) {
            mRest.remove_prefix(3);
            return !mRest.starts_with('>') && !mRest.starts_with("->") && PassUntil("-->");
        }
        if (mRest.starts_with("![CDATA[")) return PassUntil("]]>");
        if (mRest.starts_with('?')) return PassInstruction();
        if (mRest.starts_with('!')) {
            auto const type = TakeTag(">");
            return type && mDepth == 0 && type->find('[') == type->npos;
        }
        auto const tag = TakeTag(">");
        if (!tag) return false;
        mHasElements = true;
        return tag->starts_with('/') ? PassEnd(*tag) : PassStart(*tag);
    }

    bool PassUntil(std::string_view end)
    {
        auto const at = mRest.find(end);
        if (at == mRest.npos) return false;
        mRest.remove_prefix(at + end.size());
        return true;
    }

    // What stands before the next `end`. Nothing where that would be within quotes, or within
    // another tag.
    std::optional<std::string_view> TakeTag(std::string_view end)
    {
        auto const tag = mRest.substr(0, mRest.find(end));
        if (tag.size() == mRest.size()) return std::nullopt;
        char quote = 0;
        for (char const c : tag) {
            if (c == '<') return std::nullopt;
            if (quote ? c == quote : c == '"' || c == '\'') quote = quote ? '\0' : c;
        }
        if (quote) return std::nullopt;
        mRest.remove_prefix(tag.size() + end.size());
        return tag;
    }

    // The encoding it tells counts with some readers, and could hide tags.
    bool PassInstruction()
    {
        mRest.remove_prefix(1);
        if (mDepth > 0 || mRest.starts_with('>')) return false;
        auto const tag = TakeTag("?>");
        if (!tag) return false;
        constexpr std::string_view kEncoding = "encoding";
        auto const at = tag->find(kEncoding);
        if (at == tag->npos) return true;
        std::string rest(tag->substr(at + kEncoding.size()));
        std::erase_if(rest, [](char c) { return kBlanks.find(c) != kBlanks.npos; });
        std::transform(rest.begin(), rest.end(), rest.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
        // More may stand behind it, as `standalone` does.
        return rest.find(kEncoding) == rest.npos &&
               (rest.starts_with("=\"utf-8\"") || rest.starts_with("='utf-8'") ||
                rest.starts_with("=\"us-ascii\""));
    }

    bool PassStart(std::string_view tag)
    {
        if (mDepth == kMaxElements) return false;
        auto const name = tag.substr(0, tag.find_first_of(kBlanks));
        if (name.starts_with("key") && ++mMembers[mDepth] > CPropertyList::kMaxMembers)
            return false;
        if (tag.ends_with('/')) return true;
        mOpen[mDepth++] = name;
        if (mDepth < kMaxElements) mMembers[mDepth] = 0;
        return true;
    }

    bool PassEnd(std::string_view tag)
    {
        tag.remove_prefix(1);
        return mDepth > 0 && mOpen[--mDepth] == tag.substr(0, tag.find_last_not_of(kBlanks) + 1);
    }

    // The list's levels, and the element around the list.
    static constexpr std::size_t kMaxElements = CPropertyList::kMaxDepth + 1;

    std::string_view mRest;
    std::array<std::string_view, kMaxElements> mOpen;
    std::array<std::size_t, kMaxElements> mMembers{};  // by level, in the element open now
    std::size_t mDepth = 0;
    bool mHasElements = false;
};

// ---- binary

// A binary list: eight bytes of signature, objects, a table of their offsets, and 32 bytes that
// tell where that is. Collections name their members by their place in the table.
class CBinaryWalk
{
public:
    explicit CBinaryWalk(std::string_view bytes)
        : mBytes(bytes)
        , mBudget(bytes.size())
    {
    }

    bool IsLight()
    {
        if (mBytes.size() < kSignature.size() + kTrailer) return false;
        std::size_t const trailer = mBytes.size() - kTrailer;
        mOffsetSize = static_cast<unsigned char>(mBytes[trailer + 6]);
        mReferenceSize = static_cast<unsigned char>(mBytes[trailer + 7]);
        std::uint64_t const count = Number(trailer + 8, 8);
        std::uint64_t const top = Number(trailer + 16, 8);
        mTable = Number(trailer + 24, 8);
        if (!IsSize(mOffsetSize) || !IsSize(mReferenceSize) || mTable > trailer ||
            count > (trailer - mTable) / mOffsetSize) {
            return false;
        }
        mKnown.resize(count);
        auto const whole = Weigh(top, 1);
        return whole && whole->mWeight <= CPropertyList::kMaxWeight && AreTextsWhole();
    }

    static constexpr std::string_view kSignature = "bplist00";

private:
    static constexpr std::size_t kTrailer = 32;
    // About what a value costs beside its bytes.
    static constexpr std::uint64_t kValueWeight = 64;

    // What an object comes to with all it holds. 0 levels: not known yet.
    struct Load
    {
        std::uint64_t mWeight = 0;
        int mLevels = 0;
    };

    // A value's size, and where the numbers of its members are.
    struct Extent
    {
        std::uint64_t mWeight = kValueWeight;
        std::uint64_t mMembers = 0;  // how many
        std::uint64_t mAt = 0;
    };

    static bool IsSize(unsigned size) { return size >= 1 && size <= 8; }

    // Big-endian. The caller knows that the bytes are there.
    std::uint64_t Number(std::uint64_t at, unsigned size) const
    {
        std::uint64_t number = 0;
        for (unsigned i = 0; i < size; ++i) {
            number = number << 8 | static_cast<unsigned char>(mBytes[at + i]);
        }
        return number;
    }

    bool Holds(std::uint64_t at, std::uint64_t count, std::uint64_t size) const
    {
        return at <= mTable && count <= (mTable - at) / size;
    }

    // Text with a zero in it, which ends the process when libplist takes it for a key.
    bool HasZero(std::uint64_t at, std::uint64_t count, unsigned unit) const
    {
        for (std::uint64_t i = 0; i < count; ++i) {
            if (Number(at + i * unit, unit) == 0) return true;
        }
        return false;
    }

    // What the bytes of an object tell of it; nothing where they reach into the table.
    std::optional<Extent> Look(std::uint64_t at) const
    {
        if (!Holds(at, 1, 1)) return std::nullopt;
        unsigned const marker = static_cast<unsigned char>(mBytes[at++]);
        unsigned const kind = marker >> 4;
        bool const isCollection = kind >= 0xA && kind <= 0xD;
        if (!isCollection && (kind < 4 || kind > 7)) return Extent{};

        std::uint64_t count = marker & 0xF;
        if (count == 0xF) {
            if (!Holds(at, 1, 1)) return std::nullopt;
            unsigned const number = static_cast<unsigned char>(mBytes[at++]);
            unsigned const size = 1U << (number & 0xF);
            if (number >> 4 != 1 || size > 8 || !Holds(at, size, 1)) return std::nullopt;
            count = Number(at, size);
            at += size;
        }
        if (isCollection) {
            // A dictionary names its keys and then its values.
            std::uint64_t const each = kind == 0xD ? 2 : 1;
            if (kind == 0xD && count > CPropertyList::kMaxMembers) return std::nullopt;
            if (!Holds(at, count, each * mReferenceSize)) return std::nullopt;
            return Extent{kValueWeight, count * each, at};
        }
        // Two bytes of UTF-16 become up to three of UTF-8.
        unsigned const unit = kind == 6 ? 2 : 1;
        if (!Holds(at, count, unit) || (kind != 4 && HasZero(at, count, unit))) return std::nullopt;
        return Extent{kValueWeight + count * (kind == 6 ? 3 : 1), 0, at};
    }

    // Nothing where it is too deep, as what holds itself is, or no list at all.
    std::optional<Load> Weigh(std::uint64_t object, int level)
    {
        if (object >= mKnown.size() || level > CPropertyList::kMaxDepth) return std::nullopt;
        if (Load const known = mKnown[object]; known.mLevels > 0) {
            return level + known.mLevels - 1 <= CPropertyList::kMaxDepth ? std::optional(known)
                                                                         : std::nullopt;
        }
        auto const extent = Look(Number(mTable + object * mOffsetSize, mOffsetSize));
        // Each member of a list that wasn't made to deceive takes bytes of its own.
        if (!extent || extent->mMembers > mBudget) return std::nullopt;
        mBudget -= extent->mMembers;

        Load load{extent->mWeight, 1};
        for (std::uint64_t i = 0; i < extent->mMembers; ++i) {
            auto const member =
                Weigh(Number(extent->mAt + i * mReferenceSize, mReferenceSize), level + 1);
            if (!member) return std::nullopt;
            load.mWeight += member->mWeight;
            load.mLevels = std::max(load.mLevels, member->mLevels + 1);
            if (load.mWeight > CPropertyList::kMaxWeight) return std::nullopt;
        }
        return mKnown[object] = load;
    }

    // Looks at the texts of the list, whose weight is known to be small. A reader may end a key at
    // a zero byte, and leave out half a pair.
    bool AreTextsWhole() const
    {
        for (std::size_t object = 0; object < mKnown.size(); ++object) {
            if (mKnown[object].mLevels == 0) continue;
            std::uint64_t const at = Number(mTable + object * mOffsetSize, mOffsetSize);
            unsigned const kind = static_cast<unsigned char>(mBytes[at]) >> 4;
            if (kind != 5 && kind != 6) continue;
            auto const extent = Look(at);
            std::uint64_t const size = extent->mWeight - kValueWeight;
            if (kind == 5 ? mBytes.substr(extent->mAt, size).find('\0') != mBytes.npos
                          : !IsWholeUTF16(extent->mAt, size / 3)) {
                return false;
            }
        }
        return true;
    }

    bool IsWholeUTF16(std::uint64_t at, std::uint64_t units) const
    {
        bool isInPair = false;
        for (std::uint64_t const end = at + units * 2; at < end; at += 2) {
            std::uint64_t const unit = Number(at, 2);
            bool const isSecond = unit >= 0xDC00 && unit <= 0xDFFF;
            if (unit == 0 || isSecond != isInPair) return false;
            isInPair = unit >= 0xD800 && unit <= 0xDBFF;
        }
        return !isInPair;
    }

    std::string_view mBytes;
    std::uint64_t mBudget;
    std::uint64_t mTable = 0;
    unsigned mOffsetSize = 0;
    unsigned mReferenceSize = 0;
    std::vector<Load> mKnown;
};

}  // namespace

bool IsWithinPropertyListLimits(std::string_view bytes)
{
    if (bytes.size() > CPropertyList::kMaxBytes) return false;
    if (bytes.starts_with("bplist")) {
        return bytes.starts_with(CBinaryWalk::kSignature) && CBinaryWalk(bytes).IsLight();
    }
    if (!CPropertyList::IsText(bytes)) return false;
    // A reader may take no notice of it, and find XML where none was looked for here.
    if (bytes.starts_with(kByteOrderMark)) return false;
    auto const first = bytes.find_first_not_of(kBlanks);
    if (first == bytes.npos) return false;
    if (bytes[first] == '<') return CMarkupWalk(bytes).IsShallow();
    // The braces of old, in which strings need no quotes: counted without telling which are text.
    auto const braces =
        std::count_if(bytes.begin(), bytes.end(), [](char c) { return c == '{' || c == '('; });
    return braces <= CPropertyList::kMaxDepth;
}
