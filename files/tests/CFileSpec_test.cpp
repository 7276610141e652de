// The handle and what it decides by itself; its forwarding is seen in the tests of the body.
#include "files/CFileSpec.h"

#include "files/CFileSpecImp.h"
#include "files/FileSpecConstants.h"
#include "files/tests/FileTesting.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string_view>
#include <utility>

TEST(CFileSpec, StartsEmptyAndUnchanged)
{
    CFileSpec const spec;
    EXPECT_EQ(PathOf(spec), "");
    EXPECT_FALSE(spec.Changed());
    EXPECT_NE(spec.GetImp(), nullptr);
}

TEST(CFileSpec, TakesAFullPathAsItIs)
{
    for (char const* const path : {"", "a", "/", "//", "/a//b/", "/./..", "relative/é", "~"}) {
        SCOPED_TRACE(path);
        CFileSpec const spec{std::string(path), false};
        EXPECT_EQ(PathOf(spec), path);
        EXPECT_TRUE(spec.Changed());
    }
}

TEST(CFileSpec, EightBitConstructorsReadUTF8)
{
    CFileSpec const folder(u"/f", false);
    EXPECT_TRUE(CFileSpec(std::string("/é"), false) == CFileSpec(u"/é", false));
    EXPECT_TRUE(CFileSpec(folder, std::string("é"), false) == CFileSpec(folder, u"é", false));
    EXPECT_TRUE(CFileSpec(CFileSpec::cContainerTemporary, std::string("é"), false) ==
                CFileSpec(CFileSpec::cContainerTemporary, u"é", false));
    EXPECT_EQ(PathOf(CFileSpec(std::string("/\xFF"), false)), "") << "malformed UTF-8 is no path";
}

TEST(CFileSpec, CountsAsChangedOnceItWasAssigned)
{
    CFileSpec const empty;
    EXPECT_FALSE(empty.Changed());
    CFileSpec copied;
    copied = empty;
    EXPECT_TRUE(copied.Changed());
    CFileSpec moved(std::u16string(u"/a"), false);
    moved = CFileSpec();
    EXPECT_TRUE(moved.Changed());
}

TEST(CFileSpec, ANameThatIsNotUTF8NamesTheFolderItself)
{
    CFileSpec const folder(std::u16string(u"/a"), false);
    std::u16string path;
    CFileSpec(folder, std::string("\xFF"), false).GetFullPath(&path);
    EXPECT_EQ(path, u"/a/");
}

TEST(CFileSpec, CopiesThePathAndNothingThatWasRead)
{
    StTempDir const folder;
    CFileSpec const original = Spec(folder.Write("file", "four"));
    EXPECT_TRUE(original.IsRealFile());
    std::filesystem::remove(folder.Path("file"));
    EXPECT_TRUE(original.IsRealFile()) << "answers from what it read";

    CFileSpec const copy(original);
    EXPECT_TRUE(copy == original);
    EXPECT_FALSE(copy.IsRealFile());
    EXPECT_TRUE(copy.Changed());
    CFileSpec const ofImp(*original.GetImp());
    EXPECT_TRUE(ofImp == original);
    EXPECT_FALSE(ofImp.IsRealFile());
    CFileSpec assigned;
    assigned = original;
    EXPECT_TRUE(assigned == original);
    EXPECT_FALSE(assigned.IsRealFile());
    CFileSpec moved;
    moved = std::move(assigned);
    EXPECT_TRUE(moved == original);
    EXPECT_FALSE(moved.IsRealFile());
}

TEST(CFileSpec, CopiesAreIndependent)
{
    CFileSpec const original = Spec("/a/b");
    CFileSpec copy(original);
    copy.GetContainer(&copy);
    EXPECT_EQ(PathOf(copy), "/a");
    EXPECT_EQ(PathOf(original), "/a/b");
}

TEST(CFileSpec, AssignmentToItselfDoesNothing)
{
    CFileSpec spec = Spec("/a/b");
    CFileSpec& same = spec;
    spec = same;
    EXPECT_EQ(PathOf(spec), "/a/b");
    spec = std::move(same);
    EXPECT_EQ(PathOf(spec), "/a/b");
}

TEST(CFileSpec, HasABodyAfterItWasMovedFrom)
{
    CFileSpec source = Spec("/a");
    CFileSpec target;
    target = std::move(source);
    EXPECT_EQ(PathOf(target), "/a");
    source = Spec("/b");
    EXPECT_EQ(PathOf(source), "/b");
    EXPECT_EQ(PathOf(target), "/a");
}

