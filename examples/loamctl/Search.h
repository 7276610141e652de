// `loamctl search`: its part of the command line.
#pragma once

#include "loamctl/Command.h"

Command AddSearch(CArguments program);
