#include "desktop/CFileSpecMacOSX.h"
#include "desktop/VolumeProperties.h"
#include "desktop/VolumeRegistry.h"
#include "testing/ScriptedVolumePlatform.h"

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace std::literals;

namespace {

// ---- Merging

TEST(MergeTexts, SaysNothingTwice)
{
    struct
    {
        char const* mWhat;
        std::optional<std::string> mOld;
        std::string mNew;
        std::string mMerged;
    } const kCases[] = {
        {"no old text", {}, "USB", "USB"},
        {"no old text, blanks around the new one", {}, " \t\r\nUSB \n", "USB"},
        {"no old text, nothing new", {}, "", ""},
        {"no old text, blanks alone", {}, " \n ", ""},
        {"another text", "SATA", "USB", "SATA; USB"},
        {"another text with blanks around it", "SATA", "  USB  ", "SATA; USB"},
        {"old text keeps its blanks", " SATA ", "USB", " SATA ; USB"},
        {"same text", "USB", "USB", "USB"},
        {"same text in other letters", "Usb", "uSB", "Usb"},
        {"old one contains the new one", "Western Digital Elements", "elements",
         "Western Digital Elements"},
        {"new one contains the old one", "digital", "Western DIGITAL Elements",
         "Western DIGITAL Elements"},
        {"text is in the joined texts", "SATA; USB", "usb", "SATA; USB"},
        {"nothing new", "USB", "", "USB"},
        {"blanks alone", "USB", "\t \n", "USB"},
        {"old text is empty", "", "USB", "USB"},
        {"both are empty", "", "", ""},
        {"no-break and ideographic blanks", "A",
         "\xC2\xA0\xE3\x80\x80"
         "B\xE2\x80\xA8\xC2\x85",
         "A; B"},
        {"blank inside", {}, "a b", "a b"},
        {"zero-width blank is no blank",
         {},
         "\xE2\x80\x8B"
         "a",
         "\xE2\x80\x8B"
         "a"},
        {"letters beyond ASCII", "GROẞE ÄRA", "große ära", "GROẞE ÄRA"},
        {"sharp s folds to two", "STRASSE", "straße", "STRASSE"},
        {"not UTF-8, contained",
         "a\xFF"
         "b",
         "\xFF",
         "a\xFF"
         "b"},
        {"not UTF-8, contains", "\xFF", "a\xFF", "a\xFF"},
        {"not UTF-8, another", "a\xFF", "A", "a\xFF; A"},
    };

    for (auto const& c : kCases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(MergeTexts(c.mOld, c.mNew), c.mMerged);
    }
}

// ---- The walk

RegistryProperties Texts(std::map<std::string, std::string, std::less<>> texts)
{
    RegistryProperties properties;
    properties.mTexts = std::move(texts);
    return properties;
}

RegistryProperties Dictionary(std::string const& name,
                              std::map<std::string, std::string, std::less<>> texts)
{
    RegistryProperties properties;
    properties.mDictionaries[name].mTexts = std::move(texts);
    return properties;
}

RegistryProperties Data(std::string const& dictionary, std::string const& key, std::string bytes)
{
    RegistryProperties properties;
    properties.mDictionaries[dictionary].mData[key] = std::move(bytes);
    return properties;
}

RegistryProperties Device(std::string const& name, std::string const& medium)
{
    return Dictionary("Device Characteristics", {{"Product Name", name}, {"Medium Type", medium}});
}

// A line of entries, each attached to the next, and what a walk from the first finds.
class Line
{
public:
    explicit Line(std::vector<ScriptedDevice> devices)
        : mDevices(std::move(devices))
    {
        for (std::size_t i = 0; i + 1 < mDevices.size(); ++i)
            mDevices[i].mParents.push_back(&mDevices[i + 1]);
    }

    std::optional<std::string> Walk()
    {
        ScriptedRegistryEntry const first(mDevices[0], &mRead);
        return CheckParents(first, std::nullopt, mFound);
    }

