// Writing to a descriptor that others may hold too.
#pragma once

#include <string_view>

/// Writes all of `text`, which ends with a line where it matters. Answers 0, or the `errno` value
/// that stopped it; EINTR if the work has been told to stop meanwhile. In that case nothing behind
/// the end of a line has been written, but for lines longer than a pipe takes at once (PIPE_BUF,
/// 4096 bytes on Linux).
int WriteAll(int descriptor, std::string_view text);
