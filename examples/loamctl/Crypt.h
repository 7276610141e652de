// `loamctl crypt`: encryption by passphrase, for data that is kept in these forms already.
#pragma once

#include "loamctl/Command.h"

Command AddCrypt(CArguments program);
