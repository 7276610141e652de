#include "system/platform/ProcFiles.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <set>
#include <system_error>
#include <tuple>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

bool ToNumber(std::string_view text, long& number)
{
    return std::from_chars(text.data(), text.data() + text.size(), number).ec == std::errc{};
}

// The field of a line whose fields are parted by single blanks, counted from 0; empty if there are
// fewer.
std::string_view FieldOf(std::string_view line, int index)
{
    for (; index > 0; --index) {
        std::size_t const blank = line.find(' ');
        if (blank == std::string_view::npos) return {};
        line.remove_prefix(blank + 1);
    }
    return line.substr(0, line.find(' '));
}

bool IsProcessorName(std::string_view name)
{
    return name.size() > 3 && name.substr(0, 3) == "cpu" &&
           std::all_of(name.begin() + 3, name.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// In a loop that can't throw: a processor may come or go while the folder is read.
std::vector<fs::path> ProcessorsIn(std::string const& folder)
{
    std::vector<fs::path> processors;
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        if (IsProcessorName(entry->path().filename().native())) processors.push_back(entry->path());
    }
    return processors;
}

// A number of a processor's topology. False, and `number` as it was, if there is none.
bool ReadTopology(fs::path const& processor, char const* name, long& number)
{
    std::string line;
    std::ifstream file(processor / "topology" / name);
    std::getline(file, line);
    return ToNumber(line, number);
}

}  // namespace

std::string ReadProcFile(char const* path)
{
    constexpr std::size_t kPiece = 16384;
    std::string content;
    int const descriptor = open(path, O_RDONLY | O_CLOEXEC);
    if (descriptor == -1) return content;
    for (;;) {
        std::size_t const size = content.size();
        content.resize(size + kPiece);
        ssize_t const count = read(descriptor, content.data() + size, kPiece);
        content.resize(size + static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        if (count <= 0) break;
    }
    close(descriptor);
    return content;
}

// The name of the program stands in front, in parentheses, and may hold blanks and parentheses.
bool HasEnded(std::string_view stat)
{
    constexpr int kState = 1;
    constexpr int kThreadCount = 18;
    std::size_t const nameEnd = stat.rfind(')');
    if (nameEnd == std::string_view::npos) return false;
    stat.remove_prefix(nameEnd);

    std::string_view const state = FieldOf(stat, kState);
    long threadCount = 0;
    return (state == "Z" || state == "X" || state == "x") &&
           ToNumber(FieldOf(stat, kThreadCount), threadCount) && threadCount <= 1;
}

bool FindBootTime(std::string_view stat, long& seconds)
{
    constexpr std::string_view kName = "\nbtime ";
    std::size_t const place = stat.find(kName);
    return place != std::string_view::npos && ToNumber(stat.substr(place + kName.size()), seconds);
}

int CountProcessorsIn(std::string const& folder)
{
    return static_cast<int>(ProcessorsIn(folder).size());
}

int CountCoresIn(std::string const& folder)
{
    std::set<std::tuple<long, long, long>> cores;
    for (fs::path const& processor : ProcessorsIn(folder)) {
        long package = 0;
        long die = 0;  // older kernels know none
        long core = 0;
        ReadTopology(processor, "die_id", die);
        if (ReadTopology(processor, "physical_package_id", package) &&
            ReadTopology(processor, "core_id", core)) {
            cores.emplace(package, die, core);
        }
    }
    return static_cast<int>(cores.size());
}
