// A block whose growth is amortised, so that many small appends cost few reallocations.
#pragma once

#include "marl/memblock.h"

/// What every producer of data writes its output into: remember `size()`, `resize` to it plus an
/// upper bound, write behind the old content, `resize` down to what was really written.
///
/// Storage grows to the larger of `factor` times what there is and `step` bytes more, or to the
/// size asked for if that is larger still or all that there is memory for. Shrinking never fails.
/// It keeps the storage while `setKeepAllocation(true)` is in force; otherwise it gives storage
/// back, and may move the data, when the content falls below a quarter of storage larger than
/// `kReleaseThreshold`.
class MARL_EXPORT amortizedmemblock : public memblock
{
public:
    /// Storage up to this many bytes is never given back by a shrink.
    static constexpr unsigned long kReleaseThreshold = 65536;

    /// `step`: least growth in bytes. `factor`: growth factor; below 1 or not a number acts as 1.
    /// `keepAllocation`: the first state of what `setKeepAllocation` sets.
    explicit amortizedmemblock(unsigned long step = 1024,
                               float factor = 2.0F,
                               bool keepAllocation = false) noexcept
        : mStep(step)
        , mFactor(factor)
        , mKeepAllocation(keepAllocation)
    {
    }

    amortizedmemblock(amortizedmemblock const&) = default;
    amortizedmemblock(amortizedmemblock&&) noexcept = default;
    amortizedmemblock& operator=(amortizedmemblock const&) = default;
    amortizedmemblock& operator=(amortizedmemblock&&) noexcept = default;
    ~amortizedmemblock() override;

    using memblock::append;
    void append(memblock const& other) override;
    void resize(unsigned long newSize) override;

    // Virtual operations keep their order for ever; new ones go last.

    /// With true, a `resize` downwards keeps the storage from now on.
    virtual void setKeepAllocation(bool keep);
    /// The size of the storage in bytes, at least `size()`.
    virtual unsigned long allocatedSize() const;

private:
    friend class CBlockAccess;

    void Grow(unsigned long needed);
    void Release(unsigned long newSize);
    unsigned long GrownCapacity(unsigned long needed) const;

    unsigned long mStep;
    float mFactor;
    bool mKeepAllocation;
};
