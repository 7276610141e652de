#include "loamctl/Scan.h"

#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "loamctl/CCrew.h"
#include "loamctl/COutput.h"
#include "loamctl/CRunLog.h"
#include "loamctl/CTreeWalk.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "loamctl/Languages.h"
#include "loamctl/Reading.h"

namespace {

constexpr char const* kNotes =
    R"(All files are read, so that what is told of them is certain. "unknown charset" is text in
none of the charsets read here, or damaged; the first offending byte is named. Of a text the
language is told as well, if there are profiles of languages, as for `lang`.)";

struct ScanOptions
{
    std::vector<std::string> mPaths;
    bool mFollowLinks = false;
    int mJobs = 1;
};

void ShowEntry(TreeEntry const& entry,
               Reading const& reading,
               std::string const& language,
               COutput& output)
{
    if (output.IsJSON()) {
        nlohmann::ordered_json object{
            {"type", "entry"}, {"path", entry.mPath}, {"kind", reading.mKind}};
        if (reading.mSize >= 0) object["bytes"] = reading.mSize;
        if (!language.empty()) object["language"] = language;
        if (!reading.mReason.empty())
            object[reading.mError ? "error" : "skipped"] = reading.mReason;
        output.AddJSON(object);
        return;
    }
    std::string const size = reading.mSize < 0 ? "" : Grouped(reading.mSize);
    std::string const name =
        SafeName(entry.mPath) + (entry.mKind == TreeEntry::Kind::kFolder ? "/" : "");
    output.Add(fmt::format("{:<15} {:>13}  {:<8} ", reading.mKind, size, SafeName(language)));
    output.Add(output.Painted(COutput::Style::kPath, name));
    if (!reading.mReason.empty()) {
        auto const style = reading.mError ? COutput::Style::kHit : COutput::Style::kFaint;
        output.Add("  ");
        output.Add(output.Painted(style, fmt::format("({})", reading.mReason)));
    }
    output.EndLine();
}

void ShowTotals(Totals const& totals, COutput& output)
{
    if (output.IsJSON()) {
        output.AddJSON({{"type", "summary"},
                        {"files", totals.mFiles},
                        {"folders", totals.mFolders},
                        {"bytes", totals.mBytes},
                        {"read", totals.mRead},
                        {"skipped", totals.mSkipped},
                        {"errors", totals.mErrors}});
        return;
    }
    output.EndLine();
    output.Add(fmt::format("{} in {}, {}", Counted(totals.mFiles, "file", "files"),
                           Counted(totals.mFolders, "folder", "folders"),
                           SizeForPeople(totals.mBytes)));
    output.EndLine();
    if (!totals.mRead.empty()) {
        output.Add(fmt::format("  text     {}", Listed(totals.mRead)));
        output.EndLine();
    }
    if (!totals.mSkipped.empty()) {
        output.Add(fmt::format("  skipped  {}", Listed(totals.mSkipped)));
        output.EndLine();
    }
}

// None without profiles: languages are then left untold.
std::unique_ptr<CLanguageServices> FindLanguageServices()
{
    try {
        return NewLanguageServices("");
    } catch (CUsageError const&) {
        return nullptr;
    }
}

class CScanner final : public CBasicFileWorker
{
public:
    Outcome Work(TreeEntry const& entry, COutput& output) override
    {
        Outcome outcome{ReadEntry(entry, mDocument)};
        std::string language;
        if (mServices && outcome.mReading.mText)
            language = LanguageOf(mDocument.GetText(), *mServices).mName;
        ShowEntry(entry, outcome.mReading, language, output);
        return outcome;
    }

private:
    std::unique_ptr<CLanguageServices> mServices = FindLanguageServices();
    CDocument mDocument;
};

// 0, or 2 if something could not be looked at.
int Scan(ScanOptions const& options, Session& session)
{
    Totals totals;
    CTreeWalk walk(options.mPaths, options.mFollowLinks);
    CCrew crew(
        options.mJobs, [] { return std::make_unique<CScanner>(); }, session);
    crew.Run(walk, [&](TreeEntry const& entry, Outcome const& outcome) {
        totals.Add(entry, outcome.mReading);
        session.mLog.Say(entry, outcome.mReading, "");
    });
    ShowTotals(totals, session.mOutput);
    return totals.mErrors > 0 ? 2 : 0;
}

}  // namespace

Command AddScan(CArguments program)
{
    CArguments scan = program.AddCommand("scan", "Tell what files there are and of what kind");
    auto const options = std::make_shared<ScanOptions>();
    AddPaths(scan, options->mPaths);
    scan.AddFlag("-L,--follow", options->mFollowLinks, "Follow links in folders");
    AddJobs(scan, options->mJobs);
    scan.SetNotes(kNotes);
    return {scan, [options](Session& session) { return Scan(*options, session); }};
}
