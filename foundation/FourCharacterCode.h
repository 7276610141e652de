// Codes of four characters, as the desktop's types, creators and folders have them.
#pragma once

/// The number of a code: its characters as bytes, the first one the most significant.
constexpr unsigned int FourCharacterCode(char const (&text)[5])
{
    unsigned int code = 0;
    for (int i = 0; i < 4; ++i)
        code = code << 8 | static_cast<unsigned char>(text[i]);
    return code;
}
