#include "system/CLogFile.h"

#include "concurrency/StMutexLocker.h"
#include "files/CFile.h"
#include "files/CFileSpec.h"
#include "foundation/FailureDomains.h"
#include "foundation/StNotCancelled.h"
#include "marl/HierarchicalException.h"
#include "system/CDateTimeServices.h"
#include "text/CUTFConverter.h"

#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr char const* kTailOnTheLine = ": ";
constexpr char const* kTailOnALineOfItsOwn = "\n";

// Now, as a stamp shows it.
struct Now
{
    tm mLocal{};
    long long mMicroSeconds = 0;  // of the epoch; 0 in the form with seconds
    long mZone = 0;               // in seconds, each form with the sign of its own source
};

Now GetNow(bool milliseconds)
{
    CDateTimeServices const* const clock = CDateTimeServices::GetDateTimeServices();
    Now now;
    long seconds = 0;
    if (milliseconds) {
        // Kept on purpose: this source counts the zone west of UTC, the other one east.
        clock->GetCurrentMicroSeconds(&now.mMicroSeconds, &now.mZone);
        seconds = static_cast<long>(now.mMicroSeconds / 1000000);
    } else {
        clock->GetCurrentTime(&seconds, &now.mZone);
    }
    clock->ConvertToTMLocal(seconds, now.mLocal);
    return now;
}

// True if `now` differs from `last` in the field that the granularity looks at, or in a greater
// one.
bool HasMovedOn(tm const& now, tm const& last, CLogFile::Granularity granularity)
{
    if (granularity == CLogFile::kGranularityEveryCall) return true;
    if (granularity < CLogFile::kGranularityEveryCall || granularity > CLogFile::kGranularityHour)
        return false;

    bool differs = now.tm_hour != last.tm_hour || now.tm_mday != last.tm_mday ||
                   now.tm_mon != last.tm_mon || now.tm_year != last.tm_year;
    if (granularity == CLogFile::kGranularityTenMinutes)
        differs |= now.tm_min / 10 != last.tm_min / 10;
    if (granularity <= CLogFile::kGranularityMinute) differs |= now.tm_min != last.tm_min;
    if (granularity == CLogFile::kGranularityTenSeconds)
        differs |= now.tm_sec / 10 != last.tm_sec / 10;
    if (granularity == CLogFile::kGranularitySecond) differs |= now.tm_sec != last.tm_sec;
    return differs;
}

// The stamp of any moment that a clock can be moved to. Answers its length: at most 11 digits and
// sign of the year, 16 up to the seconds, 5 of the fraction, and 2 and 10 of the zone.
int PrintStamp(Now const& now, bool milliseconds, char* out, std::size_t room)
{
    tm const& local = now.mLocal;
    char fraction[8] = "";
    if (milliseconds) {
        std::snprintf(fraction, sizeof fraction, ".%03lld", now.mMicroSeconds % 1000000 / 1000);
    }
    long const zone = std::labs(now.mZone);
    // The year is added up in 64 bits.
    return std::snprintf(out, room, "%04lld/%02d/%02d, %02d:%02d:%02d%s %c%02ld%02ld",
                         local.tm_year + 1900LL, local.tm_mon + 1, local.tm_mday, local.tm_hour,
                         local.tm_min, local.tm_sec, fraction, now.mZone < 0 ? '-' : '+',
                         zone / 3600, zone % 3600 / 60);
}

// True where every field has as many digits as it is meant to have.
bool IsUsual(Now const& now)
{
    return now.mLocal.tm_year >= -1900 && now.mLocal.tm_year < 10000 - 1900 &&
           now.mMicroSeconds >= 0 && std::labs(now.mZone) < 100L * 3600;
}

char* WriteDigits(char* out, int count, long value)
{
    for (int i = count; i-- > 0; value /= 10)
        out[i] = static_cast<char>('0' + value % 10);
    return out + count;
}

// The same stamp for nearly every line there is, without the cost of a format. Answers its end.
char* WriteUsualStamp(Now const& now, bool milliseconds, char* out)
{
    tm const& local = now.mLocal;
    long const zone = std::labs(now.mZone);
    out = WriteDigits(out, 4, local.tm_year + 1900L);
    *out++ = '/';
    out = WriteDigits(out, 2, local.tm_mon + 1L);
    *out++ = '/';
    out = WriteDigits(out, 2, local.tm_mday);
    *out++ = ',';
    *out++ = ' ';
    out = WriteDigits(out, 2, local.tm_hour);
    *out++ = ':';
    out = WriteDigits(out, 2, local.tm_min);
    *out++ = ':';
    out = WriteDigits(out, 2, local.tm_sec);
    if (milliseconds) {
        *out++ = '.';
        out = WriteDigits(out, 3, now.mMicroSeconds % 1000000 / 1000);
    }
    *out++ = ' ';
    *out++ = now.mZone < 0 ? '-' : '+';
    out = WriteDigits(out, 2, zone / 3600);
    return WriteDigits(out, 2, zone % 3600 / 60);
}

// Removes a copy that isn't the log's tail, so that further tries don't leave one after another.
void Discard(CFileSpec const& copySpec)
{
    CFile(copySpec).DeleteOrTrashWithoutError();
}

// True if the copy failed before there was one. Whatever has its name by then is somebody else's.
bool IsNothingMade(HierarchicalException const& e, CFileSpec const& copySpec)
{
    bool const isNamed = !(copySpec == CFileSpec());
    return !isNamed || (e.levels[0].signature == kFileDomain && e.levels[0].context == kFileCreate);
}

