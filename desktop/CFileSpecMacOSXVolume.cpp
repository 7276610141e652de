// What is known of the volume that the path is on.
#include "desktop/CFileSpecMacOSX.h"
#include "desktop/VolumeProperties.h"

void CFileSpecMacOSX::GetVolumeInfo(std::string& mountPoint,
                                    std::string& imagePath,
                                    std::string& serverURL,
                                    std::string& fileSystem,
                                    bool& isNetwork,
                                    CBasicFileSpec::VolumeType& type) const
{
    std::string path;
    std::string medium;
    GetFullPath8bit(&path);
    PropertiesForPathWrapper(path, &mountPoint, &imagePath, &serverURL, &fileSystem, &medium);
    isNetwork = IsNetworkVolume(fileSystem, serverURL);
    type = VolumeTypeOf(medium);
}
