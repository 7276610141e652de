#include "system/CProcessServicesImp.h"

#include "files/CFileSpec.h"
#include "system/CPropertyList.h"
#include "testing/ScriptedBundlePlatform.h"
#include "testing/ScriptedStartupPlatform.h"
#include "testing/ScriptedSubprocessPlatform.h"
#include "testing/StChildProcess.h"
#include "testing/StEnvironment.h"
#include "testing/StTempDir.h"

#include <csignal>
#include <cstdio>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using namespace std::string_literals;

using Arguments = std::vector<std::string>;

constexpr char kLabel[] = "com.example.helper";
constexpr char kProgram[] = "/opt/helper/bin/helper";

std::string const kHead = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
                          "<!DOCTYPE plist PUBLIC \"-//Apple//DTD PLIST 1.0//EN\" "
                          "\"http://www.apple.com/DTDs/PropertyList-1.0.dtd\">\n"
                          "<plist version=\"1.0\">\n";

std::string Plist(std::string const& body)
{
    return kHead + "<dict>\n" + body + "</dict>\n</plist>\n";
}

std::string const kAgent = Plist("\t<key>Label</key>\n"
                                 "\t<string>com.example.helper</string>\n"
                                 "\t<key>Program</key>\n"
                                 "\t<string>/opt/helper/bin/helper</string>\n"
                                 "\t<key>RunAtLoad</key>\n"
                                 "\t<true/>\n");

std::string LoginName()
{
    passwd const* const entry = getpwuid(getuid());
    return entry ? entry->pw_name : "";
}

struct Flags
{
    bool mExists = false;
    bool mWritable = false;
    bool mIsUpToDate = false;

    bool operator==(Flags const&) const = default;

    friend std::ostream& operator<<(std::ostream& out, Flags const& flags)
    {
        return out << (flags.mExists ? "exists " : "") << (flags.mWritable ? "writable " : "")
                   << (flags.mIsUpToDate ? "up to date" : "");
    }
};

std::string PathOf(CFileSpec const& file)
{
    std::string path;
    file.GetFullPath8bit(&path);
    return path;
}

}  // namespace

// Agents and daemons in folders of a home of their own.
class CProcessServicesStartup : public testing::Test
{
protected:
    bool Install(Arguments const& arguments = {}, bool system = false) const
    {
        return mServices.InstallStartupProcess(mProgram, mLabel, system, arguments);
    }

    // The flags begin as what they must not stay.
    Flags Check(Arguments const& arguments = {}, bool system = false) const
    {
        Flags flags{true, false, true};
        mServices.CheckStartupProcess(mProgram, mLabel, system, arguments, flags.mExists,
                                      flags.mIsUpToDate, flags.mWritable);
        return flags;
    }

    void Uninstall(bool unloadFirst = false) const
    {
        mServices.UninstallStartupProcess(mProgram, mLabel, false, unloadFirst);
    }

    std::string Name() const { return "LaunchAgents/" + mLabel + ".plist"; }

    std::string Read() const { return mHome.Read(Name()); }

    StTempDir mHome;
    StEnvironment mVariable{"HOME", mHome.Path()};
    CProcessServicesImp mServices;
    CFileSpec mProgram{std::string(kProgram), false};
    std::string mLabel = kLabel;
};

TEST_F(CProcessServicesStartup, WritesWhatTheSystemReads)
{
    EXPECT_TRUE(Install());
    EXPECT_EQ(Read(), kAgent);
    EXPECT_EQ(Check(), (Flags{true, true, true}));

    EXPECT_TRUE(Install({"-v", "", "a b"}));
    EXPECT_EQ(Read(), Plist("\t<key>Label</key>\n"
                            "\t<string>com.example.helper</string>\n"
                            "\t<key>ProgramArguments</key>\n"
                            "\t<array>\n"
                            "\t\t<string>/opt/helper/bin/helper</string>\n"
                            "\t\t<string>-v</string>\n"
                            "\t\t<string></string>\n"
                            "\t\t<string>a b</string>\n"
                            "\t</array>\n"
                            "\t<key>RunAtLoad</key>\n"
                            "\t<true/>\n"));
    EXPECT_EQ(Check({"-v", "", "a b"}), (Flags{true, true, true}));
    EXPECT_EQ(Check(), (Flags{true, true, false}));
}