    std::vector<ScriptedDevice> mDevices;
    VolumeProperties mFound;
    std::vector<std::string> mRead;
};

TEST(CheckParents, ReadsOneEntry)
{
    struct
    {
        char const* mWhat;
        ScriptedDevice mParent;
        std::optional<std::string> mInfo;
        VolumeProperties mFound;
    } const kCases[] = {
        {"nothing told", {"IOService", {}, {}, {}}, {}, {}},
        {"Apple's partition scheme",
         {"IOApplePartitionScheme",
          {},
          Texts({{"Content Mask", "Apple_HFS"}, {"Content", "x"}}),
          {}},
         {},
         {{kVolumePartitionScheme, "Apple_HFS"}}},
        {"medium",
         {"IOMedia", {}, Texts({{"Content", "GUID_partition_scheme"}, {"Content Mask", "x"}}), {}},
         {},
         {{kVolumePartitionScheme, "GUID_partition_scheme"}}},
        {"class derived from medium",
         {"IOCDMedia", {"IOMedia", "IOStorage"}, Texts({{"Content", "CD"}}), {}},
         {},
         {{kVolumePartitionScheme, "CD"}}},
        {"first class counts",
         {"Both", {"IOMedia", "IOApplePartitionScheme"}, Texts({{"Content", "x"}}), {}},
         {},
         {}},
        {"another partition scheme",
         {"IOGUIDPartitionScheme", {"IOPartitionScheme"}, Texts({{"Content Mask", "x"}}), {}},
         {},
         {}},
        {"medium without content", {"IOMedia", {}, {}, {}}, {}, {}},
        {"image of the later kind",
         {"IODiskImageBlockStorageDeviceOutKernel",
          {},
          Data("Protocol Characteristics", "Virtual Interface Location Path", "/a/büro.dmg"),
          {}},
         {},
         {{kVolumeImagePath, "/a/büro.dmg"}}},
        {"its path ends at a null byte",
         {"IODiskImageBlockStorageDeviceOutKernel",
          {},
          Data("Protocol Characteristics", "Virtual Interface Location Path",
               std::string("/a\0", 3)),
          {}},
         {},
         {{kVolumeImagePath, "/a"}}},
        {"its path isn't UTF-8",
         {"IODiskImageBlockStorageDeviceOutKernel",
          {},
          Data("Protocol Characteristics", "Virtual Interface Location Path", "/a\xFF"),
          {}},
         {},
         {}},
        {"its path is text, not data",
         {"IODiskImageBlockStorageDeviceOutKernel",
          {},
          Dictionary("Protocol Characteristics", {{"Virtual Interface Location Path", "/a"}}),
          {}},
         {},
         {}},
        {"its path stands elsewhere",
         {"IODiskImageBlockStorageDeviceOutKernel",
          {},
          Data("Device Characteristics", "Virtual Interface Location Path", "/a"),
          {}},
         {},
         {}},
        {"image of the earlier kind",
         {"IOHDIXHDDriveInKernel", {}, Texts({{"KDIURLPath", "file:///a.dmg"}}), {}},
         {},
         {{kVolumeImagePath, "file:///a.dmg"}}},
        {"image's key in another class",
         {"IOService", {}, Texts({{"KDIURLPath", "file:///a.dmg"}}), {}},
         {},
         {}},
        {"connection by the protocol",
         {"IOService",
          {},
          Dictionary("Protocol Characteristics", {{"Physical Interconnect", "USB"}}),
          {}},
         {},
         {{kVolumeConnection, "USB"}}},
        {"connection without a protocol",
         {"IOService", {}, Texts({{"Physical Interconnect", " SATA "}}), {}},
         {},
         {{kVolumeConnection, "SATA"}}},
        {"protocol without a connection hides the entry's own",
         {"IOService",
          {},
          {{{{"Physical Interconnect", "SATA"}}, {}}, {{"Protocol Characteristics", {}}}},
          {}},
         {},
         {}},
        {"device, in its order",
         {"IOService",
          {},
          Dictionary("Device Characteristics", {{"Vendor Name", "ACME "},
                                                {"Product Revision Level", "1.0"},
                                                {"Product Name", " Disk"},
                                                {"Medium Type", "Solid State"}}),
          {}},
         "Disk; 1.0; ACME",
         {{kVolumeMedium, "Solid State"}}},
        {"medium as it is told",
         {"IOService", {}, Dictionary("Device Characteristics", {{"Medium Type", " Tape "}}), {}},
         {},
         {{kVolumeMedium, " Tape "}}},
        {"device's keys on the entry's own level",
         {"IOService", {}, Texts({{"Product Name", "x"}, {"Medium Type", "x"}}), {}},
         {},
         {}},
        {"USB, in its order",
         {"IOUSBDevice", {}, Texts({{"USB Vendor Name", "ACME"}, {"USB Serial Number", "42"}}), {}},
         "42; ACME",
         {}},
        {"USB within a dictionary",
         {"IOUSBDevice", {}, Dictionary("Device Characteristics", {{"USB Vendor Name", "x"}}), {}},
         {},
         {}},
        {"device's text is empty",
         {"IOService", {}, Dictionary("Device Characteristics", {{"Product Name", "  "}}), {}},
         "",
         {}},
    };

    for (auto const& c : kCases) {
        SCOPED_TRACE(c.mWhat);
        Line line({{"IOMedia", {}, Texts({{"Content", "never asked"}}), {}}, c.mParent});
        EXPECT_EQ(line.Walk(), c.mInfo);
        EXPECT_EQ(line.mFound, c.mFound);
    }
}

// Whole devices, from the volume's entry up.

TEST(CheckParents, KnowsAUSBDisk)
{
    RegistryProperties services = Device("Elements 25A2", "Rotational");
    services.mDictionaries["Device Characteristics"].mTexts["Vendor Name"] = "WD      ";
    services.mDictionaries["Device Characteristics"].mTexts["Product Revision Level"] = "1021";
    services.mDictionaries["Protocol Characteristics"].mTexts["Physical Interconnect"] = "USB";
    Line line({{"IOMedia", {}, {}, {}},
               {"IOGUIDPartitionScheme", {"IOPartitionScheme"}, Texts({{"Content Mask", "x"}}), {}},
               {"IOMedia", {}, Texts({{"Content", "GUID_partition_scheme"}}), {}},
               {"IOBlockStorageDriver", {}, {}, {}},
               {"IOBlockStorageServices", {}, services, {}},
               {"IOUSBMassStorageDriver", {}, Texts({{"Physical Interconnect", "usb"}}), {}},
               {"IOUSBHostDevice",
                {},
                Texts({{"USB Serial Number", "57584D31"}, {"USB Vendor Name", "Western Digital"}}),
                {}},
               {"IOPCIDevice", {}, {}, {}},
               {"IOPlatformExpertDevice", {}, Device("Machine", "Unknown"), {}}});
    EXPECT_EQ(line.Walk(), "Elements 25A2; 1021; WD; 57584D31; Western Digital");
    EXPECT_EQ(line.mFound, (VolumeProperties{{kVolumePartitionScheme, "GUID_partition_scheme"},
                                             {kVolumeMedium, "Rotational"},
                                             {kVolumeConnection, "USB"}}));
}

TEST(CheckParents, KnowsAnImageOnANetworkVolume)
{
    RegistryProperties drive = Texts({{"KDIURLPath", "afp://server/share/big.dmg"}});
    drive.mDictionaries["Device Characteristics"].mTexts = {{"Product Name", "Disk Image"},
                                                            {"Vendor Name", "Apple"}};
    drive.mDictionaries["Protocol Characteristics"].mTexts = {
        {"Physical Interconnect", "Virtual Interface"}};
    Line line({{"IOMedia", {}, {}, {}},
               {"IOApplePartitionScheme", {}, Texts({{"Content Mask", "Apple_HFS"}}), {}},
               {"IOMedia", {}, Texts({{"Content", "Apple_partition_scheme"}}), {}},
               {"IODiskImageBlockStorageDevice", {}, {}, {}},
               {"IOHDIXHDDriveInKernel", {}, drive, {}},
               {"IOHDIXController", {}, {}, {}},
               {"IOResources", {}, {}, {}}});
    EXPECT_EQ(line.Walk(), "Disk Image; Apple");
    EXPECT_EQ(line.mFound, (VolumeProperties{{kVolumePartitionScheme, "Apple_partition_scheme"},
                                             {kVolumeImagePath, "afp://server/share/big.dmg"},
                                             {kVolumeConnection, "Virtual Interface"}}));
}

TEST(CheckParents, ReadsAPCIDeviceAndGoesNoHigher)
{
    Line line({{"IOMedia", {}, {}, {}},
               {"IONVMeBlockStorageDevice", {}, Device("APPLE SSD AP0512", "Solid State"), {}},
               {"IOPCIDevice", {}, Device("Controller", "Rotational"), {}},
               {"IOPCIBridge", {}, Device("Bridge", "Tape"), {}}});
    EXPECT_EQ(line.Walk(), "APPLE SSD AP0512; Controller");
    EXPECT_EQ(line.mFound, (VolumeProperties{{kVolumeMedium, "Rotational"}}));
    EXPECT_EQ(line.mRead, (std::vector<std::string>{"IONVMeBlockStorageDevice", "IOPCIDevice"}));
}

TEST(CheckParents, GoesOnAboveAClassDerivedFromAPCIDevice)
{
    Line line({{"IOMedia", {}, {}, {}},
               {"IOPCIDerived", {"IOPCIDevice"}, {}, {}},
               {"Above", {}, Device("Above", "Tape"), {}}});
    EXPECT_EQ(line.Walk(), "Above");
}

TEST(CheckParents, SaysARepeatedProductNameOnce)
{
    Line line({{"IOMedia", {}, {}, {}},
               {"Services", {}, Device("Samsung SSD 860", "Solid State"), {}},
               {"Port", {}, Device("samsung ssd", "Solid State"), {}},
               {"Controller", {}, Device("SAMSUNG SSD 860 EVO", "Solid State"), {}},
               {"Bus", {}, Device("EVO", "Solid State"), {}}});
    EXPECT_EQ(line.Walk(), "SAMSUNG SSD 860 EVO");
}

TEST(CheckParents, TakesTheHighestSchemeImageAndMedium)
{
    Line line({{"IOMedia", {}, {}, {}},
               {"IOMedia", {}, Texts({{"Content", "low"}}), {}},
               {"IOHDIXHDDriveInKernel", {}, Texts({{"KDIURLPath", "low"}}), {}},
               {"IOMedia", {}, Texts({{"Content", "high"}}), {}},
               {"IOHDIXHDDriveInKernel", {}, Texts({{"KDIURLPath", "high"}}), {}},
               {"IOMedia", {}, {}, {}},
               {"Connection", {}, Texts({{"Physical Interconnect", "SATA"}}), {}},
               {"Connection", {}, Texts({{"Physical Interconnect", "PCI"}}), {}}});
    EXPECT_EQ(line.Walk(), std::nullopt);
    EXPECT_EQ(line.mFound, (VolumeProperties{{kVolumePartitionScheme, "high"},
                                             {kVolumeImagePath, "high"},
                                             {kVolumeConnection, "SATA; PCI"}}));
}

TEST(CheckParents, WalksEachParentToItsEndBeforeTheNext)
{
    ScriptedDevice const top = {"Top", {}, Device("Top", "Tape"), {}};
    ScriptedDevice const left = {"Left", {}, Device("Left", "Rotational"), {&top}};
    ScriptedDevice const right = {"Right", {}, Device("Right", "Solid State"), {}};
    ScriptedDevice const volume = {"IOMedia", {}, {}, {&left, &right}};
    VolumeProperties found;
    std::vector<std::string> read;
    EXPECT_EQ(CheckParents(ScriptedRegistryEntry(volume, &read), "Volume", found),
              "Volume; Left; Top; Right");
    EXPECT_EQ(read, (std::vector<std::string>{"Left", "Top", "Right"}));
    EXPECT_EQ(found, (VolumeProperties{{kVolumeMedium, "Solid State"}}));
}

TEST(CheckParents, HandsBackWhatItWasGiven)
{
    VolumeProperties found;
    ScriptedDevice const lone = {"IOMedia", {}, Device("never asked", "x"), {}};
    EXPECT_EQ(CheckParents(ScriptedRegistryEntry(lone), "Given", found), "Given");
    EXPECT_EQ(CheckParents(ScriptedRegistryEntry(lone), std::nullopt, found), std::nullopt);
    EXPECT_TRUE(found.empty());
}

TEST(CheckParents, ComesToAnEndInACircle)
{
    ScriptedDevice circle = {"Circle", {}, Device("Circle", "Rotational"), {}};
    circle.mParents = {&circle, &circle};
    VolumeProperties found;
    std::vector<std::string> read;
    EXPECT_EQ(CheckParents(ScriptedRegistryEntry(circle, &read), std::nullopt, found), "Circle");
    EXPECT_EQ(read.size(), 1024U);

    circle.mParents = {&circle};
    read.clear();
    CheckParents(ScriptedRegistryEntry(circle, &read), std::nullopt, found);
    EXPECT_EQ(read.size(), 64U);
}

// ---- The rules

TEST(VolumeRules, TellWhatIsOnTheNetwork)
{
    struct
    {
        char const* mType;
        char const* mURL;
        bool mIsNetwork;
    } const kCases[] = {
        {"nfs", "", true},   {"afpfs", "", true}, {"webdav", "", true},      {"smbfs", "", true},
        {"cifs", "", true},  {"ncp", "", true},   {"acfs", "", true},        {"ftp", "", true},
        {"nfs4", "", false}, {"NFS", "", false},  {"nf", "", false},         {"Smbfs", "", false},
        {"smb3", "", false}, {"apfs", "", false}, {"fuse.sshfs", "", false}, {"", "", false},
        {"apfs", "x", true}, {"nfs", "x", true},  {"", "x", true},
    };

    for (auto const& c : kCases) {
        EXPECT_EQ(IsNetworkVolume(c.mType, c.mURL), c.mIsNetwork)
            << c.mType << " with the URL \"" << c.mURL << '"';
    }
}

TEST(VolumeRules, TellTheMedium)
{
    EXPECT_EQ(VolumeTypeOf("Rotational"), CBasicFileSpec::cVolumeRotational);
    EXPECT_EQ(VolumeTypeOf("Solid State"), CBasicFileSpec::cVolumeSolidState);
    for (char const* const word :
         {"", "rotational", "Rotational ", "SolidState", "Tape", "Unknown"})
        EXPECT_EQ(VolumeTypeOf(word), CBasicFileSpec::cVolumeUnknown) << word;
}

// ---- All together

class VolumePropertiesTest : public testing::Test
{
protected:
    ScriptedVolumePlatform mPlatform;
    StVolumePlatform mGuard{mPlatform};
};

VolumeMount Mount(std::string const& type, std::string const& point, std::string const& source)
{
    return {type, point, source, {}, 0, 0};
}

TEST_F(VolumePropertiesTest, AreEmptyWhereNoMountIsKnown)
{
    EXPECT_TRUE(PropertiesForPath("/gone").empty());
    EXPECT_EQ(mPlatform.mCalls, std::vector<std::string>{"GetMount /gone"});
}

TEST_F(VolumePropertiesTest, OfALocalDeviceComeFromTheRegistry)
{
    ScriptedDevice const services = {"Services", {}, Device("Disk", "Solid State"), {}};
    ScriptedDevice const volume = {"IOMedia", {}, {}, {&services}};
    mPlatform.mMount = Mount("apfs", "/", "/dev/disk1s5");
    mPlatform.mDevices = {&volume};
    EXPECT_EQ(PropertiesForPath("/a"), (VolumeProperties{{kVolumeFSTypeName, "apfs"},
                                                         {kVolumeMountPoint, "/"},
                                                         {kVolumeMountSource, "/dev/disk1s5"},
                                                         {kVolumeDeviceInfo, "Disk"},
                                                         {kVolumeMedium, "Solid State"}}));
    EXPECT_EQ(mPlatform.mCalls, (std::vector<std::string>{"GetMount /a", "FindDevice disk1s5",
                                                          "AddProperties /dev/disk1s5"}));
}

TEST_F(VolumePropertiesTest, TakeTheDeviceTextOfTheLastEntryThatHasOne)
{
    ScriptedDevice const left = {"Left", {}, Device("Left", "Tape"), {}};
    ScriptedDevice const right = {"Right", {}, Device("Right", "Tape"), {}};
    ScriptedDevice const silent = {"Silent", {}, {}, {}};
    ScriptedDevice const volumes[] = {
        {"A", {}, {}, {&left}}, {"B", {}, {}, {&right}}, {"C", {}, {}, {&silent}}};
    mPlatform.mMount = Mount("apfs", "/", "/dev/disk1");
    mPlatform.mDevices = {&volumes[0], &volumes[1], &volumes[2]};
    EXPECT_EQ(PropertiesForPath("/")[kVolumeDeviceInfo], "Right");
}

TEST_F(VolumePropertiesTest, OfAnUnknownDeviceAreTheMountsOwn)
{
    mPlatform.mMount = Mount("hfs", "/Volumes/A", "/dev/");
    EXPECT_EQ(PropertiesForPath("/"), (VolumeProperties{{kVolumeFSTypeName, "hfs"},
                                                        {kVolumeMountPoint, "/Volumes/A"},
                                                        {kVolumeMountSource, "/dev/"}}));
    EXPECT_EQ(mPlatform.mCalls[1], "FindDevice ");
}

TEST_F(VolumePropertiesTest, OfAServerComeFromTheRecord)
{
    std::string record(12, '\0');
    unsigned int const media = 'c' << 24 | 'i' << 16 | 'f' << 8 | 's';
    record.replace(2, 4, reinterpret_cast<char const*>(&media), 4);
    mPlatform.mMount = Mount("smbfs", "/Volumes/A", "//guest@server/share");
    mPlatform.mRecord = record + "smb://server/share";
    EXPECT_EQ(PropertiesForPath("/Volumes/A"),
              (VolumeProperties{{kVolumeFSTypeName, "smbfs"},
                                {kVolumeMountPoint, "/Volumes/A"},
                                {kVolumeMountSource, "//guest@server/share"},
                                {kVolumeServerURL, "smb://server/share"}}));
    EXPECT_EQ(mPlatform.mCalls[1], "GetMountRecord /Volumes/A");
}

TEST_F(VolumePropertiesTest, OfAnUnknownServerAreTheMountsOwn)
{
    for (bool const hasRecord : {false, true}) {
        if (hasRecord) mPlatform.mRecord = "\x20\0xxxx and what no one knows of"s;
        mPlatform.mMount = Mount("devfs", "/dev", "dev");
        EXPECT_EQ(PropertiesForPath("/dev"), (VolumeProperties{{kVolumeFSTypeName, "devfs"},
                                                               {kVolumeMountPoint, "/dev"},
                                                               {kVolumeMountSource, "dev"}}));
    }
}

TEST_F(VolumePropertiesTest, AreAlsoWhatTheSystemKnowsByItself)
{
    mPlatform.mMount = Mount("nfs4", "/mnt", "host:/p");
    mPlatform.mProperties = {{kVolumeServerURL, "nfs://host/p"}};
    EXPECT_EQ(PropertiesForPath("/mnt")[kVolumeServerURL], "nfs://host/p");
}

TEST_F(VolumePropertiesTest, ComeOutOfTheWrapperAsFarAsTheyAreWanted)
{
    mPlatform.mMount = Mount("ext4", "/mnt", "/dev/loop0");
    mPlatform.mProperties = {{kVolumeImagePath, "/a.img"}};
    std::string point = "old";
    std::string image = "old";
    std::string url = "old";
    std::string type = "old";
    std::string medium = "old";
    PropertiesForPathWrapper("/mnt", &point, &image, &url, &type, &medium);
    EXPECT_EQ(point + "|" + image + "|" + url + "|" + type + "|" + medium, "/mnt|/a.img||ext4|");

    PropertiesForPathWrapper("/mnt", nullptr, nullptr, nullptr, nullptr, nullptr);
    PropertiesForPathWrapper("/mnt", nullptr, nullptr, nullptr, &type, nullptr);
    EXPECT_EQ(type, "ext4");

    mPlatform.mMount.reset();
    PropertiesForPathWrapper("/mnt", &point, &image, &url, &type, &medium);
    EXPECT_EQ(point + image + url + type + medium, "");
}

// "mount point|image|server|type|network|medium" of what a specifier says.
std::string VolumeInfoOf(std::u16string const& path)
{
    std::string point = "old";
    std::string image = "old";
    std::string url = "old";
    std::string type = "old";
    bool isNetwork = true;
    CBasicFileSpec::VolumeType medium = CBasicFileSpec::cVolumeSolidState;
    CFileSpecMacOSX(path, false).GetVolumeInfo(point, image, url, type, isNetwork, medium);
    return point + "|" + image + "|" + url + "|" + type + "|" + (isNetwork ? "network" : "local") +
           "|" + std::to_string(medium);
}

TEST_F(VolumePropertiesTest, AreWhatASpecifierSays)
{
    struct
    {
        char const* mWhat;
        VolumeMount mMount;
        VolumeProperties mProperties;
        char const* mInfo;
    } const kCases[] = {
        {"disk",
         Mount("ext4", "/", "/dev/sda1"),
         {{kVolumeMedium, "Rotational"}},
         "/|||ext4|local|1"},
        {"solid state",
         Mount("ext4", "/", "/dev/sda1"),
         {{kVolumeMedium, "Solid State"}},
         "/|||ext4|local|2"},
        {"another medium",
         Mount("ext4", "/", "/dev/sda1"),
         {{kVolumeMedium, "Tape"}},
         "/|||ext4|local|0"},
        {"image",
         Mount("hfs", "/m", "/dev/disk2"),
         {{kVolumeImagePath, "/a.dmg"}},
         "/m|/a.dmg||hfs|local|0"},
        {"network by its type", Mount("smbfs", "/m", "//s/x"), {}, "/m|||smbfs|network|0"},
        {"network by its URL",
         Mount("odd", "/m", "x"),
         {{kVolumeServerURL, "u"}},
         "/m||u|odd|network|0"},
        {"type in upper case", Mount("NFS", "/m", "x"), {}, "/m|||NFS|local|0"},
    };

    for (auto const& c : kCases) {
        SCOPED_TRACE(c.mWhat);
        mPlatform.mMount = c.mMount;
        mPlatform.mProperties = c.mProperties;
        EXPECT_EQ(VolumeInfoOf(u"/a"), c.mInfo);
    }
    mPlatform.mMount.reset();
    EXPECT_EQ(VolumeInfoOf(u"/a"), "||||local|0");
    mPlatform.mCalls.clear();
    VolumeInfoOf(u"/Büro");
    EXPECT_EQ(mPlatform.mCalls, std::vector<std::string>{"GetMount /Büro"});
}

}  // namespace
