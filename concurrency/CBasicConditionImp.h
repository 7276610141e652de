// What a condition does.
#pragma once

#include "foundation/LoamExport.h"

class CMutex;

class LOAM_EXPORT CBasicConditionImp
{
public:
    CBasicConditionImp() = default;
    CBasicConditionImp(CBasicConditionImp const&) = delete;
    CBasicConditionImp& operator=(CBasicConditionImp const&) = delete;

    // Virtual operations keep their order for ever; new ones go last.

    /// Nobody may be waiting.
    virtual ~CBasicConditionImp() = default;
    /// Wakes one waiter.
    virtual void Signal() = 0;
    /// Gives up `mutex` at whatever depth, blocks until a signal, and takes it back at that depth.
    virtual void Wait(CMutex& mutex) = 0;
    /// The same for at most `microseconds`; false if the time ran out.
    virtual bool TimedWait(CMutex& mutex, long long microseconds) = 0;
};
