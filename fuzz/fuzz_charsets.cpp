// Any bytes through any charset and back: the forms with a buffer, which gets just the memory that
// they ask for, agree with the ones that make strings, and nothing but a failure of the family
// comes out. The first byte of the input chooses the charset, the second one the offset in memory.
#include "marl/HierarchicalException.h"
#include "text/CCharsetConverter.h"

#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace {

// One of each way of coding: marks, single bytes, double bytes, shifts, escapes, letters.
constexpr char const* kNames[] = {
    "UTF-8",        "UTF-16",     "UTF-16LE",    "UTF-32",       "UTF-32BE",    "UTF-7",
    "ISO-8859-2",   "ISO-8859-8", "ISO-8859-16", "windows-1252", "windows-874", "KOI8-R",
    "Shift_JIS",    "EUC-JP",     "ISO-2022-JP", "ISO-2022-KR",  "ISO-2022-CN", "GB18030",
    "HZ-GB-2312",   "Big5",       "EUC-KR",      "x-mac-arabic", "x-mac-greek", "x-mac-japanese",
    "x-mac-korean", "cp1361",     "US-ASCII",    "no such name",
};

void Require(bool holds)
{
    if (!holds) std::abort();
}

// What `convert` answers, or nothing where it fails.
template <class Convert>
auto Try(Convert convert) -> std::optional<decltype(convert())>
{
    try {
        return convert();
    } catch (HierarchicalException const&) {
        return {};
    }
}

void CheckDecoding(CBasicCharsetConverter const& converter, char const* bytes, std::size_t size)
{
    auto const text = Try([&] {
        std::u16string target;
        converter.ToUnicode(size, bytes, &target);
        return target;
    });
    std::size_t const room = text ? text->size() : size;
    std::vector<char16_t> buffer(room);
    auto const written = Try([&] {
        unsigned long count = 0;
        converter.ToUnicode(size, bytes, room * sizeof(char16_t), &count, buffer.data());
        return count;
    });
    // Into a buffer fewer bytes are taken for text of the charset.
    if (!text) Require(!written);
    if (written) Require(std::u16string(buffer.begin(), buffer.end()) == *text);
}

void CheckEncoding(CBasicCharsetConverter const& converter, std::u16string const& text)
{
    auto const bytes = Try([&] {
        std::string target;
        converter.FromUnicode(text.size(), text.data(), &target);
        return target;
    });
    if (!bytes) return;
    std::vector<char> buffer(bytes->size());
    auto const written = Try([&] {
        unsigned long count = 0;
        converter.FromUnicode(text.size() * sizeof(char16_t), text.data(), buffer.size(), &count,
                              buffer.data());
        return count;
    });
    // Into a string, shifts and escapes may come again with each round.
    if (written) Require(*written <= buffer.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    if (size < 2) return 0;
    CCharsetConverter converter(CCharsetSelector::kUTF_8);
    converter.SetCharset(std::string(kNames[data[0] % std::size(kNames)]));
    std::vector<char> memory(data[1] % 16);
    std::size_t const offset = memory.size();
    memory.insert(memory.end(), data + 2, data + size);
    char const* const bytes = memory.data() + offset;

    CheckDecoding(*converter.mImp, bytes, size - 2);
    std::u16string text((size - 2) / sizeof(char16_t), u'\0');
    for (std::size_t i = 0; i < text.size(); ++i)
        text[i] = static_cast<char16_t>(data[2 + 2 * i] << 8 | data[3 + 2 * i]);
    CheckEncoding(*converter.mImp, text);
    return 0;
}
