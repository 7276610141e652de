// Objects that come into being at first use and live until the process ends.
#pragma once

#include <atomic>
#include <memory>

/// Answers what `slot` points to, and at first use what `make` (which returns a
/// `std::unique_ptr<T>`) makes.
///
/// No lock: the fast path is one acquiring load. Of several threads that meet in the first use one
/// stores its object, complete, and the others drop theirs before anybody has seen them. If `make`
/// throws, the slot stays empty and the next call starts again. `isMaker`, where given, tells
/// whether this call stored the object.
template <class T, class Make>
T* GetOrMake(std::atomic<T*>& slot, Make make, bool* isMaker = nullptr)
{
    if (isMaker) *isMaker = false;
    if (T* const made = slot.load(std::memory_order_acquire)) return made;

    std::unique_ptr<T> fresh = make();
    T* winner = nullptr;
    if (!slot.compare_exchange_strong(winner, fresh.get(), std::memory_order_acq_rel,
                                      std::memory_order_acquire)) {
        return winner;
    }
    if (isMaker) *isMaker = true;
    return fresh.release();
}
