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

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <unistd.h>

#include "loamctl/Announce.h"
#include "loamctl/Base64.h"
#include "loamctl/Browse.h"
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
#include "loamctl/Scan.h"
#include "loamctl/Search.h"
#include "loamctl/Serve.h"
#include "loamctl/Train.h"
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
constexpr Command (*kCommands[])(CLI::App&) = {
    AddSearch,   AddScan, AddWords,    AddIndex,     AddPack,   AddUnpack, AddTrain,
    AddCharset,  AddConv, AddLang,     AddLangTrain, AddBase64, AddHash,   AddCrypt,
    AddPassword, AddLog,  AddAnnounce, AddBrowse,    AddServe,  AddFetch,
};

// CLI11 takes [a,b] for a list of two, where it is the name of one file. A byte in front keeps it
// from doing so until the option gets it.
constexpr char kGuard = '\x01';

std::vector<std::string> Guarded(int argc, char** argv)
{
    std::vector<std::string> arguments(argv + 1, argv + argc);
    for (std::string& argument : arguments) {
        if (argument.starts_with('[') || argument.starts_with(kGuard))
            argument.insert(0, 1, kGuard);
    }
    return arguments;
}

void UnguardOptions(CLI::App& app)
{
    auto const unguarded = [](std::string argument) {
        if (argument.starts_with(kGuard)) argument.erase(0, 1);
        return argument;
    };
    for (CLI::Option* const option : app.get_options())
        option->transform(unguarded);
}

void AddOutputOptions(CLI::App& app, OutputOptions& options)
{
    using Color = OutputOptions::Color;
    std::map<std::string, Color> const colors{
        {"auto", Color::kAuto}, {"always", Color::kAlways}, {"never", Color::kNever}};
    app.add_flag("--json", options.mJSON, "Write JSON Lines, one object a line");
    app.add_option_function<std::string>(
           "--color",
           [&options, colors](std::string const& when) { options.mColor = colors.at(when); },
           "Use colours: auto, always or never; auto minds NO_COLOR")
        ->check(CLI::IsMember({"auto", "always", "never"}))
        ->option_text("WHEN");
    app.add_flag("-v,--verbose", options.mVerbose, "Say what was passed over and why, and totals");
}

std::vector<Command> AddCommands(CLI::App& app)
{
    std::vector<Command> commands;
    for (auto const add : kCommands) {
        commands.push_back(add(app));
        UnguardOptions(*commands.back().mApp);
    }
    return commands;
}

void AddLogOptions(CLI::App& app, LogOptions& options)
{
    auto* const log =
        app.add_option("--log", options.mPath, "Add to FILE what was done, and why not what wasn't")
            ->option_text("FILE");
    app.add_option("--log-max", options.mMaxSize,
                   "Cut the log to its newest BYTES before; 0 for an empty one")
        ->check(CLI::NonNegativeNumber)
        ->needs(log)
        ->option_text("BYTES");
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
    auto const chosen = std::find_if(commands.begin(), commands.end(),
                                     [](Command const& command) { return command.mApp->parsed(); });
    CRunLog log(logOptions);
    CProgress progress(STDERR_FILENO);
    CStandardStreams streams(progress);
    COutput output(outputOptions, streams);
    CInterruption interruption;
    Session session{output, progress, log, interruption};
    // Without its arguments, since a command may take secrets.
    log.Say("started: " + chosen->mApp->get_name());
    return RunCommand(*chosen, session);
}

int Main(int argc, char** argv)
{
    CLI::App app(kDescription, "loamctl");
    OutputOptions outputOptions;
    LogOptions logOptions;
    app.set_version_flag("--version", "loamctl " LOAMCTL_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    app.get_formatter()->column_width(34);
    app.footer(kExamples);
    AddOutputOptions(app, outputOptions);
    AddLogOptions(app, logOptions);
    UnguardOptions(app);
    std::vector<Command> const commands = AddCommands(app);
    if (argc < 2) {
        fmt::print(stderr, "{}", app.help());
        return kExitError;
    }
    try {
        std::vector<std::string> arguments = Guarded(argc, argv);
        std::reverse(arguments.begin(), arguments.end());  // CLI11 takes them from the end
        app.parse(std::move(arguments));
    } catch (CLI::Success const& done) {
        return app.exit(done);
    } catch (CLI::ParseError const& error) {
        std::string message = error.what();
        std::erase(message, kGuard);
        fmt::print(stderr, "loamctl: {}\nTry loamctl --help\n", SafeName(message));
        return kExitError;
    }

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
