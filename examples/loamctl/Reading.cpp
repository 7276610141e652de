#include "loamctl/Reading.h"

#include <new>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "loamctl/COutput.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "loamctl/Interruption.h"
#include "marl/HierarchicalException.h"

namespace {

constexpr char const* kUnreadable = "unreadable";

char const* EntryKindName(TreeEntry::Kind kind)
{
    switch (kind) {
    case TreeEntry::Kind::kFile:
        return "file";
    case TreeEntry::Kind::kFolder:
        return "folder";
    case TreeEntry::Kind::kLink:
        return "link";
    case TreeEntry::Kind::kOther:
        return "other";
    case TreeEntry::Kind::kUnknown:
        return kUnreadable;
    }
    return "";
}

Reading Failed(std::string reason)
{
    return {kUnreadable, std::move(reason), -1, true, false};
}

Reading ReadFile(CFileSpec const& spec, CDocument& document)
{
    try {
        document.Read(spec);
    } catch (HierarchicalException const& failure) {
        // A call that was ended by a nudge has failed by no fault of the file.
        ThrowIfInterrupted();
        return Failed(DescribeFailure(failure));
    } catch (std::bad_alloc const&) {
        return Failed("not enough memory");
    }
    Reading result;
    result.mKind = document.GetKindName();
    result.mReason = document.GetReason();
    result.mSize = document.GetSize();
    result.mError = document.GetKind() == CDocument::Kind::kTooLarge;
    result.mText = document.IsText();
    return result;
}

}  // namespace

Reading ReadEntry(TreeEntry const& entry, CDocument& document)
{
    if (!entry.mError.empty()) {
        Reading result = Failed(entry.mError);
        if (entry.mKind == TreeEntry::Kind::kFolder) result.mKind = EntryKindName(entry.mKind);
        return result;
    }
    if (entry.mKind == TreeEntry::Kind::kFile) return ReadFile(entry.mSpec, document);
    Reading result;
    result.mKind = EntryKindName(entry.mKind);
    result.mReason = entry.mSkipped;
    result.mError = entry.mNamed && entry.mKind == TreeEntry::Kind::kOther;
    return result;
}

void TellSkipped(TreeEntry const& entry, Reading const& reading, COutput& output)
{
    if (reading.mReason.empty()) return;
    if (output.IsJSON()) {
        output.AddJSON({{"type", reading.mError ? "error" : "skipped"},
                        {"path", entry.mPath},
                        {"kind", reading.mKind},
                        {"reason", reading.mReason}});
    }
    std::string const name = SafeName(entry.mPath);
    if (reading.mError) {
        output.Complain(fmt::format("{}: {}", name, reading.mReason));
    } else if (output.IsVerbose()) {
        output.Note(fmt::format("skipped {} ({}: {})", name, reading.mKind, reading.mReason));
    }
}

void Totals::Add(TreeEntry const& entry, Reading const& reading)
{
    if (entry.mKind == TreeEntry::Kind::kFolder) ++mFolders;
    if (entry.mKind == TreeEntry::Kind::kFile) ++mFiles;
    if (reading.mSize > 0) mBytes += reading.mSize;
    if (reading.mError) ++mErrors;
    if (!reading.mReason.empty()) {
        ++mSkipped[reading.mKind];
    } else if (reading.mText) {
        ++mRead[reading.mKind];
    }
}

std::string Listed(std::map<std::string, long long> const& counts)
{
    std::string result;
    for (auto const& [kind, count] : counts) {
        result += fmt::format("{}{} {}", result.empty() ? "" : ", ", Grouped(count), kind);
    }
    return result;
}
