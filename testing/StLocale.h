// Locales made for a test, whatever the machine has installed.
#pragma once

#include "testing/StEnvironment.h"
#include "testing/StTempDir.h"

#include <string>
#include <vector>

/// A locale as the user's environment and the process's C locale choose it, made by `localedef`
/// into a folder of its own. At the end both are as before. The locale belongs to the whole
/// process: only for tests that run no thread beside.
class StLocale
{
public:
    /// `source` and `charset` as `localedef` knows them: "de_DE", "UTF-8". "C" and "POSIX" are
    /// always there.
    explicit StLocale(std::string const& source, std::string const& charset = "UTF-8");
    StLocale(StLocale const&) = delete;
    StLocale& operator=(StLocale const&) = delete;
    ~StLocale();

    /// False if this machine can't make it (`localedef` and its sources are in Debian's `locales`):
    /// skip the test.
    bool IsThere() const { return mIsThere; }

private:
    StTempDir mFolder;
    StEnvironment mPath;
    StEnvironment mChoice;
    std::string mFormer;
    bool mIsThere = false;
};
