// What the library's exceptions carry: the domains, their categories and the codes of what was
// being done.
//
// A host catches `HierarchicalException` by reference, compares `levels[0].signature` and then
// `levels[0].category`, acts on the pair that it knows and lets all else go on:
//
//     if (e.levels[0].signature == kFileDomain && e.levels[0].category == kFileNotFound) ...
//
// A category means something only within its domain. 100 is the rest of every domain that maps
// platform errors. `osError` is the running platform's own number, for logs only.
#pragma once

/// `levels[0].signature`.
enum FailureDomain : unsigned int
{
    kFileDomain = 0x66696C65,           ///< `file`: files and folders; `text` is the path in UTF-8
    kNetConnectionDomain = 0x4E657443,  ///< `NetC`: network connections
    kThreadDomain = 0x74687265,         ///< `thre`: threads and their synchronisation
    kSharedMemoryDomain =
        0x53684D6D,               ///< `ShMm`: shared memory; `text` is the system call that failed
    kCharsetDomain = 0x63686376,  ///< `chcv`: character-set conversion
    kCryptoDomain = 0x63727970,   ///< `cryp`: encryption and random keys
};

/// The category of every platform error that has no category of its own, in all domains.
constexpr int kOtherFailure = 100;

/// Categories of `kFileDomain`. There is no 4.
enum FileCategory
{
    kFileNameTooLong = 1,
    kFileNotFound = 2,
    kFileNotAFolder = 3,
    kFileAccessDenied = 5,  ///< also read-only volumes, and a file that another writer holds
    kFileExists = 6,
    kFileNotPermitted = 7,
};

/// Contexts of `kFileDomain`.
enum FileOperation
{
    kFileCreate = 1,
    kFileOpen = 2,
    kFileClose = 3,
    kFileDelete = 4,
    kFileStat = 5,
    kFileGetCursor = 6,
    kFileSetCursor = 7,
    kFileRead = 8,
    kFileWrite = 9,
    kFileMove = 10,
    kFileMakeAlias = 12,
    kFileSetEnd = 13,
    kFileDiskSpace = 16,
    kFileIterate = 17,
};

/// Categories of `kNetConnectionDomain`.
enum NetCategory
{
    kNetTimedOut = 1,
    kNetNotPermitted = 2,
    kNetInterrupted = 4,
    kNetRefused = 5,
    kNetAborted = 7,  ///< also a listening socket that was shut down
    kNetUnreachable = 8,
    kNetBrokenPipe = 9,
    kNetResolver = 10,  ///< `osError` is the resolver's result plus 1000
    kNetResolverSpecial = 11,
};

/// Contexts of `kNetConnectionDomain`.
enum NetOperation
{
    kNetResolve = 2,
    kNetConnect = 3,
    kNetDisconnect = 4,
    kNetSend = 5,
    kNetReceive = 6,
    kNetWaitClient = 7,
};

/// Categories of `kThreadDomain`.
enum ThreadCategory
{
    kThreadNoMemory = 3,
    kThreadAborted = 4,  ///< the semaphore that was waited for has been aborted
};

/// Contexts of `kThreadDomain`.
enum ThreadOperation
{
    kThreadStart = 1,
    kThreadKill = 4,
    kMutexInitOrDestroy = 5,
    kMutexLock = 7,
    kMutexUnlock = 8,
    kConditionInit = 9,
    kConditionDestroy = 10,
    kConditionSignal = 11,
    kConditionWait = 12,
    kSemaphoreWait = 13,
    kSemaphorePost = 14,
};

/// Categories of `kSharedMemoryDomain`.
enum SharedMemoryCategory
{
    kSharedMemoryAccessDenied = 1,
    kSharedMemoryExists = 2,
    kSharedMemoryTooManyFiles = 3,
    kSharedMemoryNameTooLong = 4,
    kSharedMemoryNotFound = 5,
    kSharedMemoryNoSpace = 6,
    kSharedMemoryInputOutput = 7,
};

/// Categories of `kCharsetDomain`; `osError` is 0.
enum CharsetCategory
{
    kCharsetBufferTooSmall = 1,
    kCharsetNotSupported = 99,
};

/// Contexts of `kCharsetDomain`.
enum CharsetOperation
{
    kCharsetFromUnicode = 1,
    kCharsetToUnicode = 2,
};

/// Contexts of `kCryptoDomain`, whose category is always `kOtherFailure`.
enum CryptoOperation
{
    kCryptoAESInit = 1,
    kCryptoBlowFishInit = 2,
    kCryptoUpdate = 3,
    kCryptoRandomKey = 5,
};
