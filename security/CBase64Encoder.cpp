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

std::size_t EncodedSize(std::size_t size)
{
    return (size + 2) / 3 * 4;
}

// How many characters of padding end a text.
std::size_t PaddingOf(char const* text, std::size_t size)
{
    if (size % 4 != 0 || size == 0 || text[size - 1] != '=') return 0;
    return text[size - 2] == '=' ? 2 : 1;
}

// Not inlined: a short text is short of work even for the frame.
[[gnu::noinline]] void EncodeLines(memblock const& in, memblock* out)
{
    std::size_t left = in.size();
    std::size_t const characters = EncodedSize(left);
    std::size_t const fullLines = characters / kLineCharacters;
    out->resize(characters + 2 * fullLines);
    auto* const encode = GetBase64Kernels().mEncode;
    unsigned char const* from = BytesOf(in.data());
    char* to = out->data();
    for (std::size_t line = 0; line < fullLines; ++line) {
        // Padding can fill the last line too.
        std::size_t const size = std::min(left, kLineBytes);
        encode(from, size, to);
        to += EncodedSize(size);
        *to++ = '\r';
        *to++ = '\n';
        from += size;
        left -= size;
    }
    encode(from, left, to);
}

// Goes on behind what a run has `done`. What is special comes first: white space, then a group that
// can have anything in it. Padding at the end may have no room, so runs end in front of it. Not
// inlined for the same reason.
[[gnu::noinline]] Base64Run DecodeRest(Base64Kernels const& kernels,
                                       char const* in,
                                       std::size_t size,
                                       Base64Run done,
                                       unsigned char* out)
{
    std::size_t const end = PaddingOf(in, size) == 0 ? size : size - 4;
    std::size_t position = done.mRead;
    while (true) {
        if (position < end && IsBase64Space(in[position])) {
            unsigned char* const to = out + done.mWritten;
            Base64Run const run = kernels.mDecodeLines(in + position, end - position, to);
            if (run.mRead != 0) done = {position + run.mRead, done.mWritten + run.mWritten};
            position += run.mRead;
        }
        while (position < size && IsBase64Space(in[position]))
            ++position;
        if (size - position < 4) return done;

        short count = 0;
        unsigned char group[3];
        CBase64Encoder::Decode(in + position, group, &count);
        std::copy_n(group, count, out + done.mWritten);
        position += 4;
        done = {position, done.mWritten + static_cast<std::size_t>(count)};
        if (position >= end) continue;
        unsigned char* const to = out + done.mWritten;
        std::size_t const whole = (end - position) & ~std::size_t{3};
        std::size_t const run = kernels.mDecode(in + position, whole, 0, to);
        position += run;
        done = {position, done.mWritten + run / 4 * 3};
    }
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
    if (lineBreaks) return EncodeLines(in, out);
    std::size_t const size = in.size();
    out->resize(EncodedSize(size));
    unsigned char const* const from = BytesOf(in.data());
    char* const to = out->data();
    GetBase64Kernels().mEncode(from, size, to);
}

void CBase64Encoder::Decode(memblock const& in, memblock* out, unsigned long* consumed)
{
    std::size_t const size = in.size();
    std::size_t const whole = size & ~std::size_t{3};
    char const* const from = in.data();
    std::size_t const padding = PaddingOf(from, size);
    std::size_t const room = size / 4 * 3 - padding;
    out->resize(room);
    auto* const to = reinterpret_cast<unsigned char*>(out->data());
    Base64Kernels const& kernels = GetBase64Kernels();
    Base64Run done{kernels.mDecode(from, whole, padding, to), room};
    if (done.mRead != whole) {
        done.mWritten = done.mRead / 4 * 3;
        done = DecodeRest(kernels, from, size, done, to);
        out->resize(done.mWritten);
    }
    if (consumed) *consumed = done.mRead;
}

void CBase64Encoder::EncodeHeaderStr(std::string const& in, std::string* out)
{
    out->resize(EncodedSize(in.size()));
    GetBase64Kernels().mEncode(BytesOf(in.data()), in.size(), out->data());
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
            std::size_t const whole = (in.size() - i) & ~std::size_t{3};
            std::size_t const run = kernels.mDecode(in.data() + i, whole, 0, to);
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
