#include "system/CKeyboardInput.h"

#include "foundation/FirstUse.h"
#include "system/CKeyboardInputImp.h"

std::atomic<CBasiCKeyboardInputImp*> CKeyboardInput::sImp{nullptr};

namespace {

std::unique_ptr<CBasiCKeyboardInputImp> NewImp()
{
    return std::make_unique<CKeyboardInputImp>();
}

}  // namespace

bool CKeyboardInput::WaitInput(float seconds)
{
    return GetOrMake(sImp, NewImp)->WaitInput(seconds);
}

bool CKeyboardInput::HasTTYInputConsole()
{
    return GetOrMake(sImp, NewImp)->HasTTYInputConsole();
}
