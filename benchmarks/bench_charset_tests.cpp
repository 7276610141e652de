// The charset tests on text that passes, so that all of it is looked at: beside a loop over its
// bytes, and beside what a program with ICU does to learn the same, which is to convert the text,
// to span a set, or to ask its detector. Bytes a second are those of the input.
#include "text/CCharsetConverter.h"

#include <benchmark/benchmark.h>
#include <unicode/ucnv.h>
#include <unicode/ucsdet.h>
#include <unicode/uset.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kBytes = 1 << 18;

// Every fourth character beyond ASCII, none of them refused.
std::string Greek()
{
    std::string text;
    while (text.size() < kBytes)
        text += "abc\xE1\xE8\xDE\xED ";
    return text;
}

std::u16string Widened(std::string const& text)
{
    std::u16string result;
    for (char const c : text)
        result += static_cast<unsigned char>(c);
    return result;
}

std::string BytesOf(std::u16string const& text)
{
    return {reinterpret_cast<char const*>(text.data()), text.size() * sizeof(char16_t)};
}

template <class Text>
void Count(benchmark::State& state, Text const& text)
{
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                            static_cast<std::int64_t>(text.size() * sizeof text[0]));
}

void TestBytes(benchmark::State& state, bool (*test)(char const*, long long))
{
    std::string const text = Greek();
    for (auto _ : state)
        benchmark::DoNotOptimize(test(text.data(), static_cast<long long>(text.size())));
    Count(state, text);
}

void TestBytesOneByOne(benchmark::State& state)
{
    std::string const text = Greek();
    bool allowed[256];
    for (std::size_t byte = 0; byte < 256; ++byte)
        allowed[byte] = byte != 0xD2;
    benchmark::DoNotOptimize(allowed);
    for (auto _ : state) {
        bool all = true;
        for (std::size_t i = 0; i < text.size() && all; ++i)
            all = allowed[static_cast<unsigned char>(text[i])];
        benchmark::DoNotOptimize(all);
    }
    Count(state, text);
}

void ConvertByICU(benchmark::State& state, char const* name)
{
    std::string const text = Greek();
    std::vector<char16_t> units(text.size() + 1);
    UErrorCode error = U_ZERO_ERROR;
    UConverter* const converter = ucnv_open(name, &error);
    ucnv_setToUCallBack(converter, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &error);
    for (auto _ : state) {
        UErrorCode result = U_ZERO_ERROR;
        ucnv_toUChars(converter, units.data(), static_cast<std::int32_t>(units.size()), text.data(),
                      static_cast<std::int32_t>(text.size()), &result);
        if (U_FAILURE(result)) state.SkipWithError("refused");
    }
    ucnv_close(converter);
    Count(state, text);
}

void TestUnits(benchmark::State& state, bool (*test)(std::u16string const&))
{
    std::u16string const text(kBytes / 2, u'a');
    for (auto _ : state)
        benchmark::DoNotOptimize(test(text));
    Count(state, text);
}

void TestUnitsOneByOne(benchmark::State& state)
{
    std::u16string const text(kBytes / 2, u'a');
    for (auto _ : state) {
        bool all = true;
        for (std::size_t i = 0; i < text.size() && all; ++i)
            all = text[i] < 0x80;
        benchmark::DoNotOptimize(all);
    }
    Count(state, text);
}

void SpanByICU(benchmark::State& state)
{
    std::u16string const text(kBytes / 2, u'a');
    USet* const set = uset_open(0, 0x7F);
    uset_freeze(set);
    for (auto _ : state) {
        benchmark::DoNotOptimize(uset_span(set, text.data(), static_cast<std::int32_t>(text.size()),
                                           USET_SPAN_CONTAINED));
    }
    uset_close(set);
    Count(state, text);
}

void SniffISO2022(benchmark::State& state)
{
    std::string const text = Greek();
    auto charset = CCharsetSelector::kCharsetNone;
    for (auto _ : state)
        benchmark::DoNotOptimize(CCharsetConverter::SniffISO2022(text, charset));
    Count(state, text);
}

void SniffUTF16(benchmark::State& state, std::string const& data)
{
    bool bigEndian = false;
    bool littleEndian = false;
    bool notUTF16 = false;
    for (auto _ : state) {
        CCharsetConverter::SniffUTF16(data.data(), static_cast<long long>(data.size()), &bigEndian,
                                      &littleEndian, &notUTF16);
        benchmark::DoNotOptimize(notUTF16);
    }
    Count(state, data);
}

// Its detector looks at all charsets that it knows, at the text's first bytes alone.
void DetectByICU(benchmark::State& state, std::string const& data)
{
    UErrorCode error = U_ZERO_ERROR;
    UCharsetDetector* const detector = ucsdet_open(&error);
    for (auto _ : state) {
        UErrorCode result = U_ZERO_ERROR;
        ucsdet_setText(detector, data.data(), static_cast<std::int32_t>(data.size()), &result);
        benchmark::DoNotOptimize(ucsdet_detect(detector, &result));
    }
    ucsdet_close(detector);
    Count(state, data);
}

}  // namespace

BENCHMARK_CAPTURE(TestBytes, iso_8859_1, CCharsetConverter::CanConvertFromISO_8859_1);
BENCHMARK_CAPTURE(TestBytes, iso_8859_7, CCharsetConverter::CanConvertFromISO_8859_7);
BENCHMARK_CAPTURE(TestBytes, cp_1251, CCharsetConverter::CanConvertFromCP_1251);
BENCHMARK_CAPTURE(TestBytes, cp_1257, CCharsetConverter::CanConvertFromCP_1257);
BENCHMARK(TestBytesOneByOne);
BENCHMARK_CAPTURE(ConvertByICU, iso_8859_1, "ISO-8859-1");
BENCHMARK_CAPTURE(ConvertByICU, iso_8859_7, "ISO-8859-7");
BENCHMARK_CAPTURE(TestUnits, us_ascii, CCharsetConverter::CanConvertLosslesslyToUSASCII);
BENCHMARK_CAPTURE(TestUnits, iso_8859_1, CCharsetConverter::CanConvertLosslesslyToISO_8859_1);
BENCHMARK(TestUnitsOneByOne);
BENCHMARK(SpanByICU);
BENCHMARK(SniffISO2022);
BENCHMARK_CAPTURE(SniffUTF16, no_zeros, Greek());
BENCHMARK_CAPTURE(SniffUTF16, letters, BytesOf(Widened(Greek())));
BENCHMARK_CAPTURE(DetectByICU, no_zeros, Greek());
BENCHMARK_CAPTURE(DetectByICU, letters, BytesOf(Widened(Greek())));

BENCHMARK_MAIN();
