#include "files/tests/FileTestTools.h"
#include "testing/StTempDir.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace {

// One size of integer, each form by its own operation.
struct IntegerForm
{
    char const* mWhat;
    std::size_t mSize;
    long long (CFile::*mRead)(void*);
    long long (CFile::*mWrite)(void const*);
    long long (CFile::*mReadMultiple)(void*, unsigned int);
    long long (CFile::*mWriteMultiple)(void const*, unsigned int);
};

constexpr IntegerForm kForms[] = {
    {"8 bits", 1, &CFile::ReadInt8, &CFile::WriteInt8, &CFile::ReadMultipleInt8,
     &CFile::WriteMultipleInt8},
    {"16 bits", 2, &CFile::ReadInt16, &CFile::WriteInt16, &CFile::ReadMultipleInt16,
     &CFile::WriteMultipleInt16},
    {"32 bits", 4, &CFile::ReadInt32, &CFile::WriteInt32, &CFile::ReadMultipleInt32,
     &CFile::WriteMultipleInt32},
    {"64 bits", 8, &CFile::ReadInt64, &CFile::WriteInt64, &CFile::ReadMultipleInt64,
     &CFile::WriteMultipleInt64},
};

constexpr struct
{
    char const* mWhat;
    int mSet;
    int mStored;
    bool mIsSwapping;
} kOrders[] = {
    {"little", CFile::cLittleEndian, CFile::cLittleEndian, false},
    {"big", CFile::cBigEndian, CFile::cBigEndian, true},
    {"native", CFile::cNativeEndian, CFile::cLittleEndian, false},
    {"no order at all", 0, 0, true},
};

// 01 02 03 ..., as it is, or with each element of `size` turned around.
std::string Pattern(std::size_t size, unsigned int count, bool isSwapped)
{
    std::string bytes(size * count, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(i + 1);
    if (!isSwapped) return bytes;
    for (std::size_t i = 0; i < bytes.size(); i += size) {
        auto const first = bytes.begin() + static_cast<std::ptrdiff_t>(i);
        std::reverse(first, first + static_cast<std::ptrdiff_t>(size));
    }
    return bytes;
}

}  // namespace

TEST(CFileIntegers, StartInNativeOrder)
{
    CFile const file(Spec("/a"));
    EXPECT_EQ(file.GetFileEndianness(), CFile::cLittleEndian);
    EXPECT_FALSE(file.IsSwappingEndian());
}

TEST(CFileIntegers, StoreTheOrder)
{
    CFile file(Spec("/a"));
    for (auto const& order : kOrders) {
        SCOPED_TRACE(order.mWhat);
        file.SetFileEndianness(static_cast<CFile::Endianness>(order.mSet));
        EXPECT_EQ(file.GetFileEndianness(), order.mStored);
        EXPECT_EQ(file.IsSwappingEndian(), order.mIsSwapping);
    }
}

TEST(CFileIntegers, AreReadAndWrittenInTheOrderOfTheFile)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "")));
    file.Open(CFile::cPrivilegeReadWrite);
    for (auto const& order : kOrders) {
        file.SetFileEndianness(static_cast<CFile::Endianness>(order.mSet));
        for (auto const& form : kForms) {
            SCOPED_TRACE(testing::Message() << form.mWhat << ", " << order.mWhat);
            auto const size = static_cast<long long>(form.mSize);
            std::string const native = Pattern(form.mSize, 1, false);
            // Not aligned.
            char memory[9] = {};
            std::copy(native.begin(), native.end(), memory + 1);

            file.SetEOF(0);
            file.SetCursorPos(0, basic_binstream::cursor_from_start);
            EXPECT_EQ((file.*form.mWrite)(memory + 1), size);
            EXPECT_EQ(file.WriteInt(memory + 1, size), size);
            EXPECT_EQ(std::string(memory + 1, form.mSize), native);
            std::string const stored = Pattern(form.mSize, 1, order.mIsSwapping);
            EXPECT_EQ(folder.Read("file"), stored + stored);

            file.SetCursorPos(0, basic_binstream::cursor_from_start);
            std::memset(memory, 0, sizeof memory);
            EXPECT_EQ((file.*form.mRead)(memory + 1), size);
            EXPECT_EQ(std::string(memory + 1, form.mSize), native);
            std::memset(memory, 0, sizeof memory);
            EXPECT_EQ(file.ReadInt(memory + 1, size), size);
            EXPECT_EQ(std::string(memory + 1, form.mSize), native);
            EXPECT_EQ((file.*form.mRead)(memory + 1), 0);
        }
    }
}

