// A second, plain statement of what Base64 text and bytes have to do with each other: by bits, one
// at a time.
#pragma once

#include <cstddef>
#include <string>

/// `lineBreaks`: CR LF behind each 76 characters.
std::string EncodeBase64Naively(std::string const& bytes, bool lineBreaks);

struct NaivelyDecoded
{
    std::string mBytes;
    std::size_t mConsumed = 0;  ///< characters up to the end of the last group

    bool operator==(NaivelyDecoded const&) const = default;
};

/// Groups of four, whatever they hold, with white space in front of each.
NaivelyDecoded DecodeBase64Naively(std::string const& text);

/// The forgiving form, up to "=".
std::string DecodeBase64HeaderNaively(std::string const& text);
