// UTF-8 to UTF-16 and back, beside ICU. Bytes a second are those of the input.
#include "benchmarks/Corpora.h"
#include "text/CUTFConverter.h"
#include "text/ConvertUTF.h"

#include <benchmark/benchmark.h>
#include <unicode/ustring.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

namespace {

// One text in both forms, whole or in lines.
struct Input
{
    std::vector<std::string> mText8;
    std::vector<std::u16string> mText16;
    size_t mBytes8 = 0;
    size_t mBytes16 = 0;
    size_t mLongest8 = 0;
    size_t mLongest16 = 0;
};

Input MakeInput(std::vector<std::string> texts)
{
    Input input;
    for (std::string const& text : texts) {
        std::u16string units;
        CUTFConverter::ConvertUTF8toUTF16(text, units, CUTFConverter::kStrictMode);
        input.mBytes8 += text.size();
        input.mBytes16 += units.size() * sizeof(char16_t);
        input.mLongest8 = std::max(input.mLongest8, text.size());
        input.mLongest16 = std::max(input.mLongest16, units.size());
        input.mText16.push_back(std::move(units));
    }
    input.mText8 = std::move(texts);
    return input;
}

// Each converter writes one text to the start of a buffer that is large enough for every text of
// the input, or replaces a string that it may keep the storage of.

void LoamToBuffer(std::string const& text, char16_t* buffer, size_t capacity)
{
    auto const* source = reinterpret_cast<UTF8 const*>(text.data());
    auto* target = reinterpret_cast<UTF16*>(buffer);
    auto const result = ConvertUTF8toUTF16(&source, source + text.size(), &target,
                                           target + capacity, lenientReplaceConversion);
    benchmark::DoNotOptimize(result);
}

void LoamToBuffer(std::u16string const& text, char* buffer, size_t capacity)
{
    auto const* source = reinterpret_cast<UTF16 const*>(text.data());
    auto* target = reinterpret_cast<UTF8*>(buffer);
    auto const result = ConvertUTF16toUTF8(&source, source + text.size(), &target,
                                           target + capacity, lenientReplaceConversion);
    benchmark::DoNotOptimize(result);
}

void ICUToBuffer(std::string const& text, char16_t* buffer, size_t capacity)
{
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    u_strFromUTF8(buffer, static_cast<int32_t>(capacity), &length, text.data(),
                  static_cast<int32_t>(text.size()), &error);
    benchmark::DoNotOptimize(length);
}

void ICUToBuffer(std::u16string const& text, char* buffer, size_t capacity)
{
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    u_strToUTF8(buffer, static_cast<int32_t>(capacity), &length, text.data(),
                static_cast<int32_t>(text.size()), &error);
    benchmark::DoNotOptimize(length);
}

void LoamToString(std::string const& text, std::u16string& target)
{
    CUTFConverter::ConvertUTF8toUTF16(text, target, CUTFConverter::kLenientMode);
}

void LoamToString(std::u16string const& text, std::string& target)
{
    CUTFConverter::ConvertUTF16toUTF8(text, target, CUTFConverter::kLenientMode);
}

// ICU's usual way to a string: room for the longest result, then cut.
void ICUToString(std::string const& text, std::u16string& target)
{
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    target.resize(text.size());
    u_strFromUTF8(target.data(), static_cast<int32_t>(target.size()), &length, text.data(),
                  static_cast<int32_t>(text.size()), &error);
    target.resize(static_cast<size_t>(length));
}

void ICUToString(std::u16string const& text, std::string& target)
{
    UErrorCode error = U_ZERO_ERROR;
    int32_t length = 0;
    target.resize(text.size() * 3);
    u_strToUTF8(target.data(), static_cast<int32_t>(target.size()), &length, text.data(),
                static_cast<int32_t>(text.size()), &error);
    target.resize(static_cast<size_t>(length));
}

template <class Convert>
void Register(std::string const& name, size_t bytes, Convert convert)
{
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
        for (auto _ : state)
            convert();
        state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(bytes));
    });
}

// Into one buffer, kept from text to text, and into a new string for each text.
template <class Unit, class Text>
void RegisterDirection(std::string const& direction,
                       std::string const& corpus,
                       std::vector<Text> const& texts,
                       size_t bytes,
                       size_t capacity)
{
    static std::vector<Unit> buffer;
    buffer.resize(std::max(buffer.size(), capacity));
    Register(direction + "/buffer/loam/" + corpus, bytes, [&texts] {
        for (Text const& text : texts)
            LoamToBuffer(text, buffer.data(), buffer.size());
        benchmark::ClobberMemory();
    });
    Register(direction + "/buffer/icu/" + corpus, bytes, [&texts] {
        for (Text const& text : texts)
            ICUToBuffer(text, buffer.data(), buffer.size());
        benchmark::ClobberMemory();
    });
    Register(direction + "/string/loam/" + corpus, bytes, [&texts] {
        for (Text const& text : texts) {
            std::basic_string<Unit> target;
            LoamToString(text, target);
            benchmark::DoNotOptimize(target.data());
        }
    });
    Register(direction + "/string/icu/" + corpus, bytes, [&texts] {
        for (Text const& text : texts) {
            std::basic_string<Unit> target;
            ICUToString(text, target);
            benchmark::DoNotOptimize(target.data());
        }
    });
}

void RegisterInput(std::string const& corpus, std::vector<std::string> texts)
{
    // Lives as long as the benchmarks.
    auto const* const input = new Input(MakeInput(std::move(texts)));
    RegisterDirection<char16_t>("utf8_to_utf16", corpus, input->mText8, input->mBytes8,
                                input->mLongest8);
    RegisterDirection<char>("utf16_to_utf8", corpus, input->mText16, input->mBytes16,
                            input->mLongest16 * 3);
}

int RegisterAll()
{
    for (Corpus const& corpus : Corpora()) {
        RegisterInput(corpus.mName, {corpus.mText});
        if (IsShortLines(corpus)) RegisterInput(corpus.mName + "_lines", LinesOf(corpus.mText));
    }
    return 0;
}

int const sRegistered = RegisterAll();

}  // namespace
