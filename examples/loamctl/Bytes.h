// Bytes in and out, for commands that change one stream into another.
#pragma once

#include <string>

#include "marl/memblock.h"

struct Session;

/// All of a file, or of standard input for "-". Throws `CUsageError` or `CInterrupted`.
memblock ReadAllBytes(std::string const& path);

/// Where the result of a command goes.
struct Target
{
    std::string mPath;  ///< empty for standard output
    bool mOverwrite = false;
};

/// A new file, whole or not at all, or standard output.
void WriteBytes(memblock const& bytes, Target const& target, Session& session);
