// `loamctl vol`: the volumes, what they are and what room there is.
#pragma once

#include "loamctl/Command.h"

Command AddVol(CArguments program);
