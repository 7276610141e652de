#include "system/CSharedMemory.h"

#include "foundation/StNotCancelled.h"
#include "system/CSharedMemoryImpl.h"

CSharedMemory::CSharedMemory()
    : mImpl(new CSharedMemoryImpl)
{
}

CSharedMemory::~CSharedMemory()
{
    StNotCancelled const notCancelled;
    try {
        Close();
    } catch (...) {
        // Kept on purpose: what couldn't be closed isn't thrown away either.
        return;
    }
    delete mImpl;
}

void CSharedMemory::Allocate(unsigned long size, bool deallocateOnClose)
{
    mDeallocateOnClose = deallocateOnClose;
    mImpl->Allocate(size);
    mIsOpen = true;
    mNameExists = true;
}

void CSharedMemory::Allocate(unsigned long size, char const* name, bool deallocateOnClose)
{
    mDeallocateOnClose = deallocateOnClose;
    mImpl->Allocate(size, name);
    mIsOpen = true;
    mNameExists = true;
}

void CSharedMemory::OpenExisting(char const* name, bool deallocateOnClose)
{
    mDeallocateOnClose = deallocateOnClose;
    mImpl->OpenExisting(name);
    mIsOpen = true;
    mNameExists = true;
}

void CSharedMemory::Close()
{
    if (!mIsOpen) return;
    mImpl->Close();
    if (mDeallocateOnClose && mNameExists) {
        mImpl->Deallocate();
        mNameExists = false;
    }
    mIsOpen = false;
}

void CSharedMemory::Deallocate()
{
    mImpl->Deallocate();
    mNameExists = false;
}

unsigned long CSharedMemory::GetSize() const
{
    return mImpl->GetSize();
}

void* CSharedMemory::GetAddress() const
{
    return mImpl->GetAddress();
}

char const* CSharedMemory::GetFilename() const
{
    return mImpl->GetFilename();
}
