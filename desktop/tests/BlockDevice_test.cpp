#include "desktop/platform/linux/BlockDevice.h"

#include "testing/StTempDir.h"

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

namespace fs = std::filesystem;

// A sysfs of a test's own.
class MadeTree
{
public:
    // Makes the folder of a device, below "devices", with files in it, and its number.
    void Add(std::string const& number,
             std::string const& folder,
             std::vector<std::pair<std::string, std::string>> const& files) const
    {
        std::string const device = mDir.MakeFolder("devices/" + folder);
        for (auto const& [name, content] : files)
            mDir.Write("devices/" + folder + "/" + name, content);
        mDir.MakeFolder("dev/block");
        fs::create_directory_symlink(device, mDir.Path("dev/block/" + number));
    }

    // Says that `folder` stands on `other`.
    void AddSlave(std::string const& folder, std::string const& other) const
    {
        std::string const slaves = mDir.MakeFolder("devices/" + folder + "/slaves");
        fs::create_directory_symlink(mDir.Path("devices/" + other),
                                     slaves + "/" + fs::path(other).filename().string());
    }

    // "medium|image|device".
    std::string Read(unsigned int majorNumber, unsigned int minorNumber) const
    {
        BlockDevice const device = ReadBlockDevice(mDir.Path(), majorNumber, minorNumber);
        return device.mMedium + "|" + device.mImagePath + "|" + device.mDeviceInfo;
    }

private:
    StTempDir mDir;
};

TEST(BlockDevice, IsReadFromItsFolder)
{
    struct
    {
        char const* mWhat;
        std::vector<std::pair<std::string, std::string>> mFiles;
        char const* mDevice;
    } const kCases[] = {
        {"nothing told", {}, "||"},
        {"rotational", {{"queue/rotational", "1\n"}}, "Rotational||"},
        {"not rotational", {{"queue/rotational", "0\n"}}, "Solid State||"},
        {"no line end", {{"queue/rotational", "0"}}, "Solid State||"},
        {"odd number", {{"queue/rotational", "2\n"}}, "||"},
        {"empty file", {{"queue/rotational", ""}}, "||"},
        {"loop", {{"loop/backing_file", "/a.img\n"}}, "|/a.img|"},
        {"loop, blanks", {{"loop/backing_file", "/a b .img\n"}}, "|/a b .img|"},
        {"loop, line end in the name", {{"loop/backing_file", "/a\n\n"}}, "|/a\n|"},
        {"loop, image deleted", {{"loop/backing_file", "/a.img (deleted)\n"}}, "|/a.img|"},
        {"loop, only the mark", {{"loop/backing_file", " (deleted)\n"}}, "| (deleted)|"},
        {"loop, nothing attached",
         {{"queue/rotational", "0\n"}, {"loop/offset", "0\n"}},
         "Solid State||"},
        {"ATA",
         {{"device/model", "Samsung SSD 860 \n"},
          {"device/rev", "RVT02\n"},
          {"device/vendor", "ATA     \n"}},
         "||Samsung SSD 860; RVT02; ATA"},
        {"vendor in the model",
         {{"device/model", "ACME Disk\n"}, {"device/vendor", "acme\n"}},
         "||ACME Disk"},
        {"NVMe",
         {{"device/model", "WDC PC SN730\n"}, {"device/firmware_rev", "1111\n"}},
         "||WDC PC SN730; 1111"},
        {"memory card", {{"device/name", "SD32G\n"}}, "||SD32G"},
        {"number for a vendor", {{"device/vendor", "0x1af4\n"}}, "||"},
        {"blanks for a model", {{"device/model", "    \n"}}, "||"},
    };

    for (auto const& c : kCases) {
        SCOPED_TRACE(c.mWhat);
        MadeTree const tree;
        tree.Add("8:0", "pci0/sda", c.mFiles);
        EXPECT_EQ(tree.Read(8, 0), c.mDevice);
    }
}

TEST(BlockDevice, IsEmptyWhereThereIsNone)
{
    MadeTree const tree;
    EXPECT_EQ(tree.Read(8, 0), "||");
    tree.Add("8:0", "pci0/sda", {{"queue/rotational", "1\n"}});
    EXPECT_EQ(tree.Read(8, 1), "||");
    EXPECT_EQ(tree.Read(80, 0), "||");
}

