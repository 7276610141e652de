// `loamctl words`: the words of a document as an index would take them in.
#pragma once

#include "loamctl/Command.h"

Command AddWords(CLI::App& app);
