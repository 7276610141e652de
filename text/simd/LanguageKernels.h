// The loops of the language guesser: which bytes of a text make n-grams, which buckets have some,
// and the scores of all profiles.
//
// They read nothing outside of what they are given, and may be called by any thread.
#pragma once

#include <cstddef>
#include <cstdint>

/// Copies the bytes of `text` from 0x20 on to `row`, without blanks behind a blank, and answers how
/// many. `takesBlank` tells whether a blank at the start is one of them, and then whether one
/// behind the text would be. `row` has room for `size` bytes and `kSpareOfRow` more, where anything
/// may be left.
using TakeBytes = size_t(char const* text, size_t size, unsigned char* row, bool& takesBlank);

constexpr size_t kSpareOfRow = 64;

/// Lists the places of those `entries` that aren't 0 in their order, and answers how many. `count`
/// is a multiple of 32 and at most 65,536; `places` has room for as many, and behind the list
/// anything may be left.
using ListFilled = size_t(uint32_t const* entries, size_t count, uint16_t* places);

/// Sixteen numbers on a cache line of their own.
struct alignas(64) SixteenFloats
{
    float mLanes[16];
};

/// Rows of a table, each with what it counts.
struct WeightedRows
{
    uint16_t const* mRows;
    float const* mWeights;
    size_t mCount;
};

/// The sum of weighted rows of a table whose rows are `groups` wide. Each of its numbers is added
/// up from 0 in the order of `rows`, rounded to `float` after each product and each sum.
using SumRows = void(SixteenFloats const* table,
                     size_t groups,
                     WeightedRows const& rows,
                     SixteenFloats* sums);

TakeBytes TakeBytesPlain;
ListFilled ListFilledPlain;
SumRows SumRowsPlain;
#if defined(__x86_64__)
SumRows SumRowsAVX2;
TakeBytes TakeBytesAVX512;
ListFilled ListFilledAVX512;
SumRows SumRowsAVX512;
#endif
