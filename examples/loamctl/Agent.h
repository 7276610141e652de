// `loamctl agent`: programs that the desktop starts at log-in, or with the machine.
#pragma once

#include "loamctl/Command.h"

Command AddAgent(CArguments program);