TEST(CFileSpec, ComparesPathsUnitByUnit)
{
    EXPECT_TRUE(Spec("/a") == Spec("/a"));
    for (char const* const other : {"/A", "/a/", "//a", "/a/.", "", "/b"}) {
        SCOPED_TRACE(other);
        EXPECT_FALSE(Spec("/a") == Spec(other));
    }
    EXPECT_FALSE(Spec("/\xC3\xA9") == Spec("/e\xCC\x81")) << "nothing is normalised";
}

TEST(CFileSpec, KnowsNoDesktopAttributes)
{
    StTempDir const folder;
    CFileSpec spec = Spec(folder.Write("movie.mov", ""));
    spec.SetFileTypeCreator(0x4D6F6F56, 0x54564F44);
    spec.SetFileLabel(3);
    unsigned int type = 1;
    unsigned int creator = 1;
    spec.GetFileTypeCreator(&type, &creator);
    EXPECT_EQ(type, 0U);
    EXPECT_EQ(creator, 0U);
    spec.GetFileTypeCreator(nullptr, nullptr);
    EXPECT_EQ(spec.GetFileLabel(), 0U);
    EXPECT_FALSE(spec.IsDiskImage());
    EXPECT_FALSE(spec.IsOpaqueFolder());
    EXPECT_FALSE(spec.HasOtherThanDFork());
    spec.MountDiskImage();
    EXPECT_EQ(PathOf(spec), folder.Path("movie.mov"));
}

TEST(CFileSpec, KnowsNothingOfTheVolumeOfWhatIsntThere)
{
    std::string mountPoint = "old";
    std::string imagePath = "old";
    std::string serverURL = "old";
    std::string fileSystem = "old";
    bool isNetwork = true;
    CFileSpec::VolumeType type = CFileSpec::cVolumeSolidState;
    Spec("/no/such/place")
        .GetVolumeInfo(mountPoint, imagePath, serverURL, fileSystem, isNetwork, type);
    EXPECT_EQ(mountPoint + imagePath + serverURL + fileSystem, "");
    EXPECT_FALSE(isNetwork);
    EXPECT_EQ(type, CFileSpec::cVolumeUnknown);
}

TEST(CFileSpec, EnumeratorsKeepTheirValues)
{
    EXPECT_EQ(CFileSpec::cContainerTemporary, 0);
    EXPECT_EQ(CFileSpec::cContainerDesktop, 1);
    EXPECT_EQ(CFileSpec::cContainerLogs, 2);
    EXPECT_EQ(CFileSpec::cContainerUserAppSupport, 3);
    EXPECT_EQ(CFileSpec::cContainerUserLibrary, 4);
    EXPECT_EQ(CFileSpec::cContainerPreferences, 5);
    EXPECT_EQ(CFileSpec::cContainerBootVolume, 6);
    EXPECT_EQ(CFileSpec::cContainerMountedVolume, 7);
    EXPECT_EQ(CFileSpec::cContainerNetworkVolume, 8);
    EXPECT_EQ(CFileSpec::cContainerAllVolumes, 9);
    EXPECT_EQ(CFileSpec::cContainerMachineLibrary, 10);
    EXPECT_EQ(CFileSpec::cContainerSharedTemporary, 11);
    EXPECT_EQ(CFileSpec::cContainerMachineAppSupport, 12);
    EXPECT_EQ(CFileSpec::cVolumeUnknown, 0);
    EXPECT_EQ(CFileSpec::cVolumeRotational, 1);
    EXPECT_EQ(CFileSpec::cVolumeSolidState, 2);
}

TEST(CFileSpec, ConstantsHaveTheirTexts)
{
    EXPECT_EQ(std::u16string(s_tmpPath), u"/tmp");
    EXPECT_EQ(std::u16string(s_homePath), u"~");
    EXPECT_EQ(std::u16string(s_rootPath), u"/");
    EXPECT_EQ(std::u16string(s_dot), u".");
    EXPECT_EQ(std::u16string(s_dotDot), u"..");
    EXPECT_EQ(std::u16string(s_underscore), u"_");
    EXPECT_EQ(std::u16string(s_underscoreUnderscore), u"__");
    EXPECT_EQ(std::u16string(s_mountPoint), u"/Volumes/");
    EXPECT_STREQ(
        CFileSpecURLReservedAndUnreservedCharacters,
        "!*'();:@&=+$,/?%#[]ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.~");
}

