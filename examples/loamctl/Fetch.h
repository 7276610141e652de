// The command that asks what another loamctl serves.
#pragma once

#include "loamctl/Command.h"

Command AddFetch(CArguments program);
