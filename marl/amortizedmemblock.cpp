#include "marl/amortizedmemblock.h"

#include <cstdint>

amortizedmemblock::~amortizedmemblock()
{
    amortizedmemblock::clear();
}

void amortizedmemblock::append(memblock const& other)
{
    memblock::append(other);
}

void amortizedmemblock::resize(unsigned long newSize)
{
    if (newSize > mCapacity) {
        SetCapacity(GrownCapacity(newSize));
    } else if (!mKeepAllocation && mCapacity > kReleaseThreshold && newSize < mCapacity / 4) {
        mSize = newSize;
        // Twice the content leaves as much room to grow again as the release threshold leaves to
        // shrink.
        SetCapacity(newSize * 2);
    }
    mSize = newSize;
}

void amortizedmemblock::setKeepAllocation(bool keep)
{
    mKeepAllocation = keep;
}

unsigned long amortizedmemblock::allocatedSize() const
{
    return mCapacity;
}

unsigned long amortizedmemblock::GrownCapacity(unsigned long needed) const
{
    // The factor is applied to the excess in double precision: exact up to 2^53 bytes, and never
    // below `mCapacity`.
    unsigned long grown = mCapacity;
    if (mFactor > 1.0F) {
        double const excess = static_cast<double>(mCapacity) * (static_cast<double>(mFactor) - 1.0);
        unsigned long const room = static_cast<unsigned long>(PTRDIFF_MAX) - mCapacity;
        grown += excess < static_cast<double>(room) ? static_cast<unsigned long>(excess) : room;
    }
    unsigned long const stepped = mCapacity + mStep < mCapacity ? mCapacity : mCapacity + mStep;
    if (stepped > grown && stepped <= static_cast<unsigned long>(PTRDIFF_MAX)) grown = stepped;
    return grown > needed ? grown : needed;
}
