#include "files/CFile.h"

#include "files/tests/FileTestTools.h"
#include "testing/FailureOf.h"
#include "testing/ScriptedFilePlatform.h"
#include "testing/StEnvironment.h"
#include "testing/StTempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <set>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

mode_t ModeOf(std::string const& path)
{
    struct stat info = {};
    stat(path.c_str(), &info);
    return info.st_mode & 0777;
}

}  // namespace

// ---- Creating

TEST(CFile, CreatesAnEmptyFileAndLeavesItClosed)
{
    StTempDir const folder;
    CFile file(Spec(folder.Path("new")));
    EXPECT_FALSE(file.Exist());
    file.Create();
    EXPECT_TRUE(file.Exist());
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(file.GetLength(), 0);
    EXPECT_THAT(DescriptorsOf(folder.Path("new")), IsEmpty());
}

TEST(CFile, CreateTellsWhyItCannot)
{
    StTempDir const folder;
    folder.Write("taken", "text");
    fs::create_symlink("nowhere", folder.Path("dangling"));

    struct
    {
        char const* mWhat;
        std::string mName;
        Failure mFailure;
    } const cases[] = {
        {"a file", "taken", FileFailure(kFileExists, kFileCreate, EEXIST)},
        {"a folder", "", FileFailure(kFileExists, kFileCreate, EEXIST)},
        {"a link to nothing", "dangling", FileFailure(kFileExists, kFileCreate, EEXIST)},
        {"no folder", "no/file", FileFailure(kFileNotFound, kFileCreate, ENOENT)},
        {"a file as folder", "taken/f", FileFailure(kFileNotAFolder, kFileCreate, ENOTDIR)},
        {"a long name", std::string(256, 'n'),
         FileFailure(kFileNameTooLong, kFileCreate, ENAMETOOLONG)},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CFile file(Spec(c.mName.empty() ? folder.Path() : folder.Path(c.mName)));
        EXPECT_EQ(FailureOf([&] { file.Create(); }), c.mFailure);
        EXPECT_FALSE(file.IsOpen());
    }
    EXPECT_EQ(folder.Read("taken"), "text");
}

TEST(CFile, FailuresCarryThePathInUTF8)
{
    StTempDir const folder;
    std::string const path = folder.Path("caf\xC3\xA9/\xF0\x9F\x98\x80");
    CFile file(Spec(path));
    EXPECT_EQ(FailureTextOf([&] { file.Create(); }), path);
    EXPECT_EQ(FailureTextOf([&] { file.Open(CFile::cPrivilegeRead); }), path);
    EXPECT_EQ(FailureTextOf([&] { file.GetLength(); }), path);
    EXPECT_EQ(FailureTextOf([&] { file.Delete(); }), path);
}

TEST(CFile, KeepsTheMaskThatCreateSets)
{
    StTempDir const folder;
    mode_t const former = umask(077);
    CFile(Spec(folder.Path("new"))).Create();
    mode_t const left = umask(former);
    EXPECT_EQ(left, 022U);
    EXPECT_EQ(ModeOf(folder.Path("new")), 0644U);
}

// ---- Opening and closing

TEST(CFile, OpensWithTheFlagsOfItsPrivileges)
{
    struct
    {
        char const* mWhat;
        int mPrivileges;
        int mFlags;
    } const cases[] = {
        {"read", CFile::cPrivilegeRead, O_RDONLY},
        {"write", CFile::cPrivilegeWrite, O_WRONLY | O_NONBLOCK},
        {"both", CFile::cPrivilegeReadWrite, O_RDWR | O_NONBLOCK},
        {"any other", 3, O_RDWR | O_NONBLOCK},
    };

    StTempDir const folder;
    std::string const path = folder.Write("file", "text");
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CFile file(Spec(path));
        EXPECT_FALSE(file.IsOpen());
        file.Open(static_cast<CFile::PrivilegesEnum>(c.mPrivileges));
        EXPECT_TRUE(file.IsOpen());
        auto const descriptors = DescriptorsOf(path);
        ASSERT_THAT(descriptors, SizeIs(1));
        EXPECT_EQ(fcntl(descriptors[0], F_GETFL) & (O_ACCMODE | O_NONBLOCK), c.mFlags);
        EXPECT_EQ(fcntl(descriptors[0], F_GETFD), FD_CLOEXEC);
        file.Close();
        EXPECT_FALSE(file.IsOpen());
        EXPECT_THAT(DescriptorsOf(path), IsEmpty());
    }
}

