#include "loamctl/Charset.h"

#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "loamctl/COutput.h"
#include "loamctl/CharsetGuess.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "loamctl/Interruption.h"
#include "loamctl/WholeFile.h"
#include "marl/HierarchicalException.h"

namespace {

constexpr char const* kNotes =
    R"(Each line holds the charset, the next best one and the file, and why: a byte-order mark, the
zero bytes of UTF-16, escape sequences, well-formed UTF-8, or letters that fit a language. "-"
stands for none. windows-1252 stands for ISO-8859-1 too, all of whose characters it has.)";

void Show(std::string const& path, CharsetGuess const& guess, COutput& output)
{
    if (output.IsJSON()) {
        nlohmann::ordered_json object{{"type", "charset"}, {"path", path}};
        if (!guess.mCharset.empty()) object["charset"] = guess.mCharset;
        if (!guess.mRunnerUp.empty()) object["runner_up"] = guess.mRunnerUp;
        object["reason"] = guess.mReason;
        output.AddJSON(object);
        return;
    }
    auto const shown = [](std::string const& name) { return name.empty() ? "-" : name; };
    output.Add(fmt::format("{:<15} {:<15} ", shown(guess.mCharset), shown(guess.mRunnerUp)));
    output.Add(output.Painted(COutput::Style::kPath, SafeName(path)));
    output.Add("  ");
    output.Add(output.Painted(COutput::Style::kFaint, fmt::format("({})", guess.mReason)));
    output.EndLine();
}

// 0, 1 if the charset of a file can't be told, 2 if one can't be read.
int TellCharsets(std::vector<std::string> const& paths, COutput& output)
{
    bool told = true;
    bool failed = false;
    for (std::string const& path : paths) {
        ThrowIfInterrupted();
        try {
            CharsetGuess const guess = GuessCharset(ReadWholeFile(path));
            Show(path, guess, output);
            told = told && !guess.mCharset.empty();
        } catch (HierarchicalException const& failure) {
            output.Complain(fmt::format("{}: {}", SafeName(path), DescribeFailure(failure)));
            failed = true;
        } catch (CUsageError const& error) {
            output.Complain(error.what());
            failed = true;
        }
    }
    if (failed) return 2;
    return told ? 0 : 1;
}

}  // namespace

Command AddCharset(CArguments program)
{
    CArguments charset = program.AddCommand("charset", "Tell which charset files are in");
    auto const paths = std::make_shared<std::vector<std::string>>();
    charset.Add("FILE", *paths, "The files").Required();
    charset.SetNotes(kNotes);
    return {charset, [paths](Session& session) { return TellCharsets(*paths, session.mOutput); }};
}
