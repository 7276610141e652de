// What the registry of devices says of a volume's device: its own entry leads up to partition
// schemes, disk images, drives and the bus, and each of them adds something.
//
// Nothing here is kept; any thread may call. Text is UTF-8.
#pragma once

#include "desktop/platform/CBasicVolumePlatform.h"

#include <optional>
#include <string>
#include <string_view>

/// Joins two texts so that nothing is said twice. The new one loses the white space and line ends
/// around it; if one contains the other, letter case set aside, the longer one stands, the old one
/// where both are alike; otherwise the result is "old; new". Text that isn't UTF-8 is compared byte
/// by byte.
std::string MergeTexts(std::optional<std::string> const& oldText, std::string_view newText);

/// Walks up from `entry` along all ways and puts into `properties` what it finds: the connection
/// grows by `MergeTexts`, while scheme, image and medium are those found last, which mostly is
/// highest up. Answers what the devices call themselves, `deviceInfo` included; nothing if none
/// says.
///
/// `entry` itself isn't asked. A PCI device is the end of the way. Limits: 64 entries up, and 1024
/// in all, so that entries in a circle come to an end.
std::optional<std::string> CheckParents(CBasicRegistryEntry const& entry,
                                        std::optional<std::string> deviceInfo,
                                        VolumeProperties& properties);
