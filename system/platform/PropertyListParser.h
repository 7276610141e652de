// The system's own reader of property lists.
#pragma once

#include "system/CPropertyList.h"

#include <optional>
#include <string_view>

/// Reads `bytes`, which are within the limits already. Nothing if they are not a list or hold a
/// value of a type that `CPropertyList` hasn't, or a string that isn't UTF-8. Any thread may call.
std::optional<CPropertyList> ParsePropertyList(std::string_view bytes);
