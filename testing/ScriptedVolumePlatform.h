// Volumes, devices and mount records that say what a test told them to.
#pragma once

#include "desktop/platform/CBasicVolumePlatform.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <string>
#include <vector>

/// An entry of the registry as a test makes it.
struct ScriptedDevice
{
    std::string mClass;
    std::vector<std::string> mBases;  ///< the classes that its own is derived from
    RegistryProperties mProperties;
    std::vector<ScriptedDevice const*> mParents;  // not owned
};

class ScriptedRegistryEntry final : public CBasicRegistryEntry
{
public:
    /// `device` outlives the entry. `log` gets the class of each entry that is read.
    explicit ScriptedRegistryEntry(ScriptedDevice const& device,
                                   std::vector<std::string>* log = nullptr)
        : mDevice(device)
        , mLog(log)
    {
    }

    RegistryEntries GetParents() const override { return EntriesOf(mDevice.mParents, mLog); }

    RegistryProperties GetProperties() const override
    {
        if (mLog) mLog->push_back(mDevice.mClass);
        return mDevice.mProperties;
    }

    bool ConformsTo(char const* className) const override
    {
        auto const& bases = mDevice.mBases;
        return mDevice.mClass == className ||
               std::find(bases.begin(), bases.end(), className) != bases.end();
    }

    std::string GetClassName() const override { return mDevice.mClass; }

    static RegistryEntries EntriesOf(std::vector<ScriptedDevice const*> const& devices,
                                     std::vector<std::string>* log)
    {
        RegistryEntries entries;
        for (ScriptedDevice const* const device : devices)
            entries.push_back(std::make_unique<ScriptedRegistryEntry>(*device, log));
        return entries;
    }

private:
    ScriptedDevice const& mDevice;
    std::vector<std::string>* mLog;  // not owned
};

/// Answers are plain fields, set before the code under test runs. What isn't set fails.
class ScriptedVolumePlatform final : public CBasicVolumePlatform
{
public:
    bool GetMount(std::string const& path, VolumeMount& mount) override
    {
        mCalls.push_back("GetMount " + path);
        if (mMount) mount = *mMount;
        return mMount.has_value();
    }

    RegistryEntries FindDevice(std::string const& name) override
    {
        mCalls.push_back("FindDevice " + name);
        return ScriptedRegistryEntry::EntriesOf(mDevices, nullptr);
    }

    bool GetMountRecord(std::string const& path, std::string& record) override
    {
        mCalls.push_back("GetMountRecord " + path);
        if (mRecord) record = *mRecord;
        return mRecord.has_value();
    }

    void AddProperties(VolumeMount const& mount, VolumeProperties& properties) override
    {
        mCalls.push_back("AddProperties " + mount.mSource);
        for (auto const& [key, value] : mProperties)
            properties[key] = value;
    }

    std::optional<VolumeMount> mMount;
    std::vector<ScriptedDevice const*> mDevices;  // not owned
    std::optional<std::string> mRecord;
    VolumeProperties mProperties;
    std::vector<std::string> mCalls;
};
