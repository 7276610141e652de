// `loamctl train`: a dictionary for small documents that are alike.
#pragma once

#include "loamctl/Command.h"

Command AddTrain(CArguments program);