TEST(CFile, AsksThePlatformToOpenForWriters)
{
    StTempDir const folder;
    std::string const path = folder.Write("file", "text");
    ScriptedFilePlatform platform;
    StFilePlatform const guard(platform);
    CFile file(Spec(path));
    for (auto const privileges :
         {CFile::cPrivilegeRead, CFile::cPrivilegeWrite, CFile::cPrivilegeReadWrite}) {
        file.Open(privileges);
        file.Close();
    }
    int const always = O_NONBLOCK | O_CLOEXEC;
    EXPECT_THAT(platform.Calls(),
                ElementsAre("OpenLocked(" + path + ", " + std::to_string(O_WRONLY | always) + ")",
                            "OpenLocked(" + path + ", " + std::to_string(O_RDWR | always) + ")"));
}

TEST(CFile, OpenTellsWhyItCannot)
{
    StTempDir const folder;
    folder.Write("file", "text");
    folder.MakeFolder("folder");

    struct
    {
        char const* mWhat;
        std::string mName;
        CFile::PrivilegesEnum mPrivileges;
        Failure mFailure;
    } const cases[] = {
        {"nothing", "no", CFile::cPrivilegeRead, FileFailure(kFileNotFound, kFileOpen, ENOENT)},
        {"nothing, write", "no", CFile::cPrivilegeWrite,
         FileFailure(kFileNotFound, kFileOpen, ENOENT)},
        {"a file as folder", "file/f", CFile::cPrivilegeRead,
         FileFailure(kFileNotAFolder, kFileOpen, ENOTDIR)},
        {"a long name", std::string(256, 'n'), CFile::cPrivilegeReadWrite,
         FileFailure(kFileNameTooLong, kFileOpen, ENAMETOOLONG)},
        {"a folder, write", "folder", CFile::cPrivilegeWrite,
         FileFailure(kOtherFailure, kFileOpen, EISDIR)},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CFile file(Spec(folder.Path(c.mName)));
        EXPECT_EQ(FailureOf([&] { file.Open(c.mPrivileges); }), c.mFailure);
        EXPECT_FALSE(file.IsOpen());
    }
}

TEST(CFile, OpenRefusesWhatPermissionsForbid)
{
    StTempDir const folder;
    std::string const path = folder.Write("file", "text");
    fs::permissions(path, fs::perms::none);
    StUnprivileged const guard;
    CFile file(Spec(path));
    for (auto const privileges : {CFile::cPrivilegeRead, CFile::cPrivilegeWrite}) {
        EXPECT_EQ(FailureOf([&] { file.Open(privileges); }),
                  FileFailure(kFileAccessDenied, kFileOpen, EACCES));
    }
}

TEST(CFile, AsksItsSpecifierWhatIsThere)
{
    StTempDir const folder;
    CFile file(Spec(folder.Path("file")));
    EXPECT_FALSE(file.Exist() || file.Readable() || file.Writeable());
    folder.Write("file", "text");
    EXPECT_TRUE(file.Exist() && file.Readable() && file.Writeable());
}

TEST(CFile, OpenThatFailsWithNoErrorThrowsNothing)
{
    StTempDir const folder;
    ScriptedFilePlatform platform;
    StFilePlatform const guard(platform);
    platform.Fail("OpenLocked", ScriptedFilePlatform::kAlways, 0);
    CFile file(Spec(folder.Write("file", "text")));
    EXPECT_EQ(FailureOf([&] { file.Open(CFile::cPrivilegeWrite); }), Failure());
    EXPECT_FALSE(file.IsOpen());
}

