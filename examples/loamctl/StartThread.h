// Threads that destroy themselves at their end, handed over to that.
#pragma once

#include <memory>

class CThread;

/// Starts `thread`, which owns itself from then on and may be gone when the call returns. Throws,
/// and destroys it, if the system has no more threads.
void StartThread(std::unique_ptr<CThread> thread);
