// Runs the built loamctl as a child, as a user would.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

struct RunResult
{
    int mExitCode = -1;  ///< 128 and more: ended by a signal
    std::string mOutput;
    std::string mError;
};

/// Runs loamctl with these arguments, standard output and error going to files.
RunResult RunLoamctl(std::vector<std::string> const& arguments);
/// The same from another working folder.
RunResult RunLoamctlIn(std::string const& folder, std::vector<std::string> const& arguments);
/// Runs a line of the shell, in which $LOAMCTL is the program and $DOCUMENTS the documents.
RunResult RunShell(std::string const& line);
/// Runs loamctl on a terminal of its own: both streams come as mOutput, with CR LF for each end of
/// line.
RunResult RunLoamctlOnTerminal(std::vector<std::string> const& arguments);

/// The objects of a JSON Lines output.
std::vector<nlohmann::json> ParseLines(std::string const& output);
/// Those of one type.
std::vector<nlohmann::json> ParseLines(std::string const& output, std::string const& type);

/// The path of something among the example documents.
std::string Document(std::string const& name);
/// The content of a file.
std::string ReadBytes(std::string const& path);
/// The bytes of a text in UTF-16, without a byte-order mark.
std::string AsUTF16(std::u16string_view text, bool bigEndian);
