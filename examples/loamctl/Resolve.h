// `loamctl resolve`: where a path leads, stage by stage.
#pragma once

#include "loamctl/Command.h"

Command AddResolve(CArguments program);
