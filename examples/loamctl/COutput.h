// What people and programs get to see: lines in one buffer, in colour or not, as text or JSON
// Lines.
//
// Nothing that a document or a file name holds reaches a terminal as a control character. Each
// thread has an output of its own.
#pragma once

#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

class CBasicSink;

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

    /// `sink` gets what is added, and lives as long. What it throws comes through here.
    COutput(OutputOptions const& options, CBasicSink& sink);
    /// One for another thread that looks like `model`.
    COutput(COutput const& model, CBasicSink& sink);
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
    /// Ends a line. Some thousand of them are handed on together: call `Flush` where a reader
    /// should see them.
    void EndLine();
    /// Adds whole lines as they are.
    void AddLines(std::string_view lines);
    /// Adds an object as one line.
    void AddJSON(nlohmann::ordered_json const& object);
    /// `text` between the terminal's codes for the style, if colours are on.
    std::string Painted(Style style, std::string_view text) const;

    /// Hands on what was added.
    void Flush();

    /// Forgets what was added and not handed on.
    void Drop() { mBuffer.clear(); }

    /// What is added next belongs together, and is set apart on a terminal.
    void BeginGroup();

    /// Says on standard error, after what was added, "loamctl: " and the text, a line.
    void Complain(std::string_view text);
    /// The same without the program's name, for what is no error.
    void Note(std::string_view text);
    /// Whole lines for standard error, as they are, after what was added.
    void AddError(std::string_view lines);

private:
    OutputOptions mOptions;
    CBasicSink& mSink;
    bool mTerminal;
    bool mErrorTerminal;
    bool mColored;
    std::string mBuffer;
};