TEST_F(CProcessServicesStartup, NamesTheUserOfADaemon)
{
    if (LoginName().empty()) GTEST_SKIP() << "this user has no name";
    EXPECT_TRUE(Install({}, true));
    EXPECT_FALSE(mHome.Has("LaunchAgents"));
    EXPECT_EQ(mHome.Read("LaunchDaemons/com.example.helper.plist"),
              Plist("\t<key>Label</key>\n"
                    "\t<string>com.example.helper</string>\n"
                    "\t<key>Program</key>\n"
                    "\t<string>/opt/helper/bin/helper</string>\n"
                    "\t<key>RunAtLoad</key>\n"
                    "\t<true/>\n"
                    "\t<key>UserName</key>\n"
                    "\t<string>" +
                    LoginName() + "</string>\n"));
    EXPECT_EQ(Check({}, true), (Flags{true, true, true}));
    mServices.UninstallStartupProcess(mProgram, mLabel, true, false);
    EXPECT_EQ(Check({}, true), (Flags{false, true, false}));
}

TEST_F(CProcessServicesStartup, CarriesAnyText)
{
    struct
    {
        char const* mWhat;
        std::string mText;
        std::string mWritten;
    } const cases[] = {
        {"nothing", "", ""},
        {"markup", "a&b<c>d&amp;]]>", "a&amp;b&lt;c&gt;d&amp;amp;]]&gt;"},
        {"quotes", "\"'`\\$(x)%@%s", "\"'`\\$(x)%@%s"},
        {"controls", "\x01\t\r\n\x1B\x7F", "\x01\t\r\n\x1B\x7F"},
        {"blanks around", "  a ", "  a "},
        {"other letters", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80",
         "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
        {"10,000 characters", std::string(10000, 'x'), std::string(10000, 'x')},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        mLabel = c.mText;
        EXPECT_TRUE(Install({c.mText}));
        CFileSpec file;
        bool exists = false;
        bool writable = false;
        std::string userName;
        mServices.GetStartupProcessPlistFile(mLabel, false, file, exists, writable, userName);
        EXPECT_TRUE(exists);
        std::string name;
        file.GetFileName8bit(&name);
        std::string const text = mHome.Read("LaunchAgents/" + name);
        EXPECT_NE(text.find("<key>Label</key>\n\t<string>" + c.mWritten + "</string>"), text.npos);
        EXPECT_NE(text.find("\n\t\t<string>" + c.mWritten + "</string>\n\t</array>"), text.npos);
        EXPECT_EQ(Check({c.mText}), (Flags{true, true, true}));
        EXPECT_EQ(Check({c.mText + "x"}), (Flags{true, true, false}));
        Uninstall();
        EXPECT_EQ(Check({c.mText}), (Flags{false, true, false}));
    }
}

TEST_F(CProcessServicesStartup, RefusesWhatIsNoText)
{
    mHome.MakeFolder("LaunchAgents");
    for (std::string const& text : {"\xFF"s, "a\0b"s, "\xED\xA0\x80"s}) {
        SCOPED_TRACE(testing::PrintToString(text));
        mLabel = kLabel;
        EXPECT_FALSE(Install({text}));
        EXPECT_EQ(Check({text}), (Flags{false, true, false}));
        mLabel = text;
        EXPECT_FALSE(Install());
        EXPECT_EQ(Check(), Flags());
        Uninstall();
        EXPECT_TRUE(mHome.Has("LaunchAgents"));
    }
}

TEST_F(CProcessServicesStartup, TellsByTheFileHowThingsStand)
{
    struct
    {
        char const* mWhat;
        void (*mPrepare)(StTempDir const& home);
        Flags mFlags;
        bool mIsInstalled;
        Flags mThen;
    } const cases[] = {
        {"not installed, no folder",
         [](StTempDir const&) {},
         {false, true, false},
         true,
         {true, true, true}},
        {"not installed",
         [](StTempDir const& home) { home.MakeFolder("LaunchAgents"); },
         {false, true, false},
         true,
         {true, true, true}},
        {"can't be installed, the folder is a link to nowhere",
         [](StTempDir const& home) {
             EXPECT_EQ(symlink("nowhere", home.Path("LaunchAgents").c_str()), 0);
         },
         {false, false, false},
         false,
         {false, false, false}},
        {"stale",
         [](StTempDir const& home) { home.Write("LaunchAgents/com.example.helper.plist", "x"); },
         {true, true, false},
         true,
         {true, true, true}},
        {"stale, of the same length",
         [](StTempDir const& home) {
             home.Write("LaunchAgents/com.example.helper.plist", std::string(kAgent.size(), ' '));
         },
         {true, true, false},
         true,
         {true, true, true}},
        {"empty",
         [](StTempDir const& home) { home.Write("LaunchAgents/com.example.helper.plist", ""); },
         {true, true, false},
         true,
         {true, true, true}},
        {"up to date",
         [](StTempDir const& home) { home.Write("LaunchAgents/com.example.helper.plist", kAgent); },
         {true, true, true},
         true,
         {true, true, true}},
        {"a pipe that nobody writes to",
         [](StTempDir const& home) {
             home.MakeFolder("LaunchAgents");
             EXPECT_EQ(mkfifo(home.Path("LaunchAgents/com.example.helper.plist").c_str(), 0600), 0);
         },
         {true, true, false},
         true,
         {true, true, true}},
        {"an empty folder in its place",
         [](StTempDir const& home) { home.MakeFolder("LaunchAgents/com.example.helper.plist"); },
         {true, true, false},
         true,
         {true, true, true}},
        {"a folder in its place",
         [](StTempDir const& home) {
             home.Write("LaunchAgents/com.example.helper.plist/file", "");
         },
         {true, true, false},
         false,
         {true, true, false}},
        {"a link to nowhere in its place",
         [](StTempDir const& home) {
             home.MakeFolder("LaunchAgents");
             EXPECT_EQ(
                 symlink("nowhere", home.Path("LaunchAgents/com.example.helper.plist").c_str()), 0);
         },
         {false, true, false},
         false,
         {false, true, false}},
        {"can't be looked at, a link to itself",
         [](StTempDir const& home) {
             home.MakeFolder("LaunchAgents");
             EXPECT_EQ(symlink("com.example.helper.plist",
                               home.Path("LaunchAgents/com.example.helper.plist").c_str()),
                       0);
         },
         {true, false, false},
         true,
         {true, false, false}},
        {"can't be looked at, the folder is a file",
         [](StTempDir const& home) { home.Write("LaunchAgents", ""); },
         {true, false, false},
         true,
         {true, false, false}},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StTempDir const home;
        StEnvironment const variable("HOME", home.Path());
        c.mPrepare(home);
        EXPECT_EQ(Check(), c.mFlags);
        EXPECT_EQ(Install(), c.mIsInstalled);
        EXPECT_EQ(Check(), c.mThen);
    }
}

TEST_F(CProcessServicesStartup, AnswersNoWithoutAHome)
{
    StEnvironment const variable("HOME", mHome.Path("missing"));
    EXPECT_FALSE(Install());
    EXPECT_EQ(Check(), Flags());
    CFileSpec file(std::string("former"), false);
    bool exists = true;
    bool writable = true;
    mServices.GetStartupProcessPlistFile(kLabel, CBasicFileSpec::cContainerUserLibrary, "Folder",
                                         file, exists, writable);
    EXPECT_FALSE(exists);
    EXPECT_FALSE(writable);
    EXPECT_EQ(PathOf(file), "former");
}

TEST_F(CProcessServicesStartup, KeepsCallingInstalledWhatCantBeChanged)
{
    mHome.MakeFolder("LaunchAgents");
    std::string const path = mHome.Path(Name());
    EXPECT_EQ(symlink(path.c_str(), path.c_str()), 0);
    EXPECT_EQ(Check(), (Flags{true, false, false}));
    EXPECT_TRUE(Install());
    Uninstall();
    struct stat what = {};
    EXPECT_EQ(lstat(path.c_str(), &what), 0);
    EXPECT_TRUE(S_ISLNK(what.st_mode));
}

// Permissions, which count for everybody but root: a child asks, and gives up being root.
TEST_F(CProcessServicesStartup, LeavesAloneWhatItMayNotChange)
{
    constexpr uid_t kNobody = 65534;

    struct
    {
        char const* mWhat;
        mode_t mFolderMode;
        mode_t mFileMode;
        Flags mFlags;
        bool mIsInstalled;
    } const cases[] = {
        {"a file that can't be read", 0700, 0200, {true, false, false}, true},
        {"a file that can't be written", 0700, 0400, {true, false, false}, true},
        {"a current file that can't be written", 0700, 0400, {true, false, true}, true},
        {"a folder that can't be changed", 0500, 0600, {true, false, false}, true},
        {"a folder that can't be listed", 0300, 0600, {true, false, false}, true},
        {"a folder that can't be searched", 0600, 0600, {true, false, false}, true},
        {"no file in a folder that can't be changed", 0500, 0, {false, false, false}, false},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StTempDir const home;
        StEnvironment const variable("HOME", home.Path());
        std::string const folder = home.MakeFolder("LaunchAgents");
        std::string const content = c.mFlags.mIsUpToDate ? kAgent : "old";
        std::vector<std::string> paths{home.Path(), folder};
        if (c.mFileMode) {
            paths.push_back(home.Write(Name(), content));
            EXPECT_EQ(chmod(paths.back().c_str(), c.mFileMode), 0);
        }
        for (std::string const& path : paths) {
            EXPECT_TRUE(getuid() != 0 || chown(path.c_str(), kNobody, kNobody) == 0);
        }
        EXPECT_EQ(chmod(folder.c_str(), c.mFolderMode), 0);

        StChildProcess const child([this](CTestLink& parent) {
            if (getuid() == 0 && setuid(kNobody) != 0) return parent.Say("still root");
            std::ostringstream answers;
            answers << Check() << ", installed: " << Install();
            Uninstall();
            parent.Say(answers.str());
        });
        std::ostringstream answers;
        answers << c.mFlags << ", installed: " << c.mIsInstalled;
        EXPECT_EQ(child.Hear(), answers.str());

        EXPECT_EQ(chmod(folder.c_str(), 0700), 0);
        EXPECT_EQ(home.Has(Name()), c.mFileMode != 0);
        if (c.mFileMode) {
            EXPECT_EQ(chmod(paths.back().c_str(), 0600), 0);
            EXPECT_EQ(home.Read(Name()), content);
        }
    }
}

TEST_F(CProcessServicesStartup, TouchesOnlyAFileThatSaysSomethingElse)
{
    EXPECT_TRUE(Install({"a"}));
    std::string const path = mHome.Path(Name());
    timespec const then[2] = {{1000, 0}, {2000, 0}};
    EXPECT_EQ(utimensat(AT_FDCWD, path.c_str(), then, 0), 0);
    struct stat before = {};
    EXPECT_EQ(stat(path.c_str(), &before), 0);

    EXPECT_TRUE(Install({"a"}));
    struct stat after = {};
    EXPECT_EQ(stat(path.c_str(), &after), 0);
    EXPECT_EQ(after.st_ino, before.st_ino);
    EXPECT_EQ(after.st_mtime, before.st_mtime);

    // The old file is another one: who holds it open, or has another name of it, keeps it.
    std::string const old = Read();
    EXPECT_EQ(link(path.c_str(), mHome.Path("other").c_str()), 0);
    EXPECT_TRUE(Install({"b"}));
    EXPECT_EQ(mHome.Read("other"), old);
    EXPECT_NE(Read(), old);
}

TEST_F(CProcessServicesStartup, LeavesNoPartOfAFile)
{
    rlimit former = {};
    EXPECT_EQ(getrlimit(RLIMIT_FSIZE, &former), 0);
    auto const formerAction = signal(SIGXFSZ, SIG_IGN);
    rlimit const limit = {100, former.rlim_max};
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    bool const isInstalled = Install();
    EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &former), 0);
    signal(SIGXFSZ, formerAction);

    EXPECT_FALSE(isInstalled);
    EXPECT_EQ(Check(), (Flags{false, true, false}));
    EXPECT_TRUE(Install());
    EXPECT_EQ(Read(), kAgent);
}

