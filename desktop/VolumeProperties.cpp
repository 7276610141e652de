#include "desktop/VolumeProperties.h"

#include "desktop/VolumeMountRecord.h"
#include "desktop/VolumeRegistry.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

namespace {

constexpr std::string_view kDevices = "/dev/";

// These come over the network whether or not their server is known.
constexpr std::string_view kNetworkTypes[] = {"nfs",  "afpfs", "webdav", "smbfs",
                                              "cifs", "ncp",   "acfs",   "ftp"};

void AddDevice(std::string const& name, VolumeProperties& properties)
{
    for (auto const& entry : VolumePlatform().FindDevice(name)) {
        // Of several entries the last one that says something tells what the device is.
        std::optional<std::string> info = CheckParents(*entry, std::nullopt, properties);
        if (info) properties[kVolumeDeviceInfo] = *std::move(info);
    }
}

// The record may also know a better source than the mount itself.
void AddServer(std::string const& path, std::string& source, VolumeProperties& properties)
{
    std::string record;
    if (!VolumePlatform().GetMountRecord(path, record)) return;
    ServerVolume server = ReadMountRecord(record, source);
    if (server.mName) source = *std::move(server.mName);
    if (server.mURL) properties[kVolumeServerURL] = *std::move(server.mURL);
}

void CopyProperty(VolumeProperties const& properties, char const* key, std::string* text)
{
    if (!text) return;
    auto const found = properties.find(key);
    if (found == properties.end()) {
        text->clear();
    } else {
        *text = found->second;
    }
}

}  // namespace

VolumeProperties PropertiesForPath(std::string const& path)
{
    VolumeMount mount;
    if (!VolumePlatform().GetMount(path, mount)) return {};

    VolumeProperties properties;
    properties[kVolumeFSTypeName] = mount.mType;
    properties[kVolumeMountPoint] = mount.mMountPoint;
    std::string source = mount.mSource;
    if (source.compare(0, kDevices.size(), kDevices) == 0) {
        AddDevice(source.substr(kDevices.size()), properties);
    } else {
        AddServer(path, source, properties);
    }
    VolumePlatform().AddProperties(mount, properties);
    properties[kVolumeMountSource] = std::move(source);
    return properties;
}

void PropertiesForPathWrapper(std::string const& path,
                              std::string* mountPoint,
                              std::string* imagePath,
                              std::string* serverURL,
                              std::string* fsType,
                              std::string* mediumType)
{
    VolumeProperties const properties = PropertiesForPath(path);
    CopyProperty(properties, kVolumeMountPoint, mountPoint);
    CopyProperty(properties, kVolumeImagePath, imagePath);
    CopyProperty(properties, kVolumeServerURL, serverURL);
    CopyProperty(properties, kVolumeFSTypeName, fsType);
    CopyProperty(properties, kVolumeMedium, mediumType);
}

bool IsNetworkVolume(std::string_view fsType, std::string_view serverURL)
{
    return !serverURL.empty() || std::find(std::begin(kNetworkTypes), std::end(kNetworkTypes),
                                           fsType) != std::end(kNetworkTypes);
}

CBasicFileSpec::VolumeType VolumeTypeOf(std::string_view mediumType)
{
    if (mediumType == "Rotational") return CBasicFileSpec::cVolumeRotational;
    if (mediumType == "Solid State") return CBasicFileSpec::cVolumeSolidState;
    return CBasicFileSpec::cVolumeUnknown;
}