// Copies the newest `maxSize` bytes of `file` to a new file beside it.
void CopyTail(CFileSpec const& file, long long size, long long maxSize, CFileSpec& copySpec)
{
    CFileSpec folder;
    // A bare name has no container: it means the folder that the process works in.
    if (!file.GetContainer(&folder)) folder = CFileSpec(std::string("."), false);
    std::u16string name;
    file.GetFileName(&name);
    try {
        // Kept on purpose: cut at exactly that byte, so that the first line is usually a broken
        // one.
        CFile(file).CopyTo(folder, name, true, false, &copySpec, size - maxSize, 0);
    } catch (HierarchicalException const& e) {
        if (!IsNothingMade(e, copySpec)) Discard(copySpec);
        throw;
    }
}

// Keeps the newest `maxSize` bytes of `file`.
void Trim(CFileSpec const& file, long long size, long long maxSize)
{
    CFileSpec copySpec;
    CopyTail(file, size, maxSize, copySpec);
    // A copy ends early without a word where a read comes up short, or where another process has
    // trimmed the log meanwhile. The log is whole, so it stays.
    if (copySpec.GetFileSize() < maxSize) return Discard(copySpec);
    CFile(copySpec).ReplaceFile(file, false);
}

// fopen has no portable way to keep the descriptor from the children of the process.
std::FILE* OpenForWriting(std::string const& path, bool isEmptied)
{
    int const flags = O_WRONLY | O_CREAT | O_CLOEXEC | (isEmptied ? O_TRUNC : O_APPEND);
    int const descriptor = open(path.c_str(), flags, 0666);
    if (descriptor == -1) return nullptr;
    std::FILE* const file = fdopen(descriptor, isEmptied ? "w" : "a");
    if (!file) close(descriptor);
    return file;
}

}  // namespace

CLogFile::CLogFile() = default;

CLogFile::~CLogFile()
{
    StNotCancelled const notCancelled;
    CloseLogFile();
}

void CLogFile::OpenLogFile(CFileSpec const& file, long long maxSize)
{
    CloseLogFile();
    std::string path;
    file.GetFullPath8bit(&path);
    if (maxSize > 0 && file.Exist()) {
        // A copy, which remembers nothing of an earlier look at the file.
        long long const size = CFileSpec(file).GetFileSize();
        if (size > maxSize) Trim(file, size, maxSize);
    }
    mFile = OpenForWriting(path, maxSize == 0);
    if (mFile) std::setvbuf(mFile, nullptr, _IOLBF, 0);
}

void CLogFile::OpenLogFile(std::string const& name, long long maxSize)
{
    std::u16string name16;
    CUTFConverter::ConvertUTF8toUTF16(name, name16, CUTFConverter::kLenientMode);
    OpenLogFile(name16, maxSize);
}

void CLogFile::OpenLogFile(std::u16string const& name, long long maxSize)
{
    OpenLogFile(CFileSpec(CFileSpec::cContainerLogs, name, false), maxSize);
}

void CLogFile::CloseLogFile()
{
    if (!mFile) return;
    std::fflush(mFile);
    std::fclose(mFile);
    mFile = nullptr;
}

void CLogFile::Log(char const* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vaLog(kNoStamp, kGranularityEveryCall, format, arguments);
    va_end(arguments);
}

void CLogFile::TimedLog(char const* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vaLog(kSecondsStamp, kGranularityEveryCall, format, arguments);
    va_end(arguments);
}

void CLogFile::TimedLog(Granularity granularity, char const* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vaLog(kSecondsStamp, granularity, format, arguments);
    va_end(arguments);
}

void CLogFile::MilliTimedLog(char const* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vaLog(kMilliSecondsStamp, kGranularityEveryCall, format, arguments);
    va_end(arguments);
}

void CLogFile::MilliTimedLog(Granularity granularity, char const* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vaLog(kMilliSecondsStamp, granularity, format, arguments);
    va_end(arguments);
}

void CLogFile::vaLog(int stampKind, Granularity granularity, char const* format, va_list arguments)
{
    StMutexLocker const lock(mMutex);
    if (!mFile) return;
    if (stampKind != kNoStamp) {
        bool const isStampOnTheLine = granularity == kGranularityEveryCall;
        char const* const tail = isStampOnTheLine ? kTailOnTheLine : kTailOnALineOfItsOwn;
        char stamp[kLongestStamp + sizeof ": "];
        // Kept on purpose: each form's stamp pushes back the next thinned one of any form.
        FormatCurrentTime(stampKind == kMilliSecondsStamp, granularity, mLastTime, tail, stamp);
        std::fputs(stamp, mFile);
    }
    std::vfprintf(mFile, format, arguments);
    std::fflush(mFile);
}

void CLogFile::FormatCurrentTime(
    bool milliseconds, Granularity granularity, tm& lastTime, char const* tail, char* out)
{
    Now const now = GetNow(milliseconds);
    if (!HasMovedOn(now.mLocal, lastTime, granularity)) {
        *out = '\0';
        return;
    }
    std::size_t const tailLength = std::strlen(tail);
    char* const end = IsUsual(now) ? WriteUsualStamp(now, milliseconds, out)
                                   : out + PrintStamp(now, milliseconds, out, kLongestStamp + 1);
    std::memcpy(end, tail, tailLength + 1);
    lastTime = now.mLocal;
}
