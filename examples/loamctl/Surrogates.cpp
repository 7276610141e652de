#include "loamctl/Surrogates.h"

std::size_t FindLoneSurrogate(std::u16string_view text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        if ((text[i] & 0xF800) != 0xD800) continue;
        bool const paired =
            text[i] < 0xDC00 && i + 1 < text.size() && (text[i + 1] & 0xFC00) == 0xDC00;
        if (!paired) return i;
        ++i;
    }
    return text.size();
}
