// `loamctl ps-load`: how busy the processors are, as bars on a terminal that change in their places
// or as a line a sample, until it is interrupted or has told often enough.
#pragma once

#include "loamctl/Command.h"

Command AddPsLoad(CArguments program);
