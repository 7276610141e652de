#include "loamctl/COutput.h"

#include <cstdlib>

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "loamctl/CBasicSink.h"

namespace {

constexpr std::size_t kBufferSize = 65536;

bool WantsColor(OutputOptions::Color color, bool terminal)
{
    if (color != OutputOptions::Color::kAuto) return color == OutputOptions::Color::kAlways;
    char const* const noColor = std::getenv("NO_COLOR");
    char const* const kind = std::getenv("TERM");
    bool const dumb = kind && std::string_view(kind) == "dumb";
    return terminal && !dumb && (!noColor || !*noColor);
}

char const* CodeOf(COutput::Style style)
{
    switch (style) {
    case COutput::Style::kPath:
        return "\x1b[1;35m";
    case COutput::Style::kPlace:
        return "\x1b[32m";
    case COutput::Style::kHit:
        return "\x1b[1;31m";
    case COutput::Style::kFaint:
        return "\x1b[2m";
    }
    return "";
}

}  // namespace

COutput::COutput(OutputOptions const& options, CBasicSink& sink)
    : mOptions(options)
    , mSink(sink)
    , mTerminal(isatty(STDOUT_FILENO) == 1)
    , mErrorTerminal(isatty(STDERR_FILENO) == 1)
    , mColored(!options.mJSON && WantsColor(options.mColor, mTerminal))
{
}

COutput::COutput(COutput const& model, CBasicSink& sink)
    : mOptions(model.mOptions)
    , mSink(sink)
    , mTerminal(model.mTerminal)
    , mErrorTerminal(model.mErrorTerminal)
    , mColored(model.mColored)
{
}

void COutput::Add(std::string_view text)
{
    mBuffer += text;
}

void COutput::EndLine()
{
    AddLines("\n");
}

void COutput::AddLines(std::string_view lines)
{
    mBuffer += lines;
    if (mBuffer.size() >= kBufferSize) Flush();
}

void COutput::AddJSON(nlohmann::ordered_json const& object)
{
    // Names of files may hold what is no Unicode text.
    Add(object.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace));
    EndLine();
}

std::string COutput::Painted(Style style, std::string_view text) const
{
    if (!mColored) return std::string(text);
    return fmt::format("{}{}\x1b[0m", CodeOf(style), text);
}

void COutput::Flush()
{
    if (mBuffer.empty()) return;
    // Lines that could not be written are not tried again.
    std::string lines;
    lines.swap(mBuffer);
    mSink.Write(lines);
    lines.clear();
    mBuffer.swap(lines);
}

void COutput::BeginGroup()
{
    if (!mTerminal) return;
    Flush();
    mSink.BeginGroup();
}

void COutput::Complain(std::string_view text)
{
    Note(fmt::format("loamctl: {}", text));
}

void COutput::Note(std::string_view text)
{
    AddError(fmt::format("{}\n", text));
}

void COutput::AddError(std::string_view lines)
{
    Flush();
    mSink.WriteError(lines);
}
