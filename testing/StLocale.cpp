#include "testing/StLocale.h"

#include <clocale>
#include <cstdlib>

StLocale::StLocale(std::string const& source, std::string const& charset)
    : mPath("LOCPATH", mFolder.Path())
    , mChoice("LC_ALL", source == "C" || source == "POSIX" ? source : source + "." + charset)
    , mFormer(std::setlocale(LC_ALL, nullptr))
{
    if (source != "C" && source != "POSIX") {
        // Not asked for its result: it is 1 for mere warnings, and what was made tells more.
        std::string const command = "localedef --no-archive -c -i " + source + " -f " + charset +
                                    " " + mFolder.Path(source + "." + charset) + " >/dev/null 2>&1";
        static_cast<void>(std::system(command.c_str()));
    }
    mIsThere = std::setlocale(LC_ALL, "") != nullptr;
}

StLocale::~StLocale()
{
    std::setlocale(LC_ALL, mFormer.c_str());
}
