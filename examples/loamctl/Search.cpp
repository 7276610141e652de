#include "loamctl/Search.h"

#include <memory>
#include <string>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "loamctl/CCrew.h"
#include "loamctl/COutput.h"
#include "loamctl/CRunLog.h"
#include "loamctl/CSearch.h"
#include "loamctl/CStore.h"
#include "loamctl/CStoreSearch.h"
#include "loamctl/CStoreWalk.h"
#include "loamctl/CTreeWalk.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Interruption.h"
#include "loamctl/Reading.h"

namespace {

constexpr char const* kNotes =
    R"(The word and the documents are folded alike before they are compared: accents and other
combining marks go, capitals become small letters, ligatures and full-width forms become
plain ones, ß becomes ss. Hits are shown in the raw text, at their line and column; a column
counts characters (code points) from 1.

Documents in any charset are read, as `loamctl charset` tells it. Binary files, unknown
charsets, links and devices are passed over: -v says which, and why. With --json each hit is
an object on a line of its own, with its offset and length in bytes of the file.

Exit codes: 0 a hit, 1 none, 2 something could not be read (hits are shown all the same).)";

struct SearchTotals
{
    Totals mFiles;
    long long mHits = 0;
    long long mFilesWithHits = 0;
};

void ShowTotals(SearchTotals const& totals, bool counted, COutput& output)
{
    if (output.IsJSON()) {
        nlohmann::ordered_json object{{"type", "summary"}};
        if (counted) object["hits"] = totals.mHits;
        object["files_with_hits"] = totals.mFilesWithHits;
        object["files"] = totals.mFiles.mFiles;
        object["bytes"] = totals.mFiles.mBytes;
        object["skipped"] = totals.mFiles.mSkipped;
        object["errors"] = totals.mFiles.mErrors;
        output.AddJSON(object);
        return;
    }
    if (!output.WantsTotals()) return;
    std::string const files = Counted(totals.mFiles.mFiles, "file", "files");
    std::string found = fmt::format("{} of {}", Grouped(totals.mFilesWithHits), files);
    if (counted) found = fmt::format("{} in {}", Counted(totals.mHits, "hit", "hits"), found);
    if (totals.mFilesWithHits == 0) found = "no hits in " + files;
    std::string const skipped = Listed(totals.mFiles.mSkipped);
    output.Note(fmt::format("\n{}, {}{}{}", found, SizeForPeople(totals.mFiles.mBytes),
                            skipped.empty() ? "" : "; skipped ", skipped));
}

void SearchStore(SearchOptions const& options, Session& session, CCrew::Finish const& finish)
{
    session.mInterruption.Start();
    CStore store(options.mStore);
    StoreQuery const query = MakeStoreQuery(options, store);
    CStoreWalk walk(store, query.mCanHaveHits);
    CCrew crew(
        options.mJobs, [&] { return std::make_unique<CStoreSearch>(options, store, query); },
        session);
    crew.Run(walk, finish);
}

// 0 for a hit, 1 for none, 2 if something could not be read, hit or not.
int RunSearch(SearchOptions const& options, Session& session)
{
    bool const counted = options.mShow != SearchOptions::Show::kNames;
    SearchTotals totals;
    session.mLog.Say("looking for " + options.mWord);
    auto const finish = [&](TreeEntry const& entry, Outcome const& outcome) {
        totals.mFiles.Add(entry, outcome.mReading);
        totals.mHits += outcome.mFound;
        if (outcome.mFound > 0) ++totals.mFilesWithHits;
        session.mLog.Say(entry, outcome.mReading,
                         counted              ? Counted(outcome.mFound, "hit", "hits")
                         : outcome.mFound > 0 ? "a hit"
                                              : "no hit");
    };
    if (options.mStore.empty()) {
        CTreeWalk walk(options.mPaths, options.mFollowLinks);
        CCrew crew(
            options.mJobs, [&options] { return std::make_unique<CSearch>(options); }, session);
        crew.Run(walk, finish);
    } else {
        SearchStore(options, session, finish);
    }
    ShowTotals(totals, counted, session.mOutput);
    if (totals.mFiles.mErrors > 0) return 2;
    return totals.mHits > 0 ? 0 : 1;
}

}  // namespace

Command AddSearch(CArguments program)
{
    CArguments search = program.AddCommand("search", "Find a word in files and folders");
    auto const options = std::make_shared<SearchOptions>();
    search.Add("WORD", options->mWord, "What to find, also inside words; blanks are allowed")
        .Required();
    COption const paths = AddPaths(search, options->mPaths);
    search.AddFlag("-w,--word", options->mWholeWords, "Only whole words, in a row if several");
    COption const count = search.AddFlag(
        "-c,--count", [options] { options->mShow = SearchOptions::Show::kCounts; },
        "Only the number of hits in each file that has one");
    search
        .AddFlag(
            "-l,--files-with-matches", [options] { options->mShow = SearchOptions::Show::kNames; },
            "Only the names of files with a hit")
        .Excludes(count);
    search.Add("-m,--max-count", options->mMaxCount, "Stop after so many hits in a file")
        .Positive()
        .Shown("NUM");
    options->mMaxColumns = 240;
    search
        .Add("--max-columns", options->mMaxColumns,
             "So much of a long line is shown: 240, or 0 for all")
        .NotNegative()
        .Shown("NUM");
    COption const follow =
        search.AddFlag("-L,--follow", options->mFollowLinks, "Follow links in folders");
    search.Add("--in", options->mStore, "Search what `loamctl index` kept, and no files")
        .Excludes(paths)
        .Excludes(follow)
        .Shown("STORE");
    AddJobs(search, options->mJobs);
    search.SetNotes(kNotes);
    return {search, [options](Session& session) { return RunSearch(*options, session); }};
}
