// What the kernel tells of a block device: in sysfs, small text files in a folder for each device
// (kernel documentation, ABI/stable/sysfs-block and ABI/testing/sysfs-block-loop).
//
// Reading them waits for no device. Any thread may call.
#pragma once

#include <string>

struct BlockDevice
{
    /// "Rotational" or "Solid State"; empty if the kernel doesn't say. Virtual disks mostly say
    /// what their host set.
    std::string mMedium;
    /// The file behind a loop device, as the kernel named it when it was attached, without the mark
    /// of one that is deleted by now; empty for other devices. Bytes, UTF-8 by custom.
    std::string mImagePath;
    /// Model, revision and vendor of the disks, split by "; "; empty if they have none.
    std::string mDeviceInfo;
};

/// The device of these numbers, by the sysfs at `root`, such as "/sys". A partition is looked up
/// with its disk, and what is mapped (device mapper, RAID) with all that lies under it: the medium
/// is rotational as soon as one part of it is. A loop device has the medium that the kernel gives
/// it, which is that of the disk its file is on. Empty if there is no such device.
BlockDevice
ReadBlockDevice(std::string const& root, unsigned int majorNumber, unsigned int minorNumber);
