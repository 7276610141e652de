// Charsets to UTF-16 and back, beside ICU with a converter that is kept open. Bytes a second are
// those of the charset in both directions. By number the library converts itself; by name it adds
// to ICU what the platform's seam costs.
#include "text/CCharsetConverter.h"

#include <benchmark/benchmark.h>
#include <unicode/ucnv.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace {

typedef CCharsetSelector Charsets;

constexpr std::size_t kPage = std::size_t{64} << 10;
constexpr std::size_t kLine = 80;

struct Text
{
    std::string mBytes;
    std::u16string mUnits;
};

// `piece` again and again, in a charset of `name`.
Text MakeText(std::u16string const& piece, std::string const& name, std::size_t length)
{
    Text text;
    while (text.mUnits.size() < length)
        text.mUnits += piece;
    text.mUnits.resize(length);
    CCharsetConverter converter;
    converter.SetCharset(name);
    converter.mImp->FromUnicode(text.mUnits, &text.mBytes);
    converter.mImp->ToUnicode(text.mBytes, &text.mUnits);
    return text;
}

constexpr char16_t kEnglish[] = u"The quick brown fox jumps over the lazy dog, and nobody minds. ";
constexpr char16_t kGerman[] =
    u"Zw\u00F6lf Boxk\u00E4mpfer jagen Viktor quer \u00FCber den gro\u00DFen "
    u"Deich, w\u00E4hrend das \u00D6l flie\u00DFt. ";
constexpr char16_t kDense[] =
    u"\u00C4\u00D6\u00DC\u00E4\u00F6\u00FC\u00DF\u00E9\u00E8\u00E0\u00E7\u00F1";
constexpr char16_t kRussian[] =
    u"\u0421\u044A\u0435\u0448\u044C \u0435\u0449\u0451 \u044D\u0442\u0438\u0445, ";
constexpr char16_t kJapanese[] =
    u"\u65E5\u672C\u8A9E\u306E\u30C6\u30AD\u30B9\u30C8\u3092 ABC \u5909\u63DB\u3059\u308B\u3002";

// A converter of ICU's, open as long as the benchmark runs.
class StICUConverter
{
public:
    explicit StICUConverter(char const* name)
    {
        UErrorCode error = U_ZERO_ERROR;
        mConverter = ucnv_open(name, &error);
    }

    StICUConverter(StICUConverter const&) = delete;
    StICUConverter& operator=(StICUConverter const&) = delete;

    ~StICUConverter() { ucnv_close(mConverter); }

    std::int32_t ToUnicode(std::string const& source, std::u16string& target)
    {
        UErrorCode error = U_ZERO_ERROR;
        return ucnv_toUChars(mConverter, target.data(), static_cast<std::int32_t>(target.size()),
                             source.data(), static_cast<std::int32_t>(source.size()), &error);
    }

    std::int32_t FromUnicode(std::u16string const& source, std::string& target)
    {
        UErrorCode error = U_ZERO_ERROR;
        return ucnv_fromUChars(mConverter, target.data(), static_cast<std::int32_t>(target.size()),
                               source.data(), static_cast<std::int32_t>(source.size()), &error);
    }

private:
    UConverter* mConverter;  // owned
};

void SetBytes(benchmark::State& state, Text const& text)
{
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.mBytes.size()));
}

void LoamToUnicode(benchmark::State& state, CCharsetConverter const& converter, Text const& text)
{
    std::u16string target(text.mUnits.size(), 0);
    for (auto _ : state) {
        unsigned long written = 0;
        converter.mImp->ToUnicode(text.mBytes.size(), text.mBytes.data(), target.size() * 2,
                                  &written, target.data());
        benchmark::DoNotOptimize(written);
        benchmark::ClobberMemory();
    }
    SetBytes(state, text);
}

void LoamFromUnicode(benchmark::State& state, CCharsetConverter const& converter, Text const& text)
{
    std::string target(text.mBytes.size(), 0);
    for (auto _ : state) {
        unsigned long written = 0;
        converter.mImp->FromUnicode(text.mUnits.size() * 2, text.mUnits.data(), target.size(),
                                    &written, target.data());
        benchmark::DoNotOptimize(written);
        benchmark::ClobberMemory();
    }
    SetBytes(state, text);
}

