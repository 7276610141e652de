#include "marl/amortizedmemblock.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>

namespace {

std::string Content(memblock const& block)
{
    return {block.data(), block.data() + block.size()};
}

}  // namespace

TEST(amortizedmemblock, BeginsEmpty)
{
    amortizedmemblock block;
    EXPECT_EQ(block.size(), 0u);
    EXPECT_EQ(block.allocatedSize(), 0u);
    block.resize(0);
    EXPECT_EQ(block.allocatedSize(), 0u);
}

TEST(amortizedmemblock, GrowsByFactorAndStep)
{
    struct
    {
        char const* mWhat;
        unsigned long mStep;
        float mFactor;
        unsigned long mFirst;
        unsigned long mSecond;
        unsigned long mAllocated;
    } const cases[] = {
        {"the step at first", 1024, 2.0F, 1, 1, 1024},
        {"more than the step", 1024, 2.0F, 5000, 5000, 5000},
        {"twice", 1024, 2.0F, 5000, 5001, 10000},
        {"a tenth more", 1024, 1.1F, 20000, 20001, 22000},
        {"the step where it is more than the factor", 1024, 1.1F, 5000, 5001, 6024},
        {"what is asked for where it is more", 1024, 2.0F, 5000, 50000, 50000},
        {"a factor that shrinks", 1024, 0.5F, 5000, 5001, 6024},
        {"a factor that isn't a number", 1024, NAN, 5000, 5001, 6024},
        {"neither", 0, 1.0F, 5000, 5001, 5001},
        {"a negative factor", 0, -3.0F, 5000, 5001, 5001},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        amortizedmemblock block(c.mStep, c.mFactor);
        block.resize(c.mFirst);
        block.resize(c.mSecond);
        EXPECT_EQ(block.size(), c.mSecond);
        // A float holds 1.1 to 7 digits.
        EXPECT_NEAR(static_cast<double>(block.allocatedSize()), static_cast<double>(c.mAllocated),
                    1.0);
    }
}

TEST(amortizedmemblock, ReallocatesSeldomForManySmallAppends)
{
    amortizedmemblock block;
    int changes = 0;
    unsigned long allocated = 0;
    std::string expected;
    for (int i = 0; i < 100000; ++i) {
        char const byte = static_cast<char>('a' + i % 26);
        block.append(&byte, 1);
        expected += byte;
        if (block.allocatedSize() != allocated) ++changes;
        allocated = block.allocatedSize();
    }
    EXPECT_EQ(Content(block), expected);
    // 1024 bytes and then doubled until 100,000 fit.
    EXPECT_EQ(changes, 8);
}

TEST(amortizedmemblock, KeepsItsStorageWhereAsked)
{
    for (bool const byConstructor : {true, false}) {
        SCOPED_TRACE(byConstructor);
        amortizedmemblock block(1024, 2.0F, byConstructor);
        block.setKeepAllocation(true);
        block.resize(1000000);
        unsigned long const allocated = block.allocatedSize();
        char const* const data = block.data();
        block.resize(3);
        EXPECT_EQ(block.size(), 3u);
        EXPECT_EQ(block.allocatedSize(), allocated);
        EXPECT_EQ(block.data(), data);
        // How a chunk operation gets back all the room that the last chunk left.
        block.resize(block.allocatedSize());
        EXPECT_EQ(block.size(), allocated);
        EXPECT_EQ(block.data(), data);
    }
}

TEST(amortizedmemblock, GivesBackStorageThatIsFarTooLarge)
{
    struct
    {
        char const* mWhat;
        unsigned long mFrom;
        unsigned long mTo;
        unsigned long mAllocated;
    } const cases[] = {
        {"a little less", 1000000, 900000, 1000000},
        {"a quarter", 1000000, 250000, 1000000},
        {"less than a quarter", 1000000, 249999, 499998},
        {"nothing", 1000000, 0, 0},
        {"small storage", 65536, 1, 65536},
    };

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mWhat);
        amortizedmemblock block;
        block.resize(c.mFrom);
        for (unsigned long i = 0; i < c.mTo; ++i)
            block.data()[i] = static_cast<char>(i % 251);
        block.resize(c.mTo);
        EXPECT_EQ(block.size(), c.mTo);
        EXPECT_EQ(block.allocatedSize(), c.mAllocated);
        bool isKept = true;
        for (unsigned long i = 0; i < c.mTo; ++i)
            isKept &= block.data()[i] == static_cast<char>(i % 251);
        EXPECT_TRUE(isKept);
    }
}

TEST(amortizedmemblock, ServesTheSequenceOfAProducer)
{
    amortizedmemblock block;
    std::string expected;
    for (unsigned long written : {0UL, 5UL, 1000UL, 3UL, 70000UL}) {
        unsigned long const oldSize = block.size();
        block.resize(oldSize + written + 100000);
        for (unsigned long i = 0; i < written; ++i)
            block.data()[oldSize + i] = 'x';
        block.resize(oldSize + written);
        expected.append(written, 'x');
        EXPECT_EQ(Content(block), expected);
    }
}

TEST(amortizedmemblock, AppendsItself)
{
    amortizedmemblock block;
    block.append("abc", 3);
    block.append(block);
    EXPECT_EQ(Content(block), "abcabc");
    memblock& base = block;
    base.append(block);
    EXPECT_EQ(Content(block), "abcabcabcabc");
    // Over the edge of the storage, so that the source moves.
    while (block.size() < block.allocatedSize())
        block.append("x", 1);
    block.append(block.data(), 3);
    EXPECT_EQ(Content(block).substr(block.size() - 3), "abc");
}

TEST(amortizedmemblock, GivesUpItsStorageWhenCleared)
{
    amortizedmemblock block(1024, 2.0F, true);
    block.resize(5000);
    block.reset();
    EXPECT_EQ(block.size(), 0u);
    EXPECT_EQ(block.allocatedSize(), 5000u);
    block.clear();
    EXPECT_EQ(block.allocatedSize(), 0u);
}

TEST(amortizedmemblock, IsCopiedAndMoved)
{
    amortizedmemblock block;
    block.append("abc", 3);
    amortizedmemblock copy(block);
    copy.append("d", 1);
    EXPECT_EQ(Content(block), "abc");
    EXPECT_EQ(Content(copy), "abcd");
    block = copy;
    EXPECT_EQ(Content(block), "abcd");
    amortizedmemblock moved(std::move(copy));
    block = std::move(moved);
    EXPECT_EQ(Content(block), "abcd");
}

TEST(amortizedmemblock, RefusesSizesThatNoObjectHas)
{
    for (float const factor : {2.0F, 1.1F, 3e38F}) {
        SCOPED_TRACE(factor);
        amortizedmemblock block(1024, factor);
        block.append("abc", 3);
        unsigned long const allocated = block.allocatedSize();
        for (unsigned long const size : {ULONG_MAX, static_cast<unsigned long>(PTRDIFF_MAX) + 1}) {
            EXPECT_THROW(block.resize(size), std::length_error);
            EXPECT_EQ(Content(block), "abc");
            EXPECT_EQ(block.allocatedSize(), allocated);
        }
        EXPECT_THROW(block.append("x", ULONG_MAX - 1), std::length_error);
        EXPECT_EQ(Content(block), "abc");
    }
}
