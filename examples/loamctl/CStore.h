// A store that `index` wrote: what is in it, and where. Its texts are read by `CStoreReader`.
//
// Nothing in it is believed: sizes are checked before they are used, and the bytes of each part
// before they are unpacked. What is wrong comes as `CBadStore`, with the store's name.
#pragma once

#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "concurrency/CMutex.h"
#include "files/CFile.h"
#include "loamctl/DisplayText.h"
#include "loamctl/StoreFormat.h"

class CStore
{
public:
    /// Reads the list of entries. Throws `CBadStore`, and what `CFile` throws.
    explicit CStore(std::string const& path);
    CStore(CStore const&) = delete;
    CStore& operator=(CStore const&) = delete;
    ~CStore();

    /// In the order of the walk.
    std::vector<StoredEntry> const& GetEntries() const { return mEntries; }

    /// For each entry whether it can have `part`, which is folded and in UTF-8. It can't where the
    /// answer is no; of a text beyond `kLongestFilteredText`, yes says little.
    std::vector<bool> FindPart(std::string_view part);
    /// For each entry whether it has all of these words, which are folded and in UTF-8.
    std::vector<bool> FindWords(std::vector<std::string> const& words);

    /// These put what lies in the store, packed, into `bytes`, in any thread.
    void ReadText(StoredText const& text, std::string& bytes);
    void ReadDictionary(std::string& bytes);

    /// Does some work on what was read. Sizes that the store states can be too large for this
    /// machine, whoever wrote it.
    template <class Work>
    auto Guarded(Work const& work) const;

private:
    void ReadAll();
    void ReadEntries();
    void ReadSection(StoreSection const& section, std::string& bytes);
    void Read(std::uint64_t offset, std::uint64_t size, std::uint32_t checksum, std::string& bytes);
    void ReadUnchecked(std::uint64_t offset, std::uint64_t size, std::string& bytes);

    std::string mPath;
    CMutex mMutex;
    CFile mFile;  // guarded by mMutex
    StoreHeader mHeader;
    std::vector<StoredEntry> mEntries;
};

template <class Work>
auto CStore::Guarded(Work const& work) const
{
    try {
        return work();
    } catch (CBadStore const& bad) {
        throw CBadStore(SafeName(mPath) + ": is no store, or damaged: " + bad.what());
    } catch (std::bad_alloc const&) {
        throw CBadStore(SafeName(mPath) + ": needs more memory than there is, or is damaged");
    }
}
