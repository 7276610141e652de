// `loamctl base64`: bytes as text, and back.
#pragma once

#include "loamctl/Command.h"

Command AddBase64(CArguments program);
