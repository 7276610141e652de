// What is to be done about one program in the user's login items.
#pragma once

#include "desktop/LoginItemResult.h"

#include <string>

class CBasicLoginItemsPlatform;

/// Brings `list` to the wanted state for the program at `path`: listed there, to be opened hidden,
/// or with `add` false not listed. An item counts as the program's if it has the same file name,
/// wherever it is, so that a program that was moved replaces its old item; of several the last one
/// is taken and the others stay. `status` is that of the last operation on the list.
LoginItemResult
SetLoginItem(CBasicLoginItemsPlatform& list, std::u16string const& path, bool add, int& status);
