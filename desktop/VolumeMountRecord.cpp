#include "desktop/VolumeMountRecord.h"

#include "text/CUTFConverter.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <iterator>

namespace {

// Where the fields lie.
constexpr std::size_t kMediaType = 2;
constexpr std::size_t kURL = 12;
constexpr std::size_t kServerName = 14;
constexpr std::size_t kVolumeName = 16;
constexpr std::size_t kAddresses = 28;
constexpr std::size_t kSubPath = 36;

// How a media type tells its server.
enum MediaRule
{
    kURLInRecord,
    kURLIsSource,
    kURLOfParts,
};

// Four characters, the first in the uppermost byte.
constexpr std::uint32_t MediaCode(char const (&text)[5])
{
    std::uint32_t code = 0;
    for (int i = 0; i < 4; ++i)
        code = code << 8 | static_cast<unsigned char>(text[i]);
    return code;
}

constexpr struct
{
    std::uint32_t mCode;
    MediaRule mRule;
} kMedia[] = {
    {MediaCode("crbm"), kURLInRecord}, {MediaCode("nfs_"), kURLInRecord},
    {MediaCode("cifs"), kURLInRecord}, {MediaCode("http"), kURLIsSource},
    {MediaCode("afpm"), kURLOfParts},
};

enum AddressType : unsigned char
{
    kAddressText = 1,
    kAddressIPv4 = 2,
    kAddressDNSName = 4,
    kAddressIPv6 = 7,
};

// The record may lie at any address.
template <class Number>
bool ReadNumber(std::string_view record, std::size_t offset, Number& number)
{
    if (record.size() < sizeof number || offset > record.size() - sizeof number) return false;
    std::memcpy(&number, record.data() + offset, sizeof number);
    return true;
}

unsigned int ByteAt(std::string_view bytes, std::size_t offset)
{
    return static_cast<unsigned char>(bytes[offset]);
}

unsigned int BigEndianAt(std::string_view bytes, std::size_t offset)
{
    return ByteAt(bytes, offset) << 8 | ByteAt(bytes, offset + 1);
}

std::optional<std::string> DecodeText(std::string_view bytes)
{
    std::string text(bytes.substr(0, bytes.find('\0')));
    std::u16string units;
    if (!CUTFConverter::ConvertUTF8toUTF16(text, units, CUTFConverter::kStrictMode)) return {};
    return text;
}

// What is behind the offset that stands at `field`; nothing if that leads nowhere.
std::optional<std::string_view> BytesBehind(std::string_view record, std::size_t field)
{
    std::int16_t offset = 0;
    if (!ReadNumber(record, field, offset) || offset <= 0) return {};
    auto const at = static_cast<std::size_t>(offset);
    if (at >= record.size()) return {};
    return record.substr(at);
}

// A length byte and that many bytes.
std::optional<std::string> NameBehind(std::string_view record, std::size_t field)
{
    auto const bytes = BytesBehind(record, field);
    if (!bytes) return {};
    std::size_t const length = ByteAt(*bytes, 0);
    if (length > bytes->size() - 1) return {};
    return DecodeText(bytes->substr(1, length));
}

std::optional<std::string> SubPathOf(std::string_view record)
{
    auto const bytes = BytesBehind(record, kSubPath);
    return bytes ? DecodeText(*bytes) : std::nullopt;
}

template <class... Numbers>
std::string Format(char const* format, Numbers... numbers)
{
    char text[64];
    std::snprintf(text, sizeof text, format, numbers...);
    return text;
}

// Four bytes and a port; empty if the entry has no room for them.
std::string IPv4Text(std::string_view data)
{
    if (data.size() < 6) return {};
    return Format("%u.%u.%u.%u:%u", ByteAt(data, 0), ByteAt(data, 1), ByteAt(data, 2),
                  ByteAt(data, 3), BigEndianAt(data, 4));
}

std::string IPv6Text(std::string_view data)
{
    if (data.size() < 16) return {};
    return Format("[%x:%x:%x:%x:%x:%x:%x:%x]", BigEndianAt(data, 0), BigEndianAt(data, 2),
                  BigEndianAt(data, 4), BigEndianAt(data, 6), BigEndianAt(data, 8),
                  BigEndianAt(data, 10), BigEndianAt(data, 12), BigEndianAt(data, 14));
}

// The ways to the server, as far as they have been read.
struct Host
{
    std::string mDNSName;
    std::string mAddress;

    void Add(unsigned int type, std::string_view data)
    {
        switch (type) {
        case kAddressText:
            if (mAddress.empty()) mAddress = DecodeText(data).value_or("");
            break;
        case kAddressIPv4:
            TakeAddress(IPv4Text(data));
            break;
        case kAddressDNSName:
            if (auto name = DecodeText(data); name && !name->empty()) mDNSName = *name;
            break;
        case kAddressIPv6:
            TakeAddress(IPv6Text(data));
            break;
        default:
            break;
        }
    }

    void TakeAddress(std::string const& address)
    {
        if (!address.empty()) mAddress = address;
    }
};

// The list ends early at an entry that is none: its length leads on to the next one.
std::string HostOf(std::string_view record)
{
    auto const list = BytesBehind(record, kAddresses);
    if (!list || list->size() < 2) return {};
    Host host;
    std::string_view rest = list->substr(2);
    for (unsigned int count = ByteAt(*list, 1); count > 0 && rest.size() >= 2; --count) {
        std::size_t const length = ByteAt(rest, 0);
        if (length < 2 || length > rest.size()) break;
        host.Add(ByteAt(rest, 1), rest.substr(2, length - 2));
        rest.remove_prefix(length);
    }
    return host.mDNSName.empty() ? host.mAddress : host.mDNSName;
}

ServerVolume ReadParts(std::string_view record)
{
    ServerVolume server;
    server.mName = NameBehind(record, kServerName);
    auto const volume = NameBehind(record, kVolumeName);
    if (!volume) return server;
    server.mURL = "afp://" + HostOf(record) + "/" + *volume;
    if (auto const subPath = SubPathOf(record)) *server.mURL += "/" + *subPath;
    return server;
}

}  // namespace

ServerVolume ReadMountRecord(std::string_view record, std::string const& source)
{
    std::uint32_t media = 0;
    if (!ReadNumber(record, kMediaType, media)) return {};
    auto const* const row = std::find_if(std::begin(kMedia), std::end(kMedia),
                                         [&](auto const& r) { return r.mCode == media; });
    if (row == std::end(kMedia)) return {};
    switch (row->mRule) {
    case kURLInRecord:
        if (record.size() <= kURL) return {};
        return {DecodeText(record.substr(kURL)), {}};
    case kURLIsSource:
        return {source, {}};
    case kURLOfParts:
        break;
    }
    return ReadParts(record);
}
