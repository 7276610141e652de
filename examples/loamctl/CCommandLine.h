// The program's command line: its commands, their arguments and what is wrong with what was given.
//
// CLI11 does the work. Its headers take a compiler many seconds, so that no other file sees them.
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

/// An argument or option that was added, for telling more about it. A handle, which may be copied.
class COption
{
public:
    /// Looks at a value as it was given; answers what is wrong with it, or nothing.
    using Check = std::function<std::string(std::string const&)>;

    explicit COption(CLI::Option& option)
        : mOption(&option)
    {
    }

    /// It can't be left out.
    COption Required();

    /// What the help shows for its value, such as FILE.
    COption Shown(char const* name);

    COption InRange(int least, int most);
    COption NotNegative();
    COption Positive();
    COption OneOf(std::vector<std::string> const& values);
    COption Checked(Check check);

    /// Goes only with `other`.
    COption Needs(COption other);

    /// Never goes with `other`.
    COption Excludes(COption other);

private:
    CLI::Option* mOption;
};

/// The arguments of the program or of one command. A handle, which may be copied. A variable that
/// an option sets keeps its value where the option isn't given, and must live as long as the
/// command line.
class CArguments
{
public:
    explicit CArguments(CLI::App& app)
        : mApp(&app)
    {
    }

    CArguments AddCommand(char const* name, char const* purpose);

    /// Adds an argument by its name ("FILE"), or an option ("-o,--output") with one value. A vector
    /// takes one or more.
    COption Add(char const* names, std::string& value, char const* purpose);
    COption Add(char const* names, std::vector<std::string>& values, char const* purpose);
    COption Add(char const* names, int& value, char const* purpose);
    COption Add(char const* names, long long& value, char const* purpose);
    COption Add(char const* names, unsigned short& value, char const* purpose);
    COption Add(char const* names, unsigned long& value, char const* purpose);
    COption
    Add(char const* names, std::function<void(std::string const&)> const& set, char const* purpose);

    /// Of a value that is given by its name.
    template <class Value>
    COption Add(char const* names,
                Value& value,
                std::map<std::string, Value> const& values,
                char const* purpose)
    {
        std::vector<std::string> known;
        known.reserve(values.size());
        for (auto const& [name, unused] : values)
            known.push_back(name);
        auto const set = [&value, values](std::string const& name) { value = values.at(name); };
        return Add(names, set, purpose).OneOf(known);
    }

    COption AddFlag(char const* names, bool& isSet, char const* purpose);
    COption AddFlag(char const* names, std::function<void()> set, char const* purpose);

    /// Flags of which exactly one has to be given, with a heading in the help.
    CArguments AddChoice(char const* heading);

    /// Adds an argument that takes all that follows its first value, options and "--" too.
    COption AddRest(char const* name, std::vector<std::string>& values, char const* purpose);

    /// What stands at the end of the help.
    void SetNotes(char const* notes);

    [[nodiscard]] std::string GetName() const;

    /// This command was given.
    [[nodiscard]] bool IsChosen() const;

private:
    CLI::App* mApp;
};

class CCommandLine
{
public:
    CCommandLine(char const* name, char const* version, char const* purpose, char const* notes);
    ~CCommandLine();
    CCommandLine(CCommandLine const&) = delete;
    CCommandLine& operator=(CCommandLine const&) = delete;

    /// Those of the program, which may stand before and behind those of a command.
    CArguments GetArguments();

    /// Sets all variables. Answers an exit code where that is all: after the help or the version,
    /// which go to standard output, or after an error, told on standard error.
    std::optional<int> Take(int argc, char const* const* argv);

private:
    std::unique_ptr<CLI::App> mApp;
};
