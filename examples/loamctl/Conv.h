// `loamctl conv`: text from one charset to another.
#pragma once

#include "loamctl/Command.h"

Command AddConv(CArguments program);
