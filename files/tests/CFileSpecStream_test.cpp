// Specifiers in binary streams.
#include "files/CFileSpecImp.h"
#include "files/tests/FileTesting.h"
#include "marl/basic_binstream.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

namespace {

// The one string that a record is.
std::string Record(CFileSpec const& spec, CFileSpec const& base)
{
    memblock block;
    basic_binstream stream(block);
    spec.WriteToStream(stream, base);
    EXPECT_EQ(stream.GetCursorPos(), block.size());
    basic_binstream reader(block);
    std::u16string record;
    reader >> record;
    EXPECT_EQ(reader.GetCursorPos(), block.size()) << "nothing else is written";
    return PathOf(CFileSpec(record, false));
}

std::string Read(std::string const& record, CFileSpec const& base)
{
    memblock block;
    basic_binstream stream(block);
    std::u16string text;
    Spec(record).GetFullPath(&text);
    stream << text;
    basic_binstream reader(block);
    CFileSpec spec = Spec("/old");
    spec.ReadFromStream(reader, base);
    return PathOf(spec);
}

}  // namespace

TEST(CFileSpecStream, ComesBackAsItWasWritten)
{
    for (char const* const path : {"", "/", "/a/b", "a//b/", "/\xC3\xA9\xF0\x9F\x98\x80"}) {
        SCOPED_TRACE(path);
        memblock block;
        basic_binstream stream(block);
        EXPECT_EQ(&(stream << Spec(path)), &stream);
        basic_binstream reader(block);
        CFileSpec spec = Spec("/old");
        EXPECT_EQ(&(reader >> spec), &reader);
        EXPECT_EQ(PathOf(spec), path);
    }
}

TEST(CFileSpecStream, KeepsEveryUnit)
{
    std::u16string path = u"/";
    for (unsigned unit = 0; unit < 0x10000; unit += 0x101)
        path += static_cast<char16_t>(unit);
    memblock block;
    basic_binstream stream(block);
    stream << CFileSpec(path, false);
    basic_binstream reader(block);
    CFileSpec spec;
    reader >> spec;
    std::u16string read;
    spec.GetFullPath(&read);
    EXPECT_EQ(read, path);
}

TEST(CFileSpecStream, WritesWhatIsInsideTheBaseWithoutIt)
{
    struct
    {
        char const* mPath;
        char const* mBase;
        char const* mRecord;
    } const cases[] = {
        {"/a/b/c", "/a/b", "c"},
        {"/a/b/c", "/a/b/", "c"},
        {"/a/b/c", "/a", "b/c"},
        {"/a/b/c", "/", "a/b/c"},
        {"/a/b/c", "", "a/b/c"},
        {"/a/b", "/a/b", "/a/b"},
        {"/a/b/", "/a/b", "/a/b/"},
        {"/a/b", "/a/b/", "/a/b"},
        {"/", "/", "/"},
        {"/", "", "/"},
        {"/a/bc/d", "/a/b", "/a/bc/d"},
        {"/A/b", "/a", "/A/b"},
        {"/a//b", "/a", "/b"},
        {"", "/a", ""},
        {"b", "/a", "b"},
        {"a/b", "a", "b"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(std::string(c.mPath) + " on " + c.mBase);
        EXPECT_EQ(Record(Spec(c.mPath), Spec(c.mBase)), c.mRecord);
    }
}

TEST(CFileSpecStream, ReadsARestIntoTheBase)
{
    struct
    {
        char const* mRecord;
        char const* mBase;
        char const* mPath;
    } const cases[] = {
        {"c", "/a/b", "/a/b/c"}, {"c", "/a/b/", "/a/b/c"}, {"b/c", "/other", "/other/b/c"},
        {"c", "", "/c"},         {"c", "/", "/c"},         {"c", "x", "x/c"},
        {"/c", "/a", "/c"},      {"/", "/a", "/"},         {"", "/a", ""},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(std::string(c.mRecord) + " on " + c.mBase);
        EXPECT_EQ(Read(c.mRecord, Spec(c.mBase)), c.mPath);
    }
}

TEST(CFileSpecStream, KeepsADoubledSlashBehindTheBaseAmbiguous)
{
    CFileSpec const base = Spec("/a");
    EXPECT_EQ(Read(Record(Spec("/a//b"), base), base), "/b")
        << "another place than the one written";
}

TEST(CFileSpecStream, TheBaseMayBeTheObject)
{
    memblock block;
    basic_binstream stream(block);
    stream << std::u16string(u"b");
    basic_binstream reader(block);
    CFileSpec spec = Spec("/a");
    spec.ReadFromStream(reader, spec);
    EXPECT_EQ(PathOf(spec), "/a/b");
}

TEST(CFileSpecStream, KeepsWhatWasReadOfTheOldPath)
{
    StTempDir const folder;
    CFileSpec const base = Spec(folder.Path());
    folder.Write("file", "");
    for (bool const hasBase : {false, true}) {
        SCOPED_TRACE(hasBase);
        memblock block;
        basic_binstream stream(block);
        Spec(folder.Path("file")).WriteToStream(stream, hasBase ? base : Spec("/nowhere"));
        basic_binstream reader(block);
        CFileSpec spec = base;
        EXPECT_TRUE(spec.IsFolder());
        if (hasBase) {
            spec.ReadFromStream(reader, base);
        } else {
            reader >> spec;
        }
        EXPECT_EQ(PathOf(spec), folder.Path("file"));
        EXPECT_TRUE(spec.IsFolder());
        spec.SetupFromFile();
        EXPECT_FALSE(spec.IsFolder());
    }
}

TEST(CFileSpecStream, ReadingIsNoChange)
{
    memblock block;
    basic_binstream stream(block);
    stream << Spec("/a") << Spec("/b");
    basic_binstream reader(block);
    CFileSpec spec;
    reader >> spec;
    EXPECT_FALSE(spec.Changed());
    spec.ReadFromStream(reader, Spec("/"));
    EXPECT_EQ(PathOf(spec), "/b");
    EXPECT_FALSE(spec.Changed());
}

TEST(CFileSpecStream, StaysAsItWasWhenTheStreamEnds)
{
    memblock block;
    basic_binstream reader(block);
    CFileSpec spec = Spec("/a");
    EXPECT_THROW(reader >> spec, HierarchicalException);
    EXPECT_THROW(spec.ReadFromStream(reader, Spec("/b")), HierarchicalException);
    EXPECT_EQ(PathOf(spec), "/a");
}
