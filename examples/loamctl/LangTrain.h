// `loamctl lang-train`: makes a language profile from texts.
#pragma once

#include "loamctl/Command.h"

Command AddLangTrain(CArguments program);
