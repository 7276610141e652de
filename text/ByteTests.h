// Questions about every byte or unit of a long text, asked of sixteen and more at a time. Inner to
// the charset tests.
//
// Plain C++ with the compilers' vectors, which become SSE2 and NEON. Only a set of bytes needs more
// than those have: it is looked up with SSSE3 where the processor has that, which is asked when the
// program runs. Every processor gives the same answers. Nothing is aligned, and nothing is read
// behind the end; with a size of 0 the pointer may be anything.
#pragma once

#include <cstddef>

/// Whether no byte is in 0x80..0x9F.
bool HoldsNoC1(char const* bytes, std::size_t size);

/// Whether no unit has one of the bits of `mask`.
bool HoldsNoBits(char const* units, std::size_t count, char16_t mask);

/// Whether all bytes are in a set, given as 256 answers by byte value.
bool HoldsOnly(char const* bytes, std::size_t size, bool const* allowed);

/// The two ways of `HoldsOnly`, for which a test compares them: one byte at a time, and both halves
/// of sixteen bytes at once. The second one serves only where `CanClassify` says so.
bool HoldsOnlyByByte(char const* bytes, std::size_t size, bool const* allowed);
bool HoldsOnlyByHalves(char const* bytes, std::size_t size, bool const* allowed);
bool CanClassify();
