#include "loamctl/Words.h"

#include <memory>
#include <string>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "loamctl/COutput.h"
#include "loamctl/CPlaceCounter.h"
#include "loamctl/CWordWalk.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Reading.h"

namespace {

constexpr char const* kNotes =
    R"(Each line holds the folded word, its offset and its length in bytes of the file, with tabs
between. Words are what the library's delimiter makes of a text: runs of letters and digits,
and single ideographs, symbols and pictographs.)";

void ShowWord(std::string const& word, Place const& place, long long length, COutput& output)
{
    if (output.IsJSON()) {
        output.AddJSON({{"type", "word"},
                        {"word", word},
                        {"offset", place.mOffset},
                        {"length", length},
                        {"line", place.mLine},
                        {"column", place.mColumn}});
        return;
    }
    output.Add(output.Painted(COutput::Style::kHit, SafeName(word)));
    output.Add(fmt::format("\t{}\t{}", place.mOffset, length));
    output.EndLine();
}

// 0, 1 if there is no word, 2 if the file could not be read as text.
int ListWords(std::string const& path, COutput& output)
{
    CTreeWalk walk({path}, false);
    TreeEntry entry;
    walk.Next(entry);
    CDocument document;
    Reading const reading = ReadEntry(entry, document);
    if (!reading.mText) {
        std::string const& reason = reading.mReason.empty() ? "a folder" : reading.mReason;
        output.Complain(fmt::format("{}: {}", SafeName(path), reason));
        return 2;
    }

    bool any = false;
    CPlaceCounter starts(document);
    CPlaceCounter ends(document);
    amortizedmemblock block(1024, 2.0F, true);
    CWordWalk words(document.GetText(), block);
    while (words.Next()) {
        Span const span = words.GetSpan();
        Place const& start = starts.At(span.mStart);
        ShowWord(ToUTF8(words.GetWord()), start, ends.At(span.mEnd).mOffset - start.mOffset,
                 output);
        any = true;
    }
    return any ? 0 : 1;
}

}  // namespace

Command AddWords(CLI::App& app)
{
    CLI::App* const words = app.add_subcommand("words", "List the words of a document");
    auto const path = std::make_shared<std::string>();
    words->add_option("FILE", *path, "The document")->required()->option_text(" ");
    words->footer(kNotes);
    return {words, [path](Session& session) { return ListWords(*path, session.mOutput); }};
}
