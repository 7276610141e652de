// index and search --in: a store answers as the files do, and a hostile one is an error.

#include <algorithm>
#include <string>

#include <gmock/gmock.h>

#include "loamctl/CStore.h"
#include "loamctl/CStoreReader.h"
#include "loamctl/TextFilter.h"
#include "loamctl/tests/RunLoamctl.h"
#include "testing/StTempDir.h"

namespace {

using testing::HasSubstr;

std::string IndexDocuments(StTempDir const& folder, std::string const& documents)
{
    std::string store = folder.Path("store");
    RunResult const result = RunLoamctl({"index", documents, "-o", store});
    EXPECT_EQ(result.mOutput.substr(0, store.size()), store) << result.mError;
    return store;
}

// The same search in the files and in the store, with the same output however many threads there
// are.
void ExpectSameAnswers(std::vector<std::string> const& options,
                       std::string const& documents,
                       std::string const& store)
{
    std::vector<std::string> inFiles = {"search"};
    inFiles.insert(inFiles.end(), options.begin(), options.end());
    std::vector<std::string> inStore = inFiles;
    inFiles.push_back(documents);
    inStore.insert(inStore.end(), {"--in", store});
    RunResult const expected = RunLoamctl(inFiles);
    for (std::string const jobs : {"1", "8"}) {
        std::vector<std::string> arguments = inStore;
        arguments.insert(arguments.end(), {"-j", jobs});
        RunResult const answer = RunLoamctl(arguments);
        EXPECT_EQ(answer.mExitCode, expected.mExitCode);
        EXPECT_TRUE(answer.mOutput == expected.mOutput) << expected.mOutput << answer.mOutput;
        EXPECT_EQ(answer.mError, expected.mError);
    }
}

// Many small documents of several charsets, with a folder inside, so that there is a dictionary.
void WriteLetters(StTempDir const& folder)
{
    for (int i = 0; i < 100; ++i) {
        std::string const number = std::to_string(i * 7919 % 1000);
        folder.Write("letters/" + std::to_string(i % 3) + "/" + number + ".txt",
                     "Dear customer,\r\nyour Café order no. " + number +
                         " has left our house.\r\nYours sincerely,\r\nthe harbour office\r\n");
    }
    folder.Write("letters/wide.txt", "\xFF\xFE" + AsUTF16(u"Ein Cafe\u0301 in Köln\n", false));
    folder.Write("letters/marked.txt", "\xEF\xBB\xBFStraße zum Café\n");
    folder.Write("letters/empty.txt", "");
    folder.Write("letters/binary.dat", std::string("\0\x01", 2));
    folder.Write("letters/latin.txt", "caf\xE9\n");
}

TEST(Index, AStoreAnswersAsTheFilesDo)
{
    StTempDir const folder;
    WriteLetters(folder);
    for (std::string const& documents : {folder.Path("letters"), Document("")}) {
        SCOPED_TRACE(documents);
        StTempDir const place;
        std::string const store = IndexDocuments(place, documents);
        std::vector<std::vector<std::string>> const searches = {
            {"cafe"},           {"--json", "cafe"},
            {"-v", "cafe"},     {"-c", "e"},
            {"-l", "strasse"},  {"--json", "-v", "o"},
            {"-w", "office"},   {"-w", "the harbour office"},
            {"-w", "afe"},      {"-m", "2", "a"},
            {"no. 7"},          {"order no"},
            {"nowhere at all"}, {"--color=always", "é"},
            {"コーヒー"},       {"--max-columns", "9", "le"},
        };
        for (auto const& options : searches) {
            SCOPED_TRACE(options.back());
            ExpectSameAnswers(options, documents, store);
        }
    }
}

TEST(Index, DocumentsAreFoundInAnyCharset)
{
    StTempDir const folder;
    std::string const documents = Document("charsets");
    std::string const store = IndexDocuments(folder, documents);
    RunResult const result = RunLoamctl({"search", "-l", "cafe", "--in", store});
    EXPECT_EQ(std::count(result.mOutput.begin(), result.mOutput.end(), '\n'), 5) << result.mOutput;
    for (std::string const word : {"cafe", "gijón", "ETE", "コーヒー", "Хозяин", "garc\u0327on"}) {
        SCOPED_TRACE(word);
        ExpectSameAnswers({"--json", word}, documents, store);
        ExpectSameAnswers({"-w", "-v", word}, documents, store);
    }
}

TEST(Index, LargeDocumentsAreLookedThroughFolded)
{
    // Beyond what a filter is the last word on: its words are all there, but not behind one
    // another.
    StTempDir const folder;
    std::string text;
    for (int i = 0; text.size() <= kLongestFilteredText; ++i)
        text += "Ein Brief aus dem Hafen " + std::to_string(i * 7919 % 10007) + "\n";
    std::string const documents = folder.Write("letters/long.txt", text);
    std::string const store = IndexDocuments(folder, documents);
    for (std::string const word : {"HAFEN 7919", "hafen brief", "fen 9x"}) {
        SCOPED_TRACE(word);
        ExpectSameAnswers({word}, documents, store);
    }
}

TEST(Index, ThreadsShareAStore)
{
    // Some groups of files, with hits in most of them.
    StTempDir const folder;
    for (int i = 0; i < 24; ++i) {
        std::string text;
        for (int line = 0; line < 2000; ++line)
            text += "Letter " + std::to_string(line * 7919 % 10007) + " from the house\n";
        if (i % 3 != 0) text += "by way of the Hafen\n";
        folder.Write("letters/" + std::to_string(i), text);
    }
    std::string const store = IndexDocuments(folder, folder.Path("letters"));
    for (std::string const word : {"hafen", "HAFEN\xCC\x81", "letter 1", "of the hafen"}) {
        SCOPED_TRACE(word);
        ExpectSameAnswers({"-v", word}, folder.Path("letters"), store);
        ExpectSameAnswers({"--json", "-w", word}, folder.Path("letters"), store);
    }
}

TEST(Index, AStoreNeedsNoFiles)
{
    StTempDir const folder;
    WriteLetters(folder);
    std::string const documents = folder.Path("letters");
    std::string const store = IndexDocuments(folder, documents);
    RunResult const before = RunLoamctl({"search", "--json", "strasse", documents});
    ASSERT_EQ(RunShell("rm -r '" + documents + "'").mExitCode, 0);
    EXPECT_EQ(RunLoamctl({"search", "--json", "strasse", "--in", store}).mOutput, before.mOutput);
}

TEST(Index, KeepsWhatCouldNotBeRead)
{
    StTempDir const folder;
    folder.Write("a.txt", "a letter\n");
    std::string const store = folder.Path("store");
    RunResult const result =
        RunLoamctl({"index", folder.Path("a.txt"), folder.Path("gone"), "-o", store});
    EXPECT_EQ(result.mExitCode, 2);
    EXPECT_THAT(result.mError, HasSubstr("gone: No such file"));
    RunResult const search = RunLoamctl({"search", "letter", "--in", store});
    EXPECT_EQ(search.mExitCode, 2);
    EXPECT_THAT(search.mOutput, HasSubstr("a.txt:1:3: a letter"));
    EXPECT_THAT(search.mError, HasSubstr("gone: No such file"));
}

TEST(Index, TellsWhatItKept)
{
    StTempDir const folder;
    WriteLetters(folder);
    RunResult const result =
        RunLoamctlIn(folder.Path(), {"index", "letters", "-o", "store", "--json", "--log", "log"});
    EXPECT_EQ(result.mExitCode, 0);
    auto const object = ParseLines(result.mOutput, "store").at(0);
    EXPECT_EQ(object["path"], "store");
    EXPECT_EQ(object["documents"], 104);
    EXPECT_EQ(object["bytes"], ReadBytes(folder.Path("store")).size());
    EXPECT_GT(object["dictionary_bytes"], 100);
    EXPECT_EQ(object["skipped"]["binary"], 1);
    EXPECT_THAT(folder.Read("log"),
                HasSubstr("read letters/marked.txt (UTF-8 with mark, 21 bytes): 3 words"));
    // What is there is left alone.
    RunResult const again = RunLoamctlIn(folder.Path(), {"index", "letters", "-o", "store"});
    EXPECT_EQ(again.mExitCode, 2);
    EXPECT_THAT(again.mError, HasSubstr("store: is there already"));
}

TEST(Index, EmptyFoldersMakeAStore)
{
    StTempDir const folder;
    folder.MakeFolder("letters");
    std::string const store = IndexDocuments(folder, folder.Path("letters"));
    ExpectSameAnswers({"-v", "any"}, folder.Path("letters"), store);
    ExpectSameAnswers({"-w", "any"}, folder.Path("letters"), store);
}

TEST(CStore, TellsEntriesAndTheirColumns)
{
    StTempDir const folder;
    WriteLetters(folder);
    CStore store(IndexDocuments(folder, folder.Path("letters")));
    ASSERT_EQ(store.GetEntries().size(), 109U);
    StoredEntry const& last = store.GetEntries().back();
    EXPECT_EQ(last.mPath, folder.Path("letters/wide.txt"));
    EXPECT_EQ(last.mCharset, "UTF-16LE");
    StTempDir const place;
    CStore letter(IndexDocuments(place, Document("europe/de-brief.txt")));
    EXPECT_EQ(letter.GetEntries().at(0).mCharset, "UTF-8");
    EXPECT_EQ(letter.GetEntries().at(0).mLanguage, "de");
    CStoreReader reader(store);
    EXPECT_EQ(reader.GetFolded(last), "ein cafe in koln\n");
    EXPECT_EQ(reader.GetBytes(last), folder.Read("letters/wide.txt"));
    EXPECT_EQ(store.FindWords({"koln"}).back(), true);
    EXPECT_EQ(store.FindWords({"koln", "house"}).back(), false);
}

TEST(CStore, TellsTheCharsetThatWasRecognised)
{
    StTempDir const folder;
    CStore store(IndexDocuments(folder, Document("charsets")));
    std::vector<std::string> charsets;
    for (StoredEntry const& entry : store.GetEntries()) {
        std::string const name = entry.mPath.substr(entry.mPath.rfind('/') + 1);
        if (entry.mReading.mText) charsets.push_back(name + ": " + entry.mCharset);
    }
    EXPECT_EQ(charsets,
              (std::vector<std::string>{"es-utf16.txt: UTF-16LE", "fr-decomposed.txt: UTF-8",
                                        "fr-latin1.txt: windows-1252",
                                        "ja-shift-jis.txt: Shift_JIS", "ru-koi8r.txt: KOI8-R"}));
}

// Reads all that a store holds; answers whether it was found to be bad. Anything else that it
// throws, or crashes by, fails the test.
bool IsBad(std::string const& path)
{
    try {
        CStore store(path);
        CStoreReader reader(store);
        for (StoredEntry const& entry : store.GetEntries()) {
            reader.GetFolded(entry);
            reader.GetBytes(entry);
        }
        store.FindPart("house");
        store.FindWords({"house"});
        return false;
    } catch (CBadStore const&) {
        return true;
    }
}

TEST(CStore, DamagedBytesAndCutsAreErrors)
{
    StTempDir const folder;
    std::string letter;
    for (int i = 0; i < 10; ++i) {
        letter += "A letter of the house, page " + std::to_string(i) + " of many.\n";
        folder.Write("letters/" + std::to_string(i), letter.substr(letter.size() / 2));
    }
    std::string const good = ReadBytes(IndexDocuments(folder, folder.Path("letters")));
    ASSERT_FALSE(IsBad(folder.Write("copy", good)));
    int missed = 0;
    // Of the header all, of the rest some.
    for (std::size_t i = 0; i < good.size(); i += i < kStoreHeaderSize ? 1 : 7) {
        std::string bad = good;
        bad[i] = static_cast<char>(bad[i] ^ (1 << i % 8));
        if (!IsBad(folder.Write("copy", bad))) ++missed;
    }
    EXPECT_EQ(missed, 0);
    for (std::size_t size = 0; size < good.size(); size += 23) {
        if (!IsBad(folder.Write("copy", good.substr(0, size)))) ++missed;
    }
    EXPECT_EQ(missed, 0);
    EXPECT_TRUE(IsBad(folder.Write("copy", good + "x")));
}

// A header that is right by its checksum, whatever it says.
std::string StoreOf(StoreHeader header, std::string const& entries)
{
    header.mEntries.mSize = entries.size();
    header.mEntries.mChecksum = ChecksumOf(entries);
    header.mDictionary.mOffset = kStoreHeaderSize;
    header.mTexts.mOffset = kStoreHeaderSize;
    header.mFilters = {kStoreHeaderSize, 64, 64, ChecksumOf(std::string(64, '\0'))};
    header.mEntries.mOffset = kStoreHeaderSize + 64;
    header.mWords.mOffset = kStoreHeaderSize + 64 + entries.size();
    return BytesOf(header) + std::string(64, '\0') + entries;
}

// A zstd frame of one raw block, with or without its size.
std::string FrameOf(std::string const& content, bool isSized)
{
    std::string frame("\x28\xB5\x2F\xFD", 4);
    CByteWriter writer(frame);
    writer.Add(isSized ? 0xE0 : 0x00, 1);
    writer.Add(isSized ? content.size() : 0x48, isSized ? 8 : 1);
    writer.Add(content.size() << 3 | 1, 3);
    return frame + content;
}

TEST(CStore, HostileNumbersAreErrors)
{
    std::string entry;
    StoredEntry text;
    text.mPath = "a.txt";
    text.mReading.mText = true;
    text.mFilterSize = 64;
    AddEntry(entry, text);
    std::vector<std::string> noFilters;
    for (auto const& [offset, size] : {std::pair<int, int>{1, 64}, {0, 128}, {0, 63}, {0, 0}}) {
        StoredEntry other = text;
        other.mFilterOffset = static_cast<std::uint64_t>(offset);
        other.mFilterSize = static_cast<std::uint32_t>(size);
        std::string& bytes = noFilters.emplace_back();
        AddEntry(bytes, other);
    }
    text.mBytes = {1ULL << 62, 1ULL << 62, 100, 0};
    std::string outside;
    AddEntry(outside, text);
    text.mBytes = {};
    text.mBytesSize = 1;
    std::string beyondGroup;
    AddEntry(beyondGroup, text);
    text.mBytesSize = 0;
    text.mBytes = {0, 0, 100, 0};
    std::string fromNothing;
    AddEntry(fromNothing, text);
    std::string noKind = entry;
    noKind[0] = '\x07';
    std::string longPath = entry;
    longPath.replace(10, 4, "\xFF\xFF\xFF\xFF");

    struct
    {
        char const* mWhat;
        std::string mEntries;
        bool mSized;
        std::uint32_t mCount;
        std::uint64_t mFullSize;  // 0 for the true one
        bool mBad;
    } const cases[] = {
        {"as it should be", entry, true, 1, 0, false},
        {"more entries than there are", entry, true, ~0U, 0, true},
        {"fewer entries than there are", entry + entry, true, 1, 0, true},
        {"a text outside", outside, true, 1, 0, true},
        {"a text made of nothing", fromNothing, true, 1, 0, true},
        {"a file outside its group", beyondGroup, true, 1, 0, true},
        {"no kind", noKind, true, 1, 0, true},
        {"a filter that ends outside", noFilters[0], true, 1, 0, true},
        {"a filter that is too large", noFilters[1], true, 1, 0, true},
        {"a filter of an odd size", noFilters[2], true, 1, 0, true},
        {"no filter", noFilters[3], true, 1, 0, true},
        {"a path beyond the end", longPath, true, 1, 0, true},
        {"a frame without a size", entry, false, 1, 0, true},
        {"a frame larger than told", entry, true, 1, 10, true},
        {"a frame smaller than told", entry, true, 1, 1000, true},
        {"more than memory holds", entry, true, 1, 1ULL << 62, true},
        {"a size that wraps", entry, true, 1, ~0ULL, true},
    };

    StTempDir const folder;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StoreHeader header;
        header.mEntryCount = c.mCount;
        header.mEntries.mFullSize = c.mFullSize == 0 ? c.mEntries.size() : c.mFullSize;
        std::string const bytes = StoreOf(header, FrameOf(c.mEntries, c.mSized));
        bool isBad = false;
        try {
            CStore const store(folder.Write("store", bytes));
        } catch (CBadStore const&) {
            isBad = true;
        }
        EXPECT_EQ(isBad, c.mBad);
    }
}