TEST(CFile, WriterRefusesASecondWriterButNoReader)
{
    StTempDir const folder;
    std::string const path = folder.Write("file", "text");
    Failure const held = FileFailure(kFileAccessDenied, kFileOpen, EAGAIN);
    for (auto const privileges : {CFile::cPrivilegeWrite, CFile::cPrivilegeReadWrite}) {
        CFile first(Spec(path));
        CFile second(Spec(path));
        CFile reader(Spec(path));
        first.Open(privileges);
        EXPECT_EQ(FailureOf([&] { second.Open(CFile::cPrivilegeWrite); }), held);
        EXPECT_EQ(FailureOf([&] { second.Open(CFile::cPrivilegeReadWrite); }), held);
        EXPECT_FALSE(second.IsOpen());
        EXPECT_THAT(DescriptorsOf(path), SizeIs(1));
        reader.Open(CFile::cPrivilegeRead);
        EXPECT_TRUE(reader.IsOpen());
        first.Close();
        second.Open(CFile::cPrivilegeWrite);
        EXPECT_TRUE(second.IsOpen());
    }
}

TEST(CFile, WriterRefusesWritersOfOtherProcesses)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "text")));
    CFile other(file);
    file.Open(CFile::cPrivilegeWrite);
    pid_t const child = fork();
    if (child == 0) {
        bool const isHeld = FailureOf([&] { other.Open(CFile::cPrivilegeWrite); }) ==
                            FileFailure(kFileAccessDenied, kFileOpen, EAGAIN);
        bool const isReadable = FailureOf([&] { other.Open(CFile::cPrivilegeRead); }) == Failure();
        _exit(isHeld && isReadable ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(CFile, OpenReplacesAnOpenDescriptor)
{
    StTempDir const folder;
    std::string const path = folder.Write("file", "text");
    CFile file(Spec(path));
    char byte = 0;
    file.Open(CFile::cPrivilegeRead);
    file.Read(&byte, 1);
    file.Open(CFile::cPrivilegeRead);
    EXPECT_EQ(file.GetCursorPos(), 0);
    EXPECT_THAT(DescriptorsOf(path), SizeIs(1));
}

TEST(CFile, WriterThatOpensAgainMeetsItsOwnLockAndIsClosed)
{
    StTempDir const folder;
    std::string const path = folder.Write("file", "text");
    CFile file(Spec(path));
    file.Open(CFile::cPrivilegeWrite);
    EXPECT_EQ(FailureOf([&] { file.Open(CFile::cPrivilegeWrite); }),
              FileFailure(kFileAccessDenied, kFileOpen, EAGAIN));
    EXPECT_FALSE(file.IsOpen());
    EXPECT_THAT(DescriptorsOf(path), IsEmpty());
    file.Open(CFile::cPrivilegeWrite);
    EXPECT_TRUE(file.IsOpen());
}

TEST(CFile, ClosesAtItsEnd)
{
    StTempDir const folder;
    std::string const path = folder.Write("file", "text");
    {
        CFile file(Spec(path));
        file.Open(CFile::cPrivilegeWrite);
        EXPECT_THAT(DescriptorsOf(path), SizeIs(1));
    }
    EXPECT_THAT(DescriptorsOf(path), IsEmpty());
}

TEST(CFile, ReportsEBADFWhenClosed)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "text")));
    char buffer[8] = {};

    struct
    {
        char const* mWhat;
        int mContext;
        std::function<void()> mAction;
    } const cases[] = {
        {"Close", kFileClose, [&] { file.Close(); }},
        {"GetCursorPos", kFileGetCursor, [&] { file.GetCursorPos(); }},
        {"IsEOF", kFileGetCursor, [&] { file.IsEOF(); }},
        {"SetCursorPos", kFileSetCursor,
         [&] { file.SetCursorPos(0, basic_binstream::cursor_from_start); }},
        {"Read", kFileRead, [&] { file.Read(buffer, 1); }},
        {"ReadLine", kFileRead, [&] { file.ReadLine(buffer, 1, nullptr); }},
        {"ReadInt32", kFileRead, [&] { file.ReadInt32(buffer); }},
        {"Write", kFileWrite, [&] { file.Write(buffer, 1); }},
        {"WriteInt32", kFileWrite, [&] { file.WriteInt32(buffer); }},
        {"SetEOF", kFileSetEnd, [&] { file.SetEOF(0); }},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(FailureOf(c.mAction), FileFailure(kOtherFailure, c.mContext, EBADF));
    }
}

