// What there is to know about volumes, gathered without waiting for those that don't answer.
//
// On Linux a volume's properties come from the kernel's tables, at once, and only its size has to
// be asked of its server. On macOS both may block, and so may making the list of volumes, which
// nothing here can help.
#pragma once

#include <string>
#include <vector>

#include "files/CFileSpec.h"

struct VolumeRow
{
    bool mHasAnswered = false;  ///< to the first question: nothing else is known if not
    std::string mPath;          ///< as it was asked for
    std::string mMountPoint;    ///< this and the texts are empty where nothing is known
    std::string mImage;
    std::string mServer;
    std::string mFileSystem;
    bool mIsNetwork = false;
    CFileSpec::VolumeType mMedium = CFileSpec::cVolumeUnknown;

    bool mHasToldSize = false;  ///< or that there is none to tell
    long long mCapacity = -1;   ///< bytes, -1 if there is none
    long long mAvailable = -1;  ///< bytes that the user can still write, -1 if there is none
};

/// All volumes that have a path in UTF-8, in the system's order.
std::vector<std::string> ListVolumes();

/// A row for each path, about the volume that it is on. Takes two seconds more for volumes that
/// don't answer, and asks the local ones for their size first.
std::vector<VolumeRow> SurveyVolumes(std::vector<std::string> const& paths);
