// What charset conversion needs of the system: its own converters, by the numbers that the desktop
// gives its encodings.
//
// Operations convert a whole text in one call, keep nothing between calls, never throw, decide
// nothing and may be called from any thread. Sizes are in bytes of a charset and in UTF-16 units.
#pragma once

#include <cstddef>
#include <string>

/// How the decoding of a text ended.
enum DecodeOutcome
{
    kDecoded,
    kDecodeRefused,  ///< the bytes can't be of the encoding, or the system doesn't convert it
    kDecodeNoRoom,
};

class CBasicCharsetPlatform
{
public:
    /// No encoding.
    static constexpr unsigned int kInvalidEncoding = 0xFFFFFFFF;

    CBasicCharsetPlatform() = default;
    CBasicCharsetPlatform(CBasicCharsetPlatform const&) = delete;
    CBasicCharsetPlatform& operator=(CBasicCharsetPlatform const&) = delete;
    virtual ~CBasicCharsetPlatform() = default;

    /// The number of the encoding that an Internet name in ASCII means, in any case;
    /// `kInvalidEncoding` for other names.
    virtual unsigned int GetEncoding(std::string const& name) const = 0;

    /// Decodes a text as it stands in a file, byte-order mark included. `*length` becomes the whole
    /// text's, also where it is more than `capacity` units; unless the answer is `kDecoded`,
    /// `target` may hold anything.
    virtual DecodeOutcome Decode(unsigned int encoding,
                                 char const* source,
                                 std::size_t size,
                                 char16_t* target,
                                 std::size_t capacity,
                                 std::size_t* length) const = 0;

    /// Encodes from the text's first unit on as many whole characters as fit into `capacity` bytes,
    /// without a byte-order mark; "?" stands for a character that the encoding lacks. `*count`
    /// becomes the number of units that were converted, and `*written` that of bytes. It ends early
    /// at a unit that can't be encoded at all, and at the text's head where an encoding that shifts
    /// between states has no room for all of it. False, with both at 0, if the system doesn't
    /// convert the text.
    virtual bool Encode(unsigned int encoding,
                        char16_t const* source,
                        std::size_t length,
                        char* target,
                        std::size_t capacity,
                        std::size_t* count,
                        std::size_t* written) const = 0;
};

/// The platform in use. Any thread may call.
CBasicCharsetPlatform& CharsetPlatform();

/// A new one of the system's own, which the caller owns. Defined in the system's file.
CBasicCharsetPlatform* NewCharsetPlatform();

/// Puts another platform in use for a scope. For tests, while no other thread converts.
class StCharsetPlatform
{
public:
    /// `platform` belongs to the caller and outlives the guard.
    explicit StCharsetPlatform(CBasicCharsetPlatform& platform);
    StCharsetPlatform(StCharsetPlatform const&) = delete;
    StCharsetPlatform& operator=(StCharsetPlatform const&) = delete;
    ~StCharsetPlatform();

private:
    CBasicCharsetPlatform* mFormer;  // not owned
};
