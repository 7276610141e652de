// What keyboard input does. `CKeyboardInput` tells the contract of each operation.
#pragma once

class CBasiCKeyboardInputImp
{
public:
    CBasiCKeyboardInputImp() = default;
    CBasiCKeyboardInputImp(CBasiCKeyboardInputImp const&) = delete;
    CBasiCKeyboardInputImp& operator=(CBasiCKeyboardInputImp const&) = delete;
    virtual ~CBasiCKeyboardInputImp() = default;

    // Virtual operations keep their order for ever; new ones go last.

    virtual bool WaitInput(float seconds) = 0;
    virtual bool HasTTYInputConsole() = 0;
};
