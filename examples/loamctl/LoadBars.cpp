#include "loamctl/LoadBars.h"

#include <algorithm>
#include <cmath>
#include <string_view>

#include <fmt/format.h>

namespace {

constexpr int kSteps = 8;  // of a character
constexpr std::string_view kPartOfCell[] = {"", "▏", "▎", "▍", "▌", "▋", "▊", "▉"};
constexpr std::string_view kFullCell = "█";

constexpr int kCells = 12;
constexpr int kColumns = 4 + kCells + 5;  // number, bar and percent, each with its blank
constexpr int kGap = 2;

}  // namespace

std::string BarOf(float load, int cells)
{
    // Written so that what is no number becomes 0.
    double const part = load > 0 ? std::min<double>(load, 1) : 0;
    int const steps = static_cast<int>(std::lround(part * cells * kSteps));
    std::string bar;
    for (int i = 0; i < steps / kSteps; ++i)
        bar += kFullCell;
    bar += kPartOfCell[steps % kSteps];
    int const used = (steps + kSteps - 1) / kSteps;
    return bar.append(static_cast<std::size_t>(cells - used), ' ');
}

std::string PercentOf(float load)
{
    return std::isfinite(load) ? fmt::format("{:.0f}%", load * 100) : "?";
}

std::vector<std::string> LinesOfBars(std::vector<float> const& loads, int width, int height)
{
    auto const perLine = static_cast<std::size_t>(std::max((width + kGap) / (kColumns + kGap), 1));
    std::size_t const lineCount = std::min((loads.size() + perLine - 1) / perLine,
                                           static_cast<std::size_t>(std::max(height, 0)));
    std::vector<std::string> lines(lineCount);
    for (std::size_t i = 0; i < std::min(loads.size(), lineCount * perLine); ++i) {
        std::string& line = lines[i / perLine];
        if (!line.empty()) line.append(kGap, ' ');
        line += fmt::format("{:>3} {}{:>5}", i, BarOf(loads[i], kCells), PercentOf(loads[i]));
    }
    return lines;
}
