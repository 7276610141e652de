// What runs a thread object.
#pragma once

#include "foundation/LoamExport.h"

class CThread;

/// Owns the thread object that it runs: its destructor destroys that object, not the other way
/// round.
class LOAM_EXPORT CBasicThreadImp
{
public:
    explicit CBasicThreadImp(CThread* thread)
        : mThread(thread)
    {
    }

    CBasicThreadImp(CBasicThreadImp const&) = delete;
    CBasicThreadImp& operator=(CBasicThreadImp const&) = delete;
    virtual ~CBasicThreadImp();

    // Virtual operations keep their order for ever; new ones go last.

    /// Starts the thread, once. From then on the thread object may be gone at any moment. If it
    /// throws (`kThreadDomain`, operation `kThreadStart`), the object is still its creator's.
    virtual void Start() = 0;
    /// Asks the running thread to end at its next cancellation point (`CThread::Yield`, a sleep, a
    /// blocking call of the system). A last resort: the external reference isn't cleared, the
    /// semaphore isn't posted and both objects stay allocated. On macOS nothing is unwound: locks
    /// that the thread holds, or takes back on its way out of a wait, stay held. Without effect if
    /// `Run` returns before it gets to such a point. On Linux a point in a destructor or another
    /// function that may not throw ends the process; files, shared memory, logs and connections of
    /// the library go without one. To be called only while `Run` is known not to have returned;
    /// after that it may end the process, also under the mutex of the external reference. Throws
    /// with operation `kThreadKill`.
    virtual void Kill() = 0;
    /// The thread's body: `CThread::Run`.
    virtual void* Run();

protected:
    CThread* mThread;  // owned, by way of DeleteAndClearExternalRef
};
