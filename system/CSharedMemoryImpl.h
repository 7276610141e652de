// Shared memory over POSIX, and the thrower of its domain.
#pragma once

#include "system/CSharedMemory.h"
#include "system/CSharedMemoryBaseImpl.h"

#include <mutex>
#include <string>

class CSharedMemoryImpl final : public CSharedMemoryBaseImpl
{
public:
    CSharedMemoryImpl() = default;
    /// Closes the descriptor that a failure left open. A block that is still mapped stays so.
    ~CSharedMemoryImpl() override;

    void Allocate(unsigned long size) override;
    void Allocate(unsigned long size, char const* name) override;
    void OpenExisting(char const* name) override;
    /// The fields keep their values. A second call does nothing.
    void Close() override;
    void Deallocate() override;

    unsigned long GetSize() const override { return mSize; }

    void* GetAddress() const override { return mAddress; }

    char const* GetFilename() const override { return mName.c_str(); }

    /// Throws for what `errno` holds at the call. `operation` is the name of the system call that
    /// failed.
    [[noreturn]] static void ThrowException(CSharedMemoryError error, char const* operation);

private:
    void StartOver(unsigned long size, char const* name);
    void Open(int flags, CSharedMemoryError error);
    void Map(int protection, CSharedMemoryError error);
    int CloseDescriptor();

    std::string mName;
    unsigned long mSize = 0;  // bytes
    int mFileDescriptor = -1;
    void* mAddress = nullptr;
    bool mIsDescriptorOpen = false;  // mFileDescriptor keeps its number when it is closed

    static unsigned int sNameCount;  // guarded by sNameCountMutex
    static std::mutex sNameCountMutex;
};
