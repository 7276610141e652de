// A small file system for one process of a test, for what only a full one shows.
#pragma once

/// Cuts this process off from the mounts of the others and puts an empty file system in memory at
/// `place`, with `options` as `mount` takes them, such as "size=1m". False if the process may not
/// have one: without root that takes a user namespace. For a process that runs a single thread.
bool MountOwnFileSystem(char const* place, char const* options);
