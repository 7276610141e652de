#include "loamctl/Resolve.h"

#include <cerrno>
#include <filesystem>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "files/CFileSpec.h"
#include "loamctl/COutput.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "loamctl/Interruption.h"

namespace {

namespace fs = std::filesystem;

constexpr char const* kNotes =
    R"(Each line is a stage: what stood there, its path, and the path that took its place. The last one is
where it all leads. A relative path begins in the working folder. Exit code 1 if nothing is there,
or if a link can't be followed, such as one that leads back to itself.)";

struct ResolveOptions
{
    std::vector<std::string> mPaths;
    bool mMount = false;
};

std::string PathOf(CFileSpec const& spec)
{
    std::string path;
    spec.GetFullPath8bit(&path);
    return path;
}

/// As the library resolves the whole of a path.
std::string Resolved(std::string const& path)
{
    CFileSpec spec(path, false);
    spec.ResolveAlias();
    return PathOf(spec);
}

char const* KindOfAlias(std::string const& path)
{
    std::error_code unread;
    if (fs::is_symlink(path, unread)) return "link";
    bool const isLocation = path.ends_with(".afploc") || path.ends_with(".inetloc");
    return isLocation ? "location file" : "alias";
}

char const* KindOfEnd(CFileSpec const& spec)
{
    // An alias that is left is one that couldn't be resolved.
    if (spec.IsAlias()) return KindOfAlias(PathOf(spec));
    if (!spec.Exist()) return "missing";
    if (spec.IsDiskImage()) return "disk image";
    if (spec.IsFolder()) return "folder";
    return spec.IsRealFile() ? "file" : "other";
}

class CResolving
{
public:
    CResolving(std::string const& path, COutput& output)
        : mPath(path)
        , mOutput(output)
    {
    }

    /// The stages of each component, from the left. False if what is at the end can't be used.
    bool Show(bool mount);

private:
    void ShowComponent(std::string const& from, std::string const& to);
    void ShowStage(char const* kind, std::string const& from, std::string const& to);
    bool ShowEnd(CFileSpec const& end);

    std::string const& mPath;  // as it was given
    COutput& mOutput;
};

bool CResolving::Show(bool mount)
{
    std::string const path = fs::absolute(mPath).string();
    std::string resolved;
    for (std::string::size_type slash = 0; slash != std::string::npos;) {
        ThrowIfInterrupted();
        std::string::size_type const next = path.find('/', slash + 1);
        std::string const before = resolved + path.substr(slash, next - slash);
        // The library leaves the root as it is, and resolves whatever is longer from its start.
        resolved = Resolved(path.substr(0, next));
        if (resolved != before) ShowComponent(before, resolved);
        slash = next;
    }
    CFileSpec end(resolved, false);
    if (!mount || !end.IsDiskImage()) return ShowEnd(end);
    end.MountDiskImage();
    if (PathOf(end) != resolved) ShowStage("disk image", resolved, PathOf(end));
    return ShowEnd(end);
}

// A chain of links one by one, and what else there is in one go.
void CResolving::ShowComponent(std::string const& from, std::string const& to)
{
    constexpr int kMostLinks = 100000;  // in case somebody makes them a circle meanwhile
    std::string at = from;
    for (int links = 0; at != to && links < kMostLinks; ++links) {
        std::error_code unread;
        std::string const target = fs::read_symlink(at, unread).string();
        if (unread) break;
        std::string const next =
            target.starts_with('/') ? target : at.substr(0, at.rfind('/') + 1) + target;
        ShowStage("link", at, next);
        at = next;
    }
    if (at != to) ShowStage(KindOfAlias(at), at, to);
}

void CResolving::ShowStage(char const* kind, std::string const& from, std::string const& to)
{
    if (mOutput.IsJSON()) {
        mOutput.AddJSON(
            {{"type", "stage"}, {"path", mPath}, {"kind", kind}, {"from", from}, {"to", to}});
        return;
    }
    mOutput.Add(fmt::format("{:<14} {} -> {}", kind, SafeName(from), SafeName(to)));
    mOutput.EndLine();
}

bool CResolving::ShowEnd(CFileSpec const& end)
{
    std::string const path = PathOf(end);
    char const* const kind = KindOfEnd(end);
    bool const isUsable = !end.IsAlias() && end.Exist();
    if (mOutput.IsJSON()) {
        mOutput.AddJSON({{"type", "resolved"}, {"path", mPath}, {"kind", kind}, {"to", path}});
        return isUsable;
    }
    mOutput.Add(fmt::format("{:<14} ", kind));
    mOutput.Add(mOutput.Painted(COutput::Style::kPath, SafeName(path)));
    mOutput.EndLine();
    return isUsable;
}

int ResolveAll(ResolveOptions const& options, Session& session)
{
    bool isUsable = true;
    for (std::string const& path : options.mPaths) {
        if (path.empty()) throw CUsageError("an empty path leads nowhere");
        if (PathOf(CFileSpec(path, false)).empty())
            throw CUsageError("a path that is not UTF-8 can't be named: " + SafeName(path));
        session.mOutput.BeginGroup();
        isUsable = CResolving(path, session.mOutput).Show(options.mMount) && isUsable;
    }
    return isUsable ? 0 : 1;
}

}  // namespace

Command AddResolve(CArguments program)
{
    CArguments resolve = program.AddCommand("resolve", "Tell where paths lead, link by link");
    auto const options = std::make_shared<ResolveOptions>();
    resolve.Add("PATH", options->mPaths, "The paths").Required();
    resolve.AddFlag("--mount", options->mMount, "Mount a disk image at the end, on the desktop");
    resolve.SetNotes(kNotes);
    return {resolve, [options](Session& session) { return ResolveAll(*options, session); }};
}
