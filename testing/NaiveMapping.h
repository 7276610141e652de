// A second, slow statement of what mapping tables do, for tests and fuzzers to compare with.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// A mapping table as a test states it: what each mapped unit gives.
using UnitMapping = std::map<char16_t, std::u16string>;

/// A mapped text and the raw index that each of its units came from, with the raw length behind
/// them.
struct NaivelyMapped
{
    std::u16string mText;
    std::vector<int> mOffsets;
};

NaivelyMapped MapNaively(UnitMapping const& mapping, std::u16string const& text);

/// Position and length of the first hit of the first `needleLength` units of `needle`, which
/// reaches as far as the comparison can, in raw `text` from `start` on.
std::optional<std::pair<int, int>> FindNaively(UnitMapping const& mapping,
                                               std::u16string const& text,
                                               int start,
                                               std::u16string const& needle,
                                               int needleLength);
