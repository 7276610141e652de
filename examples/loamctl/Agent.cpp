#include "loamctl/Agent.h"

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "files/CFileSpec.h"
#include "loamctl/COutput.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "system/CProcessServices.h"

namespace {

constexpr char const* kNotes =
    R"(LABEL is the agent's name, such as com.example.helper. `install` writes a property list, which
launchd reads at the next log-in; `check` tells whether that says what `install` would write,
exit code 1 if not; `remove` deletes it. With --now an agent is started, or stopped, at once
too. On Linux the file is the same, and nobody reads it.)";

struct AgentOptions
{
    std::string mAction;
    std::string mLabel;
    std::string mProgram;
    std::vector<std::string> mArguments;
    bool mIsDaemon = false;
    bool mIsNow = false;
};

CBasicProcessServicesImp const& Services()
{
    return *CProcessServices::GetProcessServices()->mImp;
}

struct AgentState
{
    bool mExists = false;
    bool mIsUpToDate = false;
    bool mIsWritable = false;

    char const* GetName() const
    {
        if (mIsUpToDate) return "installed";
        if (mExists) return mIsWritable ? "says something else" : "can't be changed";
        return mIsWritable ? "not installed" : "can't be installed";
    }
};

CFileSpec ProgramOf(AgentOptions const& options)
{
    return {options.mProgram, false};
}

AgentState GetState(AgentOptions const& options)
{
    AgentState state;
    Services().CheckStartupProcess(ProgramOf(options), options.mLabel, options.mIsDaemon,
                                   options.mArguments, state.mExists, state.mIsUpToDate,
                                   state.mIsWritable);
    return state;
}

// Empty where there can be none.
std::string GetFile(AgentOptions const& options)
{
    CFileSpec file;
    bool exists = false;
    bool isWritable = false;
    std::string userName;
    Services().GetStartupProcessPlistFile(options.mLabel, options.mIsDaemon, file, exists,
                                          isWritable, userName);
    std::string path;
    file.GetFullPath8bit(&path);
    return path;
}

[[noreturn]] void Refuse(AgentOptions const& options, char const* reason)
{
    throw CUsageError(fmt::format("{}: {}", SafeName(options.mLabel), reason));
}

// What the commands that start and stop say.
void Tell(std::string const& log, Session& session)
{
    for (std::size_t at = 0; at < log.size();) {
        std::size_t const end = log.find('\n', at);
        session.mOutput.Note(SafeText(log.substr(at, end - at)));
        at = end == log.npos ? log.size() : end + 1;
    }
}

int Install(AgentOptions const& options, Session& session)
{
    CFileSpec const program = ProgramOf(options);
    if (!program.Exist())
        throw CUsageError(SafeName(options.mProgram) + ": No such file or directory");
    bool const isInstalled = Services().InstallStartupProcess(
        program, options.mLabel, options.mIsDaemon, options.mArguments);
    // What can't be changed counts as installed, whatever it says.
    AgentState const state = GetState(options);
    if (!isInstalled || !state.mIsUpToDate) {
        Refuse(options, state.mExists ? "the file can't be changed" : "the file can't be made");
    }
    if (options.mIsNow) Tell(Services().StartStartupProcess(options.mLabel), session);
    return 0;
}

int Check(AgentOptions const& options, Session& session)
{
    AgentState const state = GetState(options);
    std::string const file = GetFile(options);
    COutput& output = session.mOutput;
    if (output.IsJSON()) {
        output.AddJSON({{"type", "agent"},
                        {"label", options.mLabel},
                        {"file", file},
                        {"exists", state.mExists},
                        {"up_to_date", state.mIsUpToDate},
                        {"writable", state.mIsWritable}});
    } else {
        output.AddLines(fmt::format("{}  {}\n", state.GetName(), SafeName(file)));
    }
    return state.mIsUpToDate ? 0 : 1;
}

int Remove(AgentOptions const& options, Session& session)
{
    if (!GetState(options).mExists) {
        session.mOutput.Complain(SafeName(options.mLabel) + ": not installed");
        return 1;
    }
    // Here and not by the call that removes, which keeps to itself what is said.
    if (options.mIsNow) Tell(Services().UnloadStartupProcess(options.mLabel), session);
    Services().UninstallStartupProcess(ProgramOf(options), options.mLabel, options.mIsDaemon,
                                       false);
    if (GetState(options).mExists) Refuse(options, "the file can't be removed");
    return 0;
}

int Run(AgentOptions options, Session& session)
{
    if (options.mIsNow && options.mIsDaemon)
        throw CUsageError("a daemon is started and stopped with the machine, not --now");
    if (options.mAction == "remove") return Remove(options, session);
    if (options.mProgram.empty()) throw CUsageError("PROGRAM is needed");
    // It is started in another folder than this one.
    options.mProgram = std::filesystem::absolute(options.mProgram).lexically_normal();
    return options.mAction == "install" ? Install(options, session) : Check(options, session);
}

}  // namespace

Command AddAgent(CArguments program)
{
    CArguments agent = program.AddCommand("agent", "Have a program started at each log-in");
    auto const options = std::make_shared<AgentOptions>();
    agent.Add("ACTION", options->mAction, "install, check or remove")
        .Required()
        .OneOf({"install", "check", "remove"});
    agent.Add("LABEL", options->mLabel, "The agent's name").Required();
    agent.Add("PROGRAM", options->mProgram, "What is started; not needed for `remove`");
    agent.Add("ARGS", options->mArguments, "Its arguments; behind -- where one begins with a dash");
    agent.AddFlag("--daemon", options->mIsDaemon, "For the machine, not for this user's log-in");
    agent.AddFlag("--now", options->mIsNow, "Start it at once too, or stop it");
    agent.SetNotes(kNotes);
    return {agent, [options](Session& session) { return Run(*options, session); }};
}
