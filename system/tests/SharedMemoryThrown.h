// What a call throws, as a text that tests compare and that goes from one process to another.
#pragma once

#include "foundation/FailureDomains.h"
#include "marl/HierarchicalException.h"

#include <string>

/// "<text>: category <c>, context <k>, error <errno>", or "none".
template <class Call>
std::string ThrownBy(Call const& call)
{
    try {
        call();
    } catch (HierarchicalException const& e) {
        auto const& level = e.levels.at(0);
        if (level.signature != kSharedMemoryDomain || e.levels.size() != 1)
            return "of another kind";
        return level.text + ": category " + std::to_string(level.category) + ", context " +
               std::to_string(level.context) + ", error " + std::to_string(level.osError);
    }
    return "none";
}

/// The same text, put together.
inline std::string Thrown(char const* call, int category, int context, int error)
{
    return std::string(call) + ": category " + std::to_string(category) + ", context " +
           std::to_string(context) + ", error " + std::to_string(error);
}
