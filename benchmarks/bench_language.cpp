// Naming the language of texts with 75 of the profiles in examples/languages and with all 83,
// beside CLD2 where it was built in. Items are texts.
#include "benchmarks/Corpora.h"
#include "files/CFileSpec.h"
#include "text/CLanguageServices.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#ifdef LOAM_HAS_CLD2
#include <cld2/public/compact_lang_det.h>
#endif

namespace {

// Which of the 83 make 75.
constexpr std::string_view kLeftOut[] = {"as", "fy", "gd", "oc", "or", "rw", "tg", "ug"};

// The names of profiles in `folder`, without those left out.
std::vector<std::string> SeventyFive(std::string const& folder)
{
    std::vector<std::string> names;
    for (auto const& entry : std::filesystem::directory_iterator(folder)) {
        std::string const name = entry.path().stem().string();
        if (entry.path().extension() == ".lm" &&
            std::ranges::find(kLeftOut, name) == std::end(kLeftOut))
            names.push_back(name);
    }
    return names;
}

template <bool kIsAll>
struct Loam
{
    Loam()
    {
        std::string const folder = LOAM_SOURCE_DIR "/examples/languages";
        std::vector<std::string> const names = SeventyFive(folder);
        mServices.LoadLanguageDefinitions(CFileSpec(folder, false), kIsAll ? nullptr : &names);
    }

    void operator()(char const* text, int size)
    {
        float confidence = 0;
        mServices.IdentifyLanguage(text, size, mLanguage, confidence);
        benchmark::DoNotOptimize(confidence);
    }

    CLanguageServices mServices;
    std::string mLanguage;
};

#ifdef LOAM_HAS_CLD2
struct CLD2Peer
{
    void operator()(char const* text, int size) const
    {
        bool isReliable = false;
        benchmark::DoNotOptimize(CLD2::DetectLanguage(text, size, true, &isReliable));
    }
};
#endif

// One text after another, of `range(0)` bytes each.
template <class Identify>
void IdentifyTexts(benchmark::State& state, std::string const& corpus)
{
    Identify identify;
    auto const size = static_cast<size_t>(state.range(0));
    size_t at = 0;
    for (auto _ : state) {
        identify(corpus.data() + at, static_cast<int>(size));
        at += size;
        if (at + size > corpus.size()) at = 0;
    }
    state.SetItemsProcessed(state.iterations());
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

template <class Identify>
void Register(std::string const& who, Corpus const& corpus)
{
    benchmark::RegisterBenchmark(
        ("language/" + who + "/" + corpus.mName).c_str(),
        [&](benchmark::State& state) { IdentifyTexts<Identify>(state, corpus.mText); })
        ->Arg(100)
        ->Arg(1000)
        ->Arg(10000);
}

}  // namespace

int main(int argc, char** argv)
{
    for (Corpus const& corpus : Corpora()) {
        if (IsShortLines(corpus) || corpus.mText.size() < 20000) continue;
        Register<Loam<false>>("loam", corpus);
        Register<Loam<true>>("loam_83", corpus);
#ifdef LOAM_HAS_CLD2
        Register<CLD2Peer>("cld2", corpus);
#endif
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
