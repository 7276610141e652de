// What is known of the volume that a path is on, as texts by key: a local device's from the
// registry of devices or the system's own files, a server's from the record that it was mounted
// with.
//
// Nothing throws but for exhausted memory, and nothing is kept: what can't be told is left out.
// Text is UTF-8. Any thread may call. A server that doesn't answer can hold up all but the rules.
#pragma once

#include "desktop/platform/CBasicVolumePlatform.h"
#include "files/CBasicFileSpec.h"

#include <string>
#include <string_view>

// The keys. Each is a constant of the same name on macOS (desktop/propertiesForPath.h).

inline constexpr char kVolumeFSTypeName[] = "NSWorkspace_VPfstypename";
inline constexpr char kVolumeMountPoint[] = "NSWorkspace_VPmntonname";
/// The mount's source; for a volume of an Apple file server the server's name.
inline constexpr char kVolumeMountSource[] = "NSWorkspace_VPmntfromname";
/// What the device and those above it call themselves, split by "; ".
inline constexpr char kVolumeDeviceInfo[] = "NSWorkspace_VPdeviceinfo";
/// Path or URL of the file that the volume is an image in.
inline constexpr char kVolumeImagePath[] = "NSWorkspace_VPimagefilepath";
/// How the device is attached, split by "; ".
inline constexpr char kVolumeConnection[] = "NSWorkspace_VPconnectiontype";
inline constexpr char kVolumePartitionScheme[] = "NSWorkspace_VPpartitionscheme";
/// "Rotational", "Solid State" or any other word.
inline constexpr char kVolumeMedium[] = "NSWorkspace_VPmediumtype";
inline constexpr char kVolumeServerURL[] = "NSWorkspace_VPserverURL";

/// All that is known of the volume of `path`. Empty if the system knows no mount for it, otherwise
/// with at least the type's name, the mount point and the source.
VolumeProperties PropertiesForPath(std::string const& path);

/// Five of these. Text that isn't known comes out empty; a null pointer isn't written to.
void PropertiesForPathWrapper(std::string const& path,
                              std::string* mountPoint,
                              std::string* imagePath,
                              std::string* serverURL,
                              std::string* fsType,
                              std::string* mediumType);

/// Whether a volume is on the network: it has a server, or its file system is one of those that
/// always have. Types are compared exactly.
bool IsNetworkVolume(std::string_view fsType, std::string_view serverURL);

/// The medium that a word stands for; `cVolumeUnknown` for all but two.
CBasicFileSpec::VolumeType VolumeTypeOf(std::string_view mediumType);
