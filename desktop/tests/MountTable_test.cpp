#include "desktop/platform/linux/MountTable.h"

#include "testing/StTempDir.h"

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

CMountTable TableOf(std::string const& text)
{
    return CMountTable(std::vector<char>(text.begin(), text.end()));
}

// "type source mount point" of the only mount; nothing where the line isn't one.
std::string OnlyMountOf(std::string const& line)
{
    CMountTable const table = TableOf(line);
    std::string all;
    for (MountEntry const& entry : table.Entries()) {
        all += std::string(entry.mType) + "|" + std::string(entry.mSource) + "|" +
               std::string(entry.mMountPoint) + "|" + std::string(entry.mOptions);
    }
    return all;
}

constexpr char kMachine[] =
    "22 27 0:21 / /proc rw,relatime - proc proc rw\n"
    "24 27 0:6 / /dev rw,relatime - devtmpfs devtmpfs rw,size=12334460k,mode=755\n"
    "25 24 0:23 / /dev/shm rw,relatime - tmpfs shm rw\n"
    "27 1 254:0 / / rw,relatime shared:1 master:2 - ext4 /dev/vda rw,discard\n"
    "30 25 0:27 / /dev/shm rw,relatime - tmpfs shm2 rw,size=24684084k\n"
    "31 27 8:17 / /media/My\\040Disk ro,nosuid - ext4 /dev/sdb1 rw\n";

TEST(MountTable, ReadsALineOfTheKernel)
{
    CMountTable const table = TableOf(kMachine);
    ASSERT_EQ(table.Entries().size(), 6U);
    MountEntry const& root = table.Entries()[3];
    EXPECT_EQ(root.mId, 27U);
    EXPECT_EQ(root.mParentId, 1U);
    EXPECT_EQ(root.mMajor, 254U);
    EXPECT_EQ(root.mMinor, 0U);
    EXPECT_EQ(root.mMountPoint, "/");
    EXPECT_EQ(root.mType, "ext4");
    EXPECT_EQ(root.mSource, "/dev/vda");
    EXPECT_EQ(root.mOptions, "rw,discard");
    EXPECT_FALSE(root.mIsHidden);
}

TEST(MountTable, ReadsEveryFormOfALine)
{
    struct
    {
        char const* mWhat;
        char const* mLine;
        char const* mMount;
    } const kCases[] = {
        {"no optional field", "1 0 8:1 / /a rw - ext4 /dev/sda1 rw\n", "ext4|/dev/sda1|/a|rw"},
        {"three of them", "1 0 8:1 / /a rw shared:1 master:2 propagate_from:3 - ext4 s rw\n",
         "ext4|s|/a|rw"},
        {"no end of line", "1 0 8:1 / /a rw - ext4 s rw", "ext4|s|/a|rw"},
        {"blank", "1 0 8:1 / /a\\040b rw - ext4 s rw\n", "ext4|s|/a b|rw"},
        {"tab, line end, backslash", "1 0 8:1 / /\\011\\012\\134 rw - ext4 s rw\n",
         "ext4|s|/\t\n\\|rw"},
        {"escape behind escape", "1 0 8:1 / /\\134040 rw - ext4 s rw\n", "ext4|s|/\\040|rw"},
        {"number sign in the source", "1 0 8:1 / /a rw - 9p \\043tag rw\n", "9p|#tag|/a|rw"},
        {"greatest byte", "1 0 8:1 / /\\377 rw - ext4 s rw\n", "ext4|s|/\xFF|rw"},
        {"no octal number", "1 0 8:1 / /\\400\\08 rw - ext4 s rw\n", "ext4|s|/\\400\\08|rw"},
        {"escape cut off by the end", "1 0 8:1 / /a\\04 rw - ext4 s rw\n", "ext4|s|/a\\04|rw"},
        {"UTF-8", "1 0 8:1 / /Büro rw - ext4 s rw\n", "ext4|s|/Büro|rw"},
        {"empty source", "1 0 0:9 / /a rw - tmpfs  rw\n", "tmpfs||/a|rw"},
        {"empty options", "1 0 0:9 / /a rw - tmpfs s \n", "tmpfs|s|/a|"},
        {"type with a part", "1 0 0:9 / /a rw - fuse.sshfs u@h:/p rw\n", "fuse.sshfs|u@h:/p|/a|rw"},
        {"dash as mount point", "1 0 8:1 / - rw - ext4 s rw\n", "ext4|s|-|rw"},
        {"deleted root", "1 0 8:1 /x//deleted /a rw - ext4 s rw\n", "ext4|s|/a|rw"},
        {"great numbers", "4294967295 9999999999 4294967295:1048575 / /a rw - ext4 s rw\n",
         "ext4|s|/a|rw"},
    };

    for (auto const& c : kCases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(OnlyMountOf(c.mLine), c.mMount);
    }
}

