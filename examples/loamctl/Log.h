// `loamctl log`: adds lines to a log and shows the stamps that they got.
#pragma once

#include "loamctl/Command.h"

Command AddLog(CArguments program);
