#include "system/platform/PowerSupplies.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

namespace {

namespace fs = std::filesystem;

// The supplies of the machine, as far as they matter.
struct Supplies
{
    std::vector<std::string> mStoreStatus;  // of each battery and UPS
    long mAdapters = 0;
    long mOnlineAdapters = 0;
};

// The first line of a supply's file; empty where there is none, or where the supply has just gone.
std::string Attribute(fs::path const& supply, char const* name)
{
    std::string line;
    std::ifstream file(supply / name);
    std::getline(file, line);
    return line;
}

void AddSupply(fs::path const& supply, Supplies& supplies)
{
    std::string const type = Attribute(supply, "type");
    if (type.empty()) return;
    if (Attribute(supply, "scope") == "Device") return;
    if (Attribute(supply, "present") == "0") return;
    if (type == "Battery" || type == "UPS") {
        supplies.mStoreStatus.push_back(Attribute(supply, "status"));
        return;
    }
    // 1 is online, 2 is online with a voltage that was asked for.
    std::string const online = Attribute(supply, "online");
    supplies.mAdapters += 1;
    supplies.mOnlineAdapters += online == "1" || online == "2" ? 1 : 0;
}

// In a loop that can't throw: the folder may change while it is read.
Supplies SuppliesIn(std::string const& folder)
{
    Supplies supplies;
    std::error_code error;
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error))
        AddSupply(entry->path(), supplies);
    return supplies;
}

}  // namespace

std::vector<PowerSourceState> ReadPowerSupplies(std::string const& folder)
{
    Supplies const supplies = SuppliesIn(folder);
    auto const& status = supplies.mStoreStatus;
    bool const isDrawn = std::find(status.begin(), status.end(), "Discharging") != status.end();
    bool const isUnplugged = supplies.mAdapters > 0 && supplies.mOnlineAdapters == 0;

    std::vector<PowerSourceState> sources(static_cast<unsigned long>(supplies.mOnlineAdapters),
                                          kPowerSourceOnAC);
    for (std::string const& store : status) {
        bool const isOnAC = store == "Charging" || (!isDrawn && (store == "Full" || !isUnplugged));
        sources.push_back(isOnAC ? kPowerSourceOnAC : kPowerSourceNotOnAC);
    }
    return sources;
}
