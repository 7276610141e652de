// What the password store needs of the system.
//
// Operations give one order or answer one question in plain types, decide nothing and may be called
// from any thread. Nothing throws but memory that runs out.
#pragma once

#include <string>

/// What an entry is found by. In a look-up, empty texts, port 0 and `kAny` match anything.
struct PwdEntryKey
{
    enum Protocol
    {
        kSMTP,
        kIMAP,
        kPOP3,
        kAny,
    };

    bool mIsGeneric;
    std::string const& mServer;  ///< of a generic entry: the service
    std::string const& mAccount;
    Protocol mProtocol = kAny;  ///< not of a generic entry
    unsigned short mPort = 0;   ///< not of a generic entry
};

enum PwdSearchResult
{
    kPwdFound,
    kPwdNotFound,
    kPwdNoAnswer,  ///< nor is there any use in trying something else
};

class CBasicPwdDBPlatform
{
public:
    CBasicPwdDBPlatform() = default;
    CBasicPwdDBPlatform(CBasicPwdDBPlatform const&) = delete;
    CBasicPwdDBPlatform& operator=(CBasicPwdDBPlatform const&) = delete;
    virtual ~CBasicPwdDBPlatform() = default;

    /// Whether there is a store.
    virtual bool HasStore() = 0;
    /// Of the default store, as all else here.
    virtual bool Unlock() = 0;
    virtual bool Lock() = 0;
    virtual bool IsUnlocked() = 0;

    /// The password of the first match; `password` is set if one was found.
    virtual PwdSearchResult FindPassword(PwdEntryKey const& key, std::string* password) = 0;
    /// The first match as an item, which `ReleaseItem` frees.
    virtual PwdSearchResult FindItem(PwdEntryKey const& key, void** item) = 0;
    virtual void SetPassword(void* item, std::string const& password) = 0;
    virtual void DeleteItem(void* item) = 0;
    virtual void ReleaseItem(void* item) = 0;
    /// Makes an entry with the whole of `key`.
    virtual void MakeEntry(PwdEntryKey const& key, std::string const& password) = 0;
};

/// The platform in use. Any thread may call.
CBasicPwdDBPlatform& PwdDBPlatform();

/// A new one of the system's own, which the caller owns. Defined in the system's file.
CBasicPwdDBPlatform* NewPwdDBPlatform();

/// Puts another platform in use for a scope. For tests, while no other thread asks for passwords.
class StPwdDBPlatform
{
public:
    /// `platform` belongs to the caller and outlives the guard.
    explicit StPwdDBPlatform(CBasicPwdDBPlatform& platform);
    StPwdDBPlatform(StPwdDBPlatform const&) = delete;
    StPwdDBPlatform& operator=(StPwdDBPlatform const&) = delete;
    ~StPwdDBPlatform();

private:
    CBasicPwdDBPlatform* mFormer;  // not owned
};
