// A second statement of how the language guesser counts n-grams: step by step, where they stand in
// the raw text.
#pragma once

#include <cstddef>
#include <map>
#include <string>

/// Calls `visit` with each n-gram of 1 to 6 bytes, in order. Bytes below 0x20 are passed over, and
/// so are blanks behind a blank and at the start.
template <class Visit>
void VisitNaiveGrams(std::string const& text, Visit visit)
{
    auto const byte = [&](size_t i) { return static_cast<unsigned char>(text[i]); };
    unsigned char previous = ' ';
    for (size_t i = 0; i < text.size(); ++i) {
        if (byte(i) < ' ' || (byte(i) == ' ' && previous == ' ')) continue;
        previous = byte(i);
        std::string gram(1, text[i]);
        visit(gram);
        size_t next = i + 1;
        while (gram.size() < 6) {
            unsigned char const lowest = gram.back() == ' ' ? ' ' + 1 : ' ';
            while (next < text.size() && byte(next) < lowest)
                ++next;
            if (next == text.size()) break;
            gram += text[next++];
            visit(gram);
        }
    }
}

/// How often each n-gram occurs.
inline std::map<std::string, int> NaiveGrams(std::string const& text)
{
    std::map<std::string, int> grams;
    VisitNaiveGrams(text, [&](std::string const& gram) { ++grams[gram]; });
    return grams;
}