TEST(CFile, SaysNothingWhenClosedWhereAQuestionIsAsked)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "text")));
    long long position = 7;
    file.Flush();
    EXPECT_EQ(file.GetLength(), 4);
    EXPECT_FALSE(file.GetDevicePhysicalPos(0, position));
    EXPECT_EQ(position, 7);
    EXPECT_FALSE(file.WaitForModification());
}

TEST(CFile, KeepsCountingAsOpenAfterAFailedClose)
{
    StTempDir const folder;
    std::string const path = folder.Write("file", "text");
    CFile file(Spec(path));
    file.Open(CFile::cPrivilegeRead);
    for (int const descriptor : DescriptorsOf(path))
        close(descriptor);
    EXPECT_EQ(FailureOf([&] { file.Close(); }), FileFailure(kOtherFailure, kFileClose, EBADF));
    EXPECT_TRUE(file.IsOpen());
    // Its end drops what the second attempt reports.
}

// ---- Copies of the object

TEST(CFile, CopiesStartClosedWithPlaceAndByteOrder)
{
    StTempDir const folder;
    std::string const path = folder.Write("file", "text");
    CFile file(Spec(path));
    file.SetFileEndianness(CFile::cBigEndian);
    file.Open(CFile::cPrivilegeRead);

    CFile const copy(file);
    CFile assigned(Spec(folder.Write("other", "")));
    assigned.Open(CFile::cPrivilegeRead);
    assigned = file;
    EXPECT_TRUE(file.IsOpen());
    EXPECT_FALSE(CFile(copy).IsOpen());
    EXPECT_EQ(copy.GetFileEndianness(), CFile::cBigEndian);
    EXPECT_TRUE(copy.IsSwappingEndian());
    EXPECT_FALSE(assigned.IsOpen());
    EXPECT_TRUE(assigned.IsSwappingEndian());
    EXPECT_EQ(PathOf(assigned), path);
    EXPECT_THAT(DescriptorsOf(path), SizeIs(1));
    EXPECT_THAT(DescriptorsOf(folder.Path("other")), IsEmpty());
}

TEST(CFile, AssignmentToItselfCloses)
{
    StTempDir const folder;
    std::string const path = folder.Write("file", "text");
    CFile file(Spec(path));
    file.Open(CFile::cPrivilegeRead);
    CFile const& same = file;
    file = same;
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(PathOf(file), path);
}

// ---- Deleting

TEST(CFile, DeletesFilesLinksAndEmptyFolders)
{
    StTempDir const folder;
    folder.Write("file", "text");
    folder.MakeFolder("folder");
    fs::create_symlink("kept", folder.Path("link"));
    fs::create_symlink("nowhere", folder.Path("dangling"));
    folder.Write("kept", "text");
    for (char const* const name : {"file", "folder", "link", "dangling"}) {
        SCOPED_TRACE(name);
        CFile(Spec(folder.Path(name))).Delete();
        EXPECT_FALSE(folder.Has(name));
    }
    EXPECT_EQ(folder.Read("kept"), "text");
}

TEST(CFile, DeleteTellsWhyItCannot)
{
    StTempDir const folder;
    folder.Write("full/file", "text");
    fs::create_directory_symlink("full", folder.Path("link"));

    struct
    {
        char const* mWhat;
        std::string mName;
        Failure mFailure;
    } const cases[] = {
        {"nothing", "no", FileFailure(kFileNotFound, kFileDelete, ENOENT)},
        {"a full folder", "full", FileFailure(kOtherFailure, kFileDelete, ENOTEMPTY)},
        {"a link to a folder", "link", FileFailure(kFileNotAFolder, kFileDelete, ENOTDIR)},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CFile file(Spec(folder.Path(c.mName)));
        EXPECT_EQ(FailureOf([&] { file.Delete(); }), c.mFailure);
        EXPECT_EQ(FailureOf([&] { file.MoveToTrash(); }), c.mFailure);
    }
    EXPECT_EQ(folder.Read("full/file"), "text");
}

