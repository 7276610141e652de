#include "marl/memblock.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

std::string Content(memblock const& block)
{
    return {block.data(), block.data() + block.size()};
}

void Fill(memblock& block, std::string const& text)
{
    block.resize(text.size());
    text.copy(block.data(), text.size());
}

}  // namespace

TEST(memblock, BeginsEmpty)
{
    memblock block;
    EXPECT_EQ(block.size(), 0u);
    EXPECT_EQ(Content(block), "");
    block.resize(0);
    EXPECT_EQ(block.size(), 0u);
    block.append(block.data(), 0);
    block.append(nullptr, 0);
    block.append(memblock());
    block.reset();
    block.clear();
    EXPECT_EQ(block.size(), 0u);
}

TEST(memblock, KeepsWhatLiesBelowBothLengths)
{
    memblock block;
    Fill(block, "abcdef");
    block.resize(3);
    EXPECT_EQ(Content(block), "abc");
    block.resize(100000);
    EXPECT_EQ(std::string(block.data(), 3), "abc");
    EXPECT_EQ(block.size(), 100000u);
    block.resize(3);
    EXPECT_EQ(Content(block), "abc");
}

TEST(memblock, DoesNotMoveTheDataWhenItShrinks)
{
    memblock block;
    block.resize(1 << 20);
    char const* const data = block.data();
    block.resize(1);
    EXPECT_EQ(block.data(), data);
}

TEST(memblock, Appends)
{
    memblock block;
    block.append("abc", 3);
    memblock other;
    Fill(other, "def");
    block.append(other);
    EXPECT_EQ(Content(block), "abcdef");
    EXPECT_EQ(Content(other), "def");
    block.append("\0x", 2);
    EXPECT_EQ(Content(block), std::string("abcdef\0x", 8));
}

TEST(memblock, AppendsItself)
{
    memblock block;
    Fill(block, "abc");
    block.append(block);
    EXPECT_EQ(Content(block), "abcabc");
    block.append(block.data() + 2, 3);
    EXPECT_EQ(Content(block), "abcabccab");
    block.append(block.data() + 8, 1);
    EXPECT_EQ(Content(block), "abcabccabb");
}

TEST(memblock, EmptiesItself)
{
    memblock block;
    Fill(block, "abc");
    block.reset();
    EXPECT_EQ(block.size(), 0u);
    Fill(block, "de");
    EXPECT_EQ(Content(block), "de");
    block.clear();
    EXPECT_EQ(block.size(), 0u);
    EXPECT_EQ(block.data(), nullptr);
    Fill(block, "f");
    EXPECT_EQ(Content(block), "f");
}

TEST(memblock, IsCopiedAndMoved)
{
    memblock block;
    Fill(block, "abc");
    memblock copy(block);
    copy.data()[0] = 'X';
    EXPECT_EQ(Content(block), "abc");
    EXPECT_EQ(Content(copy), "Xbc");

    memblock assigned;
    Fill(assigned, "former");
    assigned = block;
    EXPECT_EQ(Content(assigned), "abc");
    memblock const& same = assigned;
    assigned = same;
    EXPECT_EQ(Content(assigned), "abc");

    memblock moved(std::move(copy));
    EXPECT_EQ(Content(moved), "Xbc");
    assigned = std::move(moved);
    EXPECT_EQ(Content(assigned), "Xbc");
    assigned = memblock();
    EXPECT_EQ(Content(assigned), "");
}

TEST(memblock, IsTheSourceOfReadOnlyLists)
{
    memblock block;
    Fill(block, "abc");
    std::vector<memblock> const list(3, block);
    for (memblock const& sample : list)
        EXPECT_EQ(Content(sample), "abc");
}

TEST(memblock, RefusesSizesThatNoObjectHas)
{
    memblock block;
    Fill(block, "abc");
    for (unsigned long const size :
         {ULONG_MAX, ULONG_MAX - 1, static_cast<unsigned long>(PTRDIFF_MAX) + 1}) {
        SCOPED_TRACE(size);
        EXPECT_THROW(block.resize(size), std::length_error);
        EXPECT_EQ(Content(block), "abc");
    }
    for (unsigned long const count : {ULONG_MAX, ULONG_MAX - 2, ULONG_MAX - 3}) {
        SCOPED_TRACE(count);
        EXPECT_THROW(block.append("x", count), std::length_error);
        EXPECT_EQ(Content(block), "abc");
    }
}

TEST(memblock, IsDestroyedThroughItsBase)
{
    class CWatched final : public memblock
    {
    public:
        explicit CWatched(bool& isGone)
            : mIsGone(isGone)
        {
        }

        ~CWatched() override { mIsGone = true; }

    private:
        bool& mIsGone;
    };

    bool isGone = false;
    std::unique_ptr<memblock> block = std::make_unique<CWatched>(isGone);
    block->resize(10);
    block.reset();
    EXPECT_TRUE(isGone);
}

TEST(memblock, AppendsThroughTheOperationsOfASubclass)
{
    class CCounting final : public memblock
    {
    public:
        void resize(unsigned long newSize) override
        {
            ++mResizes;
            memblock::resize(newSize);
        }

        int mResizes = 0;
    };

    CCounting block;
    block.append("abc", 3);
    static_cast<memblock&>(block).append(block);
    EXPECT_EQ(Content(block), "abcabc");
    EXPECT_EQ(block.mResizes, 2);
}
