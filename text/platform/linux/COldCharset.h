// The converter of a charset that has a table of our own.
#pragma once

#include "text/platform/linux/TextSinks.h"
#include "text/tables/OldCharsets.h"

#include <atomic>
#include <cstddef>

/// Any number of threads may share one. It belongs to the process: the way back from units to
/// bytes, which is made at first use, is never freed.
class COldCharset
{
public:
    constexpr explicit COldCharset(OldCharsetTable const& table)
        : mTable(table)
    {
    }

    /// False if a byte or a pair of them is no character, or the last one has half of one.
    bool Decode(char const* source, std::size_t size, CUnitSink& sink) const;
    /// Answers how many units were encoded: it ends at a character that doesn't fit. "?" stands for
    /// a character that the charset lacks. May run out of memory at first use.
    std::size_t Encode(char16_t const* source, std::size_t length, CByteSink& sink) const;

private:
    class CBytesOfCharacters;

    OldCharsetTable const& mTable;
    mutable std::atomic<CBytesOfCharacters*> mBytes{nullptr};
};
