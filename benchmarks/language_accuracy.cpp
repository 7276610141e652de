// How often languages are named right on texts of 100, 1,000 and 10,000 bytes, beside CLD2 where
// that was built in.
//
//     language_accuracy PROFILES TEXTS    one profile, one text a language: de.lm, de.txt
//
// tools/languages/evaluate.sh gathers the texts and runs it. Texts begin at a word and end with a
// whole character; they are the same in every run.
#include "files/CFileSpec.h"
#include "text/CLanguageServices.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#ifdef LOAM_HAS_CLD2
#include <cld2/public/compact_lang_det.h>
#endif

namespace {

constexpr size_t kSizes[] = {100, 1000, 10000};
constexpr int kTexts[] = {300, 200, 60};
// A language with less text than this is left out: its texts would be the same ones again and
// again.
constexpr size_t kLeastText = 100000;

struct Judge
{
    char const* mName;
    std::string (*mIdentify)(std::string const&);
};

std::string ByLoam(std::string const& text)
{
    std::string language;
    float confidence = 0;
    CLanguageServices::GetLanguageServices()->IdentifyLanguage(text, language, confidence);
    return language;
}

#ifdef LOAM_HAS_CLD2
// CLD2's name for what we know under another one.
std::string ByCLD2(std::string const& text)
{
    bool isReliable = false;
    auto const found =
        CLD2::DetectLanguage(text.data(), static_cast<int>(text.size()), true, &isReliable);
    static std::map<std::string, std::string> const others{
        {"zh", "zh-Hans"}, {"zh-Hant", "zh-Hant"}, {"no", "nb"}, {"iw", "he"}, {"jw", "jv"}};
    std::string const name = CLD2::LanguageCode(found);
    auto const other = others.find(name);
    return other == others.end() ? name : other->second;
}
#endif

constexpr Judge kJudges[] = {
    {"Loam", ByLoam},
#ifdef LOAM_HAS_CLD2
    {"CLD2", ByCLD2},
#endif
};

std::string Content(std::filesystem::path const& path)
{
    std::ifstream file(path);
    std::string content(std::istreambuf_iterator<char>(file), {});
    std::replace(content.begin(), content.end(), '\n', ' ');
    return content;
}

bool IsInsideCharacter(std::string const& text, size_t at)
{
    return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
}

std::string TextAt(std::string const& all, size_t at, size_t size)
{
    // At a word, where words are set apart by blanks; at a character where they aren't.
    size_t const word = all.find(' ', at);
    size_t start = word < at + 60 ? word + 1 : at;
    while (IsInsideCharacter(all, start))
        ++start;
    size_t end = std::min(start + size, all.size());
    while (IsInsideCharacter(all, end))
        --end;
    return all.substr(start, end - start);
}

struct Score
{
    int mRight = 0;
    int mTexts = 0;
    std::map<std::string, int> mWrong;
};

using Row = std::vector<Score>;

Row Measure(std::string const& language, std::string const& all, Judge const& judge)
{
    Row row;
    for (size_t i = 0; i < std::size(kSizes); ++i) {
        std::mt19937 random(38);
        Score score;
        for (; score.mTexts < kTexts[i]; ++score.mTexts) {
            std::string const named =
                judge.mIdentify(TextAt(all, random() % (all.size() - kSizes[i]), kSizes[i]));
            if (named == language)
                ++score.mRight;
            else
                ++score.mWrong[named];
        }
        row.push_back(score);
    }
    return row;
}

void Print(std::string const& language, std::vector<Row> const& rows)
{
    std::printf("%-8s", language.c_str());
    for (size_t size = 0; size < std::size(kSizes); ++size) {
        for (Row const& row : rows)
            std::printf("  %6.2f", 100.0 * row[size].mRight / std::max(row[size].mTexts, 1));
    }
    for (auto const& [named, count] : rows[0][0].mWrong) {
        if (count * 100 > rows[0][0].mTexts) std::printf("  %s %d", named.c_str(), count);
    }
    std::printf("\n");
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: language_accuracy PROFILES TEXTS\n");
        return 2;
    }
    CLanguageServices::GetLanguageServices()->LoadLanguageDefinitions(
        CFileSpec(std::string(argv[1]), false), nullptr);

    std::printf("bytes   ");
    for (size_t const size : kSizes) {
        for (Judge const& judge : kJudges)
            std::printf("  %5zu%c", size, judge.mName[0]);
    }
    std::printf("  wrong names of 100 bytes, if more than 1 in 100\n");

    std::vector<Row> totals(std::size(kJudges), Row(std::size(kSizes)));
    std::map<std::string, std::string> texts;
    for (auto const& entry : std::filesystem::directory_iterator(argv[2]))
        texts[entry.path().stem().string()] = Content(entry.path());
    int languages = 0;
    for (auto const& [language, all] : texts) {
        bool const isKnown =
            std::filesystem::exists(std::filesystem::path(argv[1]) / (language + ".lm"));
        if (all.size() < kLeastText || !isKnown) continue;
        ++languages;
        std::vector<Row> rows;
        for (size_t judge = 0; judge < std::size(kJudges); ++judge) {
            rows.push_back(Measure(language, all, kJudges[judge]));
            for (size_t size = 0; size < std::size(kSizes); ++size) {
                totals[judge][size].mRight += rows[judge][size].mRight;
                totals[judge][size].mTexts += rows[judge][size].mTexts;
            }
        }
        Print(language, rows);
    }
    std::printf("%d languages\n", languages);
    Print("all", totals);
}
