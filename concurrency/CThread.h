// A thread object that destroys itself when its work is done.
//
//     class CIndexer : public CThread { ... void* Run() override; };
//     (new CIndexer(...))->mImp->Start();
//
// Once started, an object may be gone at any moment. Whoever wants to use a pointer to it later
// hands the constructor the place of that pointer and a mutex, and looks at it under that mutex: it
// is null, or the object lives. Whoever wants to know when it has gone hands it a semaphore.
#pragma once

#include "concurrency/CBasicThreadImp.h"
#include "foundation/LoamExport.h"

class CMutex;
class CSemaphore;

/// Base class of thread objects, which are made with `new` and, once started, deleted by nobody
/// else. One that was never started is deleted by its creator; the small object behind `mImp` is
/// then lost, and the external reference still holds the address.
class LOAM_EXPORT CThread
{
public:
    /// All three may be null, belong to the caller and outlive the thread object. `externalRef`
    /// gets the object's address here, without `mutex`, and null when it goes; `semaphore` is
    /// posted once after it has gone, and must not be aborted while the thread can end.
    CThread(CThread** externalRef, CMutex* mutex, CSemaphore* semaphore);
    CThread(CThread const&) = delete;
    CThread& operator=(CThread const&) = delete;

    // Virtual operations keep their order for ever; new ones go last.

    virtual ~CThread();
    /// The work. An exception that leaves it ends the process. On Linux a thread that is cancelled
    /// unwinds its stack like an exception: nothing in here may swallow what it doesn't know
    /// (`catch (...)` must rethrow). Nobody reads the result.
    virtual void* Run() = 0;
    /// The last act of a thread. Clears the external reference and destroys this object under the
    /// mutex, unlocks it, and then posts the semaphore. The subclass's destructor thus runs with
    /// the mutex held. A failure in here ends the process.
    virtual void DeleteAndClearExternalRef();

    /// Sleeps for a time of up to 2147 seconds; a longer one is cut to that, a negative one is
    /// none.
    static void Sleep(double seconds);
    /// Lets a pending cancellation take effect. It gives up no time: the name is older than its
    /// meaning.
    static void Yield();
    /// The calling thread: a number that no other live thread has.
    static unsigned long GetCurrentThreadRef();

private:
    CThread** mExternalRef;      // not owned, may be null; guarded by *mExternalRefMutex
    CMutex* mExternalRefMutex;   // not owned, may be null
    CSemaphore* mDoneSemaphore;  // not owned, may be null

public:
    CBasicThreadImp* mImp;  // owns this object once it is started; last, by the settled order
};
