#include "system/CPropertyList.h"

#include "system/PropertyListLimits.h"
#include "system/platform/PropertyListParser.h"
#include "text/CUTFConverter.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace {

bool IsBefore(CPropertyList::Member const& one, CPropertyList::Member const& other)
{
    return one.mKey < other.mKey;
}

void PutInOrder(CPropertyList::Dictionary& members)
{
    std::stable_sort(members.begin(), members.end(), IsBefore);
    // From the back, so that the last one of each key stays.
    auto const isSame = [](auto& one, auto& other) { return one.mKey == other.mKey; };
    auto const kept = std::unique(members.rbegin(), members.rend(), isSame);
    members.erase(members.begin(), kept.base());
}

template <class Members>
auto PlaceOf(Members& members, std::string_view key)
{
    return std::lower_bound(members.begin(), members.end(), key,
                            [](CPropertyList::Member const& member, std::string_view k) {
                                return member.mKey.compare(k) < 0;
                            });
}

}  // namespace

CPropertyList::CPropertyList(Value value)
    : mValue(std::move(value))
{
    if (auto* const members = std::get_if<Dictionary>(&mValue)) PutInOrder(*members);
}

std::optional<CPropertyList> CPropertyList::Read(std::string_view bytes)
{
    if (bytes.starts_with(kByteOrderMark)) bytes.remove_prefix(kByteOrderMark.size());
    if (!IsWithinPropertyListLimits(bytes)) return std::nullopt;
    return ParsePropertyList(bytes);
}

bool CPropertyList::IsText(std::string_view text)
{
    if (text.find('\0') != text.npos || text.size() > std::numeric_limits<int>::max()) return false;
    std::u16string units;
    return CUTFConverter::ConvertUTF8toUTF16(text.data(), static_cast<int>(text.size()), units,
                                             CUTFConverter::kStrictMode);
}

CPropertyList const* CPropertyList::Find(std::string_view key) const
{
    auto const* const members = As<Dictionary>();
    if (!members) return nullptr;
    auto const place = PlaceOf(*members, key);
    return place != members->end() && place->mKey == key ? &place->mValue : nullptr;
}

void CPropertyList::Set(std::string_view key, CPropertyList value)
{
    auto* members = std::get_if<Dictionary>(&mValue);
    if (!members) members = &mValue.emplace<Dictionary>();
    auto const place = PlaceOf(*members, key);
    if (place != members->end() && place->mKey == key) {
        place->mValue = std::move(value);
    } else {
        members->insert(place, Member{std::string(key), std::move(value)});
    }
}

bool CPropertyList::operator==(CPropertyList const& other) const
{
    return mValue == other.mValue;
}
