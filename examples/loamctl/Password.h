// `loamctl password`: passwords in the user's own store.
#pragma once

#include "loamctl/Command.h"

Command AddPassword(CArguments program);