namespace {

struct ExtensionCase
{
    char16_t const* mName;
    bool mHas;
    char16_t const* mExtension;
    char16_t const* mRest;
};

constexpr ExtensionCase kExtensionCases[] = {
    {u"", false, u"", u""},
    {u"a", false, u"", u"a"},
    {u"ab", false, u"", u"ab"},
    {u".b", false, u"", u".b"},
    {u"a.", false, u"", u"a."},
    {u"abc", false, u"", u"abc"},
    {u"a.b", true, u"b", u"a"},
    {u".bashrc", false, u"", u".bashrc"},
    {u"..b", true, u"b", u"."},
    {u"name.", false, u"", u"name."},
    {u"name..", false, u"", u"name.."},
    {u"a.b c", false, u"", u"a.b c"},
    {u"a b.c", true, u"c", u"a b"},
    {u"a.é", false, u"", u"a.é"},
    {u"é.a", true, u"a", u"é"},
    {u"a.b\x7F", false, u"", u"a.b\x7F"},
    {u"a.~!", true, u"~!", u"a"},
    {u"a.\x1F", false, u"", u"a.\x1F"},
    {u"a.b\u0161", false, u"", u"a.b\u0161"},  // its low byte is a letter
    {u"archive.tar.gz", true, u"gz", u"archive.tar"},
    {u"a.b/c", true, u"b/c", u"a"},  // no path is taken apart here
    {u".hidden.txt", true, u"txt", u".hidden"},
};

std::string Narrow(char16_t const* text)
{
    return PathOf(CFileSpec(std::u16string(text), false));
}

}  // namespace

TEST(CFileSpec, TellsWhatAnExtensionIs)
{
    for (ExtensionCase const& c : kExtensionCases) {
        SCOPED_TRACE(Narrow(c.mName));
        std::u16string extension = u"old";
        EXPECT_EQ(CFileSpec::GetExtension(std::u16string(c.mName), extension), c.mHas);
        EXPECT_EQ(extension, c.mExtension);
        std::u16string rest = u"old";
        CFileSpec::RemoveExtension(std::u16string(c.mName), rest);
        EXPECT_EQ(rest, c.mRest);

        std::string extension8 = "old";
        EXPECT_EQ(CFileSpec::GetExtension(Narrow(c.mName), extension8), c.mHas);
        EXPECT_EQ(extension8, Narrow(c.mExtension));
        std::string rest8 = "old";
        CFileSpec::RemoveExtension(Narrow(c.mName), rest8);
        EXPECT_EQ(rest8, Narrow(c.mRest));
    }
}

TEST(CFileSpec, CountsUnitsOfTheFormAskedForInAnExtension)
{
    // Two units of UTF-16, three bytes of UTF-8; neither has anything behind a dot in the middle.
    std::string extension;
    EXPECT_TRUE(CFileSpec::GetExtension(std::string("\xC3\xA9.a"), extension));
    EXPECT_FALSE(CFileSpec::GetExtension(std::string("a.\x80"), extension));
    EXPECT_FALSE(CFileSpec::GetExtension(std::string("a.\xFF"), extension));
    EXPECT_FALSE(CFileSpec::GetExtension(std::string("a.b\0", 4), extension));
}

TEST(CFileSpec, TakesTheExtensionOfItsOwnName)
{
    std::u16string extension = u"old";
    std::string extension8 = "old";
    Spec("/a.dir/b.txt").GetExtension(&extension);
    Spec("/a.dir/b.txt").GetExtension8bit(&extension8);
    EXPECT_EQ(extension, u"txt");
    EXPECT_EQ(extension8, "txt");
    Spec("/a.dir/b").GetExtension(&extension);
    Spec("/a.dir/b").GetExtension8bit(&extension8);
    EXPECT_EQ(extension, u"");
    EXPECT_EQ(extension8, "");
}

TEST(CFileSpec, ResultMayBeTheArgument)
{
    std::string name = "archive.tar.gz";
    CFileSpec::RemoveExtension(name, name);
    EXPECT_EQ(name, "archive.tar");
    CFileSpec::GetExtension(name, name);
    EXPECT_EQ(name, "tar");
}

TEST(CFileSpec, IsInsideTheFoldersAboveIt)
{
    struct
    {
        char const* mPath;
        char const* mFolder;
        bool mIsInside;
    } const cases[] = {
        {"/a/b/c", "/a/b", true}, {"/a/b/c", "/a", true},
        {"/a/b/c", "/", true},    {"/a/b/c", "/a/b/c", false},
        {"/a/b/c", "/A", false},  {"/a/bc", "/a/b", false},
        {"/a/b", "/a/", false},   {"/a/b/", "/a/b", true},
        {"/", "/", false},        {"", "/", false},
        {"", "", false},          {"a", "", false},
        {"a/b", "a", true},       {"//a", "/", true},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(std::string(c.mPath) + " in " + c.mFolder);
        EXPECT_EQ(Spec(c.mPath).IsInsideFolder(Spec(c.mFolder)), c.mIsInside);
    }
}