TEST_F(CProcessServicesStartup, ComparesByMeaning)
{
    std::string const label = "<key>Label</key><string>com.example.helper</string>";
    std::string const program = "<key>Program</key><string>/opt/helper/bin/helper</string>";
    std::string const runs = "<key>RunAtLoad</key><true/>";
    auto const commandLine = [](std::string const& rest) {
        return "<key>ProgramArguments</key><array><string>/opt/helper/bin/helper</string>" + rest +
               "</array>";
    };
    auto const list = [](std::string const& body) {
        return "<plist><dict>" + body + "</dict></plist>";
    };
    Arguments const two{"a", "b"};

    struct
    {
        char const* mWhat;
        std::string mContent;
        Arguments mArguments;
        bool mIsUpToDate;
    } const cases[] = {
        {"in another order and layout", list(runs + program + label), {}, true},
        {"further keys", list("<key>KeepAlive</key><true/>" + label + program + runs), {}, true},
        {"a command line of the program alone", list(label + commandLine("") + runs), {}, true},
        {"a command line", list(label + commandLine("<string>a</string><string>b</string>") + runs),
         two, true},
        {"a program, with arguments", list(label + program + runs), two, false},
        {"both, and the program counts",
         list(label + program + commandLine("<string>a</string><string>b</string>") + runs), two,
         false},
        {"both, without arguments",
         list(label + program + commandLine("<true/>") + runs),
         {},
         true},
        {"a program that is no text, and a command line",
         list(label + "<key>Program</key><true/>" +
              commandLine("<string>a</string><string>b</string>") + runs),
         two, true},
        {"another program",
         list(label + "<key>Program</key><string>/opt/helper/bin/Helper</string>" + runs),
         {},
         false},
        {"no program", list(label + runs), {}, false},
        {"an argument less", list(label + commandLine("<string>a</string>") + runs), two, false},
        {"an argument more",
         list(label + commandLine("<string>a</string><string>b</string><string/>") + runs), two,
         false},
        {"another argument",
         list(label + commandLine("<string>a</string><string>B</string>") + runs), two, false},
        {"an argument that is no text",
         list(label + commandLine("<string>a</string><integer>1</integer>") + runs),
         {"a", "1"},
         false},
        {"an empty command line",
         list(label + "<key>ProgramArguments</key><array/>" + runs),
         {},
         false},
        {"another program on the command line",
         list(label + "<key>ProgramArguments</key><array><string>/bin/sh</string></array>" + runs),
         {},
         false},
        {"a command line that is no array",
         list(label + "<key>ProgramArguments</key><string>/opt/helper/bin/helper</string>" + runs),
         {},
         false},
        {"no label", list(program + runs), {}, false},
        {"another label",
         list("<key>Label</key><string>com.example.Helper</string>" + program + runs),
         {},
         false},
        {"a label that is no text", list("<key>Label</key><true/>" + program + runs), {}, false},
        {"not run at load", list(label + program + "<key>RunAtLoad</key><false/>"), {}, false},
        {"nothing about running", list(label + program), {}, false},
        {"run at load in words",
         list(label + program + "<key>RunAtLoad</key><string>1</string>"),
         {},
         false},
        {"a user",
         list(label + program + runs + "<key>UserName</key><string>ann</string>"),
         {},
         false},
        {"a user without a name",
         list(label + program + runs + "<key>UserName</key><string/>"),
         {},
         true},
        {"a user that is no text",
         list(label + program + runs + "<key>UserName</key><true/>"),
         {},
         true},
        {"no dictionary", "<plist><array><string>Label</string></array></plist>", {}, false},
        {"no list", "Label", {}, false},
        {"a binary one",
         "bplist00\xD3\1\3\5\2\4\6\x55Label\x5F\x10\x12" + std::string(kLabel) +
             "\x57Program\x5F\x10\x16" + kProgram +
             "\x59RunAtLoad\x09\x08\x0F\x15\x2A\x32\x4B\x55" +
             "\0\0\0\0\0\0\1\1\0\0\0\0\0\0\0\7\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\x56"s,
         {},
         true},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        mHome.Write(Name(), c.mContent);
        EXPECT_EQ(Check(c.mArguments), (Flags{true, true, c.mIsUpToDate}));
    }
}

