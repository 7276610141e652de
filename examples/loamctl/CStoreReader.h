// Reads the texts of a store, in one thread of several.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "loamctl/CStoreUnpacker.h"
#include "loamctl/StoreFormat.h"

class CStore;

class CStoreReader
{
public:
    /// `store` lives as long. What is wrong with it comes as `CBadStore`.
    explicit CStoreReader(CStore& store);
    CStoreReader(CStoreReader const&) = delete;
    CStoreReader& operator=(CStoreReader const&) = delete;
    ~CStoreReader();

    /// The folded text, in UTF-8, until the next call.
    std::string_view GetFolded(StoredEntry const& entry);
    /// The file's bytes, until the next call. Files are found fastest in the order of the entries.
    std::string_view GetBytes(StoredEntry const& entry);

private:
    void PrepareForFolded();

    CStore& mStore;
    std::string mPacked;
    std::unique_ptr<CStoreUnpacker> mFolded;  // null until it is needed
    CStoreUnpacker mGroups;
    StoredText mGroupPlace;
    std::string_view mGroup;  // of mGroups: files that were packed together
};
