// `loamctl spec`: what a file specifier knows.
#pragma once

#include "loamctl/Command.h"

Command AddSpec(CArguments program);
