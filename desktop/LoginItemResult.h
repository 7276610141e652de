// How a change of the user's login items went.
#pragma once

/// The numbers are the interface's and never change.
enum LoginItemResult
{
    kLoginItemUnchanged = 0,
    kLoginItemError = 1,  ///< the status tells what went wrong
    kLoginItemAdded = 2,
    kLoginItemRemoved = 3,
    kLoginItemReplaced = 4,  ///< removed, then added
};
