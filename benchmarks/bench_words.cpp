// Words and mapped text, beside the tokenizer of SQLite's FTS5 (unicode61 with all diacritics
// removed), ICU's normaliser and ICU's string search (root collator, primary strength). Bytes a
// second are those of the text as UTF-8 throughout, so that all figures of one text compare.
//
// A walk goes through every word of the text and looks at its first unit; the peer gets a callback
// for each token. `linear/...` repeats the walk over texts of 1 KB to 16 MB: bytes a second should
// be the same for all of them, but for what the caches hold.
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>
#include <sqlite3.h>
#include <unicode/ucol.h>
#include <unicode/unorm2.h>
#include <unicode/usearch.h>
#include <unicode/ustring.h>

#include "benchmarks/Corpora.h"
#include "marl/amortizedmemblock.h"
#include "text/CUTFConverter.h"
#include "text/CUnicodeMappingTable.h"
#include "text/CUnicodeWordDelimiter.h"
#include "text/CUnicodeWordDelimiterStub.h"
#include "text/CUnicodeWordDelimiterStubLegacy.h"

namespace {

// One text, whole or in lines, in both forms, and mapped.
struct Input
{
    std::vector<std::string> mText8;
    std::vector<std::u16string> mText16;
    std::vector<std::u16string> mMapped16;
    int64_t mBytes8 = 0;
};

Input MakeInput(std::vector<std::string> texts)
{
    Input input;
    for (std::string const& text : texts) {
        std::u16string units;
        CUTFConverter::ConvertUTF8toUTF16(text, units, CUTFConverter::kStrictMode);
        input.mBytes8 += static_cast<int64_t>(text.size());
        CUnicodeMappingTable::GetDefaultTable()->MapText(units, input.mMapped16.emplace_back());
        input.mText16.push_back(std::move(units));
    }
    input.mText8 = std::move(texts);
    return input;
}

unsigned int LengthOf(std::u16string const& text)
{
    return static_cast<unsigned int>(text.size());
}

size_t
WalkMapped(CUnicodeWordDelimiter& delimiter, std::u16string const& text, amortizedmemblock& block)
{
    CUnicodeMappingTable& table = *CUnicodeMappingTable::GetDefaultTable();
    unsigned int start = 0;
    unsigned int rawLength = 0;
    unsigned int mappedLength = 0;
    size_t words = 0;
    block.reset();
    while (delimiter.GetNextMappedWordInRawText(text.data(), LengthOf(text), table, start,
                                                rawLength, block, mappedLength)) {
        benchmark::DoNotOptimize(*block.data());
        ++words;
    }
    return words;
}

size_t WalkRaw(CUnicodeWordDelimiter& delimiter, std::u16string const& text)
{
    unsigned int start = 0;
    unsigned int wordLength = 0;
    size_t words = 0;
    while (delimiter.GetNextWord(text.data(), LengthOf(text), start, wordLength)) {
        benchmark::DoNotOptimize(text[start]);
        ++words;
    }
    return words;
}

// SQLite's tokenizer, as its full-text index calls it.
class CPeerTokenizer
{
public:
    CPeerTokenizer()
    {
        Check(sqlite3_open(":memory:", &mDatabase) == SQLITE_OK);
        fts5_api* api = nullptr;
        sqlite3_stmt* statement = nullptr;
        Check(sqlite3_prepare_v2(mDatabase, "SELECT fts5(?1)", -1, &statement, nullptr) ==
              SQLITE_OK);
        sqlite3_bind_pointer(statement, 1, &api, "fts5_api_ptr", nullptr);
        sqlite3_step(statement);
        sqlite3_finalize(statement);
        Check(api != nullptr);

        void* context = nullptr;
        Check(api->xFindTokenizer(api, "unicode61", &context, &mMethods) == SQLITE_OK);
        char const* options[] = {"remove_diacritics", "2"};
        Check(mMethods.xCreate(context, options, 2, &mTokenizer) == SQLITE_OK);
    }

    size_t Walk(std::string const& text) const
    {
        size_t words = 0;
        mMethods.xTokenize(mTokenizer, &words, FTS5_TOKENIZE_DOCUMENT, text.data(),
                           static_cast<int>(text.size()), CountToken);
        return words;
    }

private:
    static int CountToken(void* words, int, char const* token, int, int, int)
    {
        benchmark::DoNotOptimize(*token);
        ++*static_cast<size_t*>(words);
        return SQLITE_OK;
    }

