#include "loamctl/CStoreUnpacker.h"

#include "compression/CZstdCompressor.h"
#include "loamctl/CZstdFrames.h"
#include "loamctl/Compressing.h"
#include "loamctl/StoreFormat.h"

CStoreUnpacker::CSizedBlock::CSizedBlock()
    : amortizedmemblock(65536, 2.0F, true)
{
}

void CStoreUnpacker::CSizedBlock::resize(unsigned long newSize)
{
    if (newSize > mLimit) throw CBadStore("a part of it is larger than it says");
    amortizedmemblock::resize(newSize);
}

CStoreUnpacker::CStoreUnpacker()
    : mCompressor(NewZstdCompressor())
{
}

CStoreUnpacker::~CStoreUnpacker() = default;

void CStoreUnpacker::SetDictionary(std::string_view dictionary)
{
    mCompressor->SetDictionaryAndCompressionLevel(dictionary.data(), dictionary.size(), 1);
}

std::string_view CStoreUnpacker::Unpack(std::string_view packed, std::uint64_t fullSize)
{
    // A frame that didn't state its size would be made somewhere else first, whatever it becomes.
    bool const isCapped = CZstdFrames::StatesItsSize(packed);
    mBlock.SetLimit(fullSize);
    mBlock.resize(0);
    if (!isCapped || !mCompressor->Decompress(packed.data(), packed.size(), mBlock) ||
        mBlock.size() != fullSize) {
        throw CBadStore("a part of it can't be unpacked");
    }
    return {mBlock.data(), mBlock.size()};
}
