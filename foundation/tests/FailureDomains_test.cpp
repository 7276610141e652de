#include "foundation/FailureDomains.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// Four characters as a number, the first in the most significant byte.
unsigned int Packed(std::string const& text)
{
    unsigned int number = 0;
    for (char const unit : text)
        number = number << 8 | static_cast<unsigned char>(unit);
    return number;
}

}  // namespace

TEST(FailureDomains, AreFourCharacters)
{
    EXPECT_EQ(kFileDomain, Packed("file"));
    EXPECT_EQ(kNetConnectionDomain, Packed("NetC"));
    EXPECT_EQ(kThreadDomain, Packed("thre"));
    EXPECT_EQ(kSharedMemoryDomain, Packed("ShMm"));
    EXPECT_EQ(kCharsetDomain, Packed("chcv"));
    EXPECT_EQ(kCryptoDomain, Packed("cryp"));
}

TEST(FailureDomains, NameTheCodesThatHostsCompare)
{
    struct
    {
        char const* mWhat;
        int mCode;
        int mExpected;
    } const cases[] = {
        {"file: name too long", kFileNameTooLong, 1},
        {"file: not found", kFileNotFound, 2},
        {"file: not a folder", kFileNotAFolder, 3},
        {"file: access denied", kFileAccessDenied, 5},
        {"file: exists", kFileExists, 6},
        {"file: not permitted", kFileNotPermitted, 7},
        {"all: the rest", kOtherFailure, 100},
        {"file operation: create", kFileCreate, 1},
        {"file operation: open", kFileOpen, 2},
        {"file operation: close", kFileClose, 3},
        {"file operation: delete", kFileDelete, 4},
        {"file operation: stat", kFileStat, 5},
        {"file operation: get cursor", kFileGetCursor, 6},
        {"file operation: set cursor", kFileSetCursor, 7},
        {"file operation: read", kFileRead, 8},
        {"file operation: write", kFileWrite, 9},
        {"file operation: move", kFileMove, 10},
        {"file operation: make alias", kFileMakeAlias, 12},
        {"file operation: set end", kFileSetEnd, 13},
        {"file operation: disk space", kFileDiskSpace, 16},
        {"file operation: iterate", kFileIterate, 17},
        {"net: timed out", kNetTimedOut, 1},
        {"net: not permitted", kNetNotPermitted, 2},
        {"net: interrupted", kNetInterrupted, 4},
        {"net: refused", kNetRefused, 5},
        {"net: aborted", kNetAborted, 7},
        {"net: unreachable", kNetUnreachable, 8},
        {"net: broken pipe", kNetBrokenPipe, 9},
        {"net: resolver", kNetResolver, 10},
        {"net: resolver, special", kNetResolverSpecial, 11},
        {"net operation: resolve", kNetResolve, 2},
        {"net operation: connect", kNetConnect, 3},
        {"net operation: disconnect", kNetDisconnect, 4},
        {"net operation: send", kNetSend, 5},
        {"net operation: receive", kNetReceive, 6},
        {"net operation: wait for client", kNetWaitClient, 7},
        {"thread: no memory", kThreadNoMemory, 3},
        {"thread: aborted", kThreadAborted, 4},
        {"thread operation: start", kThreadStart, 1},
        {"thread operation: kill", kThreadKill, 4},
        {"thread operation: mutex made or destroyed", kMutexInitOrDestroy, 5},
        {"thread operation: mutex lock", kMutexLock, 7},
        {"thread operation: mutex unlock", kMutexUnlock, 8},
        {"thread operation: condition made", kConditionInit, 9},
        {"thread operation: condition destroyed", kConditionDestroy, 10},
        {"thread operation: condition signal", kConditionSignal, 11},
        {"thread operation: condition wait", kConditionWait, 12},
        {"thread operation: semaphore wait", kSemaphoreWait, 13},
        {"thread operation: semaphore post", kSemaphorePost, 14},
        {"charset: buffer too small", kCharsetBufferTooSmall, 1},
        {"charset: not supported", kCharsetNotSupported, 99},
        {"charset operation: from Unicode", kCharsetFromUnicode, 1},
        {"charset operation: to Unicode", kCharsetToUnicode, 2},
        {"crypto operation: AES", kCryptoAESInit, 1},
        {"crypto operation: Blowfish", kCryptoBlowFishInit, 2},
        {"crypto operation: update", kCryptoUpdate, 3},
        {"crypto operation: random key", kCryptoRandomKey, 5},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(c.mCode, c.mExpected);
    }
}
