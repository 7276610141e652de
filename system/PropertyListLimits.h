// What a property list may cost, found out before a reader that recurses is let loose on it.
//
// The readers of both systems go one level down the thread's stack for each level of a list, a
// megabyte nests a hundred thousand of them, and a few hundred bytes of a binary list come to
// gigabytes by referring to each other twice over.
#pragma once

#include <string_view>

/// May stand once ahead of XML.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// True if `bytes` keep to the limits told in `CPropertyList` and are in a form of which that can
/// be said. They need not be a list. Linear in the size.
bool IsWithinPropertyListLimits(std::string_view bytes);
