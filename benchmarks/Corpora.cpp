#include "benchmarks/Corpora.h"

#include "text/CCharsetConverter.h"
#include "text/CUTFConverter.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <sstream>

#include <benchmark/benchmark.h>

namespace fs = std::filesystem;

namespace {

fs::path const& SourceFolder()
{
    static fs::path const folder = LOAM_SOURCE_DIR;
    return folder;
}

// Empty if there is none.
fs::path CorporaFolder()
{
    if (char const* const named = std::getenv("LOAM_CORPORA")) return named;
    fs::path const shared = SourceFolder().parent_path() / "shared" / "corpora";
    return fs::is_directory(shared) ? shared : fs::path();
}

std::string Read(fs::path const& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
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
        std::string text = Read(entry.path());
        if (IsUTF8(text)) corpora.push_back({entry.path().stem().string(), std::move(text)});
    }
    return corpora;
}

// A document without its byte-order mark, as UTF-8; empty if it can't be had.
std::string ReadDocument(fs::path const& path)
{
    std::string text = Read(path);
    auto const startsWith = [&](char const* mark) { return text.rfind(mark, 0) == 0; };
    if (startsWith("\xEF\xBB\xBF")) return text.substr(3);
    if (startsWith("\xFF\xFE") || startsWith("\xFE\xFF")) {
        CCharsetConverter converter;
        converter.SetCharset(std::string(startsWith("\xFF\xFE") ? "UTF-16LE" : "UTF-16BE"));
        std::u16string units;
        converter.mImp->ToUnicode(text.substr(2), &units);
        CUTFConverter::ConvertUTF16toUTF8(units, text, CUTFConverter::kStrictMode);
    }
    return IsUTF8(text) ? text : std::string();
}

std::string Repeated(std::string const& text, std::size_t size)
{
    std::string repeated;
    while (!text.empty() && repeated.size() < size)
        repeated += text;
    return repeated;
}

// `count` lines of a text's own, those of 8 to 200 bytes, over and over.
std::string ShortLines(std::string const& text, bool onlyASCII, std::size_t count)
{
    std::vector<std::string> lines;
    for (std::string& line : LinesOf(text)) {
        bool const isASCII = std::none_of(line.begin(), line.end(), [](char c) { return c < 0; });
        if (line.size() >= 8 && line.size() <= 200 && (isASCII || !onlyASCII))
            lines.push_back(std::move(line));
    }
    std::string result;
    for (std::size_t i = 0; i < count && !lines.empty(); ++i)
        result += lines[i % lines.size()] + "\n";
    return result;
}

std::vector<Corpus> MakeOfDocuments(fs::path const& folder)
{
    constexpr std::size_t kSize = 1000000;
    constexpr std::size_t kLines = 5000;
    std::map<std::string, std::string> texts;
    std::vector<fs::path> paths;
    std::error_code noFolder;
    for (char const* const region : {"asia", "europe", "middle-east"}) {
        for (fs::directory_entry const& entry : fs::directory_iterator(folder / region, noFolder))
            paths.push_back(entry.path());
    }
    std::sort(paths.begin(), paths.end());
    for (fs::path const& path : paths)
        texts[path.stem().string().substr(0, 2)] += ReadDocument(path) + "\n";
    texts["emoji"] = ReadDocument(folder / "forms" / "pictographs.txt");

    std::string all;
    std::vector<Corpus> corpora;
    for (auto const& [name, text] : texts) {
        all += text;
        corpora.push_back({name, Repeated(text, kSize)});
    }
    corpora.push_back({"short_ascii", ShortLines(all, true, kLines)});
    corpora.push_back({"short_mixed", ShortLines(all, false, kLines)});
    return corpora;
}

std::vector<Corpus> FindAll()
{
    fs::path const folder = CorporaFolder();
    fs::path const documents = SourceFolder() / "examples" / "documents";
    std::vector<Corpus> corpora = folder.empty() ? MakeOfDocuments(documents) : ReadAll(folder);
    corpora.erase(std::remove_if(corpora.begin(), corpora.end(),
                                 [](Corpus const& corpus) { return corpus.mText.empty(); }),
                  corpora.end());
    if (corpora.empty()) {
        std::fprintf(stderr, "no texts to measure in %s (LOAM_CORPORA names another folder)\n",
                     (folder.empty() ? documents : folder).c_str());
        std::exit(EXIT_FAILURE);
    }
    std::sort(corpora.begin(), corpora.end(),
              [](Corpus const& a, Corpus const& b) { return a.mName < b.mName; });
    benchmark::AddCustomContext("corpora",
                                folder.empty() ? "examples/documents, repeated" : folder.string());
    return corpora;
}

}  // namespace

std::vector<Corpus> const& Corpora()
{
    static std::vector<Corpus> const corpora = FindAll();
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
