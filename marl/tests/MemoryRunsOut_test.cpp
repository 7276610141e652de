// Blocks where there is no memory. realloc fails from a size on that each case sets.
#include "marl/HierarchicalException.h"
#include "marl/amortizedmemblock.h"
#include "marl/basic_binstream.h"
#include "marl/memblock.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstddef>
#include <new>
#include <string>

namespace {

// Requests of more than this fail, and where it is 0 all do.
std::size_t sLargest = SIZE_MAX;

// Lets realloc fail for a scope.
class StMemoryLimit
{
public:
    explicit StMemoryLimit(std::size_t largest) { sLargest = largest; }

    StMemoryLimit(StMemoryLimit const&) = delete;
    StMemoryLimit& operator=(StMemoryLimit const&) = delete;

    ~StMemoryLimit() { sLargest = SIZE_MAX; }
};

std::string Content(memblock const& block)
{
    return {block.data(), block.data() + block.size()};
}

}  // namespace

extern "C" {

void* __real_realloc(void* former, std::size_t size);
void* __wrap_realloc(void* former, std::size_t size);

void* __wrap_realloc(void* former, std::size_t size)
{
    return size > sLargest ? nullptr : __real_realloc(former, size);
}
}

TEST(MemoryRunsOut, LeavesABlockAsItWas)
{
    memblock block;
    block.append("abc", 3);
    StMemoryLimit const limit(1000);
    EXPECT_THROW(block.resize(1001), std::bad_alloc);
    EXPECT_EQ(Content(block), "abc");
    std::string const longer(1000, 'x');
    EXPECT_THROW(block.append(longer.data(), longer.size()), std::bad_alloc);
    EXPECT_EQ(Content(block), "abc");
    block.resize(1000);
    EXPECT_EQ(Content(block).substr(0, 3), "abc");
}

TEST(MemoryRunsOut, LeavesBothBlocksOfACopyAsTheyWere)
{
    memblock block;
    block.append("abc", 3);
    memblock other;
    other.append("defg", 4);
    StMemoryLimit const limit(3);
    EXPECT_THROW(block = other, std::bad_alloc);
    EXPECT_EQ(Content(block), "abc");
    EXPECT_EQ(Content(other), "defg");
}

TEST(MemoryRunsOut, MakesDoWithWhatIsNeeded)
{
    amortizedmemblock block(1024, 2.0F);
    block.resize(5000);
    StMemoryLimit const limit(6000);
    block.resize(6000);
    EXPECT_EQ(block.size(), 6000u);
    EXPECT_EQ(block.allocatedSize(), 6000u);
    EXPECT_THROW(block.resize(6001), std::bad_alloc);
    EXPECT_EQ(block.size(), 6000u);
    EXPECT_EQ(block.allocatedSize(), 6000u);
}

TEST(MemoryRunsOut, MakesDoWithoutRoomForAHugeFactorOrStep)
{
    struct
    {
        char const* mWhat;
        unsigned long mStep;
        float mFactor;
    } const cases[] = {
        {"the largest factor", 1024, 3e38F},
        {"an endless factor", 1024, INFINITY},
        {"the largest step", ULONG_MAX, 2.0F},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        StMemoryLimit const limit(1 << 20);
        amortizedmemblock block(c.mStep, c.mFactor);
        block.append("abc", 3);
        std::string const more(5000, 'x');
        block.append(more.data(), more.size());
        EXPECT_EQ(Content(block), "abc" + more);
    }
}

TEST(MemoryRunsOut, ShrinksAllTheSame)
{
    amortizedmemblock block;
    block.resize(1000000);
    block.data()[0] = 'a';
    {
        StMemoryLimit const limit(0);
        block.resize(1);
        EXPECT_EQ(Content(block), "a");
        EXPECT_EQ(block.allocatedSize(), 1000000u);
        block.resize(0);
        EXPECT_EQ(block.size(), 0u);
    }
    block.resize(5);
    EXPECT_EQ(block.data()[0], 'a');
}

TEST(MemoryRunsOut, LeavesAStreamAsItWas)
{
    memblock block;
    basic_binstream stream(block);
    stream << std::u16string(u"abc");
    unsigned long const size = block.size();
    {
        StMemoryLimit const limit(size);
        EXPECT_THROW(stream << std::u16string(u"d"), std::bad_alloc);
        EXPECT_THROW(stream << std::string("d"), std::bad_alloc);
        EXPECT_THROW(stream.Write("d", 1), std::bad_alloc);
    }
    EXPECT_EQ(block.size(), size);
    EXPECT_EQ(stream.GetCursorPos(), size);
    stream.SetCursorPos(0, basic_binstream::cursor_from_start);
    std::u16string text;
    stream >> text;
    EXPECT_EQ(text, u"abc");
}
