// Real volumes, mounted in a namespace of each test's own, so that nothing is left of them. What
// is said of them is compared with what findmnt and lsblk say.
#include "desktop/VolumeProperties.h"
#include "files/CFileSpec.h"
#include "files/CFileSpecIterator.h"
#include "testing/StTempDir.h"

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace {

// What a shell line writes, without the line end that closes it; "(failed)" where it fails.
std::string OutputOf(std::string const& line)
{
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen((line + " 2>/dev/null").c_str(), "r"), pclose);
    std::string output;
    char buffer[4096];
    while (std::size_t const count = std::fread(buffer, 1, sizeof buffer, pipe.get()))
        output.append(buffer, count);
    if (pclose(pipe.release()) != 0) return "(failed)";
    while (!output.empty() && output.back() == '\n')
        output.pop_back();
    return output;
}

bool Runs(std::string const& line)
{
    return OutputOf(line) != "(failed)";
}

// "mount point|image|server|type|network", all but the medium, which is the machine's.
std::string VolumeOf(std::string const& path)
{
    std::string point;
    std::string image;
    std::string server;
    std::string type;
    bool isNetwork = true;
    CFileSpec::VolumeType medium = CFileSpec::cVolumeUnknown;
    CFileSpec(path, false).GetVolumeInfo(point, image, server, type, isNetwork, medium);
    return point + "|" + image + "|" + server + "|" + type + "|" +
           (isNetwork ? "network" : "local");
}

// The same by findmnt.
std::string FoundMount(std::string const& path, std::string const& image = {})
{
    std::string const of = " --target '" + path + "'";
    return OutputOf("findmnt -n -o TARGET" + of) + "|" + image + "||" +
           OutputOf("findmnt -n -o FSTYPE" + of) + "|local";
}

bool IsListed(std::string const& path)
{
    CFileSpecIterator volumes{CFileSpec(CFileSpec::cContainerAllVolumes)};
    for (CFileSpec volume; volumes.Next(&volume);) {
        std::string listed;
        volume.GetFullPath8bit(&listed);
        if (listed == path) return true;
    }
    return false;
}

class MountedVolumes : public testing::Test
{
protected:
    // Leaves the namespace of mounts for one of this process, and makes it private.
    void SetUp() override
    {
        if (geteuid() != 0) GTEST_SKIP() << "only root mounts";
        if (!Runs("command -v findmnt lsblk losetup mkfs.ext4 mksquashfs"))
            GTEST_SKIP() << "there is no findmnt, lsblk, losetup, mkfs.ext4 or mksquashfs";
        if (unshare(CLONE_NEWNS) != 0 ||
            mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) {
            GTEST_SKIP() << "this machine lets nobody have mounts of his own";
        }
    }

    // Loop devices let go of their images by themselves.
    void TearDown() override
    {
        for (; !mMounted.empty(); mMounted.pop_back())
            umount2(mMounted.back().c_str(), MNT_DETACH);
    }

    // With the arguments of mount(8), the place left out. False if this machine can't.
    bool Mount(std::string const& arguments, std::string const& place)
    {
        if (!Runs("mount " + arguments + " '" + place + "'")) return false;
        mMounted.push_back(place);
        return true;
    }

    StTempDir mDir;
    std::vector<std::string> mMounted;
};

TEST_F(MountedVolumes, KnowAnExt4Image)
{
    std::string const image = mDir.Path("disk image.ext4");
    std::string const place = mDir.MakeFolder("My Disk");
    ASSERT_TRUE(Runs("truncate -s 4M '" + image + "' && mkfs.ext4 -q '" + image + "'"));
    if (!Mount("-o loop '" + image + "'", place)) GTEST_SKIP() << "there is no loop device here";
    EXPECT_EQ(VolumeOf(place), place + "|" + image + "||ext4|local");
    EXPECT_EQ(VolumeOf(place), FoundMount(place, image));
    EXPECT_EQ(VolumeOf(place + "/lost+found"), VolumeOf(place));
    EXPECT_EQ(VolumeOf(place + "/"), VolumeOf(place));
    EXPECT_TRUE(IsListed(place));

    // The medium is what the kernel says of the loop device.
    std::string const device = OutputOf("findmnt -n -o SOURCE --target '" + place + "'");
    std::string const rotates = OutputOf("lsblk -n -d -o ROTA " + device + " | tr -d ' '");
    VolumeProperties const properties = PropertiesForPath(place);
    EXPECT_EQ(properties.at(kVolumeMountSource), device);
    EXPECT_EQ(properties.at(kVolumeMedium), rotates == "1" ? "Rotational" : "Solid State");
    EXPECT_EQ(image, OutputOf("losetup -n -O BACK-FILE " + device));

    // The image keeps its name when it is removed.
    ASSERT_EQ(unlink(image.c_str()), 0);
    EXPECT_EQ(VolumeOf(place), place + "|" + image + "||ext4|local");
}

TEST_F(MountedVolumes, KnowASquashfsImage)
{
    std::string const image = mDir.Path("tree.squashfs");
    std::string const place = mDir.MakeFolder("tree");
    mDir.Write("source/a", "a");
    ASSERT_TRUE(
        Runs("mksquashfs '" + mDir.Path("source") + "' '" + image + "' -quiet -no-progress"));
    if (!Mount("-t squashfs -o loop,ro '" + image + "'", place))
        GTEST_SKIP() << "there is no loop device or no squashfs here";
    EXPECT_EQ(VolumeOf(place + "/a"), place + "|" + image + "||squashfs|local");
    EXPECT_EQ(VolumeOf(place + "/a"), FoundMount(place, image));
}

