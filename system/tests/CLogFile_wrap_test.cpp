// Trimming where a read comes up short.
#include "system/CLogFile.h"

#include "files/CFileSpec.h"
#include "testing/StTempDir.h"

#include <algorithm>
#include <string>

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

constexpr size_t kNever = static_cast<size_t>(-1);
size_t sMostOfARead = kNever;

}  // namespace

extern "C" {

ssize_t __real_read(int descriptor, void* buffer, size_t size);
ssize_t __wrap_read(int descriptor, void* buffer, size_t size);

ssize_t __wrap_read(int descriptor, void* buffer, size_t size)
{
    return __real_read(descriptor, buffer, std::min(size, sMostOfARead));
}

}  // extern "C"

TEST(CLogFileTrim, ACopyThatEndsEarlyDoesNotTakeTheLogsPlace)
{
    std::string const old = std::string(1000, 'x') + "the newest line\n";
    StTempDir const folder;
    CFileSpec const spec(folder.Write("log.txt", old), false);
    CLogFile log;
    sMostOfARead = 100;
    log.OpenLogFile(spec, 300);
    sMostOfARead = kNever;
    log.Log("new\n");
    EXPECT_EQ(folder.Read("log.txt"), old + "new\n");
    EXPECT_FALSE(folder.Has("log 2.txt"));

    // The next try finds the reads whole.
    log.OpenLogFile(spec, 300);
    EXPECT_EQ(folder.Read("log.txt"), (old + "new\n").substr(old.size() + 4 - 300));
}
