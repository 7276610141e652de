// The thrower of the file domain, which the implementations of specifiers, files, folders and
// iterators inherit.
#pragma once

#include <string>

/// Turns an `errno` value into an exception of `kFileDomain`. No data, no virtual operations.
class CFileExceptionHandler
{
public:
    /// With `error` 0 it returns; otherwise it throws, with `operation` (a `FileOperation`) as the
    /// context and `path` (UTF-8) as the text.
    void ThrowFileException(int error, int operation, std::string const& path) const;
    /// The same for a path in UTF-16. A path that can't be converted gives an exception with an
    /// empty text.
    void ThrowFileException(int error, int operation, std::u16string const& path) const;
};
