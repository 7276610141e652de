#include "testing/CUnicodeDatabase.h"

#include <fstream>
#include <memory>
#include <sstream>
#include <vector>

namespace {

std::vector<std::string> Split(std::string const& line)
{
    std::vector<std::string> fields;
    std::stringstream stream(line);
    for (std::string field; std::getline(stream, field, ';');)
        fields.push_back(field);
    return fields;
}

char32_t CodeOf(std::string const& field)
{
    return static_cast<char32_t>(std::stoul(field, nullptr, 16));
}

std::u32string CodesOf(std::string const& field)
{
    std::u32string codes;
    std::stringstream stream(field);
    for (std::string code; stream >> code;)
        codes.push_back(CodeOf(code));
    return codes;
}

}  // namespace

CUnicodeDatabase const* CUnicodeDatabase::Get()
{
    static std::unique_ptr<CUnicodeDatabase const> const sDatabase = [] {
        std::string const folder = LOAM_SHARED_DATA "/ucd-13.0.0";
        return std::unique_ptr<CUnicodeDatabase const>(
            std::ifstream(folder + "/UnicodeData.txt") ? new CUnicodeDatabase(folder) : nullptr);
    }();
    return sDatabase.get();
}

CUnicodeDatabase::CUnicodeDatabase(std::string const& folder)
{
    std::ifstream characters(folder + "/UnicodeData.txt");
    char32_t first = 0;
    for (std::string line; std::getline(characters, line);) {
        std::vector<std::string> const fields = Split(line);
        char32_t const code = CodeOf(fields[0]);
        UnicodeCharacter character;
        character.mCategory = fields[2];
        std::string decomposition = fields[5];
        if (decomposition.starts_with('<')) {
            std::size_t const end = decomposition.find('>');
            character.mTag = decomposition.substr(1, end - 1);
            decomposition.erase(0, end + 1);
        }
        character.mDecomposition = CodesOf(decomposition);
        if (!fields[12].empty()) character.mUpper = CodeOf(fields[12]);

        if (fields[1].ends_with(", First>")) first = code;
        bool const isRange = fields[1].ends_with(", Last>");
        for (char32_t each = isRange ? first : code; each <= code; ++each) {
            mCharacters[each] = character;
        }
    }

    std::ifstream foldings(folder + "/CaseFolding.txt");
    for (std::string line; std::getline(foldings, line);) {
        std::vector<std::string> const fields = Split(line.substr(0, line.find('#')));
        if (fields.size() < 3 || (fields[1] != " C" && fields[1] != " F")) continue;
        mFoldings[CodeOf(fields[0])] = CodesOf(fields[2]);
    }
}

UnicodeCharacter const& CUnicodeDatabase::At(char32_t code) const
{
    static UnicodeCharacter const sUnassigned;
    auto const found = mCharacters.find(code);
    return found == mCharacters.end() ? sUnassigned : found->second;
}

std::u32string CUnicodeDatabase::Fold(char32_t code) const
{
    auto const found = mFoldings.find(code);
    return found == mFoldings.end() ? std::u32string(1, code) : found->second;
}
