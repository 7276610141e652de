#include "testing/NaiveBase64.h"

#include <vector>

namespace {

char CharacterOf(int value)
{
    if (value < 26) return static_cast<char>('A' + value);
    if (value < 52) return static_cast<char>('a' + value - 26);
    if (value < 62) return static_cast<char>('0' + value - 52);
    return value == 62 ? '+' : '/';
}

// -1 for what has no value.
int ValueOf(char character)
{
    static std::string const sAlphabet = [] {
        std::string alphabet;
        for (int value = 0; value < 64; ++value)
            alphabet += CharacterOf(value);
        return alphabet;
    }();
    std::size_t const place = sAlphabet.find(character);
    return place == sAlphabet.npos ? -1 : static_cast<int>(place);
}

std::string BytesOf(std::vector<int> const& values)
{
    std::vector<bool> bits;
    for (int const value : values) {
        for (int bit = 5; bit >= 0; --bit)
            bits.push_back((value >> bit & 1) != 0);
    }
    std::string bytes;
    for (std::size_t i = 0; i + 8 <= bits.size(); i += 8) {
        int byte = 0;
        for (std::size_t k = 0; k < 8; ++k)
            byte = byte * 2 + (bits[i + k] ? 1 : 0);
        bytes += static_cast<char>(byte);
    }
    return bytes;
}

}  // namespace

std::string EncodeBase64Naively(std::string const& bytes, bool lineBreaks)
{
    std::string text;
    int pending = 0;
    int bits = 0;
    std::size_t column = 0;
    auto const add = [&](char character) {
        text += character;
        if (lineBreaks && ++column % 76 == 0) text += "\r\n";
    };
    for (char const byte : bytes) {
        for (int bit = 7; bit >= 0; --bit) {
            pending = pending * 2 + (byte >> bit & 1);
            if (++bits % 6 != 0) continue;
            add(CharacterOf(pending));
            pending = 0;
        }
    }
    if (bits % 6 != 0) add(CharacterOf(pending << (6 - bits % 6)));
    for (std::size_t count = bytes.size(); count % 3 != 0; ++count)
        add('=');
    return text;
}

NaivelyDecoded DecodeBase64Naively(std::string const& text)
{
    NaivelyDecoded result;
    for (std::size_t i = 0;;) {
        i = text.find_first_not_of(" \t\r\n", i);
        if (i == text.npos || i + 4 > text.size()) return result;
        std::string const group = text.substr(i, 4);
        std::vector<int> values;
        for (char const character : group)
            values.push_back(ValueOf(character) < 0 ? 0 : ValueOf(character));
        std::size_t const count = group[2] == '=' ? 1 : group[3] == '=' ? 2 : 3;
        result.mBytes += BytesOf(values).substr(0, count);
        i += 4;
        result.mConsumed = i;
    }
}

std::string DecodeBase64HeaderNaively(std::string const& text)
{
    std::string bytes;
    std::vector<int> values(4, 0);
    std::size_t filled = 0;
    for (char const character : text) {
        if (character == '=') {
            bytes += BytesOf(values).substr(0, filled == 3 ? 2 : 1);
            break;
        }
        if (ValueOf(character) < 0) continue;
        values[filled++] = ValueOf(character);
        if (filled < 4) continue;
        bytes += BytesOf(values);
        filled = 0;
    }
    return bytes;
}
