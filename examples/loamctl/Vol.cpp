#include "loamctl/Vol.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "loamctl/COutput.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Failure.h"
#include "loamctl/VolumeSurvey.h"

namespace {

constexpr char const* kNotes =
    R"(Without PATH all volumes, otherwise the one that PATH is on. Columns that would be empty are left
out. A volume that doesn't tell its size within two seconds, as one whose server has gone, says so.
Exit code 1 if no volume is known for PATH, 2 if one doesn't answer.)";

constexpr std::array<char const*, 9> kHeadings = {
    "MOUNT POINT", "TYPE", "NETWORK", "MEDIUM", "CAPACITY", "FREE", "USED", "IMAGE", "SERVER"};
constexpr std::size_t kCapacity = 4;  // the columns of numbers
constexpr std::size_t kFree = 5;
constexpr std::size_t kColumns = kHeadings.size();

using Cells = std::array<std::string, kColumns>;

char const* NameOf(CFileSpec::VolumeType medium)
{
    switch (medium) {
    case CFileSpec::cVolumeRotational:
        return "rotational";
    case CFileSpec::cVolumeSolidState:
        return "solid state";
    case CFileSpec::cVolumeUnknown:
        break;
    }
    return "";
}

// "[######....]  62%"
std::string BarOf(long long capacity, long long available)
{
    constexpr int kSteps = 10;
    double const share = 1 - static_cast<double>(available) / static_cast<double>(capacity);
    double const used = std::clamp(share, 0.0, 1.0);
    auto const filled = static_cast<std::size_t>(std::lround(used * kSteps));
    std::string const bar = std::string(filled, '#') + std::string(kSteps - filled, '.');
    return fmt::format("[{}] {:3.0f}%", bar, used * 100);
}

// A file system without a size of its own tells 0.
void AddSizeCells(VolumeRow const& row, Cells& cells)
{
    if (!row.mHasToldSize) cells[kCapacity] = "no answer";
    if (row.mCapacity <= 0) return;
    cells[kCapacity] = SizeForPeople(row.mCapacity);
    cells[kFree] = SizeForPeople(row.mAvailable);
    cells[kFree + 1] = BarOf(row.mCapacity, row.mAvailable);
}

Cells CellsOf(VolumeRow const& row)
{
    std::string const& point = row.mHasAnswered ? row.mMountPoint : row.mPath;
    Cells cells = {SafeName(point),
                   SafeName(row.mFileSystem),
                   row.mIsNetwork ? "yes" : "",
                   NameOf(row.mMedium),
                   "",
                   "",
                   "",
                   SafeName(row.mImage),
                   SafeName(row.mServer)};
    AddSizeCells(row, cells);
    return cells;
}

// Characters, each taken for one column of the terminal.
std::size_t WidthOf(std::string_view utf8)
{
    auto const begins = [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; };
    return static_cast<std::size_t>(std::count_if(utf8.begin(), utf8.end(), begins));
}

// 0 for a column that nobody has anything for.
std::array<std::size_t, kColumns> WidthsOf(std::vector<Cells> const& table)
{
    std::array<std::size_t, kColumns> widths{};
    for (Cells const& cells : table) {
        for (std::size_t i = 0; i < kColumns; ++i)
            widths[i] = std::max(widths[i], WidthOf(cells[i]));
    }
    for (std::size_t i = 0; i < kColumns; ++i) {
        if (widths[i] > 0) widths[i] = std::max(widths[i], WidthOf(kHeadings[i]));
    }
    return widths;
}

std::string LineOf(Cells const& cells, std::array<std::size_t, kColumns> const& widths)
{
    std::string line;
    for (std::size_t i = 0; i < kColumns; ++i) {
        if (widths[i] == 0) continue;
        std::string const gap(widths[i] - WidthOf(cells[i]), ' ');
        bool const isNumber = i == kCapacity || i == kFree;
        line += (isNumber ? gap + cells[i] : cells[i] + gap) + "  ";
    }
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

void ShowTable(std::vector<VolumeRow> const& rows, COutput& output)
{
    std::vector<Cells> table;
    table.reserve(rows.size());
    for (VolumeRow const& row : rows)
        table.push_back(CellsOf(row));
    auto const widths = WidthsOf(table);
    Cells headings;
    std::copy(kHeadings.begin(), kHeadings.end(), headings.begin());
    output.Add(output.Painted(COutput::Style::kFaint, LineOf(headings, widths)));
    output.EndLine();
    for (Cells const& cells : table) {
        output.Add(LineOf(cells, widths));
        output.EndLine();
    }
}

// What isn't known is left out.
void ShowJSON(VolumeRow const& row, COutput& output)
{
    nlohmann::ordered_json object{{"type", "volume"}};
    object["path"] = row.mHasAnswered ? row.mMountPoint : row.mPath;
    if (row.mHasAnswered) {
        object["file_system"] = row.mFileSystem;
        object["network"] = row.mIsNetwork;
    }
    if (row.mMedium != CFileSpec::cVolumeUnknown) object["medium"] = NameOf(row.mMedium);
    if (!row.mImage.empty()) object["image"] = row.mImage;
    if (!row.mServer.empty()) object["server"] = row.mServer;
    if (row.mCapacity >= 0) {
        object["capacity"] = row.mCapacity;
        object["free"] = row.mAvailable;
    }
    object["answered"] = row.mHasToldSize;
    output.AddJSON(object);
}

// True if all have answered.
bool Show(std::vector<VolumeRow> const& rows, COutput& output)
{
    if (output.IsJSON()) {
        for (VolumeRow const& row : rows)
            ShowJSON(row, output);
    } else if (!rows.empty()) {
        ShowTable(rows, output);
    }
    bool isComplete = true;
    for (VolumeRow const& row : rows) {
        if (row.mHasToldSize) continue;
        isComplete = false;
        output.Complain(SafeName(row.mPath) + ": the volume doesn't answer");
    }
    return isComplete;
}

int ShowAll(COutput& output)
{
    std::vector<VolumeRow> rows = SurveyVolumes(ListVolumes());
    // Gone since they were listed.
    std::erase_if(rows,
                  [](VolumeRow const& row) { return row.mHasAnswered && row.mMountPoint.empty(); });
    return Show(rows, output) ? 0 : 2;
}

int ShowOne(std::string const& path, COutput& output)
{
    std::string known;
    CFileSpec(path, false).GetFullPath8bit(&known);
    if (known.empty())
        throw CUsageError("a path that is not UTF-8 has no volume: " + SafeName(path));
    std::vector<VolumeRow> const rows = SurveyVolumes({path});
    if (rows[0].mHasAnswered && rows[0].mMountPoint.empty()) {
        output.Complain(SafeName(path) + ": no volume is known for it");
        return 1;
    }
    return Show(rows, output) ? 0 : 2;
}

}  // namespace

Command AddVol(CArguments program)
{
    CArguments vol = program.AddCommand("vol", "Tell the volumes, and what room there is");
    auto const path = std::make_shared<std::string>();
    vol.Add("PATH", *path, "Anything on the volume");
    vol.SetNotes(kNotes);
    return {vol, [path](Session& session) {
                return path->empty() ? ShowAll(session.mOutput) : ShowOne(*path, session.mOutput);
            }};
}
