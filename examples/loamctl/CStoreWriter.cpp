#include "loamctl/CStoreWriter.h"

#include <utility>

#include "compression/CZstdCompressor.h"
#include "loamctl/CDocument.h"
#include "loamctl/CWordWalk.h"
#include "loamctl/Columns.h"
#include "loamctl/Compressing.h"
#include "loamctl/DisplayText.h"
#include "loamctl/Interruption.h"
#include "loamctl/TextFilter.h"
#include "text/CUnicodeMappingTable.h"

namespace {

constexpr int kLevel = 6;
constexpr unsigned long kDictionarySize = 112640;
constexpr std::size_t kMostWaiting = 16UL << 20;
// The bytes of small files are packed together, since large frames unpack several times as fast.
constexpr std::size_t kGroupSize = 256UL << 10;

std::string_view ViewOf(amortizedmemblock const& block)
{
    return {block.data(), block.size()};
}

std::string FoldedTextOf(CDocument const& document)
{
    std::u16string text(document.GetText());
    CUnicodeMappingTable::GetDefaultTable()->MapText(text, text);
    return ToUTF8(text);
}

}  // namespace

// The header's place is filled at the end.
CStoreWriter::CStoreWriter(std::string const& path, bool overwrite, CLanguageServices* languages)
    : mFile(path, overwrite)
    , mLanguages(languages)
    , mPlainPacker(NewZstdCompressor())
{
    mPlainPacker->SetCompressionLevel(kLevel);
    mFile.Write(std::string(kStoreHeaderSize, '\0'));
}

CStoreWriter::~CStoreWriter() = default;

long long
CStoreWriter::Add(TreeEntry const& entry, Reading const& reading, CDocument const& document)
{
    StoredEntry& stored = mEntries.emplace_back();
    stored.mKind = entry.mKind;
    stored.mNamed = entry.mNamed;
    stored.mPath = entry.mPath;
    stored.mReading = reading;
    if (!reading.mText) return 0;

    Columns columns = ColumnsOf(document, mLanguages);
    stored.mCharset = std::move(columns.mCharset);
    stored.mLanguage = std::move(columns.mLanguage);
    long long const words = AddWords(document);
    std::string folded = FoldedTextOf(document);
    std::string const filter = FilterOf(folded);
    stored.mFilterOffset = mFilters.size();
    stored.mFilterSize = static_cast<std::uint32_t>(filter.size());
    mFilters += filter;
    std::size_t const index = mEntries.size() - 1;
    if (mPacker) {
        PackTexts(index, folded, document.GetBytes());
        return words;
    }
    mSamples.Add(folded);
    mWaiting.push_back({index, std::move(folded), std::string(document.GetBytes())});
    mWaitingSize += mWaiting.back().mFolded.size() + mWaiting.back().mBytes.size();
    if (mSamples.IsFull() || mWaitingSize > kMostWaiting) TrainDictionary();
    return words;
}

long long CStoreWriter::AddWords(CDocument const& document)
{
    auto const index = static_cast<std::uint32_t>(mEntries.size() - 1);
    long long count = 0;
    CWordWalk walk(document.GetText(), mBlock);
    while (walk.Next()) {
        if (++count % 4096 == 0) ThrowIfInterrupted();
        std::vector<std::uint32_t>& entries = mWords[ToUTF8(walk.GetWord())];
        if (entries.empty() || entries.back() != index) entries.push_back(index);
    }
    return count;
}

void CStoreWriter::TrainDictionary()
{
    mPacker = NewZstdCompressor();
    mPacker->SetCompressionLevel(kLevel);
    amortizedmemblock dictionary;
    mHeader.mDictionary.mOffset = kStoreHeaderSize;
    if (mSamples.Train(*mPacker, kDictionarySize, dictionary)) {
        mPacker->SetDictionaryAndCompressionLevel(dictionary.data(), dictionary.size(), kLevel);
        mFile.Write(ViewOf(dictionary));
        mHeader.mDictionary.mSize = dictionary.size();
        mHeader.mDictionary.mFullSize = dictionary.size();
        mHeader.mDictionary.mChecksum = ChecksumOf(ViewOf(dictionary));
    }
    mHeader.mTexts.mOffset = static_cast<std::uint64_t>(mFile.GetSize());
    for (Waiting const& waiting : std::exchange(mWaiting, {}))
        PackTexts(waiting.mEntry, waiting.mFolded, waiting.mBytes);
}

