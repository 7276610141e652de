// UTF-8, UTF-16 and UTF-32, as the desktop reads and writes them.
//
// A byte-order mark at the head is taken off UTF-8 and off the forms without a byte order in their
// name, which are big-endian without one; the forms with one keep it as U+FEFF. None is written,
// and those without a byte order are written in the processor's. Bytes at the end that are no whole
// unit are left out, unless there is nothing else.
//
// A surrogate without its partner is kept in UTF-16 and UTF-32; UTF-8 ends at it when it is written
// and refuses it when it is read. Malformed UTF-8 is refused too, but for the byte A9 in the place
// of a character, which becomes U+FFFD.
#pragma once

#include "text/platform/linux/TextSinks.h"

#include <cstddef>

enum UnicodeForm
{
    kFormUTF8,
    kFormUTF16,
    kFormUTF16BE,
    kFormUTF16LE,
    kFormUTF32,
    kFormUTF32BE,
    kFormUTF32LE,
};

/// False if the bytes are refused.
bool DecodeUnicode(UnicodeForm form, char const* source, std::size_t size, CUnitSink& sink);

/// Answers how many units were encoded: it ends at a character that doesn't fit.
std::size_t
EncodeUnicode(UnicodeForm form, char16_t const* source, std::size_t length, CByteSink& sink);
