// Reads a store that `index` wrote.
//
// Nothing in it is believed: sizes are checked before they are used, and the bytes of each part
// before they are unpacked. What is wrong comes as `CBadStore`, with the store's name.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "files/CFile.h"
#include "loamctl/StoreFormat.h"
#include "marl/amortizedmemblock.h"

class CZstdCompressor;

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

    /// The folded text, until the next call.
    std::string_view GetFolded(StoredEntry const& entry);
    /// The file's bytes, until the next call. Files are found fastest in the order of the entries.
    std::string_view GetBytes(StoredEntry const& entry);

    /// False only if `needle`, folded and in UTF-8, is not in the entry's folded text.
    bool CanHave(StoredEntry const& entry, std::string_view needle);

    /// For each entry whether it has all of these words, which are folded and in UTF-8.
    std::vector<bool> FindWords(std::vector<std::string> const& words);

private:
    // Holds a part of the store, and no more than that says it is.
    class CSizedBlock : public amortizedmemblock
    {
    public:
        CSizedBlock();

        void SetLimit(std::uint64_t limit) { mLimit = limit; }

        void resize(unsigned long newSize) override;

    private:
        std::uint64_t mLimit = 0;
    };

    template <class Work>
    auto Guarded(Work const& work);
    void ReadAll();
    void ReadEntries();
    void ArmUnpacker();
    std::string_view ReadPart(std::uint64_t offset, std::uint64_t size);
    std::string_view ReadChecked(std::uint64_t offset, std::uint64_t size, std::uint32_t checksum);
    static std::string_view Unpack(CZstdCompressor& compressor,
                                   std::string_view packed,
                                   std::uint64_t fullSize,
                                   CSizedBlock& block);

    std::string mPath;
    CFile mFile;
    StoreHeader mHeader;
    std::vector<StoredEntry> mEntries;
    std::unique_ptr<CZstdCompressor> mPlain;
    std::unique_ptr<CZstdCompressor> mUnpacker;  // with the dictionary; null until it is needed
    std::string mFilters;
    std::string mWindow;  // a stretch of the file
    std::uint64_t mWindowStart = 0;
    CSizedBlock mGroup;  // files that were packed together
    StoredText mGroupPlace;
    CSizedBlock mBlock;  // what was unpacked last
};
