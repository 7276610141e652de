#include "loamctl/Run.h"

#include <cerrno>
#include <charconv>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include "loamctl/COutput.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "system/CProcessServices.h"

namespace {

struct RunOptions
{
    float mSeconds = 0;
    std::vector<std::string> mCommand;
};

// What a closed pipe does, for a scope. The program should find it as any program does, where
// loamctl itself ignores it.
class StPipeSignal
{
public:
    StPipeSignal()
        : mFormer(std::signal(SIGPIPE, SIG_DFL))
    {
    }

    StPipeSignal(StPipeSignal const&) = delete;
    StPipeSignal& operator=(StPipeSignal const&) = delete;

    ~StPipeSignal() { std::signal(SIGPIPE, mFormer); }

private:
    void (*mFormer)(int);
};

// False with an errno value.
bool IsProgram(std::string const& path, int& error)
{
    struct stat info = {};
    if (stat(path.c_str(), &info) == -1 || access(path.c_str(), X_OK) == -1) {
        error = errno;
        return false;
    }
    error = EACCES;
    return S_ISREG(info.st_mode);
}

// The library takes a path. A name is looked up here, as a shell does.
std::string FindProgram(std::string const& name)
{
    int error = ENOENT;
    if (name.find('/') != std::string::npos) {
        if (IsProgram(name, error)) return name;
    } else if (char const* const folders = std::getenv("PATH"); folders && !name.empty()) {
        std::istringstream list(folders);
        std::string folder;
        while (std::getline(list, folder, ':')) {
            std::string path = (folder.empty() ? "." : folder) + "/" + name;
            int ignored = 0;
            if (IsProgram(path, ignored)) return path;
        }
    }
    throw CUsageError(fmt::format("cannot run {}: {}", SafeName(name), std::strerror(error)));
}

int RunProgram(RunOptions const& options, Session& session)
{
    std::string const program = FindProgram(options.mCommand.front());
    std::vector<std::string> const arguments(options.mCommand.begin() + 1, options.mCommand.end());
    std::string text;
    {
        StPipeSignal const asUsual;
        text = CProcessServices::GetProcessServices()->mImp->ExecuteSubprocess(program, arguments,
                                                                               options.mSeconds);
    }
    COutput& output = session.mOutput;
    if (output.IsJSON()) {
        output.AddJSON({{"type", "run"}, {"program", program}, {"text", text}});
        return 0;
    }
    std::istringstream lines(text);
    std::string line;
    while (std::getline(lines, line)) {
        output.Add(SafeText(line));
        output.EndLine();
    }
    return 0;
}

std::string CheckSeconds(std::string const& text)
{
    float seconds = 0;
    char const* const end = text.data() + text.size();
    auto const [last, error] = std::from_chars(text.data(), end, seconds);
    bool const isRight =
        error == std::errc() && last == end && std::isfinite(seconds) && seconds >= 0;
    return isRight ? "" : "not a number of seconds: " + SafeName(text);
}

}  // namespace

Command AddRun(CArguments program)
{
    CArguments run = program.AddCommand("run", "Run a program, and end it if it takes too long");
    auto const options = std::make_shared<RunOptions>();
    auto const setSeconds = [options](std::string const& text) {
        std::from_chars(text.data(), text.data() + text.size(), options->mSeconds);
    };
    run.Add("-t,--timeout", setSeconds,
            "Seconds it may take, such as 0.5; as long as it likes by default")
        .Checked(CheckSeconds)
        .Shown("SECONDS");
    run.AddRest("CMD", options->mCommand, "The program and its arguments").Required();
    run.SetNotes(
        R"(Options of loamctl stand ahead of CMD: loamctl run -t 5 make -n. After SECONDS the program is interrupted (SIGINT), and a second later terminated
(SIGTERM); what it printed until then is shown. Its standard error comes last, behind a line
"stderr:". Text that isn't UTF-8 isn't shown, and more than a pipe holds (1 MB as a rule) stops
the program. Exit code 0 however it ended, 2 if it can't be run.)");
    return {run, [options](Session& session) { return RunProgram(*options, session); }};
}
