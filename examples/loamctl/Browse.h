// `loamctl browse`: which services are on the network, as they come and go, until it is
// interrupted.
#pragma once

#include "loamctl/Command.h"

Command AddBrowse(CArguments program);
