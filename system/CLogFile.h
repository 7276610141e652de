// A text log for a host, with stamped lines, trimmed when it is opened.
//
//     CLogFile log;
//     log.OpenLogFile(std::string("indexer.log"), 1000000);
//     log.TimedLog("%d documents\n", count);
//
// Logging never fails and never reports: a log that couldn't be opened stays silent, and a line
// that can't be written is lost. Every line reaches the system before the call returns. Formats are
// those of printf, and the text brings its own line end.
//
// In the form with seconds the zone of a stamp is told as usual, east positive; in the form with
// milliseconds it has the opposite sign and leaves daylight saving out. Hosts' readers know this.
#pragma once

#include "concurrency/CMutex.h"
#include "foundation/LoamExport.h"

#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <string>

class CFileSpec;

/// Any number of threads may log at a time, and their lines don't mix. Opening and closing must not
/// run beside logging. No virtual operations.
class LOAM_EXPORT CLogFile
{
public:
    /// How far the clock must have moved since the last stamp, of whatever form, for another to be
    /// written. Any other value never writes one.
    enum Granularity
    {
        kGranularityEveryCall = 0,
        kGranularitySecond = 1,
        kGranularityTenSeconds = 2,
        kGranularityMinute = 3,
        kGranularityTenMinutes = 4,
        kGranularityHour = 5,
    };

    /// `stampKind` of `vaLog`. Any other value means seconds.
    enum StampKind
    {
        kNoStamp = 0,
        kSecondsStamp = 1,
        kMilliSecondsStamp = 2
    };

    /// No stamp is longer than this, in bytes, without its tail and the closing 0.
    static constexpr int kLongestStamp = 47;

    /// Closed.
    CLogFile();
    CLogFile(CLogFile const&) = delete;
    CLogFile& operator=(CLogFile const&) = delete;
    ~CLogFile();

    /// Closes what was open and opens `file`, with `maxSize` in bytes: 0 starts an empty log, a
    /// negative size leaves whatever there is, and with a positive one a file that is larger is cut
    /// to its newest `maxSize` bytes, at exactly that byte, before it is added to. A log isn't
    /// trimmed while it is open. Trimming copies and then replaces by a rename: if the process dies
    /// at any moment the log is whole, old or trimmed, under its own name, and the copy may be left
    /// beside it. The trimmed log is a new file with the mode of one, also in the place of a link.
    /// A failure of the trimming throws as told at `CFile::CopyTo` and `CFile::ReplaceFile` and
    /// leaves this object closed. One of the copying leaves the log as it was and no part of a
    /// copy. A copy that came out shorter than `maxSize` isn't used: the log then stays untrimmed,
    /// without a word, until it is opened again.
    void OpenLogFile(CFileSpec const& file, long long maxSize);
    /// The same for a file of that name in the user's logs folder. The 8-bit name is UTF-8.
    void OpenLogFile(std::string const& name, long long maxSize);
    void OpenLogFile(std::u16string const& name, long long maxSize);
    void CloseLogFile();

    /// The text alone.
    void Log(char const* format, ...) __attribute__((format(printf, 2, 3)));
    /// "2024/03/05, 14:07:09 +0100: " and the text.
    void TimedLog(char const* format, ...) __attribute__((format(printf, 2, 3)));
    /// A stamp where one is due, on a line of its own unless `granularity` is
    /// `kGranularityEveryCall`, and the text.
    void TimedLog(Granularity granularity, char const* format, ...)
        __attribute__((format(printf, 3, 4)));
    /// "2024/03/05, 14:07:09.250 -0100: " and the text.
    void MilliTimedLog(char const* format, ...) __attribute__((format(printf, 2, 3)));
    void MilliTimedLog(Granularity granularity, char const* format, ...)
        __attribute__((format(printf, 3, 4)));
    /// The general form. `granularity` means nothing without a stamp.
    void vaLog(int stampKind, Granularity granularity, char const* format, va_list arguments)
        __attribute__((format(printf, 4, 0)));

    /// Writes a stamp of now and `tail` into `out` and sets `lastTime` to now, local, if the clock
    /// has moved on from `lastTime` by `granularity`; otherwise `out` gets an empty string. `out`
    /// has room for `kLongestStamp` bytes, the tail and a closing 0.
    static void FormatCurrentTime(
        bool milliseconds, Granularity granularity, tm& lastTime, char const* tail, char* out);

private:
    void
    LogStamped(bool milliseconds, Granularity granularity, char const* format, va_list arguments)
        __attribute__((format(printf, 4, 0)));

    std::FILE* mFile = nullptr;  // owned, null while closed; guarded by mMutex
    CMutex mMutex{true};
    tm mLastTime{};  // of the last stamp; guarded by mMutex
};
