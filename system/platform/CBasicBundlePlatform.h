// What process control needs to find, load and look inside the desktop's bundles. A system without
// bundles answers null and false to all of it.
//
// Operations ask one question or give one order in plain types, never throw, decide nothing and may
// be called from any thread. Texts are UTF-8.
#pragma once

#include <string>

class CBasicBundlePlatform
{
public:
    CBasicBundlePlatform() = default;
    CBasicBundlePlatform(CBasicBundlePlatform const&) = delete;
    CBasicBundlePlatform& operator=(CBasicBundlePlatform const&) = delete;
    virtual ~CBasicBundlePlatform() = default;

    /// The bundle of this process with that identifier, not owned; null if there is none.
    virtual void* GetBundle(char const* identifier) = 0;

    /// The bundle in a folder, which the caller releases; null if the path can't be read as one or
    /// there is no bundle.
    virtual void* CreateBundle(char const* path) = 0;

    /// Loads a bundle's code, and tells whether it is there.
    virtual bool LoadExecutable(void* bundle) = 0;

    /// The address of a function in a bundle's code; null if there is none.
    virtual void* GetFunction(void* bundle, char const* name) = 0;

    /// The address of a variable in a bundle's code; null if there is none.
    virtual void* GetVariable(void* bundle, char const* name) = 0;

    /// What the main bundle says of itself, not owned; null if there is nothing.
    virtual void const* GetMainInfo() = 0;

    /// A string object, which the caller releases; null if the text isn't UTF-8.
    virtual void const* CreateString(char const* text) = 0;

    /// Releases what one of the two operations with Create in their names gave, which isn't null.
    virtual void Release(void const* object) = 0;

    /// The path of the program in the bundle at `path`, of at most 1023 bytes. False, and
    /// `executable` as it was, if there is none.
    virtual bool GetExecutable(char const* path, std::string& executable) = 0;
};

/// The platform in use. Any thread may call.
CBasicBundlePlatform& BundlePlatform();

/// A new one of the system's own, which the caller owns. Defined in the system's file.
CBasicBundlePlatform* NewBundlePlatform();

/// Puts another platform in use for a scope. For tests, while no other thread asks for bundles.
class StBundlePlatform
{
public:
    /// `platform` belongs to the caller and outlives the guard.
    explicit StBundlePlatform(CBasicBundlePlatform& platform);
    StBundlePlatform(StBundlePlatform const&) = delete;
    StBundlePlatform& operator=(StBundlePlatform const&) = delete;
    ~StBundlePlatform();

private:
    CBasicBundlePlatform* mFormer;  // not owned
};