TEST_F(CProcessServicesStartup, ComparesTheUserOfADaemon)
{
    std::string const name = LoginName();
    if (name.empty()) GTEST_SKIP() << "this user has no name";
    EXPECT_TRUE(Install({}, true));
    std::string const path = "LaunchDaemons/com.example.helper.plist";
    std::string const text = mHome.Read(path);
    std::string const user = "<string>" + name + "</string>";
    auto const with = [&](std::string const& other) {
        return std::string(text).replace(text.find(user), user.size(), other);
    };

    struct
    {
        char const* mWhat;
        std::string mContent;
        bool mIsUpToDate;
    } const cases[] = {
        {"the user", text, true},
        {"another one", with("<string>" + name + "x</string>"), false},
        {"none", kAgent, false},
        {"no text", with("<true/>"), false},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        mHome.Write(path, c.mContent);
        EXPECT_EQ(Check({}, true), (Flags{true, true, c.mIsUpToDate}));
    }
}

TEST_F(CProcessServicesStartup, ReadsNoEndlessFile)
{
    std::string const path = mHome.Write(Name(), kAgent);
    EXPECT_EQ(truncate(path.c_str(), 1LL << 40 | 1 << 30), 0);
    EXPECT_EQ(Check(), (Flags{true, true, false}));
    EXPECT_TRUE(Install());
    EXPECT_EQ(Read(), kAgent);
}