TEST(MountTable, PassesOverWhatIsNoMount)
{
    struct
    {
        char const* mWhat;
        char const* mLine;
    } const kCases[] = {
        {"nothing", ""},
        {"empty line", "\n"},
        {"blanks", "     \n"},
        {"no number", "x 0 8:1 / /a rw - ext4 s rw\n"},
        {"negative number", "-1 0 8:1 / /a rw - ext4 s rw\n"},
        {"number too great", "99999999999999999999 0 8:1 / /a rw - ext4 s rw\n"},
        {"no parent", "1 x 8:1 / /a rw - ext4 s rw\n"},
        {"no minor number", "1 0 8 / /a rw - ext4 s rw\n"},
        {"more behind the minor number", "1 0 8:1x / /a rw - ext4 s rw\n"},
        {"no dash", "1 0 8:1 / /a rw shared:1 ext4 s rw\n"},
        {"nothing behind the dash", "1 0 8:1 / /a rw -\n"},
        {"no options of the file system", "1 0 8:1 / /a rw - ext4 s\n"},
        {"empty mount point", "1 0 8:1 /  rw - ext4 s rw\n"},
        {"cut off", "1 0 8:1 / /a"},
        {"null bytes", "1 0 8:1"},
    };

    for (auto const& c : kCases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(OnlyMountOf(c.mLine), "");
        EXPECT_EQ(OnlyMountOf(std::string(c.mLine) + "\n2 0 8:2 / /b rw - ext4 t rw\n"),
                  "ext4|t|/b|rw");
    }
}

TEST(MountTable, FindsByNumberAndByMountPoint)
{
    CMountTable const table = TableOf(kMachine);
    EXPECT_EQ(table.FindId(31), &table.Entries()[5]);
    EXPECT_EQ(table.FindId(32), nullptr);
    EXPECT_EQ(table.FindMountPoint("/media/My Disk"), &table.Entries()[5]);
    EXPECT_EQ(table.FindMountPoint("/media"), nullptr);
    EXPECT_EQ(table.FindMountPoint("/dev/shm"), &table.Entries()[4]) << "the upper one of two";
}

TEST(MountTable, StaysWholeWhenItIsMoved)
{
    CMountTable first = TableOf(kMachine);
    CMountTable const second = std::move(first);
    ASSERT_NE(second.FindMountPoint("/"), nullptr);
    EXPECT_EQ(second.FindMountPoint("/")->mSource, "/dev/vda");
}

TEST(MountTable, TellsWhatNoPathLeadsTo)
{
    struct
    {
        char const* mWhat;
        char const* mTable;
        std::vector<std::string> mShown;  // the sources, in the table's order
    } const kCases[] = {
        {"two beside each other",
         "1 0 8:1 / / rw - ext4 root rw\n2 1 8:2 / /a rw - ext4 a rw\n3 1 8:3 / /ab rw - ext4 ab "
         "rw\n",
         {"root", "a", "ab"}},
        {"one on the other",
         "1 0 8:1 / / rw - ext4 root rw\n2 1 8:2 / /a rw - ext4 low rw\n3 2 8:3 / /a rw - ext4 "
         "high rw\n",
         {"root", "high"}},
        {"three in a pile, told from above",
         "4 3 8:3 / /a rw - ext4 top rw\n3 2 8:3 / /a rw - ext4 mid rw\n2 1 8:2 / /a rw - ext4 low "
         "rw\n"
         "1 0 8:1 / / rw - ext4 root rw\n",
         {"top", "root"}},
        {"below a folder that was mounted over later",
         "1 0 8:1 / / rw - ext4 root rw\n2 1 8:2 / /a/b/c rw - ext4 deep rw\n3 1 8:3 / /a rw - "
         "ext4 over rw\n",
         {"root", "over"}},
        {"again on the one over it",
         "1 0 8:1 / / rw - ext4 root rw\n2 1 8:2 / /a/b rw - ext4 deep rw\n3 1 8:3 / /a rw - ext4 "
         "over rw\n"
         "4 3 8:4 / /a/b rw - ext4 new rw\n",
         {"root", "over", "new"}},
        {"on a hidden one",
         "1 0 8:1 / / rw - ext4 root rw\n2 1 8:2 / /a rw - ext4 low rw\n4 2 8:4 / /a/b rw - ext4 "
         "on-low rw\n"
         "3 2 8:3 / /a rw - ext4 high rw\n",
         {"root", "high"}},
        {"a new root over the first, which is its own parent",
         "1 1 0:1 / / rw - rootfs rootfs rw\n2 1 8:2 / / rw - ext4 root rw\n3 2 8:3 / /a rw - ext4 "
         "a rw\n",
         {"root", "a"}},
        {"parents in a circle",
         "1 2 8:1 / /a rw - ext4 a rw\n2 1 8:2 / /b rw - ext4 b rw\n",
         {"a", "b"}},
        {"its own parent", "1 1 8:1 / / rw - ext4 a rw\n", {"a"}},
    };

    for (auto const& c : kCases) {
        SCOPED_TRACE(c.mWhat);
        CMountTable const table = TableOf(c.mTable);
        std::vector<std::string> shown;
        for (MountEntry const& entry : table.Entries()) {
            if (!entry.mIsHidden) shown.emplace_back(entry.mSource);
        }
        EXPECT_EQ(shown, c.mShown);
    }
}

