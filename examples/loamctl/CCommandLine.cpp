#include "loamctl/CCommandLine.h"

#include <algorithm>
#include <utility>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "loamctl/DisplayText.h"

namespace {

constexpr int kExitError = 2;

constexpr std::size_t kHelpColumn = 34;

// CLI11 takes [a,b] for a list of two, where it is the name of one file. A byte in front keeps it
// from doing so until the option gets it.
constexpr char kGuard = '\x01';

std::vector<std::string> Guarded(int argc, char const* const* argv)
{
    std::vector<std::string> arguments(argv + 1, argv + argc);
    for (std::string& argument : arguments) {
        if (argument.starts_with('[') || argument.starts_with(kGuard))
            argument.insert(0, 1, kGuard);
    }
    return arguments;
}

std::string Unguarded(std::string argument)
{
    if (argument.starts_with(kGuard)) argument.erase(0, 1);
    return argument;
}

bool IsOption(char const* names)
{
    return *names == '-';
}

// Nothing is shown for the value of an argument, whose name says it, until `Shown` is called.
template <class Value>
COption AddTo(CLI::App& app, char const* names, Value& value, char const* purpose)
{
    CLI::Option& option = *app.add_option(names, value, purpose);
    option.transform(Unguarded);
    if (!IsOption(names)) option.option_text(" ");
    return COption(option);
}

}  // namespace

COption COption::Required()
{
    mOption->required();
    return *this;
}

COption COption::Shown(char const* name)
{
    mOption->option_text(name);
    return *this;
}

COption COption::InRange(int least, int most)
{
    mOption->check(CLI::Range(least, most));
    return *this;
}

COption COption::NotNegative()
{
    mOption->check(CLI::NonNegativeNumber);
    return *this;
}

COption COption::Positive()
{
    mOption->check(CLI::PositiveNumber);
    return *this;
}

COption COption::OneOf(std::vector<std::string> const& values)
{
    mOption->check(CLI::IsMember(values));
    return *this;
}

COption COption::Checked(Check check)
{
    mOption->check(CLI::Validator(std::move(check), ""));
    return *this;
}

COption COption::Needs(COption other)
{
    mOption->needs(other.mOption);
    return *this;
}

COption COption::Excludes(COption other)
{
    mOption->excludes(other.mOption);
    return *this;
}

CArguments CArguments::AddCommand(char const* name, char const* purpose)
{
    return CArguments(*mApp->add_subcommand(name, purpose));
}

COption CArguments::Add(char const* names, std::string& value, char const* purpose)
{
    return AddTo(*mApp, names, value, purpose);
}

COption CArguments::Add(char const* names, std::vector<std::string>& values, char const* purpose)
{
    return AddTo(*mApp, names, values, purpose).Shown("...");
}

COption CArguments::Add(char const* names, int& value, char const* purpose)
{
    return AddTo(*mApp, names, value, purpose);
}

COption CArguments::Add(char const* names, long long& value, char const* purpose)
{
    return AddTo(*mApp, names, value, purpose);
}

COption CArguments::Add(char const* names, unsigned short& value, char const* purpose)
{
    return AddTo(*mApp, names, value, purpose);
}

COption CArguments::Add(char const* names, unsigned long& value, char const* purpose)
{
    return AddTo(*mApp, names, value, purpose);
}

COption CArguments::Add(char const* names,
                        std::function<void(std::string const&)> const& set,
                        char const* purpose)
{
    CLI::Option& option = *mApp->add_option_function<std::string>(names, set, purpose);
    option.transform(Unguarded);
    return COption(option);
}

COption CArguments::AddFlag(char const* names, bool& isSet, char const* purpose)
{
    return COption(*mApp->add_flag(names, isSet, purpose));
}

COption CArguments::AddFlag(char const* names, std::function<void()> set, char const* purpose)
{
    return COption(*mApp->add_flag_callback(names, std::move(set), purpose)).Shown(" ");
}

CArguments CArguments::AddChoice(char const* heading)
{
    CLI::App* const choice = mApp->add_option_group(heading);
    choice->require_option(1);
    return CArguments(*choice);
}

COption CArguments::AddRest(char const* name, std::vector<std::string>& values, char const* purpose)
{
    mApp->positionals_at_end();
    return Add(name, values, purpose);
}

void CArguments::SetNotes(char const* notes)
{
    mApp->footer(notes);
}

std::string CArguments::GetName() const
{
    return mApp->get_name();
}

bool CArguments::IsChosen() const
{
    return mApp->parsed();
}

CCommandLine::CCommandLine(char const* name,
                           char const* version,
                           char const* purpose,
                           char const* notes)
    : mApp(std::make_unique<CLI::App>(purpose, name))
{
    mApp->set_version_flag("--version", version);
    mApp->require_subcommand(1);
    mApp->fallthrough();
    mApp->get_formatter()->column_width(kHelpColumn);
    mApp->footer(notes);
}

CCommandLine::~CCommandLine() = default;

CArguments CCommandLine::GetArguments()
{
    return CArguments(*mApp);
}

std::optional<int> CCommandLine::Take(int argc, char const* const* argv)
{
    if (argc < 2) {
        fmt::print(stderr, "{}", mApp->help());
        return kExitError;
    }
    try {
        std::vector<std::string> arguments = Guarded(argc, argv);
        std::reverse(arguments.begin(), arguments.end());  // CLI11 takes them from the end
        mApp->parse(std::move(arguments));
    } catch (CLI::Success const& done) {
        return mApp->exit(done);
    } catch (CLI::ParseError const& error) {
        std::string message = error.what();
        std::erase(message, kGuard);
        fmt::print(stderr, "{}: {}\nTry {} --help\n", mApp->get_name(), SafeName(message),
                   mApp->get_name());
        return kExitError;
    }
    return std::nullopt;
}
