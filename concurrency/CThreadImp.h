// A thread of POSIX, and the one thrower of the thread domain.
#pragma once

#include <pthread.h>

#include "concurrency/CBasicThreadImp.h"

class CThreadImp final : public CBasicThreadImp
{
public:
    explicit CThreadImp(CThread* thread)
        : CBasicThreadImp(thread)
    {
    }

    void Start() override;
    void Kill() override;

    static void Sleep(double seconds);

    /// Throws for an `errno` value; `operation` is a `ThreadOperation`.
    [[noreturn]] static void ThrowOSThreadException(int error, int operation);

private:
    static void* RunThread(void* imp);

    pthread_t mThreadID{};  // written by pthread_create in the starting thread
};