namespace {

bool IsInURLSet(char byte)
{
    return std::string_view(CFileSpecURLReservedAndUnreservedCharacters).find(byte) !=
           std::string_view::npos;
}

// The rules once more, as they are said: character by character in the string itself.
std::string NaivelyEncoded(std::string url)
{
    for (std::size_t i = 0; i < url.size(); ++i) {
        if (IsInURLSet(url[i])) continue;
        unsigned const value = static_cast<unsigned char>(url[i]);
        url.replace(i, 1,
                    std::string("%") + "0123456789abcdef"[value / 16] +
                        "0123456789abcdef"[value % 16]);
        i += 2;
    }
    return url;
}

std::string NaivelyDecoded(std::string url)
{
    constexpr std::string_view kDigits = "0123456789ABCDEFabcdef";
    for (std::size_t i = url.find('%'); i != std::string::npos; i = url.find('%', i + 1)) {
        if (url.size() - i < 3) break;
        std::string const digits = url.substr(i + 1, 2);
        if (digits.find_first_not_of(kDigits) != std::string::npos) continue;
        char const byte = static_cast<char>(std::stoi(digits, nullptr, 16));
        if (IsInURLSet(byte)) continue;
        url[i] = byte;
        url.erase(i + 1, 2);
    }
    return url;
}

std::string Encoded(std::string url)
{
    CFileSpec::PercentEncodeURL(url);
    return url;
}

std::string Decoded(std::string url)
{
    CFileSpec::PercentDecodeURL(url);
    return url;
}

}  // namespace

TEST(CFileSpec, EncodesURLs)
{
    struct
    {
        std::string mURL;
        char const* mEncoded;
    } const cases[] = {
        {"", ""},
        {" ", "%20"},
        {"\xC3", "%c3"},
        {std::string("\0", 1), "%00"},
        {"\x7F\xFF", "%7f%ff"},
        {"a b\"c", "a%20b%22c"},
        {"%20%", "%20%"},
        {"http://h/é?q=1#f[2]", "http://h/%c3%a9?q=1#f[2]"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mEncoded);
        EXPECT_EQ(Encoded(c.mURL), c.mEncoded);
        EXPECT_EQ(Encoded(c.mEncoded), c.mEncoded) << "what is encoded stays";
    }
}

TEST(CFileSpec, DecodesWhatTheEncoderMadeAndNothingMore)
{
    struct
    {
        char const* mURL;
        std::string mDecoded;
    } const cases[] = {
        {"", ""},
        {"abc", "abc"},
        {"%20", " "},
        {"%c3%A9", "\xC3\xA9"},
        {"%41", "%41"},
        {"%25", "%25"},
        {"%2520", "%2520"},
        {"%7e%7E", "%7e%7E"},
        {"%", "%"},
        {"a%", "a%"},
        {"%2", "%2"},
        {"%20%", " %"},
        {"%20%2", " %2"},
        {"%zz", "%zz"},
        {"%2g%20", "%2g "},
        {"%g2", "%g2"},
        {"%%20", "% "},
        {"%%%20", "%% "},
        {"%+1%-1% 1", "%+1%-1% 1"},
        {"%00", std::string("\0", 1)},
        {"%20%20", "  "},
        {"%0a%0D", "\n\r"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mURL);
        EXPECT_EQ(Decoded(c.mURL), c.mDecoded);
    }
}

TEST(CFileSpec, CodesEveryByteAsTheRulesSay)
{
    for (int first = 0; first < 256; ++first) {
        std::string const byte(1, static_cast<char>(first));
        EXPECT_EQ(Encoded(byte), NaivelyEncoded(byte)) << first;
        EXPECT_EQ(Decoded(Encoded(byte)), byte) << first;
        // A percent sign before every two bytes, and with something behind them.
        for (int second = 0; second < 256; ++second) {
            std::string const pair = byte + static_cast<char>(second);
            for (std::string const& url :
                 {"%" + pair, "%" + pair + "%20", pair + "%", "%%" + pair + "x"}) {
                ASSERT_EQ(Decoded(url), NaivelyDecoded(url)) << first << ' ' << second;
                ASSERT_EQ(Encoded(url), NaivelyEncoded(url)) << first << ' ' << second;
            }
        }
    }
}
