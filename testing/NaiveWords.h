// The rules for words stated a second time, slowly and plainly, to hold the delimiters against.
//
// Nothing here feeds unit by unit. A text is first written down as the list of all its mapped
// units, each with the raw unit that it came from, and a word is a stretch of that list.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "text/CUnicodeMappingTable.h"

namespace NaiveWords {

/// What each unit gives in a table, found by mapping 65,536 strings of one unit. A mapping of more
/// than 128 units counts as a deletion.
class CMap
{
public:
    explicit CMap(CUnicodeMappingTable const& table);

    std::u16string const& Of(char16_t unit) const { return mStrings[unit]; }

private:
    std::vector<std::u16string> mStrings;
};

/// The variables of a walk over raw words.
struct RawWalk
{
    unsigned int mStart = 0;
    unsigned int mWordLength = 0;
};

/// The variables of a walk over mapped words.
struct MappedWalk
{
    unsigned int mStart = 0;
    unsigned int mRawLength = 0;
    unsigned int mMappedLength = 0;
    std::u16string mBlock;
};

enum class Rule
{
    kStub,
    kLegacy,
};

bool NextWord(Rule rule, std::u16string_view text, RawWalk& walk);
bool NextMappedWord(Rule rule, std::u16string_view text, CMap const& map, MappedWalk& walk);

}  // namespace NaiveWords
