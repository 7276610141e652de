// Base64 of any bytes, and any text as Base64, by all kernels and all levels, compared with the
// second statement of the rules. The first byte of the input gives the offset in memory, and
// whether each byte that follows stands for itself or, mostly, for a character of the alphabet:
// else long runs of it would be rare.
#include "marl/memblock.h"
#include "security/Base64Kernels.h"
#include "security/CBase64Encoder.h"
#include "testing/NaiveBase64.h"

#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr char kOthers[] = "= \t\r\n\v-_";

void Require(bool holds)
{
    if (!holds) std::abort();
}

memblock BlockOf(std::string const& bytes)
{
    memblock block;
    block.append(bytes.data(), bytes.size());
    return block;
}

std::string TextOf(memblock const& block)
{
    return block.size() == 0 ? std::string() : std::string(block.data(), block.size());
}

// Mostly of the alphabet.
std::string MakeText(std::string const& bytes)
{
    std::string text;
    for (char const byte : bytes) {
        auto const number = static_cast<unsigned char>(byte);
        text += number < 248 ? cEncodingTable[number % 64] : kOthers[number - 248];
    }
    return text;
}

void CheckEncoding(std::string const& bytes)
{
    for (bool const lineBreaks : {false, true}) {
        std::string const text = EncodeBase64Naively(bytes, lineBreaks);
        memblock out;
        CBase64Encoder::Encode(BlockOf(bytes), &out, lineBreaks);
        Require(TextOf(out) == text);
        CBase64Encoder::Decode(BlockOf(text), &out, nullptr);
        Require(TextOf(out) == bytes);
        std::string back = "former";
        CBase64Encoder::DecodeHeaderStr(text, &back);
        Require(back == bytes);
        if (lineBreaks) continue;
        CBase64Encoder::EncodeHeaderStr(bytes, &back);
        Require(back == text);
    }
}

void CheckDecoding(std::string const& text)
{
    memblock out;
    unsigned long consumed = 0;
    CBase64Encoder::Decode(BlockOf(text), &out, &consumed);
    Require(NaivelyDecoded{TextOf(out), consumed} == DecodeBase64Naively(text));
    std::string back = "former";
    CBase64Encoder::DecodeHeaderStr(text, &back);
    Require(back == DecodeBase64HeaderNaively(text));
}

// From and into memory of the exact size, so that the address sanitizer sees the ends.
void CheckKernels(std::string const& source, std::size_t offset)
{
    std::vector<char> memory(offset);
    memory.insert(memory.end(), source.begin(), source.end());
    char const* const from = memory.data() + offset;

    std::size_t const whole = source.size() / 3 * 3;
    std::string const text = EncodeBase64Naively(source.substr(0, whole), false);
    std::size_t const bad = source.find_first_not_of(std::string(cEncodingTable, kBase64Padding));
    std::size_t const run = (bad == source.npos ? source.size() : bad) / 4 * 4;
    std::string const bytes = DecodeBase64Naively(source.substr(0, run)).mBytes;
    for (Base64Kernels const& kernels : GetAllBase64Kernels()) {
        std::vector<char> encoded(whole / 3 * 4);
        kernels.mEncode(reinterpret_cast<unsigned char const*>(from), whole, encoded.data());
        Require(std::string(encoded.begin(), encoded.end()) == text);

        std::vector<unsigned char> decoded(source.size() / 4 * 3);
        Require(kernels.mDecode(from, source.size(), decoded.data()) == run);
        Require(std::string(decoded.begin(), decoded.begin() + static_cast<long>(run / 4 * 3)) ==
                bytes);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    if (size < 1) return 0;
    std::size_t const offset = data[0] / 4;
    bool const isText = data[0] % 4 != 0;
    std::string const bytes(reinterpret_cast<char const*>(data) + 1, size - 1);
    std::string const source = isText ? MakeText(bytes) : bytes;

    CheckEncoding(source);
    CheckDecoding(source);
    CheckKernels(source, offset);
    return 0;
}