    static void Check(bool isDone)
    {
        if (isDone) return;
        std::fputs("bench_text: SQLite's tokenizer is not to be had\n", stderr);
        std::exit(EXIT_FAILURE);
    }

    sqlite3* mDatabase = nullptr;  // lives as long as the benchmarks
    fts5_tokenizer mMethods = {};
    Fts5Tokenizer* mTokenizer = nullptr;
};

// Decomposed and case-folded, into buffers that are kept; diacritics stay.
size_t MapByICU(std::u16string const& text, std::u16string& decomposed, std::u16string& folded)
{
    UErrorCode error = U_ZERO_ERROR;
    static UNormalizer2 const* const normaliser = unorm2_getNFKDInstance(&error);
    size_t const room = text.size() * 3 + 32;
    if (decomposed.size() < room) decomposed.resize(room);
    if (folded.size() < room * 2) folded.resize(room * 2);
    int32_t const length =
        unorm2_normalize(normaliser, text.data(), static_cast<int32_t>(text.size()),
                         decomposed.data(), static_cast<int32_t>(decomposed.size()), &error);
    int32_t const result = u_strFoldCase(folded.data(), static_cast<int32_t>(folded.size()),
                                         decomposed.data(), length, U_FOLD_CASE_DEFAULT, &error);
    if (U_FAILURE(error)) std::exit(EXIT_FAILURE);
    return static_cast<size_t>(result);
}

// All hits of a mapped word, one behind another.
size_t CountHits(std::u16string const& text, std::u16string const& needle)
{
    CUnicodeMappingTable const& table = *CUnicodeMappingTable::GetDefaultTable();
    size_t hits = 0;
    int from = 0;
    int at = 0;
    int length = 0;
    while (table.FindMappedText(text.data(), static_cast<int>(text.size()), from, at, length,
                                needle.data(), static_cast<int>(needle.size()))) {
        from = at + length;
        ++hits;
    }
    return hits;
}

// ICU's search for a word that is kept, as the library's own needle is. It is opened once, and the
// texts are set one after another.
class CPeerSearch
{
public:
    // `needle` lives as long as the benchmarks.
    explicit CPeerSearch(std::u16string const& needle)
    {
        UErrorCode error = U_ZERO_ERROR;
        UCollator* const collator = ucol_open("", &error);
        ucol_setStrength(collator, UCOL_PRIMARY);
        mSearch = usearch_openFromCollator(needle.data(), static_cast<int32_t>(needle.size()), u" ",
                                           1, collator, nullptr, &error);
        Check(error);
    }

    size_t CountHits(std::u16string const& text) const
    {
        if (text.empty()) return 0;
        UErrorCode error = U_ZERO_ERROR;
        usearch_setText(mSearch, text.data(), static_cast<int32_t>(text.size()), &error);
        size_t hits = 0;
        int32_t at = usearch_first(mSearch, &error);
        for (; at != USEARCH_DONE; at = usearch_next(mSearch, &error))
            ++hits;
        Check(error);
        return hits;
    }

private:
    static void Check(UErrorCode error)
    {
        if (U_SUCCESS(error)) return;
        std::fputs("bench_text: ICU's string search does not work\n", stderr);
        std::exit(EXIT_FAILURE);
    }

