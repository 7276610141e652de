#include "benchmarks/Corpora.h"

#include "text/CUTFConverter.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace fs = std::filesystem;

namespace {

fs::path CorporaFolder()
{
    if (char const* const named = std::getenv("LOAM_CORPORA")) return named;
    fs::path const source = LOAM_SOURCE_DIR;
    fs::path const shared = source.parent_path() / "shared" / "corpora";
    return fs::is_directory(shared) ? shared : source / "examples" / "documents";
}

bool IsUTF8(std::string const& text)
{
    std::u16string units;
    return CUTFConverter::ConvertUTF8toUTF16(text, units, CUTFConverter::kStrictMode);
}

std::vector<Corpus> ReadAll(fs::path const& folder)
{
    std::vector<Corpus> corpora;
    std::error_code noFolder;
    for (fs::directory_entry const& entry : fs::directory_iterator(folder, noFolder)) {
        if (!entry.is_regular_file() || entry.path().extension() != ".txt") continue;
        std::ifstream file(entry.path(), std::ios::binary);
        std::string text{std::istreambuf_iterator<char>(file), {}};
        if (IsUTF8(text)) corpora.push_back({entry.path().stem().string(), std::move(text)});
    }
    if (corpora.empty()) {
        std::fprintf(stderr, "no texts to measure in %s (LOAM_CORPORA names another folder)\n",
                     folder.c_str());
        std::exit(EXIT_FAILURE);
    }
    std::sort(corpora.begin(), corpora.end(),
              [](Corpus const& a, Corpus const& b) { return a.mName < b.mName; });
    return corpora;
}

}  // namespace

std::vector<Corpus> const& Corpora()
{
    static std::vector<Corpus> const corpora = ReadAll(CorporaFolder());
    return corpora;
}

bool IsShortLines(Corpus const& corpus)
{
    return corpus.mName.rfind("short_", 0) == 0;
}

std::vector<std::string> LinesOf(std::string const& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}