TEST_F(CProcessServicesStartup, KeepsTheLow32BitsOfALength)
{
    std::string const path = mHome.Write(Name(), kAgent);
    EXPECT_EQ(truncate(path.c_str(), 1LL << 32 | static_cast<off_t>(kAgent.size())), 0);
    EXPECT_EQ(Check(), (Flags{true, true, true}));
    EXPECT_EQ(truncate(path.c_str(), 1LL << 32), 0);
    EXPECT_EQ(Check(), (Flags{true, true, false}));
}

TEST_F(CProcessServicesStartup, TakesTheProgramOfABundle)
{
    mProgram = CFileSpec(std::string("/Applications/Helper.app"), false);
    std::string const executable = "/Applications/Helper.app/Contents/MacOS/Helper";
    ScriptedStartupPlatform platform;
    ScriptedBundlePlatform bundles;
    StStartupPlatform const inUse(platform);
    StBundlePlatform const bundlesInUse(bundles);

    EXPECT_TRUE(Install());
    EXPECT_NE(Read().find("<string>/Applications/Helper.app</string>"), std::string::npos);
    EXPECT_EQ(Check(), (Flags{true, true, true}));

    platform.mExecutables["/Applications/Helper.app"] = executable;
    EXPECT_TRUE(Install());
    EXPECT_NE(Read().find("<string>" + executable + "</string>"), std::string::npos);
    EXPECT_EQ(Check(), (Flags{true, true, false}));
    bundles.mExecutables["/Applications/Helper.app"] = executable;
    EXPECT_EQ(Check(), (Flags{true, true, true}));
    EXPECT_TRUE(Install({"a"}));
    EXPECT_NE(Read().find("\t\t<string>" + executable + "</string>\n\t\t<string>a</string>"),
              std::string::npos);
    EXPECT_EQ(Check({"a"}), (Flags{true, true, true}));
}