// Whole machines.

TEST(BlockDevice, OfAPartitionIsThatOfItsDisk)
{
    MadeTree const tree;
    tree.Add("8:16", "usb1/host6/block/sdb",
             {{"queue/rotational", "1\n"},
              {"device/model", "Elements 25A2\n"},
              {"device/vendor", "WD\n"}});
    tree.Add("8:17", "usb1/host6/block/sdb/sdb1", {{"partition", "1\n"}});
    EXPECT_EQ(tree.Read(8, 17), "Rotational||Elements 25A2; WD");
    EXPECT_EQ(tree.Read(8, 16), tree.Read(8, 17));
}

TEST(BlockDevice, OfAMapperIsThatOfWhatItStandsOn)
{
    MadeTree const tree;
    tree.Add("8:0", "pci0/sda", {{"queue/rotational", "0\n"}, {"device/model", "Fast\n"}});
    tree.Add("8:2", "pci0/sda/sda2", {{"partition", "2\n"}});
    // The mapper's own answer is that of an old kernel.
    tree.Add("253:0", "virtual/dm-0", {{"queue/rotational", "1\n"}});
    tree.AddSlave("virtual/dm-0", "pci0/sda/sda2");
    tree.Add("253:1", "virtual/dm-1", {{"queue/rotational", "1\n"}});
    tree.AddSlave("virtual/dm-1", "virtual/dm-0");
    EXPECT_EQ(tree.Read(253, 0), "Solid State||Fast");
    EXPECT_EQ(tree.Read(253, 1), "Solid State||Fast") << "a volume on an encrypted partition";
}

TEST(BlockDevice, OfAMixedSetIsRotational)
{
    MadeTree const tree;
    tree.Add("8:0", "pci0/sda", {{"queue/rotational", "1\n"}, {"device/model", "Slow\n"}});
    tree.Add("8:16", "pci0/sdb", {{"queue/rotational", "0\n"}, {"device/model", "Fast\n"}});
    tree.Add("9:0", "virtual/md0", {{"queue/rotational", "0\n"}});
    tree.AddSlave("virtual/md0", "pci0/sda");
    tree.AddSlave("virtual/md0", "pci0/sdb");
    tree.Add("259:0", "virtual/md0/md0p1", {{"partition", "1\n"}});
    EXPECT_EQ(tree.Read(9, 0), "Rotational||Slow; Fast");
    EXPECT_EQ(tree.Read(259, 0), "Rotational||Slow; Fast");
}

TEST(BlockDevice, OfAnEncryptedImageNamesTheImage)
{
    MadeTree const tree;
    tree.Add("7:3", "virtual/loop3",
             {{"queue/rotational", "1\n"}, {"loop/backing_file", "/secret.img\n"}});
    tree.Add("259:1", "virtual/loop3/loop3p1", {{"partition", "1\n"}});
    tree.Add("253:0", "virtual/dm-0", {{"queue/rotational", "1\n"}});
    tree.AddSlave("virtual/dm-0", "virtual/loop3/loop3p1");
    EXPECT_EQ(tree.Read(253, 0), "Rotational|/secret.img|");
}

TEST(BlockDevice, OfAMapperThatStandsOnNothingIsItsOwn)
{
    MadeTree const tree;
    tree.Add("253:0", "virtual/dm-0", {{"queue/rotational", "0\n"}, {"slaves/.keep", ""}});
    EXPECT_EQ(tree.Read(253, 0), "Solid State||");
}

TEST(BlockDevice, ComesToAnEndInACircle)
{
    MadeTree const tree;
    tree.Add("253:0", "virtual/dm-0", {{"queue/rotational", "0\n"}});
    tree.Add("253:1", "virtual/dm-1", {{"queue/rotational", "0\n"}});
    tree.AddSlave("virtual/dm-0", "virtual/dm-1");
    tree.AddSlave("virtual/dm-0", "virtual/dm-0");
    tree.AddSlave("virtual/dm-1", "virtual/dm-0");
    tree.AddSlave("virtual/dm-1", "virtual/dm-1");
    EXPECT_EQ(tree.Read(253, 0), "Solid State||");
}

}  // namespace
