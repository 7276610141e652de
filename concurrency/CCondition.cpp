#include "concurrency/CCondition.h"

#include "concurrency/CConditionImp.h"

CCondition::CCondition()
    : mImp(new CConditionImp)
{
}

CCondition::~CCondition()
{
    delete mImp;
}

void CCondition::Wait(CMutex& mutex)
{
    mImp->Wait(mutex);
}

bool CCondition::TimedWait(CMutex& mutex, long long microseconds)
{
    return mImp->TimedWait(mutex, microseconds);
}
