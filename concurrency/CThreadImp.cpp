#include "concurrency/CThreadImp.h"

#include <algorithm>
#include <limits>

#include <unistd.h>

#include "foundation/FailureCategories.h"
#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"

void CThreadImp::Start()
{
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    // Once this has succeeded, the thread may have ended and this object may be gone.
    int const error = pthread_create(&mThreadID, &attributes, &RunThread, this);
    pthread_attr_destroy(&attributes);
    if (error != 0) ThrowOSThreadException(error, kThreadStart);
}

void CThreadImp::Kill()
{
    int const error = pthread_cancel(mThreadID);
    if (error != 0) ThrowOSThreadException(error, kThreadKill);
}

// Kept on purpose: a cancelled thread leaves in the middle of Run, by unwinding on some systems,
// and nothing here catches or cleans up, so that both objects stay as they are.
void* CThreadImp::RunThread(void* imp)
{
    auto* const thread = static_cast<CThreadImp*>(imp);
    void* const result = thread->Run();

    // The work is done: a cancellation that comes late must not tear the destructors below apart.
    int oldState = 0;
    pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &oldState);
    // By its own id: the field may still be being written by the thread that started this one.
    pthread_detach(pthread_self());
    delete static_cast<CBasicThreadImp*>(thread);
    return result;
}

void CThreadImp::Sleep(double seconds)
{
    constexpr double kLongest = std::numeric_limits<int>::max();
    // Written so that what is no number becomes 0.
    double const microseconds = seconds > 0 ? std::min(seconds * 1000000, kLongest) : 0;
    usleep(static_cast<useconds_t>(static_cast<int>(microseconds)));
}

void CThreadImp::ThrowOSThreadException(int error, int operation)
{
    throw HierarchicalException(kThreadDomain, ThreadCategoryOf(error), operation, error, nullptr);
}
