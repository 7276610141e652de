#include "loamctl/Scan.h"

#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "loamctl/COutput.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Reading.h"

namespace {

constexpr char const* kNotes =
    R"(All files are read, so that what is told of them is certain. "unknown charset" is text in
none of the charsets read here, or damaged; the first offending byte is named.)";

struct ScanOptions
{
    std::vector<std::string> mPaths;
    bool mFollowLinks = false;
};

void ShowEntry(TreeEntry const& entry, Reading const& reading, COutput& output)
{
    if (output.IsJSON()) {
        nlohmann::ordered_json object{
            {"type", "entry"}, {"path", entry.mPath}, {"kind", reading.mKind}};
        if (reading.mSize >= 0) object["bytes"] = reading.mSize;
        if (!reading.mReason.empty())
            object[reading.mError ? "error" : "skipped"] = reading.mReason;
        output.AddJSON(object);
        return;
    }
    std::string const size = reading.mSize < 0 ? "" : Grouped(reading.mSize);
    std::string const name =
        SafeName(entry.mPath) + (entry.mKind == TreeEntry::Kind::kFolder ? "/" : "");
    output.Add(fmt::format("{:<15} {:>13}  ", reading.mKind, size));
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

// 0, or 2 if something could not be looked at.
int Scan(ScanOptions const& options, COutput& output)
{
    CTreeWalk walk(options.mPaths, options.mFollowLinks);
    CDocument document;
    Totals totals;
    for (TreeEntry entry; walk.Next(entry);) {
        output.ShowProgress(totals.mFiles, totals.mBytes, entry.mPath);
        Reading const reading = ReadEntry(entry, document);
        totals.Add(entry, reading);
        ShowEntry(entry, reading, output);
    }
    ShowTotals(totals, output);
    return totals.mErrors > 0 ? 2 : 0;
}

}  // namespace

Command AddScan(CLI::App& app)
{
    CLI::App* const scan = app.add_subcommand("scan", "Tell what files there are and of what kind");
    auto const options = std::make_shared<ScanOptions>();
    AddPaths(*scan, options->mPaths);
    scan->add_flag("-L,--follow", options->mFollowLinks, "Follow links in folders");
    scan->footer(kNotes);
    return {scan, [options](Session& session) { return Scan(*options, session.mOutput); }};
}
