// Questions to the system that may never be answered: a server's volume can hold a thread up for
// ever.
#pragma once

#include <cstddef>
#include <functional>

/// Calls `ask` with 0 to `count` - 1, in that order, from a thread of its own. One that hasn't come
/// back for a tenth of a second is left alone and another thread goes on with the next. Returns
/// when all have come back, or none for two seconds.
///
/// A question may still come back later, as long as the program lives: what `ask` refers to must
/// live as long, by a `std::shared_ptr` of its own. It throws nothing, and several threads may be
/// in it.
void AskPatiently(std::size_t count, std::function<void(std::size_t)> ask);
