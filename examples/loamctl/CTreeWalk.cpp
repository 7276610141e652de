#include "loamctl/CTreeWalk.h"

#include <algorithm>
#include <utility>

#include <sys/stat.h>

#include "files/CFileSpecIterator.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "loamctl/Interruption.h"
#include "marl/HierarchicalException.h"
#include "text/CUTFConverter.h"

namespace {

constexpr char16_t const* kHere = u"./";

std::u16string PathFromArgument(std::string path)
{
    // A listing adds a "/" of its own.
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    std::u16string result;
    if (!CUTFConverter::ConvertUTF8toUTF16(path, result, CUTFConverter::kLenientMode)) {
        throw CUsageError("a path that is not UTF-8 can't be named: " + SafeName(path));
    }
    if (result.empty()) throw CUsageError("an empty path names nothing");
    return result;
}

}  // namespace

CTreeWalk::CTreeWalk(std::vector<std::string> const& paths, bool followLinks)
    : mFollowLinks(followLinks)
{
    Listing& named = mListings.emplace_back();
    for (std::string const& path : paths)
        named.mPaths.push_back(PathFromArgument(path));
    if (paths.empty()) {
        named.mPaths.emplace_back(u".");
        mPrefix = std::u16string_view(kHere).size();
    }
}

bool CTreeWalk::Next(TreeEntry& entry)
{
    while (!mListings.empty()) {
        Listing& listing = mListings.back();
        if (listing.mNext == listing.mPaths.size()) {
            mListings.pop_back();
            continue;
        }
        entry = {};
        entry.mSpec = CFileSpec(listing.mPaths[listing.mNext++], false);
        entry.mSpec.GetFullPath8bit(&entry.mPath);
        entry.mPath.erase(0, entry.mPath.size() > mPrefix ? mPrefix : 0);
        entry.mNamed = mListings.size() == 1;
        Examine(entry);
        if (entry.mKind == TreeEntry::Kind::kFolder) EnterFolder(entry);
        return true;
    }
    return false;
}

bool CTreeWalk::NextBatch(std::vector<TreeEntry>& entries)
{
    entries.resize(1);
    if (!Next(entries.front())) entries.clear();
    return !entries.empty();
}

double CTreeWalk::GetShare() const
{
    double share = 0;
    double weight = 1;  // of the listing that is looked at
    for (Listing const& listing : mListings) {
        if (listing.mPaths.empty()) return share + weight;
        weight /= static_cast<double>(listing.mPaths.size());
        // The last one is done, or has a listing of its own that tells how much of it is.
        bool const innermost = &listing == &mListings.back();
        share += weight * static_cast<double>(listing.mNext - (innermost ? 0 : 1));
    }
    return mListings.empty() ? 1 : share;
}

void CTreeWalk::Examine(TreeEntry& entry) const
{
    using Kind = TreeEntry::Kind;
    CFileSpec& spec = entry.mSpec;
    bool const follow = mFollowLinks || entry.mNamed;
    if (!follow && spec.IsAlias()) {
        entry.mKind = Kind::kLink;
        entry.mSkipped = "not followed";
    } else if (spec.IsFolder(follow)) {
        entry.mKind = Kind::kFolder;
    } else if (spec.IsRealFile(follow)) {
        entry.mKind = Kind::kFile;
    } else {
        try {
            spec.GetFileSize();
            entry.mKind = Kind::kOther;
            entry.mSkipped = "neither a file nor a folder";
        } catch (HierarchicalException const& failure) {
            entry.mError = DescribeFailure(failure);
        }
    }
}

void CTreeWalk::EnterFolder(TreeEntry& entry)
{
    std::string path;
    entry.mSpec.GetFullPath8bit(&path);
    if (mFollowLinks && !IsFirstVisit(path)) {
        entry.mSkipped = "walked already, by another way";
        return;
    }
    Listing listing;
    try {
        CFileSpecIterator found(entry.mSpec);
        for (CFileSpec inner; found.Next(&inner);) {
            ThrowIfInterrupted();
            inner.GetFullPath(&listing.mPaths.emplace_back());
        }
    } catch (HierarchicalException const& failure) {
        entry.mError = DescribeFailure(failure);
    }
    std::sort(listing.mPaths.begin(), listing.mPaths.end(),
              [](std::u16string const& a, std::u16string const& b) {
                  ThrowIfInterrupted();
                  return a < b;
              });
    mListings.push_back(std::move(listing));
}

// A folder that can't be asked for its number is entered: the listing will tell why.
bool CTreeWalk::IsFirstVisit(std::string const& path)
{
    struct stat found = {};
    if (stat(path.c_str(), &found) != 0) return true;
    return mVisited.emplace(found.st_dev, found.st_ino).second;
}