TEST(MountTable, ListsVolumesOnceAndInOrder)
{
    EXPECT_EQ(TableOf(kMachine).VolumePaths(),
              (std::vector<std::string>{"/", "/dev/shm", "/media/My Disk"}));
    EXPECT_EQ(TableOf("").VolumePaths(), std::vector<std::string>());
    EXPECT_EQ(TableOf("1 0 8:1 / /a rw - ext4 s rw\n2 0 8:2 / /a rw - ext4 t rw\n").VolumePaths(),
              std::vector<std::string>{"/a"})
        << "one path, whichever shows there";
}

TEST(MountTable, TellsPseudoFileSystems)
{
    for (char const* const type :
         {"anon_inodefs", "autofs",          "binfmt_misc", "bpf",         "cgroup",
          "cgroup2",      "configfs",        "debugfs",     "devpts",      "devtmpfs",
          "efivarfs",     "fuse.gvfsd-fuse", "fuse.lxcfs",  "fuse.portal", "fusectl",
          "hugetlbfs",    "mqueue",          "nsfs",        "proc",        "pstore",
          "ramfs",        "rootfs",          "rpc_pipefs",  "securityfs",  "selinuxfs",
          "sysfs",        "tracefs",         "xenfs"}) {
        EXPECT_TRUE(IsPseudoFileSystem(type)) << type;
    }
    for (char const* const type :
         {"",       "9p",         "PROC",     "btrfs", "ceph",     "cifs",    "ext4",
          "fuse",   "fuse.sshfs", "fuseblk",  "nfs",   "nfs4",     "overlay", "pro",
          "procfs", "smb3",       "squashfs", "tmpfs", "virtiofs", "xfs",     "zfs"}) {
        EXPECT_FALSE(IsPseudoFileSystem(type)) << type;
    }
}

TEST(MountTable, ReadsTheTableOfThisProcess)
{
    CMountTable const table = CMountTable::Read();
    ASSERT_NE(table.FindMountPoint("/"), nullptr);
    ASSERT_NE(table.FindMountPoint("/proc"), nullptr);
    EXPECT_EQ(table.FindMountPoint("/proc")->mType, "proc");
}

TEST(MountTable, ReadsATableThatNeedsMoreRoom)
{
    StTempDir const dir;
    std::string text;
    for (int i = 0; i < 5000; ++i) {
        std::string const number = std::to_string(i + 1);
        text += number + " 0 0:" + number + " / /volumes/v" + number + " rw - tmpfs s rw\n";
    }
    CMountTable const table = CMountTable::Read(dir.Write("mountinfo", text).c_str());
    EXPECT_EQ(table.Entries().size(), 5000U);
    EXPECT_EQ(table.VolumePaths().size(), 5000U);
    EXPECT_EQ(table.VolumePaths().back(), "/volumes/v5000");
}

TEST(MountTable, IsEmptyWhereThereIsNoneToRead)
{
    StTempDir const dir;
    EXPECT_TRUE(CMountTable::Read(dir.Path("none").c_str()).Entries().empty());
    EXPECT_TRUE(CMountTable::Read(dir.Path().c_str()).Entries().empty()) << "a folder";
}

}  // namespace
