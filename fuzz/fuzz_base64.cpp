// Base64 of any bytes, and any text as Base64, by all kernels and all forms, compared with the
// second statement of the rules. The first byte of the input gives the offset in memory, and
// whether each byte that follows stands for itself or, mostly, for a character of the alphabet:
// else long runs of it would be rare. Of those, the text is taken apart into lines too.
#include "marl/memblock.h"
#include "security/Base64Kernels.h"
#include "security/CBase64Encoder.h"
#include "testing/NaiveBase64.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace {

constexpr char kOthers[] = "= \t\r\n\v-\xC1";

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

// Lines of whole groups, whose lengths are made of the first bytes by turns.
std::string MakeLines(std::string const& text)
{
    std::string lines;
    std::size_t next = 0;
    for (std::size_t i = 0; next < text.size(); ++i) {
        std::size_t const groups = static_cast<unsigned char>(text[i % 8]) % 32;
        std::size_t const length = 4 * groups;
        lines += text.substr(next, length) + (i % 3 == 0 ? "\n" : "\r\n");
        next += std::max<std::size_t>(length, 1);
    }
    return lines;
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

bool IsOfAlphabet(char character)
{
    return std::string(cEncodingTable, kBase64Padding).find(character) != std::string::npos;
}

// Up to where groups of the alphabet reach, with white space in front of them if it may be there.
NaivelyDecoded DecodeRunNaively(std::string const& text, char const* spaces)
{
    std::size_t end = 0;
    for (std::size_t i = 0;;) {
        i = text.find_first_not_of(spaces, i);
        if (i == text.npos || i + 4 > text.size()) break;
        std::string const group = text.substr(i, 4);
        if (!std::all_of(group.begin(), group.end(), IsOfAlphabet)) break;
        end = i += 4;
    }
    return DecodeBase64Naively(text.substr(0, end));
}

// From and into memory of the exact size, so that the address sanitizer sees the ends.
void CheckKernels(Base64Kernels const& kernels, std::string const& source, std::size_t offset)
{
    std::vector<char> memory(offset);
    memory.insert(memory.end(), source.begin(), source.end());
    char const* const from = memory.data() + offset;

    std::string const text = EncodeBase64Naively(source, false);
    std::vector<char> encoded(text.size());
    kernels.mEncode(reinterpret_cast<unsigned char const*>(from), source.size(), encoded.data());
    Require(std::string(encoded.begin(), encoded.end()) == text);

    std::size_t const padding = text.size() / 4 * 3 - source.size();
    std::vector<unsigned char> back(source.size());
    Require(kernels.mDecode(text.data(), text.size(), padding, back.data()) == text.size());
    Require(std::string(back.begin(), back.end()) == source);

    std::size_t const whole = source.size() / 4 * 4;
    NaivelyDecoded const run = DecodeRunNaively(source.substr(0, whole), "");
    std::vector<unsigned char> out(whole / 4 * 3);
    Require(kernels.mDecode(from, whole, 0, out.data()) == run.mConsumed);
    Require(std::string(out.begin(), out.begin() + static_cast<long>(run.mConsumed / 4 * 3)) ==
            run.mBytes);

    NaivelyDecoded const lines = DecodeRunNaively(source, " \t\r\n");
    Base64Run const done = kernels.mDecodeLines(from, source.size(), out.data());
    Require(done == Base64Run{lines.mConsumed, lines.mBytes.size()});
    Require(std::string(out.begin(), out.begin() + static_cast<long>(done.mWritten)) ==
            lines.mBytes);
}

void CheckAll(std::string const& source, std::size_t offset)
{
    for (Base64Kernels const* const kernels : GetAllBase64Kernels()) {
        StBase64Kernels const use(*kernels);
        CheckEncoding(source);
        CheckDecoding(source);
        CheckKernels(*kernels, source, offset);
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

    CheckAll(source, offset);
    if (isText) CheckAll(MakeLines(source), offset);
    return 0;
}
