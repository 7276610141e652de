// Passphrases and passwords, from a descriptor or from the user, never from the command line, where
// everybody could read them.
#pragma once

#include <string>

struct Session;

/// With `descriptor` 0 or above, its first line, without the end. Otherwise what the user types on
/// the terminal, without echo, after "`what`: "; with `twice`, typed once more and the same. Throws
/// `CUsageError` or `CInterrupted`.
std::string ReadPassphrase(std::string const& what, int descriptor, bool twice, Session& session);
