// UTF-8 to UTF-16 and back at each level of instructions that the processor has, beside ICU, and
// mapping and searching UTF-16 with the default table. Bytes a second are those of the input. What
// hosts get is the last level: bench_text measures it.
#include "benchmarks/Corpora.h"
#include "text/CUTFConverter.h"
#include "text/CUnicodeMappingTable.h"
#include "text/ConvertUTF.h"
#include "text/simd/TextKernels.h"

#include <benchmark/benchmark.h>
#include <unicode/ustring.h>

#include <string>
#include <vector>

namespace {

// One text in both forms, and room for either.
struct Input
{
    std::string mText8;
    std::u16string mText16;
    std::vector<char> mRoom8;
    std::vector<char16_t> mRoom16;
};

void ToUTF16(Input& input)
{
    auto const* source = reinterpret_cast<UTF8 const*>(input.mText8.data());
    auto* target = reinterpret_cast<UTF16*>(input.mRoom16.data());
    auto const result = ConvertUTF8toUTF16(&source, source + input.mText8.size(), &target,
                                           target + input.mRoom16.size(), strictConversion);
    benchmark::DoNotOptimize(result);
}

void ToUTF8(Input& input)
{
    auto const* source = reinterpret_cast<UTF16 const*>(input.mText16.data());
    auto* target = reinterpret_cast<UTF8*>(input.mRoom8.data());
    auto const result = ConvertUTF16toUTF8(&source, source + input.mText16.size(), &target,
                                           target + input.mRoom8.size(), strictConversion);
    benchmark::DoNotOptimize(result);
}

void ToUTF16ByICU(Input& input)
{
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    u_strFromUTF8(input.mRoom16.data(), static_cast<int32_t>(input.mRoom16.size()), &length,
                  input.mText8.data(), static_cast<int32_t>(input.mText8.size()), &error);
    benchmark::DoNotOptimize(length);
}

void ToUTF8ByICU(Input& input)
{
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    u_strToUTF8(input.mRoom8.data(), static_cast<int32_t>(input.mRoom8.size()), &length,
                input.mText16.data(), static_cast<int32_t>(input.mText16.size()), &error);
    benchmark::DoNotOptimize(length);
}

void Map(Input& input)
{
    int from = 0;
    int to = 0;
    CUnicodeMappingTable::GetDefaultTable()->MapText(
        input.mText16.data(), static_cast<int>(input.mText16.size()), from, input.mRoom16.data(),
        static_cast<int>(input.mRoom16.size()), to, nullptr);
    benchmark::DoNotOptimize(to);
}

void FindNothing(Input& input)
{
    int at = 0;
    int length = 0;
    bool const isFound = CUnicodeMappingTable::GetDefaultTable()->FindMappedText(
        input.mText16.data(), static_cast<int>(input.mText16.size()), 0, at, length, u"zqxqz", 5);
    benchmark::DoNotOptimize(isFound);
}

void Register(std::string const& name,
              TextKernels const* kernels,
              void (*convert)(Input&),
              Input* input,
              size_t bytes)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        StTextKernels const level(*kernels);
        for (auto _ : state) {
            convert(*input);
            benchmark::ClobberMemory();
        }
        state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
    });
}

void RegisterCorpus(Corpus const& corpus)
{
    // Lives as long as the benchmarks.
    auto* const input = new Input{corpus.mText, {}, {}, {}};
    CUTFConverter::ConvertUTF8toUTF16(input->mText8, input->mText16, CUTFConverter::kStrictMode);
    input->mRoom8.resize(input->mText16.size() * 3);
    input->mRoom16.resize(2 * input->mText8.size());
    size_t const bytes8 = input->mText8.size();
    size_t const bytes16 = input->mText16.size() * sizeof(char16_t);
    for (TextKernels const* const kernels : GetAllTextKernels()) {
        std::string const end = "/" + corpus.mName + "/" + kernels->mName;
        Register("utf8_to_utf16" + end, kernels, ToUTF16, input, bytes8);
        Register("utf16_to_utf8" + end, kernels, ToUTF8, input, bytes16);
        Register("map_text" + end, kernels, Map, input, bytes16);
        Register("find_miss" + end, kernels, FindNothing, input, bytes16);
    }
    TextKernels const* const any = GetAllTextKernels().front();
    Register("utf8_to_utf16/" + corpus.mName + "/icu", any, ToUTF16ByICU, input, bytes8);
    Register("utf16_to_utf8/" + corpus.mName + "/icu", any, ToUTF8ByICU, input, bytes16);
}

// The beginning of a text, which the caches hold with its result: the highest level beside ICU.
void RegisterBeginning(Corpus const& corpus, size_t size, std::string const& ending)
{
    std::string text = corpus.mText.substr(0, size);
    // Not in the middle of a character.
    while (!text.empty() && (text.back() & 0x80) != 0)
        text.pop_back();
    auto* const input = new Input{text, {}, {}, {}};
    CUTFConverter::ConvertUTF8toUTF16(input->mText8, input->mText16, CUTFConverter::kStrictMode);
    input->mRoom8.resize(input->mText16.size() * 3);
    input->mRoom16.resize(input->mText8.size());
    size_t const bytes16 = input->mText16.size() * sizeof(char16_t);
    TextKernels const* const best = GetAllTextKernels().back();
    std::string const end = "/" + corpus.mName + ending;
    Register("utf8_to_utf16" + end + "/" + best->mName, best, ToUTF16, input, text.size());
    Register("utf16_to_utf8" + end + "/" + best->mName, best, ToUTF8, input, bytes16);
    Register("utf8_to_utf16" + end + "/icu", best, ToUTF16ByICU, input, text.size());
    Register("utf16_to_utf8" + end + "/icu", best, ToUTF8ByICU, input, bytes16);
}

// The report names the levels, the last of which is the one that hosts get.
void TellLevels()
{
    std::string names;
    for (TextKernels const* const kernels : GetAllTextKernels())
        names += (names.empty() ? "" : ", ") + std::string(kernels->mName);
    benchmark::AddCustomContext("levels", names);
}

int RegisterAll()
{
    TellLevels();
    for (Corpus const& corpus : Corpora()) {
        RegisterCorpus(corpus);
        if (IsShortLines(corpus)) continue;
        RegisterBeginning(corpus, 64 << 10, "_64K");
        RegisterBeginning(corpus, 256 << 10, "_256K");
    }
    return 0;
}

int const sRegistered = RegisterAll();

}  // namespace

BENCHMARK_MAIN();
