// `loamctl pack` and `loamctl unpack`: files as zstd and bzip2 streams, and back.
#pragma once

#include "loamctl/Command.h"

Command AddPack(CArguments program);
Command AddUnpack(CArguments program);
