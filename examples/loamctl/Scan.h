// `loamctl scan`: what is in a folder, and what of it can be read.
#pragma once

#include "loamctl/Command.h"

Command AddScan(CArguments program);