TEST_F(CProcessServicesStartup, FindsTheFileByContainer)
{
    CFileSpec file;
    bool exists = true;
    bool writable = false;
    mServices.GetStartupProcessPlistFile("a/b%@", CBasicFileSpec::cContainerUserLibrary, "A Folder",
                                         file, exists, writable);
    EXPECT_EQ(PathOf(file), mHome.Path("A Folder/a_b%@.plist"));
    EXPECT_FALSE(exists);
    EXPECT_TRUE(writable);
    EXPECT_TRUE(mHome.Has("A Folder"));

    mHome.Write("A Folder/a_b%@.plist", "");
    mServices.GetStartupProcessPlistFile("a/b%@", CBasicFileSpec::cContainerUserLibrary, "A Folder",
                                         file, exists, writable);
    EXPECT_TRUE(exists);
    EXPECT_TRUE(writable);
}

TEST_F(CProcessServicesStartup, FindsTheFileOfAgentsAndDaemons)
{
    struct
    {
        bool mIsSystem;
        std::string mPath;
        std::string mUserName;
    } const cases[] = {
        {false, "LaunchAgents/com.example.helper.plist", ""},
        {true, "LaunchDaemons/com.example.helper.plist", LoginName()},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mPath);
        CFileSpec file;
        bool exists = true;
        bool writable = false;
        std::string userName = "former";
        mServices.GetStartupProcessPlistFile(kLabel, c.mIsSystem, file, exists, writable, userName);
        EXPECT_EQ(PathOf(file), mHome.Path(c.mPath));
        EXPECT_FALSE(exists);
        EXPECT_TRUE(writable);
        EXPECT_EQ(userName, c.mUserName);
    }

    StEnvironment const variable("HOME", mHome.Path("missing"));
    CFileSpec file;
    bool exists = true;
    bool writable = true;
    std::string userName = "former";
    mServices.GetStartupProcessPlistFile(kLabel, true, file, exists, writable, userName);
    EXPECT_FALSE(exists || writable);
    EXPECT_EQ(userName, "");
}

