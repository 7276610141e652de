// Operations on a whole text of 1 KB to 64 MB: what a byte costs is to be the same for all sizes,
// but for what a call costs at the low end and what the caches hold at the high one.
//
// The text is French, over and over, as UTF-8 or as UTF-16; the size in a name is that of the input
// in bytes. What is written into is kept from call to call.
#include <algorithm>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "benchmarks/Corpora.h"
#include "files/CFileSpec.h"
#include "marl/amortizedmemblock.h"
#include "security/CBase64Encoder.h"
#include "text/CCharsetConverter.h"
#include "text/CLanguageServices.h"
#include "text/CUTFConverter.h"
#include "text/CUnicodeCategoriesTable.h"
#include "text/CUnicodeMappingTable.h"
#include "text/CUnicodeWordDelimiter.h"

namespace {

constexpr std::size_t kLongest = std::size_t{64} << 20;

struct Input
{
    int Length() const { return static_cast<int>(mUnits.size()); }

    std::string mBytes;
    std::u16string mUnits;   // as many bytes
    std::u16string mMapped;  // as many bytes, in which there is nothing left to map
    memblock mBlock;
    memblock mBase64;
};

std::string const& French()
{
    static std::string const sText = [] {
        auto const isFrench = [](Corpus const& corpus) { return corpus.mName == "fr"; };
        auto const found = std::find_if(Corpora().begin(), Corpora().end(), isFrench);
        return found == Corpora().end() ? Corpora().front().mText : found->mText;
    }();
    return sText;
}

template <class Text>
Text Repeated(Text const& piece, std::size_t length)
{
    Text text;
    text.reserve(length + piece.size());
    while (text.size() < length)
        text += piece;
    text.resize(length);
    return text;
}

Input MakeInput(std::size_t size)
{
    std::u16string units;
    CUTFConverter::ConvertUTF8toUTF16(French(), units, CUTFConverter::kStrictMode);
    std::u16string mapped;
    CUnicodeMappingTable::GetDefaultTable()->MapText(units, mapped);
    Input input;
    input.mBytes = Repeated(French(), size);
    // Not in the middle of a character.
    for (auto at = input.mBytes.rbegin(); at != input.mBytes.rend() && (*at & 0x80) != 0; ++at)
        *at = ' ';
    input.mUnits = Repeated(units, size / sizeof(char16_t));
    input.mMapped = Repeated(mapped, size / sizeof(char16_t));
    input.mBlock.append(input.mBytes.data(), size);
    memblock bytes;
    bytes.append(input.mBytes.data(), size / 4 * 3);
    CBase64Encoder::Encode(bytes, &input.mBase64, false);
    return input;
}

Input const& InputOf(std::size_t size)
{
    static std::map<std::size_t, Input> sInputs;
    auto const found = sInputs.find(size);
    return found != sInputs.end() ? found->second
                                  : sInputs.emplace(size, MakeInput(size)).first->second;
}

CUnicodeMappingTable& Table()
{
    return *CUnicodeMappingTable::GetDefaultTable();
}

void ToUTF16(Input const& input)
{
    static std::u16string sTarget;
    CUTFConverter::ConvertUTF8toUTF16(input.mBytes, sTarget, CUTFConverter::kLenientMode);
    benchmark::DoNotOptimize(sTarget.data());
}

void ToUTF8(Input const& input)
{
    static std::string sTarget;
    CUTFConverter::ConvertUTF16toUTF8(input.mUnits, sTarget, CUTFConverter::kLenientMode);
    benchmark::DoNotOptimize(sTarget.data());
}

void MapText(Input const& input)
{
    static std::u16string sTarget;
    Table().MapText(input.mUnits, sTarget);
    benchmark::DoNotOptimize(sTarget.data());
}

void MapTextWithOffsets(Input const& input)
{
    static std::u16string sTarget;
    static std::vector<int> sOffsets;
    Table().MapText(input.mUnits.data(), input.Length(), sTarget, sOffsets);
    benchmark::DoNotOptimize(sOffsets.data());
}

void FindMappedText(Input const& input)
{
    int at = 0;
    int length = 0;
    benchmark::DoNotOptimize(
        Table().FindMappedText(input.mUnits.data(), input.Length(), 0, at, length, u"zqxqz", 5));
}

void HasMappableText(Input const& input)
{
    benchmark::DoNotOptimize(Table().HasMappableText(input.mMapped));
}

void WalkWords(Input const& input)
{
    static amortizedmemblock sBlock;
    CUnicodeWordDelimiter& delimiter = *CUnicodeWordDelimiter::GetDefaultDelimiter();
    unsigned int start = 0;
    unsigned int rawLength = 0;
    unsigned int mappedLength = 0;
    sBlock.reset();
    while (delimiter.GetNextMappedWordInRawText(input.mUnits.data(),
                                                static_cast<unsigned int>(input.mUnits.size()),
                                                Table(), start, rawLength, sBlock, mappedLength)) {
        benchmark::DoNotOptimize(*sBlock.data());
    }
}

void FindCategory(Input const& input)
{
    unsigned int at = 0;
    benchmark::DoNotOptimize(CUnicodeCategoriesTable::FindFirstOfCategories(
        at, input.mUnits.data(), input.Length(),
        CUnicodeCategoriesTable::MaskOf(CUnicodeCategoriesTable::kCo), 0, false));
}

void EncodeBase64(Input const& input)
{
    static memblock sTarget;
    CBase64Encoder::Encode(input.mBlock, &sTarget, false);
    benchmark::DoNotOptimize(sTarget.data());
}

void DecodeBase64(Input const& input)
{
    static memblock sTarget;
    CBase64Encoder::Decode(input.mBase64, &sTarget, nullptr);
    benchmark::DoNotOptimize(sTarget.data());
}

// Bytes of UTF-16, which are weighed to the end.
void SniffUTF16(Input const& input)
{
    bool isBigEndian = false;
    bool isLittleEndian = false;
    bool isNotUTF16 = false;
    auto const* const bytes = reinterpret_cast<char const*>(input.mUnits.data());
    CCharsetConverter::SniffUTF16(bytes, static_cast<long long>(input.mUnits.size()) * 2,
                                  &isBigEndian, &isLittleEndian, &isNotUTF16);
    benchmark::DoNotOptimize(isLittleEndian);
}

void SniffISO2022(Input const& input)
{
    auto charset = CCharsetSelector::kCharsetNone;
    benchmark::DoNotOptimize(CCharsetConverter::SniffISO2022(input.mBytes, charset));
}

void NameLanguage(Input const& input)
{
    static CLanguageServices& sServices = *[] {
        auto* const services = new CLanguageServices;  // lives as long as the benchmarks
        services->LoadLanguageDefinitions(
            CFileSpec(std::string(LOAM_SOURCE_DIR "/examples/languages"), false), nullptr);
        return services;
    }();
    std::string language;
    float confidence = 0;
    sServices.IdentifyLanguage(input.mBytes, language, confidence);
    benchmark::DoNotOptimize(confidence);
}

void Run(benchmark::State& state, void (*operation)(Input const&))
{
    Input const& input = InputOf(static_cast<std::size_t>(state.range(0)));
    operation(input);  // so that there is room for the result
    for (auto _ : state)
        operation(input);
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

struct Operation
{
    char const* mName;
    void (*mRun)(Input const&);
};

constexpr Operation kOperations[] = {
    {"linear/utf8_to_utf16", ToUTF16},
    {"linear/utf16_to_utf8", ToUTF8},
    {"linear/map_text", MapText},
    {"linear/map_text_offsets", MapTextWithOffsets},
    {"linear/find_mapped_text", FindMappedText},
    {"linear/has_mappable", HasMappableText},
    {"linear/words", WalkWords},
    {"linear/categories", FindCategory},
    {"linear/base64", EncodeBase64},
    {"linear/base64_decoded", DecodeBase64},
    {"linear/sniff_utf16", SniffUTF16},
    {"linear/sniff_iso_2022", SniffISO2022},
    {"linear/language", NameLanguage},
};

int RegisterAll()
{
    for (Operation const& c : kOperations) {
        auto* const benchmark = benchmark::RegisterBenchmark(
            c.mName, [run = c.mRun](benchmark::State& state) { Run(state, run); });
        for (std::size_t size = 1024; size <= kLongest; size *= 16)
            benchmark->Arg(static_cast<std::int64_t>(size));
    }
    return 0;
}

int const sRegistered = RegisterAll();

}  // namespace

BENCHMARK_MAIN();
