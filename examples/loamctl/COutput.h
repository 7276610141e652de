// Where results go: standard output through one buffer, in colour or not, as text or JSON Lines.
//
// Nothing that a document or a file name holds reaches a terminal as a control character.
#pragma once

#include <exception>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

struct OutputOptions
{
    enum class Color
    {
        kAuto,  ///< on a terminal, unless NO_COLOR is set or TERM is "dumb"
        kAlways,
        kNever,
    };

    bool mJSON = false;
    bool mVerbose = false;  ///< say on standard error what was passed over
    Color mColor = Color::kAuto;
};

/// The reader of our output has had enough, as `head` has.
class COutputClosed : public std::exception
{
};

class COutput
{
public:
    enum class Style
    {
        kPath,
        kPlace,
        kHit,
        kFaint,
    };

    explicit COutput(OutputOptions const& options);
    COutput(COutput const&) = delete;
    COutput& operator=(COutput const&) = delete;

    bool IsJSON() const { return mOptions.mJSON; }

    bool IsVerbose() const { return mOptions.mVerbose; }

    /// Somebody looks on, or asked for it.
    bool WantsTotals() const { return mErrorTerminal || mOptions.mVerbose; }

    /// Standard output is a terminal, so that people read it as it comes.
    bool IsTerminal() const { return mTerminal; }

    /// Adds text as it is: what comes from a file goes through `SafeText` or `SafeName` before.
    void Add(std::string_view text);
    /// Ends a line. On a terminal, call `Flush` where a reader should see it.
    void EndLine();
    /// Adds an object as one line.
    void AddJSON(nlohmann::ordered_json const& object);
    /// `text` between the terminal's codes for the style, if colours are on.
    std::string Painted(Style style, std::string_view text) const;

    /// Writes what was added. Throws `COutputClosed`, or `std::system_error` for any other failure.
    void Flush();

    /// Says on standard error, after what was added, "loamctl: " and the text, a line.
    void Complain(std::string_view text);
    /// The same without the program's name, for what is no error.
    void Note(std::string_view text);

    /// Shows what is being done on the last line of the terminal, if standard error is one: some
    /// tenths of a second after the start, and then a few times a second.
    void ShowProgress(long long files, long long bytes, std::string_view path);
    void ClearProgress();

private:
    OutputOptions mOptions;
    bool mTerminal;
    bool mErrorTerminal;
    bool mColored;
    bool mProgressShown = false;
    long long mNextProgress;  // steady clock, in milliseconds
    std::string mBuffer;
};
