#include "concurrency/CThread.h"

#include <pthread.h>

#include "concurrency/CMutex.h"
#include "concurrency/CSemaphore.h"
#include "concurrency/CThreadImp.h"

CThread::CThread(CThread** externalRef, CMutex* mutex, CSemaphore* semaphore)
    : mExternalRef(externalRef)
    , mExternalRefMutex(mutex)
    , mDoneSemaphore(semaphore)
    , mImp(new CThreadImp(this))
{
    if (mExternalRef) *mExternalRef = this;
}

// Kept on purpose: it does not touch mImp, which is what calls it, nor the external reference, also
// if the thread was never started.
CThread::~CThread() = default;

void CThread::DeleteAndClearExternalRef()
{
    // The object is about to go, and what comes after needs these two.
    CMutex* const mutex = mExternalRefMutex;
    CSemaphore* const semaphore = mDoneSemaphore;

    // No guard: the post comes after the unlock, and a failure of either ends the process anyway.
    if (mutex) mutex->Lock();
    if (mExternalRef) *mExternalRef = nullptr;
    delete this;
    if (mutex) mutex->Unlock();
    if (semaphore) semaphore->Post();
}

void CThread::Sleep(double seconds)
{
    CThreadImp::Sleep(seconds);
}

void CThread::Yield()
{
    pthread_testcancel();
}

unsigned long CThread::GetCurrentThreadRef()
{
    // An integer on one system, a pointer on another.
    return reinterpret_cast<unsigned long>(pthread_self());
}
