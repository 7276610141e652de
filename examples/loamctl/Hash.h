// `loamctl hash`: the SHA-1 of files.
#pragma once

#include "loamctl/Command.h"

Command AddHash(CArguments program);
