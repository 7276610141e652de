#include "concurrency/CBasicThreadImp.h"

#include "concurrency/CThread.h"

CBasicThreadImp::~CBasicThreadImp()
{
    mThread->DeleteAndClearExternalRef();
}

void* CBasicThreadImp::Run()
{
    return mThread->Run();
}
