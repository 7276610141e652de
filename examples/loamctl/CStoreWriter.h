// Writes a store: what a walk came upon, with the texts of its documents, to be searched later.
//
// Texts wait in memory, some megabytes of them, until there is enough to train a dictionary on;
// from then on they are packed as they come.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "loamctl/CNewFile.h"
#include "loamctl/CSamples.h"
#include "loamctl/StoreFormat.h"
#include "marl/amortizedmemblock.h"

class CDocument;
class CLanguageServices;
class CZstdCompressor;

class CStoreWriter
{
public:
    /// `languages` names the documents' languages; it may be null, and outlives the writer.
    CStoreWriter(std::string const& path, bool overwrite, CLanguageServices* languages);
    CStoreWriter(CStoreWriter const&) = delete;
    CStoreWriter& operator=(CStoreWriter const&) = delete;
    ~CStoreWriter();

    /// Takes an entry with what was read of it. Answers how many words it has.
    long long Add(TreeEntry const& entry, Reading const& reading, CDocument const& document);

    /// Puts the store in its place.
    void Finish();

    long long CountWords() const { return static_cast<long long>(mWords.size()); }

    /// Bytes in the file.
    long long GetSize() const { return mFile.GetSize(); }

    long long GetDictionarySize() const
    {
        return static_cast<long long>(mHeader.mDictionary.mSize);
    }

private:
    // The texts of an entry that wait for the dictionary.
    struct Waiting
    {
        std::size_t mEntry;
        std::string mFolded;
        std::string mBytes;
    };

    long long AddWords(CDocument const& document);
    void TrainDictionary();
    StoredText PackText(std::string_view text, CZstdCompressor& packer);
    void PackTexts(std::size_t entry, std::string_view folded, std::string_view bytes);
    void PackGroup();
    StoreSection PackSection(std::string const& bytes);
    std::string WordsAsBytes() const;

    CNewFile mFile;
    CLanguageServices* mLanguages;  // not owned, may be null
    StoreHeader mHeader;
    std::vector<StoredEntry> mEntries;
    std::map<std::string, std::vector<std::uint32_t>>
        mWords;  // folded words: entries that have them
    std::string mFilters;
    CSamples mSamples;
    std::vector<Waiting> mWaiting;
    std::size_t mWaitingSize = 0;
    std::unique_ptr<CZstdCompressor> mPacker;  // null until the dictionary is there
    std::unique_ptr<CZstdCompressor> mPlainPacker;
    std::string mGroup;                      // bytes of files that are packed together
    std::vector<std::size_t> mGroupEntries;  // whose they are
    amortizedmemblock mBlock{65536, 2.0F, true};
};
