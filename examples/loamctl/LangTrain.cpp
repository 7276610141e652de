#include "loamctl/LangTrain.h"

#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "files/CFile.h"
#include "loamctl/CLanguageProfile.h"
#include "loamctl/CNewFile.h"
#include "loamctl/CRunLog.h"
#include "loamctl/CTreeWalk.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "loamctl/Interruption.h"
#include "loamctl/Reading.h"
#include "marl/HierarchicalException.h"

namespace {

constexpr char const* kNotes =
    R"(A profile lists n-grams of 1 to 6 bytes with a number for each. Without --against that is
how often the n-gram occurs in the texts. With --against it says how much more often (or, below
0, how much less often) than in the profiles of FOLDER on average, which makes a far better
profile: train all languages without it first, then each with it.

  loamctl lang-train counts/de.lm --name de de.txt
  loamctl lang-train de.lm --name de --against counts de.txt)";

// How many n-grams a profile of weights holds: found by experiment. More tell little more.
constexpr int kWeights = 2500;

struct TrainOptions
{
    std::string mTarget;
    bool mOverwrite = false;
    std::string mName;
    std::string mAgainst;
    int mLimit = kWeights;
    std::vector<std::string> mPaths;
};

void ThrowUnreadable(TreeEntry const& entry, std::string const& reason)
{
    throw CUsageError(fmt::format("{}: {}", SafeName(entry.mPath), reason));
}

void AddTexts(std::vector<std::string> const& paths, CLanguageProfile& profile, CRunLog& log)
{
    CDocument document;
    TreeEntry entry;
    for (CTreeWalk walk(paths, false); walk.Next(entry);) {
        ThrowIfInterrupted();
        Reading const reading = ReadEntry(entry, document);
        log.Say(entry, reading, "");
        if (reading.mText)
            profile.AddText(ToUTF8(document.GetText()));
        else if (!reading.mReason.empty())
            ThrowUnreadable(entry, reading.mReason);
    }
}

std::string Content(CFileSpec const& spec)
{
    CFile file(spec);
    file.Open(CFile::cPrivilegeRead);
    std::string content(static_cast<std::size_t>(file.GetLength()), '\0');
    content.resize(static_cast<std::size_t>(
        file.Read(content.data(), static_cast<long long>(content.size()))));
    return content;
}

std::vector<CLanguageProfile> ProfilesIn(std::string const& folder)
{
    std::vector<CLanguageProfile> profiles;
    TreeEntry entry;
    for (CTreeWalk walk({folder}, false); walk.Next(entry);) {
        ThrowIfInterrupted();
        if (!entry.mError.empty()) ThrowUnreadable(entry, entry.mError);
        if (entry.mKind != TreeEntry::Kind::kFile || !entry.mPath.ends_with(".lm")) continue;
        profiles.emplace_back().AddLines(Content(entry.mSpec));
        if (profiles.back().GetTotal() == 0) ThrowUnreadable(entry, "no n-gram is counted in it");
    }
    if (profiles.empty())
        throw CUsageError(fmt::format("{}: there is no profile in it", SafeName(folder)));
    return profiles;
}

int Train(TrainOptions const& options, Session& session)
{
    try {
        // Some hundred kilobytes each: not for the stack.
        auto const profile = std::make_unique<CLanguageProfile>();
        AddTexts(options.mPaths, *profile, session.mLog);
        if (profile->GetTotal() == 0) throw CUsageError("there is no text to learn from");
        std::string lines = fmt::format("Language: {}\nCharset: utf-8\n", options.mName);
        lines += options.mAgainst.empty()
                     ? profile->CountLines()
                     : profile->WeightLines(ProfilesIn(options.mAgainst),
                                            static_cast<std::size_t>(options.mLimit));
        CNewFile target(options.mTarget, options.mOverwrite);
        target.Write(lines);
        target.Keep();
    } catch (HierarchicalException const& failure) {
        throw CUsageError(
            fmt::format("{}: {}", SafeName(failure.levels[0].text), DescribeFailure(failure)));
    }
    return 0;
}

std::string CheckName(std::string const& name)
{
    bool const isToken = !name.empty() && name.find_first_of(" \t\r\n") == name.npos;
    return isToken ? "" : "a language's name has no blank in it";
}

}  // namespace

Command AddLangTrain(CArguments program)
{
    CArguments train = program.AddCommand("lang-train", "Make a language profile from texts");
    auto const options = std::make_shared<TrainOptions>();
    train.Add("OUT.lm", options->mTarget, "The profile to write").Required();
    train.Add("TEXT", options->mPaths, "Texts in the language, files and folders").Required();
    train.Add("-n,--name", options->mName, "The language's name, such as de")
        .Required()
        .Checked(CheckName)
        .Shown("LANG");
    COption const against =
        train.Add("-a,--against", options->mAgainst, "Tell it from the languages counted in FOLDER")
            .Shown("FOLDER");
    train.AddFlag("-f,--force", options->mOverwrite, "Replace what is there already");
    train.Add("--limit", options->mLimit, "So many n-grams at most: 2500")
        .Needs(against)
        .Positive()
        .Shown("NUM");
    train.SetNotes(kNotes);
    return {train, [options](Session& session) { return Train(*options, session); }};
}
