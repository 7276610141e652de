// What file specifiers need of the system where a path stands for something else: aliases, disk
// images and the list of volumes.
//
// Operations ask one question or give one order in plain types, never throw and decide nothing.
// Paths are UTF-16 unless they come as bytes, which are UTF-8. Any thread may call.
#pragma once

#include <string>
#include <vector>

/// How the system resolves its aliases.
enum AliasWay
{
    kAliasesAreLinks,     ///< it has none but symbolic links, and nothing to be mounted by a file
    kAliasesByReference,  ///< by `FollowReference`
    kAliasesByURL         ///< by `FollowURL`
};

/// What the system makes of a path. The first two tell whether it led anywhere.
struct FollowedURL
{
    std::u16string mAskedPath;  ///< of the URL that was asked for
    std::u16string mFoundPath;  ///< of the URL that it led to
    std::u16string mTarget;     ///< the latter as a POSIX path
};

class CBasicAliasPlatform
{
public:
    CBasicAliasPlatform() = default;
    CBasicAliasPlatform(CBasicAliasPlatform const&) = delete;
    CBasicAliasPlatform& operator=(CBasicAliasPlatform const&) = delete;
    virtual ~CBasicAliasPlatform() = default;

    /// The same in every call.
    virtual AliasWay GetAliasWay() const = 0;

    /// Whether the desktop calls the file an alias. What it says of symbolic links isn't used.
    virtual bool IsAliasFile(std::u16string const& path) const = 0;

    /// Follows the alias that `path` may be, without asking the user anything. False if the system
    /// has no answer.
    virtual bool FollowURL(std::u16string const& path, FollowedURL& followed) const = 0;
    /// The older way, which goes on until what it finds is no alias. `target` is where that led;
    /// `wasAlias` says whether `path` was one. False on failure.
    virtual bool
    FollowReference(std::u16string const& path, bool& wasAlias, std::u16string& target) const = 0;

    /// Runs the system's tool for disk images and gives what it writes to its standard output.
    /// Blocks until it ends; after `seconds` it is asked to, and a second later made to. False if
    /// there is no such tool.
    virtual bool RunImageTool(std::vector<std::u16string> const& arguments,
                              double seconds,
                              std::string& output) const = 0;

    /// The root folders of all volumes, in the system's order; an empty one where no path leads.
    virtual std::vector<std::string> GetVolumeRoots() const = 0;
};

/// The platform in use. Any thread may call.
CBasicAliasPlatform& AliasPlatform();

/// A new one of the system's own, which the caller owns. Defined in the system's file.
CBasicAliasPlatform* NewAliasPlatform();

/// Puts another platform in use for a scope. For tests, while no other thread works with files.
class StAliasPlatform
{
public:
    /// `platform` belongs to the caller and outlives the guard.
    explicit StAliasPlatform(CBasicAliasPlatform& platform);
    StAliasPlatform(StAliasPlatform const&) = delete;
    StAliasPlatform& operator=(StAliasPlatform const&) = delete;
    ~StAliasPlatform();

private:
    CBasicAliasPlatform* mFormer;  // not owned
};
