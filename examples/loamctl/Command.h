// What a command of loamctl gives to the command line.
//
// Each command has a pair of files of its own with one function, `Command Add...(CLI::App&)`, which
// main.cpp lists:
//
//     Command AddGreet(CArguments program)
//     {
//         CLI::App* const greet = app.add_subcommand("greet", "Greet somebody");
//         auto const options = std::make_shared<GreetOptions>();
//         greet->add_option("NAME", options->mName, "Whom")->required()->option_text(" ");
//         return {greet, [options](Session& session) { return Greet(*options, session); }};
//     }
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "loamctl/CCommandLine.h"

class CInterruption;
class COutput;
class CProgress;
class CRunLog;

/// What every command works with. It lives until the command is done.
struct Session
{
    COutput& mOutput;
    CProgress& mProgress;
    CRunLog& mLog;
    /// Without it, Ctrl-C ends the program as it ends any other.
    CInterruption& mInterruption;
};

struct Command
{
    CArguments mArguments;  ///< what `AddCommand` answered
    /// Does the work and answers the program's exit code. Called at most once, when the options are
    /// set. What is thrown is told on standard error, and the exit code is 2 then.
    std::function<int(Session&)> mRun;
};

/// Adds the argument PATH..., of any number of files and folders.
COption AddPaths(CArguments command, std::vector<std::string>& paths);

/// Adds the option -j for the number of files that are worked on at a time, and sets `jobs` to that
/// of the processors, which it is without the option.
void AddJobs(CArguments command, int& jobs);
