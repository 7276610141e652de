#include "loamctl/Lang.h"

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
#include "loamctl/Languages.h"
#include "loamctl/Reading.h"

namespace {

constexpr char const* kNotes =
    R"(Each line holds the language's name, a confidence from 0 to 1, and the file. The confidence says
how far the second best language is behind: near 0 for a text that is in one of two languages that
are much alike, or is too short to tell. "-" stands for a text that has no language.

Exit codes: 0 languages were named, 1 none, 2 something could not be read.)";

struct LangOptions
{
    std::vector<std::string> mPaths;
    std::string mProfiles;
    bool mFollowLinks = false;
    int mJobs = 1;
};

class CLanguageTeller final : public CBasicFileWorker
{
public:
    explicit CLanguageTeller(std::string const& profiles)
        : mServices(NewLanguageServices(profiles))
    {
    }

    Outcome Work(TreeEntry const& entry, COutput& output) override
    {
        Outcome outcome{ReadEntry(entry, mDocument)};
        Reading& reading = outcome.mReading;
        if (reading.mText) {
            Language const language = LanguageOf(mDocument.GetText(), *mServices);
            outcome.mFound = language.mName.empty() ? 0 : 1;
            Show(language, entry, output);
        } else {
            // Who names a file wants its language.
            reading.mError |= entry.mNamed && entry.mKind == TreeEntry::Kind::kFile;
            TellSkipped(entry, reading, output);
        }
        return outcome;
    }

private:
    static void Show(Language const& language, TreeEntry const& entry, COutput& output)
    {
        if (output.IsJSON()) {
            output.AddJSON({{"type", "language"},
                            {"path", entry.mPath},
                            {"language", language.mName},
                            {"confidence", language.mConfidence}});
            return;
        }
        std::string const name = language.mName.empty() ? "-" : SafeName(language.mName);
        output.Add(output.Painted(COutput::Style::kHit, fmt::format("{:<8}", name)));
        output.Add(fmt::format("{:.2f}  ", language.mConfidence));
        output.Add(output.Painted(COutput::Style::kPath, SafeName(entry.mPath)));
        output.EndLine();
    }

    std::unique_ptr<CLanguageServices> mServices;
    CDocument mDocument;
};

// 0, 1 if no language was named, 2 if something could not be read.
int TellLanguages(LangOptions const& options, Session& session)
{
    long long count = 0;
    bool failed = false;
    CTreeWalk walk(options.mPaths, options.mFollowLinks);
    CCrew crew(
        options.mJobs, [&] { return std::make_unique<CLanguageTeller>(options.mProfiles); },
        session);
    crew.Run(walk, [&](TreeEntry const& entry, Outcome const& outcome) {
        count += outcome.mFound;
        failed |= outcome.mReading.mError;
        session.mLog.Say(entry, outcome.mReading, "");
    });
    if (failed) return 2;
    return count > 0 ? 0 : 1;
}

}  // namespace

Command AddLang(CArguments program)
{
    CArguments lang = program.AddCommand("lang", "Name the language of documents");
    auto const options = std::make_shared<LangOptions>();
    AddPaths(lang, options->mPaths);
    lang.Add("--profiles", options->mProfiles, "Take the language profiles in FOLDER")
        .Shown("FOLDER");
    lang.AddFlag("-L,--follow", options->mFollowLinks, "Follow links in folders");
    AddJobs(lang, options->mJobs);
    lang.SetNotes(kNotes);
    return {lang, [options](Session& session) { return TellLanguages(*options, session); }};
}
