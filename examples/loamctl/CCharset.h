// A charset by its Internet name, with all or nothing in both directions: bytes that are not of the
// charset, and characters that it lacks, are found instead of being replaced.
//
// UTF-16 and UTF-32 without an order in the name are read by their byte-order mark and without one
// as big-endian; they are written in the processor's order, behind a mark. A mark in front of UTF-8
// is left out. Objects are only read, by any number of threads.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "loamctl/LossyDecoding.h"

class CCharsetConverter;

class CCharset
{
public:
    explicit CCharset(std::string name);
    CCharset(CCharset&&) noexcept;
    CCharset& operator=(CCharset&&) noexcept;
    ~CCharset();

    std::string const& GetName() const { return mName; }

    /// Whether there is a converter for the name.
    bool IsKnown() const;

    /// False leaves `text` empty.
    bool Decode(std::string_view bytes, std::u16string& text) const;
    /// Replaces each byte that doesn't fit by U+FFFD.
    std::u16string DecodeLossily(std::string_view bytes) const;
    /// The offset of the first byte that `Decode` refuses, or the size.
    std::size_t FindUndecodable(std::string_view bytes) const;
    /// The offset of the first byte of the character that a unit of the decoded text belongs to.
    std::size_t FindOffset(std::string_view bytes, std::size_t unit) const;

    /// False leaves `bytes` empty.
    bool Encode(std::u16string const& text, std::string& bytes) const;
    /// Replaces what has no place by "?", in UTF-8 and UTF-16 by U+FFFD.
    std::string EncodeLossily(std::u16string const& text) const;
    /// The index of the first unit that `Encode` refuses, or the length.
    std::size_t FindUnencodable(std::u16string const& text) const;

private:
    bool Convert(std::string_view bytes, std::u16string& text) const;
    bool Convert(std::u16string const& text, std::string& bytes) const;
    std::size_t CountDecodable(std::string_view bytes) const;
    ByteMemory GetMemory() const;
    CCharset OrderOf(std::string_view bytes) const;
    bool HasMark(std::string_view bytes) const;

    std::string mName;
    std::size_t mUnitSize = 1;  // bytes; of UTF-16 and UTF-32 more
    bool mUTF8 = false;
    bool mMarked = false;  // written with a byte-order mark
    std::unique_ptr<CCharsetConverter> mConverter;
};
