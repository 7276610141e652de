// `loamctl words`: the words of documents as an index would take them in.
#pragma once

#include "loamctl/Command.h"

Command AddWords(CArguments program);
