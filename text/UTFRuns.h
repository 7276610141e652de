// The fast loops of UTF conversion, over text that calls for no decision.
//
// Each converts from the source cursor on as long as the text is well-formed, holds no lone
// surrogate and fits, and moves both cursors past what it did. It may stop between any two
// characters, so the caller takes the next one by the full rules and calls again. It may leave
// anything in the target from its cursor to its end. Loops for one processor's instructions belong
// behind these same two functions.
#pragma once

#include "text/ConvertUTF.h"

/// Text at the level of classes is `char16_t`, which the routines reach through pointers to
/// `UTF16`.
typedef UTF16 __attribute__((may_alias)) AnyUTF16;

void RunUTF8toUTF16(UTF8 const*& source,
                    UTF8 const* sourceEnd,
                    AnyUTF16*& target,
                    AnyUTF16* targetEnd);
void RunUTF16toUTF8(AnyUTF16 const*& source,
                    AnyUTF16 const* sourceEnd,
                    UTF8*& target,
                    UTF8* targetEnd);
