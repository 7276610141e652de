// loamctl finds words in documents, with the Loam library and as any outside program would use it.
//
// Here are the command line and the exit codes; each command has a file of its own.

#include <algorithm>
#include <csignal>
#include <exception>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "loamctl/COutput.h"
#include "loamctl/CSearch.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Scan.h"
#include "loamctl/Words.h"

namespace {

constexpr int kExitError = 2;

constexpr char const* kDescription =
    "Finds words in documents, whatever their accents, case, ligatures or width.";

constexpr char const* kExamples = R"(Examples:
  loamctl search cafe letters/        Café, CAFÉ, ｃａｆｅ and cafe with a combining accent
  loamctl search strasse letters/     Straße and STRASSE too
  loamctl search -w "new york" .      whole words: New-York, but no New Yorkers
  loamctl search -l cafe a.txt b.txt  only the names of files with a hit
  loamctl scan letters/               what is there, and what of it can be read
  loamctl words letter.txt            the words as an index would take them in

`loamctl COMMAND --help` tells more. Exit codes: 0 found, 1 not found, 2 error.)";

constexpr char const* kSearchNotes =
    R"(The word and the documents are folded alike before they are compared: accents and other
combining marks go, capitals become small letters, ligatures and full-width forms become
plain ones, ß becomes ss. Hits are shown in the raw text, at their line and column; a column
counts characters (code points) from 1.

UTF-8 is read with and without a byte-order mark, UTF-16 with one. Binary files, other
charsets, links and devices are passed over: -v says which, and why. With --json each hit is
an object on a line of its own, with its offset and length in bytes of the file.

Exit codes: 0 a hit, 1 none, 2 something could not be read (hits are shown all the same).)";

constexpr char const* kWordsNotes =
    R"(Each line holds the folded word, its offset and its length in bytes of the file, with tabs
between. Words are what the library's delimiter makes of a text: runs of letters and digits,
and single ideographs, symbols and pictographs.)";

constexpr char const* kScanNotes =
    R"(All files are read, so that what is told of them is certain. "unknown charset" is text in
none of the charsets read here, or damaged; the first offending byte is named.)";

struct CommandLine
{
    OutputOptions mOutput;
    ScanOptions mScan;
    SearchOptions mSearch;
    std::string mWordsPath;
};

// CLI11 takes [a,b] for a list of two, where it is the name of one file. A byte in front keeps it
// from doing so until it has parsed.
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

void Unguard(CommandLine& line)
{
    auto const unguard = [](std::string& argument) {
        if (argument.starts_with(kGuard)) argument.erase(0, 1);
    };
    unguard(line.mSearch.mWord);
    unguard(line.mWordsPath);
    std::for_each(line.mSearch.mPaths.begin(), line.mSearch.mPaths.end(), unguard);
    std::for_each(line.mScan.mPaths.begin(), line.mScan.mPaths.end(), unguard);
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

void AddPaths(CLI::App& command, std::vector<std::string>& paths)
{
    command.add_option("PATH", paths, "Files and folders; by default this folder")
        ->option_text("...");
}

CLI::App* AddSearch(CLI::App& app, SearchOptions& options)
{
    CLI::App* const search = app.add_subcommand("search", "Find a word in files and folders");
    search->add_option("WORD", options.mWord, "What to find, also inside words; blanks are allowed")
        ->required()
        ->option_text(" ");
    AddPaths(*search, options.mPaths);
    search->add_flag("-w,--word", options.mWholeWords, "Only whole words, in a row if several");
    auto* const count = search->add_flag(
        "-c,--count", [&options](auto) { options.mShow = SearchOptions::Show::kCounts; },
        "Only the number of hits in each file that has one");
    search
        ->add_flag(
            "-l,--files-with-matches",
            [&options](auto) { options.mShow = SearchOptions::Show::kNames; },
            "Only the names of files with a hit")
        ->excludes(count)
        ->option_text(" ");
    count->option_text(" ");
    search->add_option("-m,--max-count", options.mMaxCount, "Stop after so many hits in a file")
        ->check(CLI::PositiveNumber)
        ->option_text("NUM");
    options.mMaxColumns = 240;
    search
        ->add_option("--max-columns", options.mMaxColumns,
                     "So much of a long line is shown: 240, or 0 for all")
        ->check(CLI::NonNegativeNumber)
        ->option_text("NUM");
    search->add_flag("-L,--follow", options.mFollowLinks, "Follow links in folders");
    search->footer(kSearchNotes);
    return search;
}

CLI::App* AddScan(CLI::App& app, ScanOptions& options)
{
    CLI::App* const scan = app.add_subcommand("scan", "Tell what files there are and of what kind");
    AddPaths(*scan, options.mPaths);
    scan->add_flag("-L,--follow", options.mFollowLinks, "Follow links in folders");
    scan->footer(kScanNotes);
    return scan;
}

CLI::App* AddWords(CLI::App& app, std::string& path)
{
    CLI::App* const words = app.add_subcommand("words", "List the words of a document");
    words->add_option("FILE", path, "The document")->required()->option_text(" ");
    words->footer(kWordsNotes);
    return words;
}

// A reader who goes away early, such as `head`, has what it wanted: that is no error.
template <typename Command>
int Finish(COutput& output, Command command)
{
    try {
        int const code = command();
        output.Flush();
        return code;
    } catch (COutputClosed const&) {
        return 0;
    } catch (std::exception const& error) {
        output.Complain(error.what());
    }
    return kExitError;
}

int Main(int argc, char** argv)
{
    CLI::App app(kDescription, "loamctl");
    CommandLine line;
    app.set_version_flag("--version", "loamctl " LOAMCTL_VERSION);
    app.require_subcommand(1);
    app.fallthrough();
    app.get_formatter()->column_width(34);
    app.footer(kExamples);
    AddOutputOptions(app, line.mOutput);
    CLI::App const* const search = AddSearch(app, line.mSearch);
    CLI::App const* const scan = AddScan(app, line.mScan);
    AddWords(app, line.mWordsPath);
    if (argc < 2) {
        fmt::print(stderr, "{}", app.help());
        return kExitError;
    }
    try {
        std::vector<std::string> arguments = Guarded(argc, argv);
        std::reverse(arguments.begin(), arguments.end());  // CLI11 takes them from the end
        app.parse(std::move(arguments));
        Unguard(line);
    } catch (CLI::Success const& done) {
        return app.exit(done);
    } catch (CLI::ParseError const& error) {
        std::string message = error.what();
        std::erase(message, kGuard);
        fmt::print(stderr, "loamctl: {}\nTry loamctl --help\n", SafeName(message));
        return kExitError;
    }

    COutput output(line.mOutput);
    return Finish(output, [&] {
        if (search->parsed()) return CSearch(line.mSearch, output).Run();
        if (scan->parsed()) return RunScan(line.mScan, output);
        return RunWords(line.mWordsPath, output);
    });
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
