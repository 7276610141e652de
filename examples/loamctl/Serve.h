// The command that answers questions about the documents of a folder over TCP.
#pragma once

#include "loamctl/Command.h"

Command AddServe(CArguments program);