TEST_F(CProcessServicesStartup, RemovesTheFile)
{
    Uninstall();
    EXPECT_TRUE(mHome.Has("LaunchAgents"));
    EXPECT_TRUE(Install());
    Uninstall();
    EXPECT_FALSE(mHome.Has(Name()));
    EXPECT_EQ(Check(), (Flags{false, true, false}));
}

// The program that starts and stops, with a record of its command lines.
class CProcessServicesLaunchctl : public CProcessServicesStartup
{
protected:
    CProcessServicesLaunchctl()
    {
        mPrograms.mProgram = [this](std::string const& path, Arguments const& arguments) {
            std::string line = path;
            for (std::string const& argument : arguments)
                line += '|' + argument;
            mLines.push_back(line);
            mSawFile = mHome.Has(Name());
            ScriptedProgram program;
            if (mHasOutput) program.mOutput = "about " + arguments.front();
            if (mHasErrors) program.mErrors = "Boot-out failed";
            program.mIsStarted = mIsStarted;
            return program;
        };
    }

    std::string const mDomain = "gui/" + std::to_string(getuid());
    std::string const mService = mDomain + "/com.example.helper";
    std::string const mPlist = "/Users/ann/Library/LaunchAgents/com.example.helper.plist";
    bool mHasOutput = false;
    bool mHasErrors = false;
    bool mIsStarted = true;
    bool mSawFile = false;
    Arguments mLines;
    ScriptedSubprocessPlatform mPrograms;
    ScriptedStartupPlatform mPlatform;
    StSubprocessPlatform mProgramsInUse{mPrograms};
    StStartupPlatform mPlatformInUse{mPlatform};
};

TEST_F(CProcessServicesLaunchctl, EnablesLoadsAndStarts)
{
    EXPECT_EQ(mServices.StartStartupProcess(kLabel), "");
    EXPECT_THAT(mLines, ElementsAre("/bin/launchctl|enable|" + mService,
                                    "/bin/launchctl|bootstrap|" + mDomain + "|" + mPlist,
                                    "/bin/launchctl|kickstart|" + mService));
}

TEST_F(CProcessServicesLaunchctl, Stops)
{
    EXPECT_EQ(mServices.StopStartupProcess(kLabel), "");
    EXPECT_THAT(mLines, ElementsAre("/bin/launchctl|kill|TERM|" + mService));
}

TEST_F(CProcessServicesLaunchctl, KeepsWritingLargeIdentifiersAsNegative)
{
    if (getuid() != 0) GTEST_SKIP() << "only root can become another user";
    EXPECT_EQ(chmod(mHome.Path().c_str(), 0755), 0);
    StChildProcess const child([this](CTestLink& parent) {
        if (setuid(3000000000) != 0) return parent.Say("refused");
        mServices.StopStartupProcess(kLabel);
        parent.Say(mLines.empty() ? "" : mLines.front());
    });
    std::string const answer = child.Hear();
    if (answer == "refused") GTEST_SKIP() << "there is no such user here";
    EXPECT_EQ(answer, "/bin/launchctl|kill|TERM|gui/-1294967296/com.example.helper");
}

TEST_F(CProcessServicesLaunchctl, UnloadsByTheVersionOfTheSystem)
{
    std::string const bootout = "/bin/launchctl|bootout|" + mDomain + "|" + mPlist;
    std::string const unload = "/bin/launchctl|unload|-F|" + mPlist;

    struct
    {
        std::pair<int, int> mVersion;
        std::string mLine;
        std::string mLog;
    } const cases[] = {
        {{10, 10}, unload, "launchctl unload: about unload\n"},
        {{10, 11}, bootout, "launchctl bootout: about bootout\n"},
        {{10, 15}, bootout, "launchctl bootout: about bootout\n"},
        {{13, 0}, bootout, "launchctl bootout: about bootout\n"},
    };

    mHasOutput = true;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mVersion.second);
        mLines.clear();
        mPlatform.mVersion = c.mVersion;
        EXPECT_EQ(mServices.UnloadStartupProcess(kLabel), c.mLog);
        EXPECT_THAT(mLines, ElementsAre(c.mLine));
    }
}

