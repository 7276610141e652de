#include "loamctl/Index.h"

#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "loamctl/COutput.h"
#include "loamctl/CProgress.h"
#include "loamctl/CRunLog.h"
#include "loamctl/CStoreWriter.h"
#include "loamctl/CTreeWalk.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "loamctl/Interruption.h"
#include "loamctl/Languages.h"
#include "loamctl/Reading.h"

namespace {

constexpr char const* kNotes =
    R"(The store is one file. It holds the documents' bytes, their folded text and their words, packed
with a dictionary that is trained on them: `loamctl search WORD --in STORE` shows what a search of
the files would have shown, when they were indexed.)";

struct IndexOptions
{
    std::vector<std::string> mPaths;
    std::string mTarget;
    bool mOverwrite = false;
    bool mFollowLinks = false;
};

void Show(Totals const& totals, CStoreWriter const& store, std::string const& path, COutput& output)
{
    long long documents = 0;
    for (auto const& [kind, count] : totals.mRead)
        documents += count;
    if (output.IsJSON()) {
        output.AddJSON({{"type", "store"},
                        {"path", path},
                        {"bytes", store.GetSize()},
                        {"dictionary_bytes", store.GetDictionarySize()},
                        {"documents", documents},
                        {"document_bytes", totals.mBytes},
                        {"words", store.CountWords()},
                        {"skipped", totals.mSkipped},
                        {"errors", totals.mErrors}});
        return;
    }
    std::string const skipped = Listed(totals.mSkipped);
    output.Add(output.Painted(COutput::Style::kPath, SafeName(path)));
    output.Add(fmt::format(
        ": {} with {}, of {}; {} in the store{}{}", Counted(documents, "document", "documents"),
        Counted(store.CountWords(), "word", "words"), SizeForPeople(totals.mBytes),
        SizeForPeople(store.GetSize()), skipped.empty() ? "" : "; skipped ", skipped));
    output.EndLine();
}

// Documents without a language are better than none.
std::unique_ptr<CLanguageServices> LanguagesIfThereAreAny()
{
    try {
        return NewLanguageServices("");
    } catch (CUsageError const&) {
        return nullptr;
    }
}

int RunIndex(IndexOptions const& options, Session& session)
{
    session.mInterruption.Start();
    std::unique_ptr<CLanguageServices> const languages = LanguagesIfThereAreAny();
    CStoreWriter store(options.mTarget, options.mOverwrite, languages.get());
    Totals totals;
    CTreeWalk walk(options.mPaths, options.mFollowLinks);
    CDocument document;
    for (TreeEntry entry; walk.Next(entry);) {
        ThrowIfInterrupted();
        Reading const reading = ReadEntry(entry, document);
        long long const words = store.Add(entry, reading, document);
        totals.Add(entry, reading);
        TellSkipped(entry, reading, session.mOutput);
        session.mLog.Say(entry, reading, Counted(words, "word", "words"));
        session.mProgress.Show(totals.mFiles, totals.mBytes, walk.GetShare());
    }
    store.Finish();
    Show(totals, store, options.mTarget, session.mOutput);
    return totals.mErrors > 0 ? 2 : 0;
}

}  // namespace

Command AddIndex(CArguments program)
{
    CArguments index = program.AddCommand("index", "Keep documents in a store for searches");
    auto const options = std::make_shared<IndexOptions>();
    AddPaths(index, options->mPaths);
    index.Add("-o,--output", options->mTarget, "The store").Required().Shown("STORE");
    index.AddFlag("-f,--force", options->mOverwrite, "Replace what is there already");
    index.AddFlag("-L,--follow", options->mFollowLinks, "Follow links in folders");
    index.SetNotes(kNotes);
    return {index, [options](Session& session) { return RunIndex(*options, session); }};
}
