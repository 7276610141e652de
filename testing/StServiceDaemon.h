// A real daemon for service discovery, in a network that no other process sees.
//
//     StServiceDaemon daemon;
//     if (!daemon.IsRunning()) GTEST_SKIP() << daemon.WhyNot();
#pragma once

#include <string>

#include <sys/types.h>

/// The calling thread, and threads and processes that it starts later, move to namespaces for
/// network and mounts of their own, for good: for a process of one test case, before it starts any
/// thread. Without root that takes a user namespace. What is there besides: loopback, and Ethernet
/// with the address 10.99.0.1. Takes about a second.
class StServiceDaemon
{
public:
    StServiceDaemon();
    StServiceDaemon(StServiceDaemon const&) = delete;
    StServiceDaemon& operator=(StServiceDaemon const&) = delete;
    /// Ends all that was started.
    ~StServiceDaemon();

    bool IsRunning() const { return mWhyNot.empty(); }

    std::string const& WhyNot() const { return mWhyNot; }

    /// Ends the daemon, or starts one again, and waits until that is done.
    void Stop();
    void Start();

private:
    void Run();
    void Say(std::string const& order) const;
    std::string Hear() const;

    pid_t mHelper = -1;
    int mToHelper = -1;
    int mFromHelper = -1;
    std::string mWhyNot;
};
