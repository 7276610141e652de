#include "loamctl/Search.h"

#include <memory>

#include <CLI/CLI.hpp>

#include "loamctl/CSearch.h"

namespace {

constexpr char const* kNotes =
    R"(The word and the documents are folded alike before they are compared: accents and other
combining marks go, capitals become small letters, ligatures and full-width forms become
plain ones, ß becomes ss. Hits are shown in the raw text, at their line and column; a column
counts characters (code points) from 1.

UTF-8 is read with and without a byte-order mark, UTF-16 with one. Binary files, other
charsets, links and devices are passed over: -v says which, and why. With --json each hit is
an object on a line of its own, with its offset and length in bytes of the file.

Exit codes: 0 a hit, 1 none, 2 something could not be read (hits are shown all the same).)";

}  // namespace

Command AddSearch(CLI::App& app)
{
    CLI::App* const search = app.add_subcommand("search", "Find a word in files and folders");
    auto const options = std::make_shared<SearchOptions>();
    search
        ->add_option("WORD", options->mWord, "What to find, also inside words; blanks are allowed")
        ->required()
        ->option_text(" ");
    AddPaths(*search, options->mPaths);
    search->add_flag("-w,--word", options->mWholeWords, "Only whole words, in a row if several");
    auto* const count = search->add_flag(
        "-c,--count", [options](auto) { options->mShow = SearchOptions::Show::kCounts; },
        "Only the number of hits in each file that has one");
    search
        ->add_flag(
            "-l,--files-with-matches",
            [options](auto) { options->mShow = SearchOptions::Show::kNames; },
            "Only the names of files with a hit")
        ->excludes(count)
        ->option_text(" ");
    count->option_text(" ");
    search->add_option("-m,--max-count", options->mMaxCount, "Stop after so many hits in a file")
        ->check(CLI::PositiveNumber)
        ->option_text("NUM");
    options->mMaxColumns = 240;
    search
        ->add_option("--max-columns", options->mMaxColumns,
                     "So much of a long line is shown: 240, or 0 for all")
        ->check(CLI::NonNegativeNumber)
        ->option_text("NUM");
    search->add_flag("-L,--follow", options->mFollowLinks, "Follow links in folders");
    search->footer(kNotes);
    return {search,
            [options](Session& session) { return CSearch(*options, session.mOutput).Run(); }};
}
