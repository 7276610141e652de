#include "loamctl/Words.h"

#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "loamctl/CCrew.h"
#include "loamctl/COutput.h"
#include "loamctl/CPlaceCounter.h"
#include "loamctl/CRunLog.h"
#include "loamctl/CTreeWalk.h"
#include "loamctl/CWordWalk.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Interruption.h"
#include "loamctl/Reading.h"

namespace {

constexpr char const* kNotes =
    R"(Each line holds the folded word, its offset and its length in bytes of the file, with tabs
between; where there may be several files, the name of the file comes first. Words are what the library's delimiter makes of a text: runs of letters and digits,
and single ideographs, symbols and pictographs.)";

struct WordsOptions
{
    std::vector<std::string> mPaths;
    bool mFollowLinks = false;
    int mJobs = 1;
};

// Lists the words of one document after another.
class CWordLister final : public CBasicFileWorker
{
public:
    // `lone`: one path was named, so that a file's lines need not tell its name.
    explicit CWordLister(bool lone)
        : mLone(lone)
    {
    }

    Outcome Work(TreeEntry const& entry, COutput& output) override
    {
        Outcome outcome{ReadEntry(entry, mDocument)};
        Reading& reading = outcome.mReading;
        if (reading.mText) {
            outcome.mFound = List(entry, output);
        } else {
            // Who names a file wants its words.
            reading.mError |= entry.mNamed && entry.mKind == TreeEntry::Kind::kFile;
            TellSkipped(entry, reading, output);
        }
        return outcome;
    }

private:
    long long List(TreeEntry const& entry, COutput& output);
    void Show(Place const& place, long long length, TreeEntry const& entry, COutput& output) const;

    bool mLone;
    CDocument mDocument;
    std::string mWord;
    amortizedmemblock mBlock{1024, 2.0F, true};
};

long long CWordLister::List(TreeEntry const& entry, COutput& output)
{
    long long count = 0;
    CPlaceCounter starts(mDocument);
    CPlaceCounter ends(mDocument);
    for (CWordWalk words(mDocument.GetText(), mBlock); words.Next(); ++count) {
        ThrowIfInterrupted();
        Span const span = words.GetSpan();
        Place const& start = starts.At(span.mStart);
        mWord = ToUTF8(words.GetWord());
        Show(start, ends.At(span.mEnd).mOffset - start.mOffset, entry, output);
    }
    return count;
}

void CWordLister::Show(Place const& place,
                       long long length,
                       TreeEntry const& entry,
                       COutput& output) const
{
    if (output.IsJSON()) {
        nlohmann::ordered_json object{{"type", "word"},         {"path", entry.mPath},
                                      {"word", mWord},          {"offset", place.mOffset},
                                      {"length", length},       {"line", place.mLine},
                                      {"column", place.mColumn}};
        if (mDocument.IsConverted()) object["charset"] = mDocument.GetKindName();
        output.AddJSON(object);
        return;
    }
    if (!mLone || !entry.mNamed) {
        output.Add(output.Painted(COutput::Style::kPath, SafeName(entry.mPath)));
        output.Add("\t");
    }
    output.Add(output.Painted(COutput::Style::kHit, SafeName(mWord)));
    output.Add(fmt::format("\t{}\t{}", place.mOffset, length));
    output.EndLine();
}

// 0, 1 if there is no word, 2 if something could not be read.
int ListWords(WordsOptions const& options, Session& session)
{
    long long count = 0;
    bool failed = false;
    bool const lone = options.mPaths.size() == 1;
    CTreeWalk walk(options.mPaths, options.mFollowLinks);
    CCrew crew(
        options.mJobs, [lone] { return std::make_unique<CWordLister>(lone); }, session);
    crew.Run(walk, [&](TreeEntry const& entry, Outcome const& outcome) {
        count += outcome.mFound;
        failed |= outcome.mReading.mError;
        session.mLog.Say(entry, outcome.mReading, Counted(outcome.mFound, "word", "words"));
    });
    if (failed) return 2;
    return count > 0 ? 0 : 1;
}

}  // namespace

Command AddWords(CArguments program)
{
    CArguments words = program.AddCommand("words", "List the words of documents");
    auto const options = std::make_shared<WordsOptions>();
    words.Add("PATH", options->mPaths, "Files and folders").Required();
    words.AddFlag("-L,--follow", options->mFollowLinks, "Follow links in folders");
    AddJobs(words, options->mJobs);
    words.SetNotes(kNotes);
    return {words, [options](Session& session) { return ListWords(*options, session); }};
}
