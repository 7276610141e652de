#include "loamctl/CStoreReader.h"

#include <utility>

#include "loamctl/CStore.h"

CStoreReader::CStoreReader(CStore& store)
    : mStore(store)
{
}

CStoreReader::~CStoreReader() = default;

void CStoreReader::PrepareForFolded()
{
    auto unpacker = std::make_unique<CStoreUnpacker>();
    mStore.ReadDictionary(mPacked);
    if (!mPacked.empty()) unpacker->SetDictionary(mPacked);
    mFolded = std::move(unpacker);
}

std::string_view CStoreReader::GetFolded(StoredEntry const& entry)
{
    return mStore.Guarded([&]() -> std::string_view {
        StoredText const& text = entry.mFolded;
        if (text.mSize == 0) return {};
        if (!mFolded) PrepareForFolded();
        mStore.ReadText(text, mPacked);
        return mFolded->Unpack(mPacked, text.mFullSize);
    });
}

std::string_view CStoreReader::GetBytes(StoredEntry const& entry)
{
    return mStore.Guarded([&]() -> std::string_view {
        StoredText const& group = entry.mBytes;
        if (group.mSize == 0) return {};
        if (group != mGroupPlace) {
            mGroupPlace = {};
            mStore.ReadText(group, mPacked);
            mGroup = mGroups.Unpack(mPacked, group.mFullSize);
            mGroupPlace = group;
        }
        return mGroup.substr(entry.mBytesStart, entry.mBytesSize);
    });
}
