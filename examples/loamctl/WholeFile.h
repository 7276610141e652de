// A file in memory, all of it.
#pragma once

#include <string>

/// The bytes of the file that a path from the command line names. Throws `CUsageError` for what is
/// no file, or is larger than `CDocument::kSizeLimit`, and what `CFile` throws.
std::string ReadWholeFile(std::string const& path);