TEST(CFile, KeepsDeletingInMoveToTrash)
{
    StTempDir const folder;
    CFile(Spec(folder.Write("file", "text"))).MoveToTrash();
    EXPECT_THAT(fs::directory_iterator(folder.Path()), testing::Eq(fs::directory_iterator()));
}

TEST(CFile, KeepsDeletingBeforeItMovesToTheTrash)
{
    struct Traced : CFile
    {
        using CFile::CFile;

        void Delete() override
        {
            mCalls.emplace_back("Delete");
            if (mDeleteFails) throw std::runtime_error("Delete");
        }

        void MoveToTrash() override
        {
            mCalls.emplace_back("MoveToTrash");
            throw std::runtime_error("MoveToTrash");
        }

        bool mDeleteFails = false;
        std::vector<std::string> mCalls;
    };

    StTempDir const folder;
    Traced file(Spec(folder.Write("file", "text")));
    file.DeleteOrTrash();
    EXPECT_THAT(file.mCalls, ElementsAre("Delete"));

    file.mDeleteFails = true;
    file.mCalls.clear();
    EXPECT_THAT([&] { file.DeleteOrTrash(); },
                testing::ThrowsMessage<std::runtime_error>("MoveToTrash"));
    EXPECT_NO_THROW(file.DeleteOrTrashWithoutError());
    EXPECT_THAT(file.mCalls, ElementsAre("Delete", "MoveToTrash", "Delete", "MoveToTrash"));
}

TEST(CFile, DeleteOrTrashReportsOnlyWhatIsThere)
{
    StTempDir const folder;
    folder.Write("full/file", "text");
    CFile missing(Spec(folder.Path("no")));
    CFile file(Spec(folder.Write("file", "text")));
    CFile full(Spec(folder.Path("full")));
    Failure const notEmpty = FileFailure(kOtherFailure, kFileDelete, ENOTEMPTY);
    EXPECT_EQ(FailureOf([&] { missing.DeleteOrTrash(); }), Failure());
    EXPECT_EQ(FailureOf([&] { missing.DeleteOrTrashWithoutError(); }), Failure());
    EXPECT_EQ(FailureOf([&] { file.DeleteOrTrash(); }), Failure());
    EXPECT_FALSE(file.Exist());
    EXPECT_EQ(FailureOf([&] { full.DeleteOrTrash(); }), notEmpty);
    EXPECT_EQ(FailureOf([&] { full.DeleteOrTrashWithoutError(); }), Failure());
    EXPECT_TRUE(full.Exist());
}

TEST(CFile, SpecifiersDeleteThroughFiles)
{
    StTempDir const folder;

    struct
    {
        char const* mWhat;
        std::function<void(CFileSpec&)> mAction;
        Failure mWhenMissing;
    } const cases[] = {
        {"Delete", [](CFileSpec& s) { s.Delete(); },
         FileFailure(kFileNotFound, kFileDelete, ENOENT)},
        {"MoveToTrash", [](CFileSpec& s) { s.MoveToTrash(); },
         FileFailure(kFileNotFound, kFileDelete, ENOENT)},
        {"DeleteOrTrash", [](CFileSpec& s) { s.DeleteOrTrash(); }, Failure()},
        {"DeleteOrTrashWithoutError", [](CFileSpec& s) { s.DeleteOrTrashWithoutError(); },
         Failure()},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CFileSpec fileSpec = Spec(folder.Write("file", "text"));
        c.mAction(fileSpec);
        EXPECT_FALSE(fileSpec.Exist());
        EXPECT_EQ(FailureOf([&] { c.mAction(fileSpec); }), c.mWhenMissing);
    }
}

TEST(CFile, MakeAliasAlwaysFails)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "text")));
    auto const makeAlias = [&] { file.MakeAlias(Spec(folder.Path("alias"))); };
    EXPECT_EQ(FailureOf(makeAlias), FileFailure(kOtherFailure, kFileMakeAlias, -2));
    EXPECT_EQ(FailureTextOf(makeAlias), "");
}

// ---- Content

