// `loamctl lang`: the language of each document.
#pragma once

#include "loamctl/Command.h"

Command AddLang(CArguments program);
