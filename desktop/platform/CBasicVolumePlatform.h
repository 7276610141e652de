// What volume properties need of the system: the mount of a path, the registry of devices, and the
// record that a server's volume was mounted with.
//
// Operations ask one question in plain types, never throw and decide nothing; any thread may call.
// Text is UTF-8 unless it says otherwise. A server that doesn't answer can block each of them,
// unless it says otherwise.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

/// A mount in the system's own words.
struct VolumeMount
{
    std::string mType;        ///< of the file system
    std::string mMountPoint;  ///< absolute path
    std::string mSource;      ///< what is mounted, a device or any other text; may be empty
    // Where the system has no registry. Else nothing and 0.
    std::string mOptions;     ///< of the file system, split by commas
    unsigned int mMajor = 0;  ///< the device behind the files; 0 for one that is no block device
    unsigned int mMinor = 0;
};

/// What is known of a volume, by the keys of desktop/VolumeProperties.h.
using VolumeProperties = std::map<std::string, std::string, std::less<>>;

/// One level of what a registry entry says of itself, by key.
struct RegistryLevel
{
    std::map<std::string, std::string, std::less<>> mTexts;
    std::map<std::string, std::string, std::less<>> mData;  ///< any bytes
};

/// All that it says: values of other types than these, and what lies deeper, are left out.
struct RegistryProperties : RegistryLevel
{
    std::map<std::string, RegistryLevel, std::less<>> mDictionaries;
};

/// One entry of the registry of devices, which is a graph: an entry is attached to others.
class CBasicRegistryEntry
{
public:
    CBasicRegistryEntry() = default;
    CBasicRegistryEntry(CBasicRegistryEntry const&) = delete;
    CBasicRegistryEntry& operator=(CBasicRegistryEntry const&) = delete;
    virtual ~CBasicRegistryEntry() = default;

    /// The entries it is attached to, in the registry's order; empty on failure.
    virtual std::vector<std::unique_ptr<CBasicRegistryEntry>> GetParents() const = 0;
    /// Empty on failure.
    virtual RegistryProperties GetProperties() const = 0;
    /// Whether it is of that class or of one derived from it.
    virtual bool ConformsTo(char const* className) const = 0;
    /// Empty on failure.
    virtual std::string GetClassName() const = 0;
};

using RegistryEntries = std::vector<std::unique_ptr<CBasicRegistryEntry>>;

class CBasicVolumePlatform
{
public:
    CBasicVolumePlatform() = default;
    CBasicVolumePlatform(CBasicVolumePlatform const&) = delete;
    CBasicVolumePlatform& operator=(CBasicVolumePlatform const&) = delete;
    virtual ~CBasicVolumePlatform() = default;

    /// The mount that `path` is on, links followed. False if the path isn't there or the system
    /// doesn't tell. On Linux nothing blocks if `path` is a mount point.
    virtual bool GetMount(std::string const& path, VolumeMount& mount) = 0;
    /// The entries of a device, by its name without "/dev/"; none where there is no registry. Asks
    /// no server.
    virtual RegistryEntries FindDevice(std::string const& name) = 0;
    /// The record of the mount that `path` is on, as bytes. False if there is none.
    virtual bool GetMountRecord(std::string const& path, std::string& record) = 0;
    /// Adds what the system knows of the mount by other ways. Asks no server.
    virtual void AddProperties(VolumeMount const& mount, VolumeProperties& properties) = 0;
};

/// The platform in use. Any thread may call.
CBasicVolumePlatform& VolumePlatform();

/// A new one of the system's own, which the caller owns. Defined in the system's file.
CBasicVolumePlatform* NewVolumePlatform();

/// Puts another platform in use for a scope. For tests, while no other thread asks for volumes.
class StVolumePlatform
{
public:
    /// `platform` belongs to the caller and outlives the guard.
    explicit StVolumePlatform(CBasicVolumePlatform& platform);
    StVolumePlatform(StVolumePlatform const&) = delete;
    StVolumePlatform& operator=(StVolumePlatform const&) = delete;
    ~StVolumePlatform();

private:
    CBasicVolumePlatform* mFormer;  // not owned
};
