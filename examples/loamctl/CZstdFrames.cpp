#include "loamctl/CZstdFrames.h"

#include <algorithm>

namespace {

constexpr unsigned int kMagic = 0xFD2FB528;
constexpr unsigned int kSkippableMagic = 0x184D2A50;  // and the 15 numbers behind it
constexpr unsigned int kRLEBlock = 1;
constexpr unsigned int kReservedBlock = 3;

}  // namespace

CZstdFrames::CZstdFrames(bool magicless)
    : mMagicless(magicless)
{
    BeginFrame();
}

bool CZstdFrames::Feed(std::string_view bytes)
{
    while (!bytes.empty()) {
        std::size_t const count = std::min(bytes.size(), mSize - mHave);
        for (std::size_t i = 0; i < count && mHave + i < mBytes.size(); ++i)
            mBytes[mHave + i] = bytes[i];
        mHave += count;
        bytes.remove_prefix(count);
        // A part of no bytes is over at once.
        while (mHave == mSize) {
            if (!TakePart()) return false;
        }
    }
    return true;
}

bool CZstdFrames::StatesItsSize(std::string_view stream)
{
    CZstdFrames frames(false);
    if (stream.size() < 5 || !frames.Feed(stream.substr(0, 4))) return false;
    if (frames.mPart != Part::kDescriptor) return false;
    auto const descriptor = static_cast<unsigned char>(stream[4]);
    return (descriptor & 0x20) != 0 || descriptor >> 6 != 0;
}

void CZstdFrames::BeginFrame()
{
    Expect(Part::kStart, mMagicless ? 1 : 4);
}

void CZstdFrames::Expect(Part part, std::size_t size)
{
    mPart = part;
    mSize = size;
    mHave = 0;
    mBytes = {};
}

// The part's first bytes, the lowest first.
unsigned int CZstdFrames::Number() const
{
    unsigned int number = 0;
    for (std::size_t i = mBytes.size(); i-- > 0;)
        number = number << 8 | static_cast<unsigned char>(mBytes[i]);
    return number;
}

bool CZstdFrames::TakePart()
{
    switch (mPart) {
    case Part::kStart:
        mAny = true;
        if (!mMagicless) return TakeMagic();
        [[fallthrough]];
    case Part::kDescriptor:
        TakeDescriptor();
        return true;
    case Part::kHeader:
        Expect(Part::kBlock, 3);
        return true;
    case Part::kBlock:
        return TakeBlockHeader();
    case Part::kBlockContent:
        EndBlock();
        return true;
    case Part::kSkippedSize:
        Expect(Part::kSkipped, Number());
        return true;
    case Part::kSkipped:
        BeginFrame();
        return true;
    }
    return false;
}

bool CZstdFrames::TakeMagic()
{
    unsigned int const number = Number();
    if (number == kMagic) {
        Expect(Part::kDescriptor, 1);
    } else if ((number & ~0xFU) == kSkippableMagic) {
        Expect(Part::kSkippedSize, 4);
    } else {
        return false;
    }
    return true;
}

void CZstdFrames::TakeDescriptor()
{
    unsigned int const descriptor = Number();
    bool const isSingleSegment = (descriptor & 0x20) != 0;
    mHasChecksum = (descriptor & 0x04) != 0;
    constexpr std::size_t kIDSizes[] = {0, 1, 2, 4};
    constexpr std::size_t kContentSizes[] = {0, 2, 4, 8};
    std::size_t size = kIDSizes[descriptor & 3] + kContentSizes[descriptor >> 6];
    if (!isSingleSegment) ++size;                         // the window
    if (isSingleSegment && descriptor >> 6 == 0) ++size;  // a content size of one byte
    Expect(Part::kHeader, size);
}

bool CZstdFrames::TakeBlockHeader()
{
    unsigned int const header = Number();
    mIsLastBlock = (header & 1) != 0;
    unsigned int const type = header >> 1 & 3;
    if (type == kReservedBlock) return false;
    Expect(Part::kBlockContent, type == kRLEBlock ? 1 : header >> 3);
    return true;
}

void CZstdFrames::EndBlock()
{
    if (!mIsLastBlock) {
        Expect(Part::kBlock, 3);
    } else if (mHasChecksum) {
        mHasChecksum = false;
        Expect(Part::kBlockContent, 4);
    } else {
        BeginFrame();
    }
}
