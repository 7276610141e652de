// Integers of `CFile`, in the byte order of the file.
#include "files/CFile.h"

#include <cstdint>
#include <cstring>

static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "cNativeEndian is cLittleEndian");

namespace {

std::uint16_t Swapped(std::uint16_t value)
{
    return __builtin_bswap16(value);
}

std::uint32_t Swapped(std::uint32_t value)
{
    return __builtin_bswap32(value);
}

std::uint64_t Swapped(std::uint64_t value)
{
    return __builtin_bswap64(value);
}

// The element at an address that needn't be aligned.
template <class Integer>
Integer Load(void const* values, unsigned int index)
{
    Integer value;
    std::memcpy(&value, static_cast<char const*>(values) + std::size_t{index} * sizeof value,
                sizeof value);
    return value;
}

template <class Integer>
void SwapInPlace(void* values, unsigned int count)
{
    for (unsigned int i = 0; i < count; ++i) {
        Integer const value = Swapped(Load<Integer>(values, i));
        std::memcpy(static_cast<char*>(values) + std::size_t{i} * sizeof value, &value,
                    sizeof value);
    }
}

// Kept on purpose: in 32 bits, so 4 GiB and more wrap around.
template <class Integer>
long long BytesOf(unsigned int count)
{
    return static_cast<unsigned int>(count * sizeof(Integer));
}

template <class Integer>
long long ReadIntegers(CFile& file, void* values, unsigned int count)
{
    long long const bytes = file.Read(static_cast<char*>(values), BytesOf<Integer>(count));
    // Kept on purpose: also what a short read didn't fill.
    if (file.IsSwappingEndian()) SwapInPlace<Integer>(values, count);
    return bytes;
}

template <class Integer>
long long WriteIntegers(CFile& file, void const* values, unsigned int count)
{
    if (!file.IsSwappingEndian()) {
        return file.Write(static_cast<char const*>(values), BytesOf<Integer>(count));
    }
    long long bytes = 0;
    for (unsigned int i = 0; i < count; ++i) {
        Integer const value = Swapped(Load<Integer>(values, i));
        bytes += file.Write(reinterpret_cast<char const*>(&value), sizeof value);
    }
    return bytes;
}

}  // namespace

long long CFile::ReadInt8(void* value)
{
    return ReadMultipleInt8(value, 1);
}

long long CFile::ReadInt16(void* value)
{
    return ReadMultipleInt16(value, 1);
}

long long CFile::ReadInt32(void* value)
{
    return ReadMultipleInt32(value, 1);
}

long long CFile::ReadInt64(void* value)
{
    return ReadMultipleInt64(value, 1);
}

long long CFile::ReadInt(void* value, long long size)
{
    return ReadMultipleInt(value, size, 1);
}

long long CFile::ReadMultipleInt8(void* values, unsigned int count)
{
    return Read(static_cast<char*>(values), count);
}

long long CFile::ReadMultipleInt16(void* values, unsigned int count)
{
    return ReadIntegers<std::uint16_t>(*this, values, count);
}

long long CFile::ReadMultipleInt32(void* values, unsigned int count)
{
    return ReadIntegers<std::uint32_t>(*this, values, count);
}

long long CFile::ReadMultipleInt64(void* values, unsigned int count)
{
    return ReadIntegers<std::uint64_t>(*this, values, count);
}

long long CFile::ReadMultipleInt(void* values, long long size, unsigned int count)
{
    switch (size) {
    case 1:
        return ReadMultipleInt8(values, count);
    case 2:
        return ReadMultipleInt16(values, count);
    case 4:
        return ReadMultipleInt32(values, count);
    case 8:
        return ReadMultipleInt64(values, count);
    default:
        return 0;
    }
}

long long CFile::WriteInt8(void const* value)
{
    return WriteMultipleInt8(value, 1);
}

long long CFile::WriteInt16(void const* value)
{
    return WriteMultipleInt16(value, 1);
}

long long CFile::WriteInt32(void const* value)
{
    return WriteMultipleInt32(value, 1);
}

long long CFile::WriteInt64(void const* value)
{
    return WriteMultipleInt64(value, 1);
}

long long CFile::WriteInt(void const* value, long long size)
{
    return WriteMultipleInt(value, size, 1);
}

long long CFile::WriteMultipleInt8(void const* values, unsigned int count)
{
    return Write(static_cast<char const*>(values), count);
}

long long CFile::WriteMultipleInt16(void const* values, unsigned int count)
{
    return WriteIntegers<std::uint16_t>(*this, values, count);
}

long long CFile::WriteMultipleInt32(void const* values, unsigned int count)
{
    return WriteIntegers<std::uint32_t>(*this, values, count);
}

long long CFile::WriteMultipleInt64(void const* values, unsigned int count)
{
    return WriteIntegers<std::uint64_t>(*this, values, count);
}

long long CFile::WriteMultipleInt(void const* values, long long size, unsigned int count)
{
    switch (size) {
    case 1:
        return WriteMultipleInt8(values, count);
    case 2:
        return WriteMultipleInt16(values, count);
    case 4:
        return WriteMultipleInt32(values, count);
    case 8:
        return WriteMultipleInt64(values, count);
    default:
        return 0;
    }
}
