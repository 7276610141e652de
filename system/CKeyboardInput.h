// A key pressed on the terminal, for a host that runs in one.
//
//     if (CKeyboardInput::HasTTYInputConsole() && CKeyboardInput::WaitInput(0.1F)) Stop();
//
// The wait is a read of `stdin` that a timer signal interrupts: `SIGALRM` belongs to the call for
// its length, and only one thread may be in it. A `SIGALRM` of the host's own that comes meanwhile
// is lost.
#pragma once

#include "foundation/LoamExport.h"

#include <atomic>

class CBasiCKeyboardInputImp;

class LOAM_EXPORT CKeyboardInput
{
public:
    CKeyboardInput() = delete;

    /// Blocks until a byte can be read from `stdin`, but no longer than `seconds`. True if there is
    /// one, which the next read then delivers; false if the time is over, at the end of the input,
    /// and if the read fails or a signal of the host's own interrupts it. Any length is good: 0 and
    /// less only looks whether a byte is there, and more than 10^9 seconds are cut to that. False
    /// at once if the system has no timer left. A terminal hands over whole lines unless the host
    /// has set it otherwise.
    static bool WaitInput(float seconds);

    /// True if `stdin` is a terminal.
    static bool HasTTYInputConsole();

private:
    static std::atomic<CBasiCKeyboardInputImp*> sImp;
};
