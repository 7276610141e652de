#include "net/NetServiceText.h"

#include <algorithm>
#include <string_view>

#include "marl/memblock.h"

namespace {

constexpr std::size_t kLongestEntry = 255;
constexpr std::size_t kEscapeDigits = 3;

// By the ASCII digits alone, whatever the locale.
bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

// The number behind a backslash, if `text` begins with one.
bool StartsWithNumber(std::string_view text)
{
    return text.size() >= kEscapeDigits && std::all_of(text.begin(), text.begin() + kEscapeDigits,
                                                       [](char c) { return IsDigit(c); });
}

char ByteOfNumber(std::string_view text)
{
    int number = 0;
    for (char const digit : text.substr(0, kEscapeDigits))
        number = number * 10 + (digit - '0');
    return static_cast<char>(static_cast<unsigned char>(number));
}

}  // namespace

void AppendTXTRecord(NetServicePairs const& pairs, memblock& record)
{
    std::string entry;
    for (auto const& [key, value] : pairs) {
        entry.assign(1, '\0');  // room for the length
        entry.append(key).append(1, '=').append(value);
        if (entry.size() - 1 > kLongestEntry) entry.resize(1 + kLongestEntry);
        entry[0] = static_cast<char>(static_cast<unsigned char>(entry.size() - 1));
        record.append(entry.data(), entry.size());
    }
}

NetServicePairs ParseTXTRecord(unsigned char const* record, unsigned int length)
{
    NetServicePairs pairs;
    if (length < 2) return pairs;
    std::string_view rest(reinterpret_cast<char const*>(record), length);
    while (!rest.empty()) {
        auto const wanted = static_cast<unsigned char>(rest.front());
        rest.remove_prefix(1);
        std::string_view const entry = rest.substr(0, wanted);
        rest.remove_prefix(entry.size());
        // Kept on purpose: a key without "=" is lost, one without a value is not.
        std::size_t const separator = entry.find('=');
        if (separator == std::string_view::npos) continue;
        pairs.emplace_back(entry.substr(0, separator), entry.substr(separator + 1));
    }
    return pairs;
}

std::string PlainServiceName(char const* fullName)
{
    std::string name;
    std::string_view const text(fullName);
    for (std::size_t i = 0; i < text.size() && text[i] != '.'; ++i) {
        std::string_view const behind = text.substr(i + 1);
        if (text[i] != '\\' || behind.empty()) {
            name += text[i];
        } else if (StartsWithNumber(behind)) {
            name += ByteOfNumber(behind);
            i += kEscapeDigits;
        } else {
            name += behind.front();
            ++i;
        }
    }
    return name;
}
