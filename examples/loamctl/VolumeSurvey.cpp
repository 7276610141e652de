#include "loamctl/VolumeSurvey.h"

#include <algorithm>
#include <cstddef>
#include <memory>

#include "concurrency/CMutex.h"
#include "concurrency/StMutexLocker.h"
#include "files/CFileSpecIterator.h"
#include "loamctl/AskPatiently.h"
#include "marl/HierarchicalException.h"

namespace {

// Lives as long as anybody still asks.
struct Survey
{
    CMutex mMutex;
    std::vector<VolumeRow> mRows;  // guarded by mMutex
};

VolumeRow PropertiesOf(std::string const& path)
{
    VolumeRow row;
    row.mPath = path;
    CFileSpec(path, false)
        .GetVolumeInfo(row.mMountPoint, row.mImage, row.mServer, row.mFileSystem, row.mIsNetwork,
                       row.mMedium);
    row.mHasAnswered = true;
    return row;
}

void AddSize(VolumeRow& row)
{
    try {
        CFileSpec const volume(row.mMountPoint, false);
        row.mCapacity = volume.GetDiskCapacity();
        row.mAvailable = volume.GetAvailableDiskSpace();
    } catch (HierarchicalException const&) {
        row.mCapacity = -1;
    }
    row.mHasToldSize = true;
}

std::vector<VolumeRow> RowsOf(Survey& survey)
{
    StMutexLocker const lock(survey.mMutex);
    return survey.mRows;
}

// The places of those whose size can be asked for, local ones first.
std::vector<std::size_t> OrderOf(std::vector<VolumeRow> const& rows)
{
    std::vector<std::size_t> order;
    for (std::size_t i = 0; i < rows.size(); ++i) {
        if (!rows[i].mMountPoint.empty()) order.push_back(i);
    }
    std::stable_partition(order.begin(), order.end(),
                          [&](std::size_t i) { return !rows[i].mIsNetwork; });
    return order;
}

}  // namespace

std::vector<std::string> ListVolumes()
{
    std::vector<std::string> paths;
    CFileSpecIterator volumes{CFileSpec(CFileSpec::cContainerAllVolumes)};
    for (CFileSpec volume; volumes.Next(&volume);) {
        std::string path;
        volume.GetFullPath8bit(&path);
        if (!path.empty()) paths.push_back(path);
    }
    return paths;
}

std::vector<VolumeRow> SurveyVolumes(std::vector<std::string> const& paths)
{
    auto const survey = std::make_shared<Survey>();
    for (std::string const& path : paths) {
        survey->mRows.emplace_back();
        survey->mRows.back().mPath = path;
    }
    auto const put = [survey](std::size_t place, VolumeRow const& row) {
        StMutexLocker const lock(survey->mMutex);
        survey->mRows[place] = row;
    };
    AskPatiently(paths.size(), [paths, put](std::size_t i) { put(i, PropertiesOf(paths[i])); });

    std::vector<VolumeRow> const rows = RowsOf(*survey);
    std::vector<std::size_t> const order = OrderOf(rows);
    AskPatiently(order.size(), [rows, order, put](std::size_t i) {
        VolumeRow row = rows[order[i]];
        AddSize(row);
        put(order[i], row);
    });
    return RowsOf(*survey);
}
