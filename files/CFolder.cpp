#include "files/CFolder.h"

#include "files/CFile.h"
#include "files/CFileSpecImp.h"
#include "files/CFileSpecIterator.h"
#include "files/CFolderImp.h"

#include <set>
#include <utility>
#include <vector>

namespace {

/// One folder of a walk, with the paths of what is still to be removed from it.
struct Level
{
    CFileSpec mFolder;
    std::vector<std::u16string> mEntries;
};

/// All entries are read before the first is removed, so that the walk doesn't change what it is
/// reading.
std::vector<std::u16string> EntriesOf(CFileSpec const& folder)
{
    std::vector<std::u16string> entries;
    CFileSpecIterator iterator(folder);
    std::u16string text;
    for (CFileSpec entry; iterator.Next(&entry);) {
        // What has no name of its own is the folder again, or a whole volume.
        entry.GetFileName(&text);
        if (text.empty()) continue;
        entry.GetFullPath(&text);
        entries.push_back(text);
    }
    return entries;
}

/// Empties folders from the last entry to the first, each one's own content before it, on a stack
/// of its own.
class CWalk
{
public:
    using Remove = void (CFile::*)();

    /// `entersOnce` is for a removal that goes on after failures: without it, links in a circle,
    /// which can't be removed, would lead through the same folders time and again.
    CWalk(Remove remove, bool entersOnce)
        : mRemove(remove)
        , mEntersOnce(entersOnce)
    {
    }

    void Empty(CFileSpec const& folder)
    {
        if (folder.IsFolder()) MayEnter(folder);
        Enter(folder);
        while (true) {
            Level& level = mLevels.back();
            if (!level.mEntries.empty()) {
                CFileSpec const entry(std::move(level.mEntries.back()), false);
                level.mEntries.pop_back();
                // Kept on purpose: links are followed, so the content of a link's target goes too.
                if (entry.IsFolder() && MayEnter(entry)) {
                    Enter(entry);
                } else {
                    RemoveOne(entry);
                }
                continue;
            }
            CFileSpec const emptied(level.mFolder);
            mLevels.pop_back();
            if (mLevels.empty()) return;
            RemoveOne(emptied);
        }
    }

    void RemoveOne(CFileSpec const& spec) const
    {
        CFile file(spec);
        (file.*mRemove)();
    }

private:
    void Enter(CFileSpec const& folder) { mLevels.push_back({folder, EntriesOf(folder)}); }

    bool MayEnter(CFileSpec const& folder)
    {
        if (!mEntersOnce) return true;
        struct stat const* const stat = folder.GetImp()->GetStat(true);
        return mEntered.insert({stat->st_dev, stat->st_ino}).second;
    }

    Remove mRemove;
    bool mEntersOnce;
    std::vector<Level> mLevels;
    std::set<std::pair<dev_t, ino_t>> mEntered;
};

// What was read of the folder before may hold no more.
void DeleteFolder(
    CFileSpec& folder, bool deleteFolder, bool deleteContent, CWalk::Remove remove, bool entersOnce)
{
    folder.SetupFromFile();
    CWalk walk(remove, entersOnce);
    if (deleteContent) walk.Empty(folder);
    if (deleteFolder) walk.RemoveOne(folder);
}

}  // namespace

CFolder::CFolder(CFileSpec const& folder)
    : mImp(new CFolderImp(folder))
    , mFileSpec(folder)
{
}

CFolder::CFolder(CFolder const& other)
    : CFolder(other.mFileSpec)
{
}

CFolder& CFolder::operator=(CFolder const& other)
{
    CFolder copy(other);
    std::swap(mImp, copy.mImp);
    mFileSpec = std::move(copy.mFileSpec);
    return *this;
}

CFolder::~CFolder()
{
    delete mImp;
}

void CFolder::Create(bool withParents)
{
    if (withParents) {
        // From the folder upwards, each container is the path of the former one cut shorter.
        std::vector<std::u16string::size_type> missing;
        std::u16string path;
        CFileSpec container(mFileSpec);
        while (container.GetContainer(&container) && !container.Exist()) {
            container.GetFullPath(&path);
            missing.push_back(path.size());
        }
        mFileSpec.GetFullPath(&path);
        for (; !missing.empty(); missing.pop_back()) {
            CFolderImp(CFileSpec(path.substr(0, missing.back()), false)).Create();
        }
    }
    mImp->Create();
}

void CFolder::Delete(bool deleteFolder, bool deleteContent)
{
    DeleteFolder(mFileSpec, deleteFolder, deleteContent, &CFile::Delete, false);
}

void CFolder::DeleteOrTrashWithoutError(bool deleteFolder, bool deleteContent)
{
    DeleteFolder(mFileSpec, deleteFolder, deleteContent, &CFile::DeleteOrTrashWithoutError, true);
}
