// Power sources as the Linux kernel lists them: a folder with one folder for each supply, which
// holds small text files (kernel documentation, ABI/testing/sysfs-class-power).
#pragma once

#include "system/platform/CBasicPowerPlatform.h"

#include <string>
#include <vector>

/// The machine's sources among the supplies in `folder`, a path in UTF-8; none if there is no such
/// folder. A battery or UPS (by its "type") is a source whose state follows from its "status":
///
/// - Charging: on AC.
/// - Discharging: not on AC.
/// - Full: on AC, unless another one discharges, since then this one is merely kept for later.
/// - all else (Not charging, Unknown, none): as Full, but not on AC if adapters are listed and none
///   of them is online.
///
/// Every other type is an adapter: a source on AC while it is online, and none otherwise. Supplies
/// of a device ("scope" Device: mice, headsets) and empty bays ("present" 0) aren't the machine's.
std::vector<PowerSourceState> ReadPowerSupplies(std::string const& folder);
