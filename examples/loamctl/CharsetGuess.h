// Which charset the bytes of a document are in. The library gives a verdict on each question by
// itself; the order of the questions, and what to make of the answers, is the host's, and here.
//
// Asked in turn: a byte-order mark; `SniffUTF16`; `SniffISO2022`; whether it is well-formed UTF-8;
// and then, of each charset that can hold the bytes, how well its letters fit a language.
#pragma once

#include <string>
#include <string_view>

struct CharsetGuess
{
    std::string mCharset;   ///< by its Internet name; empty if it is no text in any charset known
    std::string mRunnerUp;  ///< the next best by which the text would be another one; often empty
    std::string mReason;    ///< in words, for people
    bool mBinary = false;   ///< it holds what no text holds
    bool mMarked = false;   ///< a byte-order mark says so

    /// The name of the converter for it, which takes the mark away.
    std::string GetDecoder() const
    {
        bool const isWide = mCharset.starts_with("UTF-16") || mCharset.starts_with("UTF-32");
        return mMarked && isWide ? mCharset.substr(0, 6) : mCharset;
    }
};

/// Looks at all bytes for what they can be, and at some thousand of them for what they are. Bytes
/// that end within a character are taken for the start of a longer text. Throws `CInterrupted`. Any
/// thread may call.
CharsetGuess GuessCharset(std::string_view bytes);
