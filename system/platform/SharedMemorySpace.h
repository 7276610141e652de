// Room for a block of shared memory, which some systems promise without having it.
#pragma once

/// Sets memory aside for the first `size` bytes, more than 0, of a shared-memory object that is
/// that long, so that no later write can fail for lack of it. Answers an `errno` value, 0 on
/// success; `errno` itself means nothing then. A failure sets nothing aside. No signal cuts it
/// short.
int ReserveSharedMemory(int descriptor, unsigned long size);
