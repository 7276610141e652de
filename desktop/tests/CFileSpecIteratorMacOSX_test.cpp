#include "desktop/CFileSpecIteratorMacOSX.h"

#include "desktop/CFileSpecMacOSX.h"
#include "desktop/platform/CBasicAliasPlatform.h"
#include "files/CFileSpec.h"
#include "files/CFileSpecIterator.h"
#include "testing/ScriptedAliasPlatform.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <thread>
#include <vector>

namespace {

using Paths = std::vector<std::string>;

std::string PathOf(CFileSpec const& spec)
{
    std::string path;
    spec.GetFullPath8bit(&path);
    return path;
}

template <class Iterator>
Paths Rest(Iterator& iterator)
{
    Paths paths;
    for (CFileSpec spec; iterator.Next(&spec);)
        paths.push_back(PathOf(spec));
    return paths;
}

Paths All(CFileSpec const& folder)
{
    CFileSpecIterator iterator(folder);
    return Rest(iterator);
}

class CFileSpecIteratorMacOSXTest : public testing::Test
{
protected:
    ScriptedAliasPlatform mPlatform;
    StAliasPlatform mInUse{mPlatform};
};

}  // namespace

TEST_F(CFileSpecIteratorMacOSXTest, ListsTheVolumesInTheirOrder)
{
    mPlatform.mVolumeRoots = {"/", "/Volumes/B", "/Volumes/A b", "/Volumes/\xC3\x84"};
    EXPECT_EQ(All(CFileSpec(CFileSpec::cContainerAllVolumes)), mPlatform.mVolumeRoots);
}

TEST_F(CFileSpecIteratorMacOSXTest, PassesOverVolumesWithoutAPath)
{
    mPlatform.mVolumeRoots = {"", "/", "", "/Volumes/\xE4", "/Volumes/A", ""};
    EXPECT_EQ(All(CFileSpec(CFileSpec::cContainerAllVolumes)), (Paths{"/", "/Volumes/A"}));
}

TEST_F(CFileSpecIteratorMacOSXTest, StaysAtTheEnd)
{
    mPlatform.mVolumeRoots = {"/"};
    CFileSpecIteratorMacOSX iterator(CFileSpec{CFileSpec::cContainerAllVolumes});
    CFileSpec spec;
    EXPECT_TRUE(iterator.Next(&spec));
    for (int i = 0; i < 3; ++i)
        EXPECT_FALSE(iterator.Next(&spec));
    EXPECT_EQ(PathOf(spec), "/");
}

TEST_F(CFileSpecIteratorMacOSXTest, TakesTheListOnce)
{
    mPlatform.mVolumeRoots = {"/"};
    CFileSpecIteratorMacOSX iterator(CFileSpec{CFileSpec::cContainerAllVolumes});
    mPlatform.mVolumeRoots.emplace_back("/Volumes/Later");
    EXPECT_EQ(Rest(iterator), Paths{"/"});
    EXPECT_EQ(mPlatform.mListed, 1);
}

TEST_F(CFileSpecIteratorMacOSXTest, KeepsWalkingTheFolderWithoutVolumes)
{
    CFileSpec const volumes(CFileSpec::cContainerAllVolumes);
    Paths const entries = All(CFileSpec(PathOf(volumes), false));
    EXPECT_FALSE(entries.empty());
    for (Paths const& roots : {Paths(), Paths{"", ""}}) {
        mPlatform.mVolumeRoots = roots;
        EXPECT_EQ(All(volumes), entries);
    }
}

TEST_F(CFileSpecIteratorMacOSXTest, OtherFoldersAreWalked)
{
    StTempDir const folder;
    folder.Write("file", "");
    mPlatform.mVolumeRoots = {"/"};
    EXPECT_EQ(All(CFileSpec(folder.Path(), false)), Paths{folder.Path("file")});
    // The path alone doesn't make it.
    std::string const path = PathOf(CFileSpec(CFileSpec::cContainerAllVolumes));
    EXPECT_NE(All(CFileSpec(path, false)), mPlatform.mVolumeRoots);
    EXPECT_EQ(mPlatform.mListed, 0);
}

TEST_F(CFileSpecIteratorMacOSXTest, CopiesStandForAllVolumesToo)
{
    mPlatform.mVolumeRoots = {"/", "/Volumes/A"};
    CFileSpec const volumes(CFileSpec::cContainerAllVolumes);
    CFileSpec const copy(volumes);
    EXPECT_EQ(All(copy), mPlatform.mVolumeRoots);
    CFileSpec assigned;
    assigned = volumes;
    EXPECT_EQ(All(assigned), mPlatform.mVolumeRoots);
}

TEST_F(CFileSpecIteratorMacOSXTest, GivesEachVolumeToOneThread)
{
    constexpr int kVolumes = 500;
    for (int i = 0; i < kVolumes; ++i)
        mPlatform.mVolumeRoots.push_back("/Volumes/" + std::to_string(1000 + i));
    CFileSpecIteratorMacOSX iterator(CFileSpec{CFileSpec::cContainerAllVolumes});
    Paths found[4];
    std::vector<std::thread> threads;
    for (Paths& paths : found)
        threads.emplace_back([&] { paths = Rest(iterator); });
    for (std::thread& thread : threads)
        thread.join();
    Paths all;
    for (Paths const& paths : found)
        all.insert(all.end(), paths.begin(), paths.end());
    std::sort(all.begin(), all.end());
    EXPECT_EQ(all, mPlatform.mVolumeRoots);
}

TEST(CFileSpecIteratorMacOSXReal, ListsTheRootAndNoPseudoFileSystems)
{
    Paths const volumes = All(CFileSpec(CFileSpec::cContainerAllVolumes));
    EXPECT_EQ(std::count(volumes.begin(), volumes.end(), "/"), 1);
    EXPECT_EQ(std::count(volumes.begin(), volumes.end(), "/proc"), 0);
    EXPECT_EQ(std::count(volumes.begin(), volumes.end(), "/sys"), 0);
}

TEST(CAliasPlatform, GuardPutsTheFormerPlatformBack)
{
    CBasicAliasPlatform const* const former = &AliasPlatform();
    {
        ScriptedAliasPlatform platform;
        StAliasPlatform const inUse(platform);
        EXPECT_EQ(&AliasPlatform(), &platform);
    }
    EXPECT_EQ(&AliasPlatform(), former);
}
