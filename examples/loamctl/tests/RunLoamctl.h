// Runs the built loamctl as a child, as a user would.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>
#include <sys/types.h>

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

/// loamctl at work, for tests that meddle with it.
class StLoamctl
{
public:
    /// With these descriptors for standard output and error, which stay the caller's.
    StLoamctl(std::vector<std::string> const& arguments, int output, int error);
    StLoamctl(StLoamctl const&) = delete;
    StLoamctl& operator=(StLoamctl const&) = delete;
    /// Kills it if nobody has waited for it.
    ~StLoamctl();

    void Signal(int signal) const;

    pid_t Id() const { return mChild; }

    /// Blocks until it has ended. 128 and more: ended by a signal, which is told by `WasKilled`
    /// from an exit code of that size.
    int Wait();

    bool WasKilled() const { return mKilled; }

private:
    pid_t mChild;
    bool mKilled = false;
};

/// A pipe, or a terminal: what is written to the one end comes out of the other.
class StChannel
{
public:
    /// Throws `std::runtime_error` if there is none to be had.
    static StChannel Pipe();
    static StChannel Terminal();
    StChannel(StChannel const&) = delete;
    StChannel& operator=(StChannel const&) = delete;
    ~StChannel();

    /// Closes the end for writing.
    void CloseIn();
    /// Writes until nothing more goes in.
    void Fill() const;
    /// Blocks until `text` has come, or the other end is closed, and answers all that has come.
    std::string ReadUntil(std::string const& text) const;
    std::string ReadAll() const;

    int Out() const { return mOut; }  ///< for reading

    int In() const { return mIn; }  ///< for writing

private:
    StChannel(int out, int in);

    int mOut;
    int mIn;
};

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
