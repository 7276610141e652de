// A page of memory for tests of what reads or writes too far.
#pragma once

#include <cstddef>

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

/// Memory of one page between two pages that nobody may touch.
class StFencedMemory
{
public:
    StFencedMemory()
        : mPage(static_cast<std::size_t>(sysconf(_SC_PAGESIZE)))
        , mMemory(static_cast<char*>(
              mmap(nullptr, 3 * mPage, PROT_NONE, MAP_PRIVATE | MAP_ANON, -1, 0)))
    {
        EXPECT_NE(mMemory, MAP_FAILED);
        EXPECT_EQ(mprotect(mMemory + mPage, mPage, PROT_READ | PROT_WRITE), 0);
    }

    StFencedMemory(StFencedMemory const&) = delete;
    StFencedMemory& operator=(StFencedMemory const&) = delete;

    ~StFencedMemory() { munmap(mMemory, 3 * mPage); }

    /// `offset` units from the start of the page.
    template <class Unit>
    Unit* AtStart(std::size_t offset = 0)
    {
        return reinterpret_cast<Unit*>(mMemory + mPage) + offset;
    }

    /// The last `count` units of the page.
    template <class Unit>
    Unit* AtEnd(std::size_t count)
    {
        return reinterpret_cast<Unit*>(mMemory + 2 * mPage) - count;
    }

private:
    std::size_t mPage;
    char* mMemory;  // owned
};