    UStringSearch* mSearch = nullptr;  // lives as long as the benchmarks
};

// The last mapped word of two units and more.
std::u16string LastWordOf(std::vector<std::u16string> const& texts)
{
    std::u16string last = u"\u4E00";
    CUnicodeWordDelimiterStub delimiter;
    for (std::u16string const& text : texts) {
        unsigned int start = 0;
        unsigned int rawLength = 0;
        unsigned int mappedLength = 0;
        amortizedmemblock block;
        while (delimiter.GetNextMappedWordInRawText(text.data(), LengthOf(text),
                                                    *CUnicodeMappingTable::GetDefaultTable(), start,
                                                    rawLength, block, mappedLength)) {
            auto const* const word = reinterpret_cast<char16_t const*>(block.data());
            if (mappedLength > 1) last.assign(word, mappedLength);
        }
    }
    return last;
}

// `run` takes one text and answers a number, which is added up into the counter `count`.
template <class Text, class Run>
void Register(std::string const& name, std::vector<Text> const& texts, int64_t bytes8, Run run)
{
    benchmark::RegisterBenchmark(name.c_str(), [&texts, bytes8, run](benchmark::State& state) {
        size_t count = 0;
        for (auto _ : state) {
            count = 0;
            for (Text const& text : texts)
                count += run(text);
            benchmark::DoNotOptimize(count);
        }
        state.SetBytesProcessed(state.iterations() * bytes8);
        state.counters["count"] = static_cast<double>(count);
    });
}

void RegisterWords(std::string const& corpus, Input const& input)
{
    static CUnicodeWordDelimiterStub stub;
    static CUnicodeWordDelimiterStubLegacy legacy;
    static CPeerTokenizer const peer;
    static amortizedmemblock block;
    int64_t const bytes = input.mBytes8;

    Register("words/loam/" + corpus, input.mText16, bytes,
             [](std::u16string const& text) { return WalkMapped(stub, text, block); });
    Register("words/loam_legacy/" + corpus, input.mText16, bytes,
             [](std::u16string const& text) { return WalkMapped(legacy, text, block); });
    Register("words/fts5/" + corpus, input.mText8, bytes,
             [](std::string const& text) { return peer.Walk(text); });
    Register("raw_words/loam/" + corpus, input.mText16, bytes,
             [](std::u16string const& text) { return WalkRaw(stub, text); });
    Register("raw_words/loam_legacy/" + corpus, input.mText16, bytes,
             [](std::u16string const& text) { return WalkRaw(legacy, text); });
}

void RegisterFinding(std::string const& what,
                     std::string const& corpus,
                     Input const& input,
                     std::u16string const& needle)
{
    Register(what + "/loam/" + corpus, input.mText16, input.mBytes8,
             [&needle](std::u16string const& text) { return CountHits(text, needle); });
    Register(
        what + "/icu/" + corpus, input.mText16, input.mBytes8,
        [peer = CPeerSearch(needle)](std::u16string const& text) { return peer.CountHits(text); });
}

void RegisterMapping(std::string const& corpus, Input const& input)
{
    static CUnicodeMappingTable const& table = *CUnicodeMappingTable::GetDefaultTable();
    int64_t const bytes = input.mBytes8;

    Register("map_text/loam/" + corpus, input.mText16, bytes, [](std::u16string const& text) {
        static std::u16string target;
        table.MapText(text, target);
        return target.size();
    });
    Register("map_text_offsets/loam/" + corpus, input.mText16, bytes,
             [](std::u16string const& text) {
                 static std::u16string target;
                 static std::vector<int> offsets;
                 table.MapText(text.data(), static_cast<int>(text.size()), target, offsets);
                 return target.size();
             });
    Register("map_text/icu/" + corpus, input.mText16, bytes, [](std::u16string const& text) {
        static std::u16string decomposed;
        static std::u16string folded;
        return MapByICU(text, decomposed, folded);
    });
    // On the mapped text, in which there is nothing left to find: a call stops at the first find.
    Register("has_mappable/loam/" + corpus, input.mMapped16, bytes, [](std::u16string const& text) {
        return static_cast<size_t>(table.HasMappableText(text));
    });

    // They live as long as the benchmarks.
    auto const* const hit = new std::u16string(LastWordOf(input.mText16));
    static std::u16string const sMiss = u"zqxqz";
    RegisterFinding("find_hit", corpus, input, *hit);
    RegisterFinding("find_miss", corpus, input, sMiss);
}

void RegisterInput(std::string const& corpus, std::vector<std::string> texts)
{
    // Lives as long as the benchmarks.
    auto const* const input = new Input(MakeInput(std::move(texts)));
    RegisterWords(corpus, *input);
    RegisterMapping(corpus, *input);
}

// The first text over and over, in sizes that grow by four.
void RegisterLinearity(Corpus const& corpus)
{
    for (size_t size = 1024; size <= 16 * 1024 * 1024; size *= 4) {
        std::string text = corpus.mText;
        while (text.size() < size)
            text += corpus.mText;
        // Not in the middle of a character.
        while (text.size() > size || (text.back() & 0x80) != 0)
            text.pop_back();
        auto const* const input = new Input(MakeInput({text}));
        Register("linear/" + corpus.mName + "/" + std::to_string(size), input->mText16,
                 input->mBytes8, [](std::u16string const& whole) {
                     static amortizedmemblock block;
                     return WalkMapped(*CUnicodeWordDelimiter::GetDefaultDelimiter(), whole, block);
                 });
    }
}

int RegisterAll()
{
    for (Corpus const& corpus : Corpora()) {
        RegisterInput(corpus.mName, {corpus.mText});
        if (IsShortLines(corpus)) RegisterInput(corpus.mName + "_lines", LinesOf(corpus.mText));
    }
    RegisterLinearity(Corpora().front());
    return 0;
}

int const sRegistered = RegisterAll();

}  // namespace
