// The fields of a block, for code that fills small blocks millions of times a second. Inner to the
// libraries.
#pragma once

#include <typeinfo>

#include "marl/amortizedmemblock.h"

/// What the operations of an `amortizedmemblock` do where they have nothing to decide, without
/// their calls.
class CBlockAccess
{
public:
    /// Whether setting the size to anything up to `room` bytes does no more than that: the storage
    /// is there and stays. Never true of a subclass, which may do something else.
    static bool HasRoom(amortizedmemblock const& block, unsigned long room)
    {
        if (&typeid(block) != &typeid(amortizedmemblock)) return false;
        constexpr unsigned long kMost = amortizedmemblock::kReleaseThreshold;
        return block.mCapacity - room <= kMost - room ||
               (block.mCapacity >= room && block.mKeepAllocation);
    }

    static unsigned long GetSize(amortizedmemblock const& block) { return block.mSize; }

    /// Where `HasRoom` says so. Answers the block's data.
    static char* SetSize(amortizedmemblock& block, unsigned long size)
    {
        block.mSize = size;
        return block.mData;
    }
};