TEST(CFile, TellsTheLengthOpenAndClosed)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "text")));
    EXPECT_EQ(file.GetLength(), 4);
    file.Open(CFile::cPrivilegeReadWrite);
    file.Write("longer", 6);
    EXPECT_EQ(file.GetLength(), 6);
    // The open file, also without a name.
    fs::remove(folder.Path("file"));
    EXPECT_EQ(file.GetLength(), 6);
    file.Close();
    EXPECT_EQ(FailureOf([&] { file.GetLength(); }), FileFailure(kFileNotFound, kFileStat, ENOENT));
}

TEST(CFile, SetsItsEnd)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "text")));
    file.Open(CFile::cPrivilegeReadWrite);
    file.SetCursorPos(3, basic_binstream::cursor_from_start);
    file.SetEOF(2);
    EXPECT_EQ(file.GetCursorPos(), 3);
    EXPECT_EQ(folder.Read("file"), "te");
    file.SetEOF(4);
    EXPECT_EQ(folder.Read("file"), std::string("te\0\0", 4));
    EXPECT_EQ(FailureOf([&] { file.SetEOF(-1); }), FileFailure(kOtherFailure, kFileSetEnd, EINVAL));
}

TEST(CFile, MovesTheCursorFromEachReference)
{
    struct
    {
        char const* mWhat;
        long long mOffset;
        int mReference;
        long long mPosition;
    } const cases[] = {
        {"start", 3, basic_binstream::cursor_from_start, 3},
        {"end", -3, basic_binstream::cursor_from_end, 7},
        {"behind the end", 5, basic_binstream::cursor_from_end, 15},
        {"forwards", 2, basic_binstream::cursor_from_current, 7},
        {"backwards", -2, basic_binstream::cursor_from_current, 3},
        {"any other is the start", 4, 3, 4},
    };

    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "0123456789")));
    file.Open(CFile::cPrivilegeRead);
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        file.SetCursorPos(5, basic_binstream::cursor_from_start);
        file.SetCursorPos(c.mOffset, static_cast<basic_binstream::cursorref_type>(c.mReference));
        EXPECT_EQ(file.GetCursorPos(), c.mPosition);
        EXPECT_EQ(file.IsEOF(), c.mPosition >= 10);
    }
    EXPECT_EQ(FailureOf([&] { file.SetCursorPos(-1, basic_binstream::cursor_from_start); }),
              FileFailure(kOtherFailure, kFileSetCursor, EINVAL));
}

TEST(CFile, ReadsToTheEndWhichIsNoFailure)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "text")));
    file.Open(CFile::cPrivilegeRead);
    char buffer[8] = {};
    EXPECT_FALSE(file.IsEOF());
    EXPECT_EQ(file.Read(buffer, 3), 3);
    EXPECT_EQ(file.Read(buffer + 3, 5), 1);
    EXPECT_STREQ(buffer, "text");
    EXPECT_TRUE(file.IsEOF());
    EXPECT_EQ(file.Read(buffer, 8), 0);
    EXPECT_EQ(FailureOf([&] { file.Write(buffer, 1); }),
              FileFailure(kOtherFailure, kFileWrite, EBADF));
}

TEST(CFile, RefusesNegativeSizes)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "text")));
    file.Open(CFile::cPrivilegeReadWrite);
    char buffer[8] = {};
    Failure const read = FailureOf([&] { file.Read(buffer, -1); });
    Failure const write = FailureOf([&] { file.Write(buffer, -1); });
    EXPECT_EQ(read, FileFailure(kOtherFailure, kFileRead, read.mOSError));
    EXPECT_EQ(write, FileFailure(kOtherFailure, kFileWrite, write.mOSError));
    EXPECT_EQ(folder.Read("file"), "text");
}

TEST(CFile, ReportsAFullDisk)
{
    CFile file(Spec("/dev/full"));
    file.Open(CFile::cPrivilegeWrite);
    EXPECT_EQ(FailureOf([&] { file.Write("text", 4); }),
              FileFailure(kOtherFailure, kFileWrite, ENOSPC));
}

