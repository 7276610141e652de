#include "system/Subprocess.h"

#include "system/platform/CBasicSubprocessPlatform.h"
#include "text/ConvertUTF.h"

#include <memory>

namespace {

constexpr double kMicroSecondsPerSecond = 1e6;
constexpr int kMicroSecondsBetweenLooks = 100000;
constexpr float kGraceSeconds = 1.0F;

// By converting piece by piece to where nobody looks.
bool IsUTF8(std::string const& text)
{
    auto const* source = reinterpret_cast<UTF8 const*>(text.data());
    UTF8 const* const end = source + text.size();
    UTF16 room[1024];
    ConversionResult result;
    do {
        UTF16* target = room;
        result =
            ConvertUTF8toUTF16(&source, end, &target, room + std::size(room), strictConversion);
    } while (result == targetExhausted);
    return result == conversionOK;
}

void AppendErrors(std::string const& errors, std::string& text)
{
    if (errors.empty()) return;
    if (!text.empty()) text += "\n\n";
    text += "stderr:\n";
    text += errors;
}

}  // namespace

bool RunSubprocess(std::string const& launchPath,
                   std::vector<std::string> const& arguments,
                   float timeoutSeconds,
                   std::string& text,
                   int* status)
{
    CBasicSubprocessPlatform& platform = SubprocessPlatform();
    text.clear();
    bool const isThere = platform.FileExists(launchPath);
    if (status) *status = isThere ? 0 : kSubprocessNotFound;
    if (!isThere) return false;
    std::unique_ptr<CBasicSubprocess> const child(platform.Launch(launchPath, arguments));
    if (!child) return false;

    if (timeoutSeconds > 0) {
        WaitForSubprocess(*child, timeoutSeconds);
    } else {
        child->WaitUntilExit();
    }

    // Kept on purpose: nothing is read before the wait is over, and one output after the other.
    std::string output;
    if (!child->ReadOutput(output)) return false;
    std::string errors;
    bool const hasErrors = child->ReadErrors(errors) && IsUTF8(errors);
    if (!IsUTF8(output)) return false;
    text = std::move(output);
    if (hasErrors) AppendErrors(errors, text);
    return true;
}

void WaitForSubprocess(CBasicSubprocess& child, float timeoutSeconds)
{
    CBasicSubprocessPlatform const& platform = SubprocessPlatform();
    int const process = child.GetProcessId();
    // Kept on purpose: the clock is the one that can be set.
    auto const start = static_cast<double>(platform.GetMicroTime());
    if (!child.IsRunning()) return;

    double const interruptTime =
        start + static_cast<double>(timeoutSeconds) * kMicroSecondsPerSecond;
    // Kept on purpose: the second is added as a float, so that it is lost from 2^24 seconds on.
    double const terminateTime =
        start + static_cast<double>(timeoutSeconds + kGraceSeconds) * kMicroSecondsPerSecond;
    bool isInterrupted = false;
    do {
        if (!platform.HasProcess(process)) return;
        auto const now = static_cast<double>(platform.GetMicroTime());
        if (isInterrupted && terminateTime < now) {
            child.Terminate();
            return;
        }
        if (!isInterrupted && interruptTime < now) {
            child.Interrupt();
            isInterrupted = true;
        }
        child.Nap(kMicroSecondsBetweenLooks);
    } while (child.IsRunning());
}
