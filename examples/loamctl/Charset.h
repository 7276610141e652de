// `loamctl charset`: which charset files are in, and why.
#pragma once

#include "loamctl/Command.h"

Command AddCharset(CArguments program);
