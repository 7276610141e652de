#include "testing/NaiveMapping.h"

NaivelyMapped MapNaively(UnitMapping const& mapping, std::u16string const& text)
{
    NaivelyMapped mapped;
    for (std::size_t at = 0; at < text.size(); ++at) {
        auto const found = mapping.find(text[at]);
        mapped.mText += found == mapping.end() ? text.substr(at, 1) : found->second;
        mapped.mOffsets.resize(mapped.mText.size(), static_cast<int>(at));
    }
    mapped.mOffsets.push_back(static_cast<int>(text.size()));
    return mapped;
}

std::optional<std::pair<int, int>> FindNaively(UnitMapping const& mapping,
                                               std::u16string const& text,
                                               int start,
                                               std::u16string const& needle,
                                               int needleLength)
{
    int i = start;
    int m = 0;
    int r = 0;
    auto const agrees = [&](std::u16string const& units) {
        for (std::size_t k = 0; k < units.size(); ++k) {
            if (needle.at(static_cast<std::size_t>(m) + k) != units[k]) return false;
        }
        return true;
    };
    while (i < static_cast<int>(text.size())) {
        char16_t const unit = text[static_cast<std::size_t>(i)];
        auto const found = mapping.find(unit);
        if (found != mapping.end()) {
            std::u16string const& entry = found->second;
            if (!entry.empty()) {
                if (agrees(entry)) {
                    m += static_cast<int>(entry.size());
                } else {
                    i -= r;
                    m = 0;
                }
            }
            if (m == needleLength) return std::pair(i - r, r + 1);
            r = m == 0 ? 0 : r + 1;
            ++i;
        } else {
            ++i;
            if (agrees(std::u16string(1, unit))) {
                ++m;
                ++r;
                if (m == needleLength) return std::pair(i - r, r);
            } else {
                i -= r;
                m = 0;
                r = 0;
            }
        }
    }
    return {};
}