TEST_F(MountedVolumes, KnowOnesInMemory)
{
    std::string const place = mDir.MakeFolder("a b\tc\\d");
    ASSERT_TRUE(Mount("-t tmpfs -o size=64k tmpfs", place));
    EXPECT_EQ(VolumeOf(place), place + "|||tmpfs|local");
    EXPECT_EQ(PropertiesForPath(place).count(kVolumeMedium), 0U);
    EXPECT_TRUE(IsListed(place));
}

TEST_F(MountedVolumes, KnowAnOverlay)
{
    std::string const place = mDir.MakeFolder("merged");
    std::string const layers = mDir.MakeFolder("layers");
    ASSERT_TRUE(Mount("-t tmpfs tmpfs", layers));
    ASSERT_TRUE(Runs("mkdir " + layers + "/low " + layers + "/high " + layers + "/work"));
    std::string const options =
        "lowerdir=" + layers + "/low,upperdir=" + layers + "/high,workdir=" + layers + "/work";
    if (!Mount("-t overlay -o " + options + " overlay", place))
        GTEST_SKIP() << "there is no overlay here";
    EXPECT_EQ(VolumeOf(place), place + "|||overlay|local");
    EXPECT_EQ(VolumeOf(place), FoundMount(place));
    EXPECT_TRUE(IsListed(place));
}

TEST_F(MountedVolumes, KnowAFolderThatIsBoundElsewhere)
{
    std::string const place = mDir.MakeFolder("bound");
    ASSERT_TRUE(Mount("--bind '" + mDir.MakeFolder("source") + "'", place));
    EXPECT_EQ(VolumeOf(place), FoundMount(place));
    EXPECT_EQ(VolumeOf(place).substr(0, place.size() + 1), place + "|");
    EXPECT_EQ(PropertiesForPath(place)[kVolumeMedium],
              PropertiesForPath(mDir.Path())[kVolumeMedium])
        << "both are on one device";
}

TEST_F(MountedVolumes, AreFoundByTheirNames)
{
    auto const find = [](char16_t const* name) {
        std::string path;
        CFileSpec(CFileSpec::cContainerMountedVolume, name, false).GetFullPath8bit(&path);
        return path;
    };
    std::string const place = mDir.MakeFolder("Our Disk");
    EXPECT_EQ(find(u"Our Disk"), "/Volumes/Our Disk");
    ASSERT_TRUE(Mount("-t tmpfs tmpfs", place));
    EXPECT_EQ(find(u"Our Disk"), place);
    EXPECT_EQ(find(u"our disk"), "/Volumes/our disk");
}

TEST_F(MountedVolumes, AreThoseOnTop)
{
    std::string const place = mDir.MakeFolder("pile");
    ASSERT_TRUE(Mount("-t tmpfs low", place));
    ASSERT_TRUE(Mount("-t tmpfs high", place));
    EXPECT_EQ(PropertiesForPath(place)[kVolumeMountSource], "high");
    ASSERT_EQ(umount2(place.c_str(), MNT_DETACH), 0);
    mMounted.pop_back();
    EXPECT_EQ(PropertiesForPath(place)[kVolumeMountSource], "low");
}

TEST_F(MountedVolumes, ComeAndGo)
{
    std::string const place = mDir.MakeFolder("place");
    std::string const around = VolumeOf(mDir.Path());
    for (int round = 0; round < 3; ++round) {
        EXPECT_EQ(VolumeOf(place), around);
        EXPECT_FALSE(IsListed(place));
        ASSERT_TRUE(Mount("-t tmpfs tmpfs", place));
        EXPECT_EQ(VolumeOf(place), place + "|||tmpfs|local");
        EXPECT_TRUE(IsListed(place));
        ASSERT_EQ(umount(place.c_str()), 0);
        mMounted.clear();
    }
}

TEST_F(MountedVolumes, KnowTheDeviceThatIsntMounted)
{
    std::string const image = mDir.Path("free.img");
    ASSERT_TRUE(Runs("truncate -s 1M '" + image + "'"));
    std::string const device = OutputOf("losetup -f --show '" + image + "'");
    if (device == "(failed)") GTEST_SKIP() << "there is no loop device here";
    // The node lies on the file system of /dev, and says nothing of a volume.
    EXPECT_EQ(VolumeOf(device), FoundMount(device));
    EXPECT_FALSE(IsListed(device));
    EXPECT_TRUE(Runs("losetup -d " + device));
}

TEST_F(MountedVolumes, AreSeenFromAnotherNamespaceAndAChild)
{
    std::string const place = mDir.MakeFolder("place");
    ASSERT_TRUE(Mount("-t tmpfs tmpfs", place));
    ASSERT_EQ(VolumeOf(place), place + "|||tmpfs|local");
    pid_t const child = fork();
    ASSERT_NE(child, -1);
    if (child == 0) {
        bool const isSame = VolumeOf(place) == place + "|||tmpfs|local";
        bool const isAlone = unshare(CLONE_NEWNS) == 0 && umount2(place.c_str(), MNT_DETACH) == 0;
        _exit(isSame && isAlone && VolumeOf(place) != place + "|||tmpfs|local" ? 0 : 1);
    }
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(VolumeOf(place), place + "|||tmpfs|local") << "here nothing has changed";
}

TEST_F(MountedVolumes, SayWhereTheRootIs)
{
    EXPECT_EQ(VolumeOf("/"), FoundMount("/"));
    EXPECT_EQ(VolumeOf("///"), VolumeOf("/"));
    EXPECT_EQ(VolumeOf("/proc/self/status"), "/proc|||proc|local");
    EXPECT_FALSE(IsListed("/proc"));
    EXPECT_EQ(VolumeOf("/no/such/place"), "||||local");
    EXPECT_EQ(VolumeOf(""), "||||local");
}

}  // namespace
