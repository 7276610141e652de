// Bundles that a test made up, with a trace of what was asked.
#pragma once

#include "system/platform/CBasicBundlePlatform.h"

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// Answers are plain fields, set before the code under test runs.
class ScriptedBundlePlatform final : public CBasicBundlePlatform
{
public:
    void* GetBundle(char const* identifier) override
    {
        Note(std::string("GetBundle(") + identifier + ")");
        return mPresent.count(identifier) ? ObjectOf(identifier) : nullptr;
    }

    void* CreateBundle(char const* path) override
    {
        Note(std::string("CreateBundle(") + path + ")");
        return mInFolders.count(path) ? Hold(ObjectOf(path)) : nullptr;
    }

    bool LoadExecutable(void* bundle) override
    {
        Note("LoadExecutable(" + NameOf(bundle) + ")");
        return mCanLoad;
    }

    void* GetFunction(void* bundle, char const* name) override
    {
        Note("GetFunction(" + NameOf(bundle) + ", " + name + ")");
        auto const function = mFunctions.find(name);
        return function == mFunctions.end() ? nullptr : function->second;
    }

    void* GetVariable(void* bundle, char const* name) override
    {
        Note("GetVariable(" + NameOf(bundle) + ", " + name + ")");
        auto const variable = mVariables.find(name);
        return variable == mVariables.end() ? nullptr : variable->second;
    }

    void const* GetMainInfo() override
    {
        Note("GetMainInfo()");
        return ObjectOf("main info");
    }

    void const* CreateString(char const* text) override
    {
        Note(std::string("CreateString(") + text + ")");
        return mHasStrings ? Hold(ObjectOf(text)) : nullptr;
    }

    void Release(void const* object) override
    {
        Note("Release(" + NameOf(object) + ")");
        --mHeldObjects;
    }

    bool GetExecutable(char const* path, std::string& executable) override
    {
        Note(std::string("GetExecutable(") + path + ")");
        auto const found = mExecutables.find(path);
        if (found == mExecutables.end()) return false;
        executable = found->second;
        return true;
    }

    /// What an object was made from or found by.
    static std::string NameOf(void const* object)
    {
        return object ? *static_cast<std::string const*>(object) : "null";
    }

    /// The object of that name, the same in every call.
    void* ObjectOf(char const* name)
    {
        return const_cast<std::string*>(&*mNames.emplace(name).first);
    }

    std::set<std::string> mPresent;    ///< identifiers of bundles that are loaded
    std::set<std::string> mInFolders;  ///< folders that are bundles
    bool mCanLoad = true;
    bool mHasStrings = true;
    std::map<std::string, void*> mFunctions;
    std::map<std::string, void*> mVariables;
    std::map<std::string, std::string> mExecutables;  ///< by the path of the bundle

    /// What was created and not released.
    int mHeldObjects = 0;
    /// The operations called so far, in their order, with their arguments.
    std::vector<std::string> mCalls;

private:
    void Note(std::string call) { mCalls.push_back(std::move(call)); }

    void* Hold(void* object)
    {
        ++mHeldObjects;
        return object;
    }

    std::set<std::string> mNames;
};
