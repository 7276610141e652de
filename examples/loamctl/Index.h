// `loamctl index`: keeps the documents of a folder in a store, to be searched without them.
#pragma once

#include "loamctl/Command.h"

Command AddIndex(CArguments program);