TEST(CStore, SaysWhatIsWrong)
{
    StTempDir const folder;
    folder.Write("letter", "a letter");
    std::string const store = IndexDocuments(folder, folder.Path("letter"));
    std::string later = ReadBytes(store);
    later[8] = 2;

    struct
    {
        char const* mWhat;
        std::string mPath;
        char const* mMessage;
    } const cases[] = {
        {"a text", folder.Path("letter"), "letter: is no store, or damaged: it ends too early"},
        {"a longer text", folder.Write("long", std::string(1000, 'a')), "it doesn't begin as one"},
        {"a later version", folder.Write("later", later), "it has version 2, and only 1 is known"},
        {"nothing there", folder.Path("gone"), "gone: isn't there"},
        {"a folder", folder.Path(), "is no store"},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        RunResult const result = RunLoamctl({"search", "a", "--in", c.mPath});
        EXPECT_EQ(result.mExitCode, 2);
        EXPECT_EQ(result.mOutput, "");
        EXPECT_THAT(result.mError, HasSubstr(c.mMessage));
    }
    EXPECT_EQ(RunLoamctl({"search", "a", folder.Path(), "--in", store}).mExitCode, 2);
}

TEST(TextFilter, NeverDeniesWhatIsThere)
{
    std::string text;
    for (int i = 0; i < 20000; ++i)
        text += static_cast<char>(i * 7919 % 251);
    for (std::size_t const size : {0UL, 1UL, 2UL, 3UL, 100UL, 5000UL, 20000UL}) {
        std::string_view const part = std::string_view(text).substr(0, size);
        std::string const filter = FilterOf(part);
        int denied = 0;
        for (std::size_t at = 0; at < part.size(); ++at) {
            for (std::size_t count = 0; count < 9 && at + count <= part.size(); ++count) {
                if (!FilterAllows(filter, part.substr(at, count))) ++denied;
            }
        }
        EXPECT_EQ(denied, 0) << size;
    }
    std::string const filter = FilterOf("we saw the harbour in the morning");
    EXPECT_FALSE(FilterAllows(filter, "garden"));
    EXPECT_FALSE(FilterAllows(filter, "z"));
    EXPECT_TRUE(FilterAllows(filter, ""));
    EXPECT_EQ(FilterOf(std::string(1000000, 'a')).size(), kLargestFilter);
}

