// The thrower of the thread domain.
#pragma once

class CThreadImp
{
public:
    /// Throws for an `errno` value; `operation` is a `ThreadOperation`.
    [[noreturn]] static void ThrowOSThreadException(int error, int operation);
};
