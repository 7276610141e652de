// What each system does with a socket in its own way.
#pragma once

#include <sys/socket.h>

/// `socket`, but the descriptor is closed in programs that the process starts. -1 with `errno` on
/// failure.
int NewSocket(int family, int type, int protocol);

/// `accept`, with such a descriptor too.
int AcceptClient(int listener, sockaddr* address, socklen_t* length);

/// Wakes all who wait for clients of a listening socket, who see the hang-up, and refuses those who
/// come. The descriptor stays open. -1 with `errno` on failure.
int StopListening(int listener);
