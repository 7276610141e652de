#include "files/tests/FileTestTools.h"
#include "testing/StTempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <ostream>

using testing::ElementsAre;

namespace {

struct Line
{
    std::string mText;
    long long mUsed;
    CFile::EOLType mEOL;

    bool operator==(Line const&) const = default;

    friend std::ostream& operator<<(std::ostream& out, Line const& line)
    {
        return out << '"' << line.mText << "\" " << line.mUsed << " bytes, end " << line.mEOL;
    }
};

constexpr char kUntouched = '\x7F';

// Reads the whole file in lines of up to `size` bytes, with the call that finds its end.
std::vector<Line> LinesOf(CFile& file, long long size)
{
    std::vector<Line> lines;
    file.Open(CFile::cPrivilegeRead);
    do {
        std::vector<char> buffer(static_cast<std::size_t>(size) + 2, kUntouched);
        CFile::EOLType eol = CFile::cEOLNone;
        long long const used = file.ReadLine(buffer.data(), size, &eol);
        lines.push_back({buffer.data(), used, eol});
        EXPECT_EQ(buffer.back(), kUntouched);
    } while (lines.back().mUsed > 0);
    file.Close();
    return lines;
}

// The same by another way: from the whole text, line by line.
std::vector<Line> ExpectedLines(std::string const& text, std::size_t size)
{
    std::vector<Line> lines;
    for (std::size_t at = 0;;) {
        std::string const block = text.substr(at, size);
        std::size_t const length = std::min(block.find_first_of("\r\n"), block.size());
        std::string const end = block.substr(length, 2);
        Line line{block.substr(0, length), static_cast<long long>(length), CFile::cEOLNone};
        if (end.empty()) {
            line.mEOL = block.size() < size ? CFile::cEOLEndOfFile : CFile::cEOLNone;
        } else if (end == "\r\n") {
            line.mEOL = CFile::cEOLCRLF;
            line.mUsed += 2;
        } else {
            line.mEOL = end[0] == '\n' ? CFile::cEOLLF : CFile::cEOLCR;
            line.mUsed += 1;
        }
        lines.push_back(line);
        if (line.mUsed == 0) return lines;
        at += static_cast<std::size_t>(line.mUsed);
    }
}

}  // namespace

TEST(CFileReadLine, TellsWhatEndedTheLine)
{
    struct
    {
        char const* mWhat;
        std::string mContent;
        long long mSize;
        Line mFirst;
    } const cases[] = {
        {"LF", "ab\ncd", 80, {"ab", 3, CFile::cEOLLF}},
        {"CR", "ab\rcd", 80, {"ab", 3, CFile::cEOLCR}},
        {"CR LF", "ab\r\ncd", 80, {"ab", 4, CFile::cEOLCRLF}},
        {"LF CR is two lines", "ab\n\rcd", 80, {"ab", 3, CFile::cEOLLF}},
        {"CR CR LF", "ab\r\r\ncd", 80, {"ab", 3, CFile::cEOLCR}},
        {"empty line", "\nab", 80, {"", 1, CFile::cEOLLF}},
        {"no end", "abcd", 80, {"abcd", 4, CFile::cEOLEndOfFile}},
        {"CR at the end of the file", "ab\r", 80, {"ab", 3, CFile::cEOLCR}},
        {"nothing", "", 80, {"", 0, CFile::cEOLEndOfFile}},
        {"full buffer", "abcdef", 4, {"abcd", 4, CFile::cEOLNone}},
        {"just full at the end of the file", "abcd", 4, {"abcd", 4, CFile::cEOLNone}},
        {"end just inside", "abc\n", 4, {"abc", 4, CFile::cEOLLF}},
        {"end just outside", "abcd\n", 4, {"abcd", 4, CFile::cEOLNone}},
        {"CR LF just inside", "ab\r\ncd", 4, {"ab", 4, CFile::cEOLCRLF}},
        {"CR LF across the cut", "abc\r\nd", 4, {"abc", 4, CFile::cEOLCR}},
        {"no room", "ab\n", 0, {"", 0, CFile::cEOLNone}},
    };

    StTempDir const folder;
    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        CFile file(Spec(folder.Write("file", c.mContent)));
        EXPECT_EQ(LinesOf(file, c.mSize)[0], c.mFirst);
    }
}

TEST(CFileReadLine, GoesOnBehindTheLine)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "abcdef")));
    EXPECT_THAT(LinesOf(file, 4),
                ElementsAre(Line{"abcd", 4, CFile::cEOLNone}, Line{"ef", 2, CFile::cEOLEndOfFile},
                            Line{"", 0, CFile::cEOLEndOfFile}));
}

TEST(CFileReadLine, GivesTheLFOfACutCRLFAsAnEmptyLine)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "abc\r\nd")));
    EXPECT_THAT(LinesOf(file, 4),
                ElementsAre(Line{"abc", 4, CFile::cEOLCR}, Line{"", 1, CFile::cEOLLF},
                            Line{"d", 1, CFile::cEOLEndOfFile}, Line{"", 0, CFile::cEOLEndOfFile}));
}

TEST(CFileReadLine, ReadsTheSameLinesAtEveryCut)
{
    StTempDir const folder;
    for (std::string const text : {"a\nbc\r\ndef\rg\r\r\n\n\n\rhijkl\r\nm", "\r\n\r\n\r\n", "\r",
                                   "no end at all", "\n\r\n"}) {
        CFile file(Spec(folder.Write("file", text)));
        for (std::size_t size = 1; size <= text.size() + 2; ++size) {
            SCOPED_TRACE(testing::Message() << '"' << text << "\", size " << size);
            EXPECT_EQ(LinesOf(file, static_cast<long long>(size)), ExpectedLines(text, size));
        }
    }
}

TEST(CFileReadLine, KeepsWritingBehindAFullBuffer)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "abcdef")));
    file.Open(CFile::cPrivilegeRead);
    char buffer[6];
    std::fill(std::begin(buffer), std::end(buffer), kUntouched);
    file.ReadLine(buffer, 4, nullptr);
    EXPECT_EQ(std::string(buffer, 6), std::string("abcd\0\x7F", 6));
}

TEST(CFileReadLine, TakesZeroBytesAsText)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", std::string("a\0b\nc", 5))));
    file.Open(CFile::cPrivilegeRead);
    char buffer[9];
    EXPECT_EQ(file.ReadLine(buffer, 8, nullptr), 4);
    EXPECT_EQ(std::string(buffer, 4), std::string("a\0b\0", 4));
    EXPECT_EQ(file.GetCursorPos(), 4);
}
