// Walks over UTF-16 text with a test for each unit, from either end.
//
// Most searches end after a few units, so the first ones are tested one by one; what is left of a
// long text goes to the loops of text/simd/, which want a set.
#pragma once

#include "text/simd/TextKernels.h"

/// How many units are tested one by one, and from which length on the rest are not.
inline constexpr int kTestedUnits = 64;
inline constexpr int kLongText = 512;

/// Stores the index of the first unit that passes `test`. `findInRest` answers, for the start and
/// the end of a text, the first unit there that does so, or null. A length of 0 or below gives
/// false.
template <class Test, class FindInRest>
bool FindFirstUnit(
    unsigned int& index, char16_t const* text, int length, Test test, FindInRest findInRest)
{
    int const tested = length < kLongText ? length : kTestedUnits;
    for (int at = 0; at < tested; ++at) {
        if (test(text[at])) {
            index = static_cast<unsigned int>(at);
            return true;
        }
    }
    if (tested == length || length < 0) return false;
    char16_t const* const hit = findInRest(text + tested, text + length);
    if (hit) index = static_cast<unsigned int>(hit - text);
    return hit != nullptr;
}

/// Stores the index of the last unit that passes `test`. `findInRest` answers the last one.
template <class Test, class FindInRest>
bool FindLastUnit(
    unsigned int& index, char16_t const* text, int length, Test test, FindInRest findInRest)
{
    int const left = length < kLongText ? 0 : length - kTestedUnits;
    for (int at = length; at > left;) {
        if (test(text[--at])) {
            index = static_cast<unsigned int>(at);
            return true;
        }
    }
    if (left == 0) return false;
    char16_t const* const hit = findInRest(text, text + left);
    if (hit) index = static_cast<unsigned int>(hit - text);
    return hit != nullptr;
}
