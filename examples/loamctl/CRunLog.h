// What a run did, and why it passed something over, line by line in a log file.
//
//     2024/03/05, 14:07:09 +0100: started: search
//     2024/03/05, 14:07:09 +0100: looking for cafe
//     2024/03/05, 14:07:09 +0100: read letters/fr-menu.txt (UTF-8, 396 bytes): 6 hits
//     2024/03/05, 14:07:09 +0100: skipped letters/cup.png (binary: a null byte at offset 8)
//     2024/03/05, 14:07:09 +0100: done, exit code 0
#pragma once

#include <string>
#include <string_view>

#include "system/CLogFile.h"

struct Reading;
struct TreeEntry;

struct LogOptions
{
    std::string mPath;        ///< UTF-8; empty for no log
    long long mMaxSize = -1;  ///< bytes, as `CLogFile::OpenLogFile` takes them
};

/// Any thread may use it. Once it is open, nothing goes wrong: a line that can't be written is
/// lost.
class CRunLog
{
public:
    /// Adds to the log, or cuts it to its newest bytes before. Throws `CUsageError` if that can't
    /// be done.
    explicit CRunLog(LogOptions const& options);

    bool IsOpen() const { return mOpen; }

    /// A line with a stamp. Control characters come escaped, so that a line is one line.
    void Say(std::string_view text);
    /// What came of an entry of a walk; `found` may be empty. Of folders nothing, but for errors.
    void Say(TreeEntry const& entry, Reading const& reading, std::string_view found);

private:
    CLogFile mLog;
    bool mOpen = false;
};

/// The specifier of a log that can be written, which is made where there is none. Throws
/// `CUsageError`, since a log that can't be opened stays silent.
CFileSpec LogToWrite(std::string const& path);
