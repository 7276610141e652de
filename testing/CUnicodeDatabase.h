// The Unicode data that the library's tables are generated from, read plainly for tests that state
// a rule a second time.
#pragma once

#include <map>
#include <string>

/// What `UnicodeData.txt` says of one code point.
struct UnicodeCharacter
{
    std::string mCategory = "Cn";
    std::string mTag;  ///< of the decomposition, without brackets; empty where canonical or none
    std::u32string mDecomposition;  ///< one level
    char32_t mUpper = 0;            ///< simple upper case, 0 for none
};

/// `UnicodeData.txt` and `CaseFolding.txt` of Unicode 13.0.0, from `../shared/ucd-13.0.0` beside
/// the repository.
class CUnicodeDatabase
{
public:
    /// Null where the data isn't there, as in a public checkout: skip the test with `kMissing`.
    static CUnicodeDatabase const* Get();
    static constexpr char kMissing[] = "../shared/ucd-13.0.0 isn't there: nothing to compare with";

    UnicodeCharacter const& At(char32_t code) const;
    /// The common or full case folding, or the code point itself.
    std::u32string Fold(char32_t code) const;

private:
    explicit CUnicodeDatabase(std::string const& folder);

    std::map<char32_t, UnicodeCharacter> mCharacters;
    std::map<char32_t, std::u32string> mFoldings;
};
