#include "marl/memblock.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>
#include <utility>

memblock::memblock(memblock const& other)
{
    if (other.mSize == 0) return;
    SetCapacity(other.mSize);
    std::memcpy(mData, other.mData, other.mSize);
    mSize = other.mSize;
}

memblock::memblock(memblock&& other) noexcept
    : mData(std::exchange(other.mData, nullptr))
    , mSize(std::exchange(other.mSize, 0))
    , mCapacity(std::exchange(other.mCapacity, 0))
{
}

memblock& memblock::operator=(memblock const& other)
{
    if (this != &other) *this = memblock(other);
    return *this;
}

memblock& memblock::operator=(memblock&& other) noexcept
{
    if (this != &other) {
        std::free(mData);
        mData = std::exchange(other.mData, nullptr);
        mSize = std::exchange(other.mSize, 0);
        mCapacity = std::exchange(other.mCapacity, 0);
    }
    return *this;
}

memblock::~memblock()
{
    memblock::clear();
}

char* memblock::data()
{
    return mData;
}

unsigned long memblock::size() const
{
    return mSize;
}

void memblock::append(memblock const& other)
{
    append(other.data(), other.size());
}

void memblock::append(char const* bytes, unsigned long count)
{
    if (count == 0) return;

    // The source may be a stretch of this very block, which the growth below can move. Addresses
    // are compared as numbers, since pointers into different objects have no order of their own.
    auto const source = reinterpret_cast<std::uintptr_t>(bytes);
    auto const start = reinterpret_cast<std::uintptr_t>(data());
    unsigned long const oldSize = size();
    bool const isInside = source >= start && source - start < oldSize;
    if (count > SIZE_MAX - oldSize) throw std::length_error("memblock::append");

    resize(oldSize + count);
    char const* const from = isInside ? data() + (source - start) : bytes;
    std::memcpy(data() + oldSize, from, count);
}

void memblock::resize(unsigned long newSize)
{
    if (newSize > mCapacity) SetCapacity(newSize);
    mSize = newSize;
}

void memblock::reset()
{
    mSize = 0;
}

void memblock::clear()
{
    std::free(mData);
    mData = nullptr;
    mSize = 0;
    mCapacity = 0;
}

void memblock::SetCapacity(unsigned long capacity)
{
    if (capacity > PTRDIFF_MAX) throw std::length_error("memblock");
    // A capacity of 0 would let realloc free the block, or not, as it likes.
    void* const moved = std::realloc(mData, capacity ? capacity : 1);
    if (!moved) throw std::bad_alloc();
    mData = static_cast<char*>(moved);
    mCapacity = capacity;
}
