#include "loamctl/COutput.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <system_error>

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <sys/ioctl.h>
#include <unistd.h>

#include "loamctl/DisplayText.h"

namespace {

constexpr std::size_t kBufferSize = 65536;
constexpr long long kFirstProgress = 300;  // milliseconds
constexpr long long kProgressStep = 100;

long long Now()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count();
}

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

// All of it, or the error that stopped it.
int WriteAll(int descriptor, std::string_view text)
{
    while (!text.empty()) {
        ssize_t const count = write(descriptor, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return errno;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return 0;
}

std::size_t TerminalWidth()
{
    winsize size{};
    bool const known = ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return known ? size.ws_col : 80;
}

}  // namespace

COutput::COutput(OutputOptions const& options)
    : mOptions(options)
    , mTerminal(isatty(STDOUT_FILENO) == 1)
    , mErrorTerminal(isatty(STDERR_FILENO) == 1)
    , mColored(!options.mJSON && WantsColor(options.mColor, mTerminal))
    , mNextProgress(Now() + kFirstProgress)
{
}

void COutput::Add(std::string_view text)
{
    mBuffer += text;
}

void COutput::EndLine()
{
    mBuffer += '\n';
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
    ClearProgress();
    int const error = WriteAll(STDOUT_FILENO, mBuffer);
    mBuffer.clear();
    if (error == EPIPE) throw COutputClosed();
    if (error != 0) throw std::system_error(error, std::generic_category(), "standard output");
}

void COutput::Complain(std::string_view text)
{
    Note(fmt::format("loamctl: {}", text));
}

void COutput::Note(std::string_view text)
{
    Flush();
    ClearProgress();
    WriteAll(STDERR_FILENO, fmt::format("{}\n", text));
}

void COutput::ShowProgress(long long files, long long bytes, std::string_view path)
{
    if (!mErrorTerminal) return;
    long long const now = Now();
    if (now < mNextProgress) return;
    mNextProgress = now + kProgressStep;
    std::string line =
        fmt::format("{}, {}  ", Counted(files, "file", "files"), SizeForPeople(bytes));
    std::string const name = SafeName(path);
    std::size_t const width = TerminalWidth() - 1;
    if (line.size() < width) {
        std::size_t cut = name.size() - std::min(name.size(), width - line.size());
        while (cut < name.size() && (name[cut] & 0xC0) == 0x80)
            ++cut;
        line += name.substr(cut);
    }
    WriteAll(STDERR_FILENO, fmt::format("\r\x1b[K\x1b[2m{}\x1b[0m", line));
    mProgressShown = true;
}

void COutput::ClearProgress()
{
    if (mProgressShown) WriteAll(STDERR_FILENO, "\r\x1b[K");
    mProgressShown = false;
}
