// `loamctl announce`: lets a service be found on the network, until it is interrupted.
#pragma once

#include "loamctl/Command.h"

Command AddAnnounce(CArguments program);
