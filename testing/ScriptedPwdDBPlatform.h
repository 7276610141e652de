// A store of passwords in memory, with a trace of what it was asked.
#pragma once

#include "security/platform/CBasicPwdDBPlatform.h"

#include <list>
#include <string>
#include <vector>

/// Answers are plain fields, set before the code under test runs.
class ScriptedPwdDBPlatform final : public CBasicPwdDBPlatform
{
public:
    struct Entry
    {
        bool mIsGeneric;
        std::string mServer;
        std::string mAccount;
        PwdEntryKey::Protocol mProtocol;
        unsigned short mPort;
        std::string mPassword;

        bool operator==(Entry const&) const = default;
    };

    bool HasStore() override { return Note("has"), mHasStore; }

    bool Unlock() override { return Note("unlock"), mAnswer; }

    bool Lock() override { return Note("lock"), mAnswer; }

    bool IsUnlocked() override { return Note("is unlocked"), mAnswer; }

    PwdSearchResult FindPassword(PwdEntryKey const& key, std::string* password) override
    {
        void* item = nullptr;
        PwdSearchResult const result = FindItem(key, &item);
        if (result != kPwdFound) return result;
        *password = static_cast<Entry*>(item)->mPassword;
        ReleaseItem(item);
        return result;
    }

    PwdSearchResult FindItem(PwdEntryKey const& key, void** item) override
    {
        Note("find");
        if (!mReplies) return kPwdNoAnswer;
        for (Entry& entry : mEntries) {
            if (!Matches(key, entry)) continue;
            ++mHeldItems;
            *item = &entry;
            return kPwdFound;
        }
        return kPwdNotFound;
    }

    void SetPassword(void* item, std::string const& password) override
    {
        Note("set");
        static_cast<Entry*>(item)->mPassword = password;
    }

    void DeleteItem(void* item) override
    {
        Note("delete");
        static_cast<Entry*>(item)->mServer = "(deleted)";
    }

    void ReleaseItem(void*) override { --mHeldItems; }

    void MakeEntry(PwdEntryKey const& key, std::string const& password) override
    {
        Note("make");
        mEntries.push_back(
            {key.mIsGeneric, key.mServer, key.mAccount, key.mProtocol, key.mPort, password});
    }

    bool mHasStore = true;
    bool mAnswer = true;
    bool mReplies = true;

    std::list<Entry> mEntries;
    std::vector<std::string> mTrace;
    int mHeldItems = 0;

private:
    void Note(char const* what) { mTrace.emplace_back(what); }

    static bool Matches(PwdEntryKey const& key, Entry const& entry)
    {
        return key.mIsGeneric == entry.mIsGeneric &&
               (key.mServer.empty() || key.mServer == entry.mServer) &&
               (key.mAccount.empty() || key.mAccount == entry.mAccount) &&
               (key.mProtocol == PwdEntryKey::kAny || key.mProtocol == entry.mProtocol) &&
               (key.mPort == 0 || key.mPort == entry.mPort);
    }
};
