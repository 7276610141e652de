#include "security/CBase64Encoder.h"

#include "marl/memblock.h"
#include "security/Base64Kernels.h"

#include <algorithm>

namespace {

constexpr std::size_t kLineBytes = 57;
constexpr std::size_t kLineCharacters = 76;

unsigned char const* BytesOf(char const* text)
{
    return reinterpret_cast<unsigned char const*>(text);
}

unsigned int ValueOf(char character)
{
    return cDecodingTable[static_cast<unsigned char>(character)];
}

bool IsBlank(char character)
{
    return character == ' ' || character == '\t' || character == '\r' || character == '\n';
}

std::size_t EncodedSize(std::size_t size)
{
    return (size + 2) / 3 * 4;
}

// Encodes `size` bytes to `EncodedSize(size)` characters, and answers the end of them.
char* EncodeRun(unsigned char const* in, std::size_t size, char* out)
{
    std::size_t const whole = size / 3 * 3;
    GetBase64Kernels().mEncode(in, whole, out);
    out += whole / 3 * 4;
    if (whole == size) return out;
    CBase64Encoder::Encode(in + whole, out, static_cast<short>(size - whole));
    return out + 4;
}

}  // namespace

void CBase64Encoder::Encode(unsigned char const* in, char* out, short count)
{
    unsigned int const a = in[0];
    unsigned int const b = count < 2 ? 0U : in[1];
    unsigned int const c = count < 3 ? 0U : in[2];
    out[0] = cEncodingTable[a >> 2];
    out[1] = cEncodingTable[(a & 3) << 4 | b >> 4];
    out[2] = cEncodingTable[count < 2 ? kBase64Padding : (b & 15) << 2 | c >> 6];
    out[3] = cEncodingTable[count < 3 ? kBase64Padding : c & 63];
}

void CBase64Encoder::Decode(char const* in, unsigned char* out, short* count)
{
    // Kept on purpose: what isn't of the alphabet, a line break in here too, counts as "A".
    JoinBase64(ValueOf(in[0]), ValueOf(in[1]), ValueOf(in[2]), ValueOf(in[3]), out);
    int const real = in[2] == '=' ? 1 : in[3] == '=' ? 2 : 3;
    *count = static_cast<short>(real);
}

void CBase64Encoder::Encode(memblock const& in, memblock* out, bool lineBreaks)
{
    std::size_t left = in.size();
    std::size_t const characters = EncodedSize(left);
    std::size_t const fullLines = lineBreaks ? characters / kLineCharacters : 0;
    out->resize(characters + 2 * fullLines);
    if (left == 0) return;

    unsigned char const* from = BytesOf(in.data());
    char* to = out->data();
    for (std::size_t line = 0; line < fullLines; ++line) {
        // Padding can fill the last line too.
        std::size_t const size = std::min(left, kLineBytes);
        to = EncodeRun(from, size, to);
        *to++ = '\r';
        *to++ = '\n';
        from += size;
        left -= size;
    }
    EncodeRun(from, left, to);
}

void CBase64Encoder::Decode(memblock const& in, memblock* out, unsigned long* consumed)
{
    std::size_t const size = in.size();
    out->resize(size / 4 * 3);
    char const* const from = in.data();
    auto* const to = reinterpret_cast<unsigned char*>(out->data());
    Base64Kernels const& kernels = GetBase64Kernels();
    std::size_t position = 0;
    std::size_t decoded = 0;  // behind the last group
    std::size_t written = 0;
    // A run ends in front of padding, and mostly is as long as the line before it. Where that holds
    // the next step doesn't wait for the outcome of this one.
    std::size_t line = size >= 4 && from[size - 1] == '=' ? size - 4 : size;
    while (size - position >= 4) {
        // Runs of the alphabet, then white space or a group that can have anything else in it.
        std::size_t const expected = std::min(line, size - position);
        std::size_t const run = kernels.mDecode(from + position, expected, to + written);
        position += run;
        written += run / 4 * 3;
        decoded = position;
        while (position < size && IsBlank(from[position]))
            ++position;
        bool const isLine = position != decoded;
        line = isLine && run != 0 ? run : size;
        if (isLine || size - position < 4) continue;

        short count = 0;
        Decode(from + position, to + written, &count);
        position += 4;
        decoded = position;
        written += static_cast<std::size_t>(count);
    }
    out->resize(written);
    if (consumed) *consumed = decoded;
}

void CBase64Encoder::EncodeHeaderStr(std::string const& in, std::string* out)
{
    out->resize(EncodedSize(in.size()));
    EncodeRun(BytesOf(in.data()), in.size(), out->data());
}

void CBase64Encoder::DecodeHeaderStr(std::string const& in, std::string* out)
{
    // "=" can bring out two bytes for less than a group.
    out->resize(in.size() / 4 * 3 + 3);
    Base64Kernels const& kernels = GetBase64Kernels();
    auto* to = reinterpret_cast<unsigned char*>(out->data());
    unsigned int values[4] = {};
    int filled = 0;
    for (std::size_t i = 0; i < in.size(); ++i) {
        if (filled == 0) {
            std::size_t const run = kernels.mDecode(in.data() + i, in.size() - i, to);
            i += run;
            to += run / 4 * 3;
            if (run != 0) {
                for (std::size_t k = 0; k < 4; ++k)
                    values[k] = ValueOf(in[i - 4 + k]);
            }
            if (i == in.size()) break;
        }
        char const character = in[i];
        unsigned int const value = ValueOf(character);
        bool const isEnd = character == '=';
        if (!isEnd && value == 0 && character != 'A') continue;
        if (!isEnd) values[filled++] = value;
        if (!isEnd && filled < 4) continue;

        unsigned char group[3];
        JoinBase64(values[0], values[1], values[2], values[3], group);
        // Kept on purpose: "=" brings out a byte wherever it stands, made of what is left over.
        to = std::copy_n(group, std::max(filled - 1, 1), to);
        filled = 0;
        if (isEnd) break;
    }
    out->resize(static_cast<std::size_t>(reinterpret_cast<char*>(to) - out->data()));
}

int CBase64Encoder::GetEncoding() const
{
    return 4;
}