void CStoreWriter::PackTexts(std::size_t entry, std::string_view folded, std::string_view bytes)
{
    ThrowIfInterrupted();
    StoredEntry& stored = mEntries[entry];
    stored.mFolded = PackText(folded, *mPacker);
    stored.mBytesStart = mGroup.size();
    stored.mBytesSize = bytes.size();
    mGroup += bytes;
    mGroupEntries.push_back(entry);
    if (mGroup.size() >= kGroupSize) PackGroup();
}

void CStoreWriter::PackGroup()
{
    StoredText const group = PackText(mGroup, *mPlainPacker);
    for (std::size_t const entry : mGroupEntries)
        mEntries[entry].mBytes = group;
    mGroup.clear();
    mGroupEntries.clear();
}

StoredText CStoreWriter::PackText(std::string_view text, CZstdCompressor& packer)
{
    StoredText stored;
    stored.mOffset = static_cast<std::uint64_t>(mFile.GetSize()) - mHeader.mTexts.mOffset;
    if (text.empty()) return stored;
    mBlock.resize(0);
    if (!packer.Compress(text.data(), text.size(), mBlock)) {
        throw CUsageError("a document could not be compressed");
    }
    mFile.Write(ViewOf(mBlock));
    stored.mSize = mBlock.size();
    stored.mFullSize = text.size();
    stored.mChecksum = ChecksumOf(ViewOf(mBlock));
    return stored;
}

StoreSection CStoreWriter::PackSection(std::string const& bytes)
{
    mBlock.resize(0);
    if (!mPlainPacker->Compress(bytes.data(), bytes.size(), mBlock)) {
        throw CUsageError("the store could not be compressed");
    }
    StoreSection section;
    section.mOffset = static_cast<std::uint64_t>(mFile.GetSize());
    section.mSize = mBlock.size();
    section.mFullSize = bytes.size();
    section.mChecksum = ChecksumOf(ViewOf(mBlock));
    mFile.Write(ViewOf(mBlock));
    return section;
}

std::string CStoreWriter::WordsAsBytes() const
{
    std::string bytes;
    CByteWriter writer(bytes);
    writer.Add(mWords.size(), 4);
    std::string steps;
    for (auto const& [word, entries] : mWords) {
        writer.Add(word);
        // Steps are smaller than numbers.
        steps.clear();
        CByteWriter stepWriter(steps);
        std::uint32_t former = 0;
        for (std::uint32_t const entry : entries) {
            stepWriter.AddStep(entry - former);
            former = entry;
        }
        writer.Add(steps);
    }
    return bytes;
}

void CStoreWriter::Finish()
{
    if (!mPacker) TrainDictionary();
    PackGroup();
    StoreSection& texts = mHeader.mTexts;
    texts.mSize = static_cast<std::uint64_t>(mFile.GetSize()) - texts.mOffset;
    texts.mFullSize = texts.mSize;
    StoreSection& filters = mHeader.mFilters;
    filters = {texts.mOffset + texts.mSize, mFilters.size(), mFilters.size(), ChecksumOf(mFilters)};
    mFile.Write(mFilters);
    std::string entries;
    for (StoredEntry const& entry : mEntries)
        AddEntry(entries, entry);
    mHeader.mEntryCount = static_cast<std::uint32_t>(mEntries.size());
    mHeader.mEntries = PackSection(entries);
    mHeader.mWords = PackSection(WordsAsBytes());
    mFile.WriteAtStart(BytesOf(mHeader));
    mFile.Keep();
}