TEST(StoreFormat, StepsAreReadAsTheyWereWritten)
{
    std::string bytes;
    CByteWriter writer(bytes);
    std::vector<std::uint32_t> const steps{0, 1, 127, 128, 16383, 16384, 1U << 28, ~0U};
    for (std::uint32_t const step : steps)
        writer.AddStep(step);
    EXPECT_EQ(bytes.size(), 1U + 1 + 1 + 2 + 2 + 3 + 5 + 5);
    CByteReader reader(bytes);
    std::vector<std::uint32_t> taken;
    while (!reader.IsAtEnd())
        taken.push_back(reader.TakeStep());
    EXPECT_EQ(taken, steps);
    for (std::string const bad : {"", "\x80", "\xFF\xFF\xFF\xFF\x10", "\xFF\xFF\xFF\xFF\xFF\x01"})
        EXPECT_THROW(CByteReader(bad).TakeStep(), CBadStore);
}

TEST(StoreFormat, TheChecksumIsThePublishedOne)
{
    // The check value of CRC-32/ISO-HDLC, and the empty one.
    EXPECT_EQ(ChecksumOf("123456789"), 0xCBF43926U);
    EXPECT_EQ(ChecksumOf(""), 0U);
    std::string const text = "a text long enough for the fast loop and what is left of it";
    std::uint32_t sum = ~0U;
    for (char const c : text) {
        sum ^= static_cast<unsigned char>(c);
        for (int bit = 0; bit < 8; ++bit)
            sum = sum >> 1 ^ ((sum & 1) != 0 ? 0xEDB88320U : 0U);
    }
    EXPECT_EQ(ChecksumOf(text), ~sum);
}

}  // namespace
