// What a block of shared memory does. `CSharedMemory` tells the contract of each operation.
#pragma once

class CSharedMemoryBaseImpl
{
public:
    CSharedMemoryBaseImpl() = default;
    CSharedMemoryBaseImpl(CSharedMemoryBaseImpl const&) = delete;
    CSharedMemoryBaseImpl& operator=(CSharedMemoryBaseImpl const&) = delete;
    virtual ~CSharedMemoryBaseImpl() = default;

    // Virtual operations keep their order for ever; new ones go last.

    virtual void Allocate(unsigned long size) = 0;
    virtual void Allocate(unsigned long size, char const* name) = 0;
    virtual void OpenExisting(char const* name) = 0;
    virtual void Close() = 0;
    virtual void Deallocate() = 0;
    virtual unsigned long GetSize() const = 0;
    virtual void* GetAddress() const = 0;
    virtual char const* GetFilename() const = 0;
};