TEST(CFile, TellsAPhysicalPositionUnlessItIsMinusOne)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "text")));
    file.Open(CFile::cPrivilegeRead);
    ScriptedFilePlatform platform;
    StFilePlatform const guard(platform);
    long long position = 7;

    platform.mPhysicalPosition = -1;
    EXPECT_FALSE(file.GetDevicePhysicalPos(2, position));
    platform.mPhysicalPosition = 4096;
    platform.Fail("GetPhysicalPosition", 1);
    EXPECT_FALSE(file.GetDevicePhysicalPos(2, position));
    EXPECT_EQ(position, 7);
    EXPECT_TRUE(file.GetDevicePhysicalPos(2, position));
    EXPECT_EQ(position, 4096);
    EXPECT_THAT(platform.Calls(), ElementsAre("GetPhysicalPosition(2)", "GetPhysicalPosition(2)",
                                              "GetPhysicalPosition(2)"));
}

TEST(CFile, PhysicalPositionsFollowTheOffset)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", std::string(4096, 'x'))));
    file.Open(CFile::cPrivilegeReadWrite);
    file.Flush();
    long long first = 0;
    if (!file.GetDevicePhysicalPos(0, first)) GTEST_SKIP() << "this file system doesn't tell";
    long long later = 0;
    EXPECT_TRUE(file.GetDevicePhysicalPos(100, later));
    EXPECT_EQ(later, first + 100);
    EXPECT_FALSE(file.GetDevicePhysicalPos(1 << 20, later));
    EXPECT_FALSE(file.GetDevicePhysicalPos(-1, later));
    file.SetEOF(1 << 22);
    EXPECT_FALSE(file.GetDevicePhysicalPos(1 << 21, later)) << "a hole";
}

// ---- Names of its own

TEST(CFile, CreatesFilesWithUniqueNames)
{
    StTempDir const folder;
    StEnvironment const home("HOME", folder.Path());
    CFileSpec result;
    for (char const* const name : {"a.txt", "a 2.txt", "a 3.txt"}) {
        CFile::CreateFileWithUniqueName(CFileSpec::cContainerDesktop, "a.txt", result);
        EXPECT_EQ(PathOf(result), folder.Path(name));
        EXPECT_EQ(result.GetFileSize(), 0);
    }
    EXPECT_THAT(DescriptorsOf(folder.Path("a.txt")), IsEmpty());
}

TEST(CFile, UniqueNamesPassOnOtherFailures)
{
    StTempDir const folder;
    StEnvironment const home("HOME", folder.Path("no"));
    CFileSpec result = Spec("/as/it/was");
    EXPECT_EQ(FailureOf([&] {
                  CFile::CreateFileWithUniqueName(CFileSpec::cContainerDesktop, "a", result);
              }),
              FileFailure(kFileNotFound, kFileCreate, ENOENT));
    EXPECT_EQ(PathOf(result), "/as/it/was");
}

TEST(CFile, UniqueNamesDoNotTryForEver)
{
    StTempDir const folder;
    StEnvironment const home("HOME", folder.Path());
    fs::create_symlink("nowhere", folder.Path("a"));
    CFileSpec result;
    EXPECT_EQ(FailureOf([&] {
                  CFile::CreateFileWithUniqueName(CFileSpec::cContainerDesktop, "a", result);
              }),
              FileFailure(kFileExists, kFileCreate, EEXIST));
}

TEST(CFile, UniqueNamesAreDistinctWhenThreadsRace)
{
    constexpr int kThreads = 4;
    constexpr int kFiles = 25;
    StTempDir const folder;
    StEnvironment const home("HOME", folder.Path());
    std::vector<std::vector<std::string>> paths(kThreads);
    std::vector<std::thread> threads;
    for (auto& own : paths) {
        threads.emplace_back([&own] {
            for (int i = 0; i < kFiles; ++i) {
                CFileSpec result;
                CFile::CreateFileWithUniqueName(CFileSpec::cContainerDesktop, "race.txt", result);
                own.push_back(PathOf(result));
            }
        });
    }
    for (auto& thread : threads)
        thread.join();

    std::set<std::string> distinct;
    for (auto const& own : paths)
        distinct.insert(own.begin(), own.end());
    EXPECT_THAT(distinct, SizeIs(kThreads * kFiles));
    for (auto const& path : distinct)
        EXPECT_TRUE(fs::exists(path));
}
