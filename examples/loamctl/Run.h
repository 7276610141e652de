// `loamctl run`: a program with a bounded wait, and all that it printed.
#pragma once

#include "loamctl/Command.h"

Command AddRun(CArguments program);
