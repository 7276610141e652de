// Walks over UTF-16 text with a test for each unit, from either end.
#pragma once

/// Stores the index of the first unit that passes `test`. A length of 0 or below gives false.
template <class Test>
bool FindFirstUnit(unsigned int& index, char16_t const* text, int length, Test test)
{
    for (int at = 0; at < length; ++at) {
        if (test(text[at])) {
            index = static_cast<unsigned int>(at);
            return true;
        }
    }
    return false;
}

/// Stores the index of the last unit that passes `test`. A length of 0 or below gives false.
template <class Test>
bool FindLastUnit(unsigned int& index, char16_t const* text, int length, Test test)
{
    for (int at = length; at-- > 0;) {
        if (test(text[at])) {
            index = static_cast<unsigned int>(at);
            return true;
        }
    }
    return false;
}
