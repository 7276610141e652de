#include "system/CProcessServicesImp.h"
#include "system/Subprocess.h"

#include <cstring>

std::string CProcessServicesImp::ExecuteSubprocess(std::string const& launchPath,
                                                   std::vector<std::string> const& arguments,
                                                   float timeoutSeconds) const
{
    std::string text;
    RunSubprocess(launchPath, arguments, timeoutSeconds, text, nullptr);
    // Kept on purpose: the text is handed on as a C string, which ends at its first NUL.
    text.resize(std::strlen(text.c_str()));
    return text;
}