TEST_F(CProcessServicesLaunchctl, LogsWhatTheCommandsSay)
{
    mHasErrors = true;
    EXPECT_EQ(mServices.StopStartupProcess(kLabel), "launchctl kill: stderr:\nBoot-out failed\n");
    mHasOutput = true;
    EXPECT_EQ(mServices.StartStartupProcess(kLabel),
              "launchctl enable: about enable\n\nstderr:\nBoot-out failed\n"
              "launchctl bootstrap: about bootstrap\n\nstderr:\nBoot-out failed\n"
              "launchctl kickstart: about kickstart\n\nstderr:\nBoot-out failed\n");
}

// A command that can't be run is no reason to leave out the next.
TEST_F(CProcessServicesLaunchctl, GoesOnBehindAFailure)
{
    mIsStarted = false;
    EXPECT_EQ(mServices.StartStartupProcess(kLabel), "");
    EXPECT_EQ(mLines.size(), 3U);
    mPrograms.mIsThere = false;
    EXPECT_EQ(mServices.StartStartupProcess(kLabel), "");
    EXPECT_EQ(mLines.size(), 3U);
}

// "bootout" of a service that doesn't end.
TEST_F(CProcessServicesLaunchctl, WaitsTenSecondsForACommand)
{
    mPrograms.mProgram = [](std::string const&, Arguments const&) {
        ScriptedProgram program;
        program.mEnd = std::nullopt;
        program.mEndsAtTerminate = true;
        return program;
    };
    EXPECT_EQ(mServices.UnloadStartupProcess(kLabel), "");
    EXPECT_THAT(mPrograms.mCalls,
                testing::IsSupersetOf({"Interrupt(10100000)"s, "Terminate(11100000)"s}));
}

TEST_F(CProcessServicesLaunchctl, NamesAnyLabel)
{
    struct
    {
        char const* mWhat;
        std::string mLabel;
        std::string mLibrary;
        std::string mName;
        std::string mPath;
    } const cases[] = {
        {"no label", "", "/L", "", "/L/LaunchAgents/.plist"},
        {"signs of a format", "%@%n%s", "/L", "%@%n%s", "/L/LaunchAgents/%@%n%s.plist"},
        {"blanks and quotes", "a b;\"'", "/L", "a b;\"'", "/L/LaunchAgents/a b;\"'.plist"},
        {"a NUL", "a\0b"s, "/L", "a", "/L/LaunchAgents/a.plist"},
        {"no folder of the user", "a", "", "a", "LaunchAgents/a.plist"},
        {"10,000 characters", std::string(10000, 'x'), "/L", std::string(10000, 'x'),
         "/L/LaunchAgents/" + std::string(10000, 'x') + ".plist"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        mLines.clear();
        mPlatform.mUserLibrary = c.mLibrary;
        mServices.StartStartupProcess(c.mLabel);
        EXPECT_THAT(mLines, ElementsAre("/bin/launchctl|enable|" + mDomain + "/" + c.mName,
                                        "/bin/launchctl|bootstrap|" + mDomain + "|" + c.mPath,
                                        "/bin/launchctl|kickstart|" + mDomain + "/" + c.mName));
    }
}

TEST_F(CProcessServicesLaunchctl, RunsNothingForAFileAlone)
{
    EXPECT_TRUE(Install());
    EXPECT_TRUE(Install({"a"}));
    EXPECT_EQ(Check({"a"}), (Flags{true, true, true}));
    Uninstall();
    EXPECT_THAT(mLines, IsEmpty());
}

TEST_F(CProcessServicesLaunchctl, UnloadsBeforeTheFileGoes)
{
    EXPECT_TRUE(Install());
    Uninstall(true);
    EXPECT_THAT(mLines, ElementsAre("/bin/launchctl|bootout|" + mDomain + "|" + mPlist));
    EXPECT_TRUE(mSawFile);
    EXPECT_FALSE(mHome.Has(Name()));
}

TEST_F(CProcessServicesStartup, SaysNothingWithoutLaunchctl)
{
    if (access("/bin/launchctl", F_OK) == 0) GTEST_SKIP() << "/bin/launchctl is there";
    EXPECT_EQ(mServices.StartStartupProcess(kLabel), "");
    EXPECT_EQ(mServices.StopStartupProcess(kLabel), "");
    EXPECT_EQ(mServices.UnloadStartupProcess(kLabel), "");
    EXPECT_TRUE(Install());
    Uninstall(true);
    EXPECT_FALSE(mHome.Has(Name()));
}
