// Keyboard input over the C library's `stdin`.
#pragma once

#include "system/CBasiCKeyboardInputImp.h"

/// The handler of `SIGALRM` during a wait. Does nothing: that there is a handler makes the signal
/// interrupt the read and not end the process.
extern "C" void getchTimeout(int signal);

class CKeyboardInputImp final : public CBasiCKeyboardInputImp
{
public:
    bool WaitInput(float seconds) override;
    bool HasTTYInputConsole() override;
};
