// The converters of ICU for one encoding.
//
// A converter is opened when one is needed, kept when it isn't any more, and taken up again by the
// next text, since opening one costs more than converting a page. One converts one text at a time:
// there are as many as threads have met in this encoding, of which a few are kept.
#pragma once

#include "text/platform/CBasicCharsetPlatform.h"

#include <cstddef>
#include <mutex>

#include <unicode/ucnv.h>

enum ICUCharsetKind
{
    kASCIISuperset,    ///< a byte below 0x80 where a character begins is always ASCII
    kNoASCIISuperset,  ///< it may not be
    kWholeOnly,        ///< nor here; and what follows decides on the bytes of a character
    kLeftOpen,         ///< as before, and ICU doesn't go back to the initial state at the end
};

/// Any number of threads may share one. It belongs to the process.
class CICUCharset
{
public:
    /// `name` is ICU's own name of the converter, so that no alias decides.
    constexpr CICUCharset(unsigned int encoding, ICUCharsetKind kind, char const* name)
        : mEncoding(encoding)
        , mKind(kind)
        , mName(name)
    {
    }

    unsigned int GetEncoding() const { return mEncoding; }

    /// As in `CBasicCharsetPlatform`. What isn't a superset of ASCII, but for EBCDIC, is encoded
    /// whole or not at all, since texts in it can't just be put behind one another.
    DecodeOutcome Decode(char const* source,
                         std::size_t size,
                         char16_t* target,
                         std::size_t capacity,
                         std::size_t* length);
    bool Encode(char16_t const* source,
                std::size_t length,
                char* target,
                std::size_t capacity,
                std::size_t* count,
                std::size_t* written);

private:
    class StConverter;

    // Null if ICU has no such converter.
    UConverter* Take();
    void GiveBack(UConverter* converter);

    static constexpr std::size_t kMostIdle = 4;

    unsigned int mEncoding;
    ICUCharsetKind mKind;
    char const* mName;
    std::mutex mMutex;
    UConverter* mIdle[kMostIdle] = {};  // owned; guarded by mMutex
    std::size_t mIdleCount = 0;         // guarded by mMutex
    bool mIsMissing = false;            // guarded by mMutex
};

/// The one for an encoding's number, or null.
CICUCharset* FindICUCharset(unsigned int encoding);
