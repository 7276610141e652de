// loamctl finds words in documents, with the Loam library and as any outside program would use it.
//
// Here are the list of commands, the options of all of them and the exit codes; each command adds
// itself to the command line from a file of its own.

#include <algorithm>
#include <csignal>
#include <exception>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>
#include <unistd.h>

#include "loamctl/Agent.h"
#include "loamctl/Announce.h"
#include "loamctl/Base64.h"
#include "loamctl/Browse.h"
#include "loamctl/CCommandLine.h"
#include "loamctl/COutput.h"
#include "loamctl/CProgress.h"
#include "loamctl/CRunLog.h"
#include "loamctl/CStandardStreams.h"
#include "loamctl/Charset.h"
#include "loamctl/Command.h"
#include "loamctl/Conv.h"
#include "loamctl/Crypt.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Fetch.h"
#include "loamctl/Hash.h"
#include "loamctl/Index.h"
#include "loamctl/Interruption.h"
#include "loamctl/Lang.h"
#include "loamctl/LangTrain.h"
#include "loamctl/Log.h"
#include "loamctl/Pack.h"
#include "loamctl/Password.h"
#include "loamctl/PsLoad.h"
#include "loamctl/Resolve.h"
#include "loamctl/Run.h"
#include "loamctl/Scan.h"
#include "loamctl/Search.h"
#include "loamctl/Serve.h"
#include "loamctl/Spec.h"
#include "loamctl/Train.h"
#include "loamctl/Vol.h"
#include "loamctl/Words.h"

namespace {

constexpr int kExitError = 2;
constexpr int kExitSignal = 128;  // and its number

constexpr char const* kDescription =
    "Finds words in documents, whatever their accents, case, ligatures or width.";

constexpr char const* kExamples = R"(Examples:
  loamctl search cafe letters/        Café, CAFÉ, ｃａｆｅ and cafe with a combining accent
  loamctl search strasse letters/     Straße and STRASSE too
  loamctl search -w "new york" .      whole words: New-York, but no New Yorkers
  loamctl search -l cafe a.txt b.txt  only the names of files with a hit
  loamctl scan letters/               what is there, and what of it can be read
  loamctl words letter.txt            the words as an index would take them in
  loamctl index letters/ -o STORE     keeps them for `loamctl search cafe --in STORE`
  loamctl pack --long disk.img        disk.img.zst, which zstd reads too; unpack for the way back
  loamctl train letters/ -o D         a dictionary for pack --dict D, and what it saves
  loamctl browse _http._tcp           which services are on the network; announce for one's own

`loamctl COMMAND --help` tells more. Exit codes: 0 found, 1 not found, 2 error.)";

// In the order of the help.
constexpr Command (*kCommands[])(CArguments) = {
    AddSearch,   AddScan,  AddWords,  AddIndex,     AddPack,   AddUnpack,   AddTrain,
    AddCharset,  AddConv,  AddLang,   AddLangTrain, AddBase64, AddHash,     AddCrypt,
    AddPassword, AddLog,   AddSpec,   AddResolve,   AddVol,    AddAnnounce, AddBrowse,
    AddServe,    AddFetch, AddPsLoad, AddRun,       AddAgent,
};

void AddOutputOptions(CArguments program, OutputOptions& options)
{
    using Color = OutputOptions::Color;
    std::map<std::string, Color> const colors{
        {"auto", Color::kAuto}, {"always", Color::kAlways}, {"never", Color::kNever}};
    program.AddFlag("--json", options.mJSON, "Write JSON Lines, one object a line");
    program
        .Add("--color", options.mColor, colors,
             "Use colours: auto, always or never; auto minds NO_COLOR")
        .Shown("WHEN");
    program.AddFlag("-v,--verbose", options.mVerbose,
                    "Say what was passed over and why, and totals");
}

void AddLogOptions(CArguments program, LogOptions& options)
{
    COption const log =
        program.Add("--log", options.mPath, "Add to FILE what was done, and why not what wasn't")
            .Shown("FILE");
    program
        .Add("--log-max", options.mMaxSize,
             "Cut the log to its newest BYTES before; 0 for an empty one")
        .NotNegative()
        .Needs(log)
        .Shown("BYTES");
}

std::vector<Command> AddCommands(CArguments program)
{
    std::vector<Command> commands;
    for (auto const add : kCommands)
        commands.push_back(add(program));
    return commands;
}

int RunCommand(Command const& command, Session& session)
{
    COutput& output = session.mOutput;
    try {
        int const code = command.mRun(session);
        output.Flush();
        session.mLog.Say(fmt::format("done, exit code {}", code));
        return code;
    } catch (COutputClosed const&) {
        // A reader who goes away early, such as `head`, has what it wanted: that is no error.
        session.mLog.Say("done, as the reader of the output has gone, exit code 0");
        return 0;
    } catch (CInterrupted const& interrupted) {
        int const code = kExitSignal + interrupted.GetSignal();
        output.Drop();
        output.Complain(interrupted.what());
        session.mLog.Say(fmt::format("{}, exit code {}", interrupted.what(), code));
        return code;
    } catch (std::exception const& error) {
        session.mLog.Say(fmt::format("failed: {}, exit code {}", error.what(), kExitError));
        output.Complain(error.what());
    }
    return kExitError;
}

int RunChosen(std::vector<Command> const& commands,
              OutputOptions const& outputOptions,
              LogOptions const& logOptions)
{
    auto const chosen = std::find_if(commands.begin(), commands.end(), [](Command const& command) {
        return command.mArguments.IsChosen();
    });
    CRunLog log(logOptions);
    CProgress progress(STDERR_FILENO);
    CStandardStreams streams(progress);
    COutput output(outputOptions, streams);
    CInterruption interruption;
    Session session{output, progress, log, interruption};
    // Without its arguments, since a command may take secrets.
    log.Say("started: " + chosen->mArguments.GetName());
    return RunCommand(*chosen, session);
}

int Main(int argc, char** argv)
{
    CCommandLine commandLine("loamctl", "loamctl " LOAMCTL_VERSION, kDescription, kExamples);
    CArguments const program = commandLine.GetArguments();
    OutputOptions outputOptions;
    LogOptions logOptions;
    AddOutputOptions(program, outputOptions);
    AddLogOptions(program, logOptions);
    std::vector<Command> const commands = AddCommands(program);
    if (auto const code = commandLine.Take(argc, argv)) return *code;
    return RunChosen(commands, outputOptions, logOptions);
}

}  // namespace

int main(int argc, char** argv)
{
    // A closed pipe is told by the write, so that the exit code is ours.
    std::signal(SIGPIPE, SIG_IGN);
    try {
        return Main(argc, argv);
    } catch (std::exception const& error) {
        fmt::print(stderr, "loamctl: {}\n", error.what());
    }
    return kExitError;
}
