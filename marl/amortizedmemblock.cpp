#include "marl/amortizedmemblock.h"

#include <cstdint>
#include <new>

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
        Grow(newSize);
    } else if (!mKeepAllocation && mCapacity > kReleaseThreshold && newSize < mCapacity / 4) {
        Release(newSize);
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

void amortizedmemblock::Grow(unsigned long needed)
{
    unsigned long const generous = GrownCapacity(needed);
    if (generous > needed) {
        try {
            SetCapacity(generous);
            return;
        } catch (std::bad_alloc const&) {
            // Room for later is not worth a failure: what is needed now may still be there.
        }
    }
    SetCapacity(needed);
}

void amortizedmemblock::Release(unsigned long newSize)
{
    try {
        // Twice the content leaves as much room to grow again as the threshold leaves to shrink.
        SetCapacity(newSize * 2);
    } catch (std::bad_alloc const&) {
        // A shrink doesn't fail: the storage stays as it is.
    }
}

unsigned long amortizedmemblock::GrownCapacity(unsigned long needed) const
{
    // The factor is applied to the excess in double precision: exact up to 2^53 bytes, and never
    // below `mCapacity`.
    constexpr auto kLimit = static_cast<unsigned long>(PTRDIFF_MAX);
    unsigned long const room = kLimit - mCapacity;
    unsigned long growth = mStep < room ? mStep : room;
    if (mFactor > 1.0F && mCapacity > 0) {
        double const excess = static_cast<double>(mCapacity) * (static_cast<double>(mFactor) - 1.0);
        unsigned long const scaled =
            excess < static_cast<double>(room) ? static_cast<unsigned long>(excess) : room;
        if (scaled > growth) growth = scaled;
    }
    unsigned long const grown = mCapacity + growth;
    return grown > needed ? grown : needed;
}
