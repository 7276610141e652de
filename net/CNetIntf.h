// The thrower of the network domain.
#pragma once

class CNetIntf
{
public:
    /// Always throws, also for `error` 0. `error` is an `errno` value, or a resolver's result plus
    /// 1000; `operation` is a `NetOperation`.
    [[noreturn]] static void ThrowNetConnectionException(int error, int operation);
};