TEST(CFileIntegers, AreReadAndWrittenInNumbers)
{
    constexpr unsigned int kCount = 5;
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "")));
    file.Open(CFile::cPrivilegeReadWrite);
    for (auto const& order : kOrders) {
        file.SetFileEndianness(static_cast<CFile::Endianness>(order.mSet));
        for (auto const& form : kForms) {
            SCOPED_TRACE(testing::Message() << form.mWhat << ", " << order.mWhat);
            auto const size = static_cast<long long>(form.mSize);
            long long const bytes = size * kCount;
            std::string const native = Pattern(form.mSize, kCount, false);

            file.SetEOF(0);
            file.SetCursorPos(0, basic_binstream::cursor_from_start);
            EXPECT_EQ((file.*form.mWriteMultiple)(native.data(), kCount), bytes);
            EXPECT_EQ(file.WriteMultipleInt(native.data(), size, kCount), bytes);
            EXPECT_EQ((file.*form.mWriteMultiple)(native.data(), 0), 0);
            std::string const stored = Pattern(form.mSize, kCount, order.mIsSwapping);
            EXPECT_EQ(folder.Read("file"), stored + stored);

            file.SetCursorPos(0, basic_binstream::cursor_from_start);
            for (bool const isGeneral : {false, true}) {
                std::string memory(native.size(), '\0');
                EXPECT_EQ(isGeneral ? file.ReadMultipleInt(memory.data(), size, kCount)
                                    : (file.*form.mReadMultiple)(memory.data(), kCount),
                          bytes);
                EXPECT_EQ(memory, native);
            }
        }
    }
}

TEST(CFileIntegers, OfOtherSizesAreNeitherReadNorWritten)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "12345678")));
    file.Open(CFile::cPrivilegeReadWrite);
    char memory[16] = {};
    for (long long const size : {-1LL, 0LL, 3LL, 5LL, 16LL, 1LL << 32}) {
        SCOPED_TRACE(size);
        EXPECT_EQ(file.ReadInt(memory, size), 0);
        EXPECT_EQ(file.WriteInt(memory, size), 0);
        EXPECT_EQ(file.ReadMultipleInt(memory, size, 1), 0);
        EXPECT_EQ(file.WriteMultipleInt(memory, size, 1), 0);
        EXPECT_EQ(file.GetCursorPos(), 0);
    }
    EXPECT_EQ(folder.Read("file"), "12345678");
}

TEST(CFileIntegers, KeepsSwappingWhatAShortReadDidNotFill)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "\x01\x02\x03")));
    file.SetFileEndianness(CFile::cBigEndian);
    file.Open(CFile::cPrivilegeRead);
    std::uint16_t values[] = {0, 0xAABB, 0xCCDD};
    EXPECT_EQ(file.ReadMultipleInt16(values, 3), 3);
    EXPECT_THAT(values, testing::ElementsAre(0x0102, 0x03AA, 0xDDCC));

    std::uint32_t value = 0x11223344;
    EXPECT_EQ(file.ReadInt32(&value), 0);
    EXPECT_EQ(value, 0x44332211U);
}

TEST(CFileIntegers, KeepsCountingBytesIn32Bits)
{
    StTempDir const folder;
    CFile file(Spec(folder.Write("file", "abcdefghij")));
    file.Open(CFile::cPrivilegeReadWrite);
    std::string memory(8, '\0');
    // Each is 4 GiB and one element.
    EXPECT_EQ(file.ReadMultipleInt64(memory.data(), 0x20000001), 8);
    EXPECT_EQ(memory, "abcdefgh");
    file.SetCursorPos(0, basic_binstream::cursor_from_start);
    EXPECT_EQ(file.ReadMultipleInt32(memory.data(), 0x40000001), 4);
    EXPECT_EQ(file.ReadMultipleInt16(memory.data(), 0x80000001), 2);
    EXPECT_EQ(file.ReadMultipleInt(memory.data(), 2, 0x80000000), 0);
    file.SetCursorPos(0, basic_binstream::cursor_from_start);
    EXPECT_EQ(file.WriteMultipleInt64("ABCDEFGH", 0x20000001), 8);
    EXPECT_EQ(folder.Read("file"), "ABCDEFGHij");
}
