// Locales made for a test, whatever the machine has installed.
#pragma once

#include "testing/StTempDir.h"

#include <functional>
#include <string>

/// A locale made by `localedef` in a folder of its own, for a child process to run in: the locale
/// belongs to the whole process, and the C library loses memory whenever it looks for one in a
/// folder that isn't its own.
class StLocale
{
public:
    /// `source` and `charset` as `localedef` knows them: "de_DE", "UTF-8". "C" needs neither.
    explicit StLocale(std::string const& source, std::string const& charset = "UTF-8");

    /// False if this machine can't make it (`localedef` and its sources are in Debian's `locales`):
    /// skip the test.
    bool IsThere() const { return mIsThere; }

    /// Runs `body` in a child process, in whose environment and C library the locale is chosen.
    /// What fails there fails the test. Only while no other thread runs.
    void Run(std::function<void()> const& body) const;

private:
    StTempDir mFolder;
    std::string mName;
    bool mIsThere = false;
};