void ICUToUnicode(benchmark::State& state, char const* name, Text const& text)
{
    StICUConverter converter(name);
    std::u16string target(text.mUnits.size(), 0);
    for (auto _ : state) {
        benchmark::DoNotOptimize(converter.ToUnicode(text.mBytes, target));
        benchmark::ClobberMemory();
    }
    SetBytes(state, text);
}

void ICUFromUnicode(benchmark::State& state, char const* name, Text const& text)
{
    StICUConverter converter(name);
    std::string target(text.mBytes.size(), 0);
    for (auto _ : state) {
        benchmark::DoNotOptimize(converter.FromUnicode(text.mUnits, target));
        benchmark::ClobberMemory();
    }
    SetBytes(state, text);
}

void RegisterByNumber(std::string const& what, std::u16string const& piece, std::size_t length)
{
    static constexpr struct
    {
        Charsets::CharsetEnum mCharset;
        char const* mName;
    } kCharsets[] = {
        {Charsets::kISO_8859_1, "ISO-8859-1"},
        {Charsets::kISO_8859_15, "ISO-8859-15"},
        {Charsets::kCP1252, "windows-1252"},
        {Charsets::kMac_roman, "macintosh"},
    };

    for (auto const& c : kCharsets) {
        Text const text = MakeText(piece, c.mName, length);
        std::string const of = std::string(c.mName) + "/" + what;
        auto const charset = c.mCharset;
        char const* const name = c.mName;
        benchmark::RegisterBenchmark(("ToUnicode/" + of + "/Loam").c_str(),
                                     [=](benchmark::State& state) {
                                         LoamToUnicode(state, CCharsetConverter(charset), text);
                                     });
        benchmark::RegisterBenchmark(
            ("ToUnicode/" + of + "/ICU").c_str(),
            [=](benchmark::State& state) { ICUToUnicode(state, name, text); });
        benchmark::RegisterBenchmark(("FromUnicode/" + of + "/Loam").c_str(),
                                     [=](benchmark::State& state) {
                                         LoamFromUnicode(state, CCharsetConverter(charset), text);
                                     });
        benchmark::RegisterBenchmark(
            ("FromUnicode/" + of + "/ICU").c_str(),
            [=](benchmark::State& state) { ICUFromUnicode(state, name, text); });
    }
}

void RegisterByName(char const* name,
                    std::string const& what,
                    std::u16string const& piece,
                    std::size_t length)
{
    Text const text = MakeText(piece, name, length);
    std::string const of = std::string(name) + "/" + what;
    auto const withName = [=](auto run) {
        return [=](benchmark::State& state) {
            CCharsetConverter converter;
            converter.SetCharset(std::string(name));
            run(state, converter, text);
        };
    };
    benchmark::RegisterBenchmark(("ToUnicode/" + of + "/Loam").c_str(), withName(LoamToUnicode));
    benchmark::RegisterBenchmark(("ToUnicode/" + of + "/ICU").c_str(),
                                 [=](benchmark::State& state) { ICUToUnicode(state, name, text); });
    benchmark::RegisterBenchmark(("FromUnicode/" + of + "/Loam").c_str(),
                                 withName(LoamFromUnicode));
    benchmark::RegisterBenchmark(
        ("FromUnicode/" + of + "/ICU").c_str(),
        [=](benchmark::State& state) { ICUFromUnicode(state, name, text); });
}

}  // namespace

int main(int argc, char** argv)
{
    RegisterByNumber("english page", kEnglish, kPage);
    RegisterByNumber("german page", kGerman, kPage);
    RegisterByNumber("dense page", kDense, kPage);
    RegisterByNumber("german line", kGerman, kLine);
    RegisterByName("KOI8-R", "russian page", kRussian, kPage);
    RegisterByName("KOI8-R", "russian line", kRussian, kLine);
    RegisterByName("Shift_JIS", "japanese page", kJapanese, kPage);
    RegisterByName("Shift_JIS", "japanese line", kJapanese, kLine);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
