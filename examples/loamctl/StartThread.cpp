#include "loamctl/StartThread.h"

#include "concurrency/CThread.h"

void StartThread(std::unique_ptr<CThread> thread)
{
    thread->mImp->Start();
    static_cast<void>(thread.release());
}
