#include "desktop/VolumeMountRecord.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

std::uint32_t CodeOf(std::string const& text)
{
    std::uint32_t code = 0;
    for (char const c : text)
        code = code << 8 | static_cast<unsigned char>(c);
    return code;
}

void Put(std::string& record, std::size_t at, void const* bytes, std::size_t size)
{
    if (record.size() < at + size) record.resize(at + size);
    std::memcpy(record.data() + at, bytes, size);
}

void PutOffset(std::string& record, std::size_t field, long offset)
{
    auto const number = static_cast<std::int16_t>(offset);
    Put(record, field, &number, sizeof number);
}

std::string RecordOf(std::string const& media, std::string const& rest = {})
{
    std::uint32_t const code = CodeOf(media);
    std::string record(12, '\0');
    Put(record, 2, &code, sizeof code);
    return record + rest;
}

// An entry of the list of addresses.
std::string Address(int type, std::string const& data)
{
    return std::string{static_cast<char>(data.size() + 2), static_cast<char>(type)} + data;
}

const std::string kIPv4 = Address(2, "\xC0\xA8\x01\x0A\x02\x24"s);
const std::string kIPv6 =
    Address(7, "\x20\x01\x0D\xB8\x00\x00\x00\x00\x00\x00\x00\x00\xAB\xCD\x00\x01"s);

// A record of an Apple file server; `addresses` are `count` entries.
struct ServerRecord
{
    std::string mServer = "Büro";
    std::string mVolume = "Data";
    int mCount = 0;
    std::string mAddresses;
    std::string mSubPath;  // none if empty

    std::string Make() const
    {
        std::string record = RecordOf("afpm");
        record.resize(64);
        Append(record, 14, std::string(1, static_cast<char>(mServer.size())) + mServer);
        Append(record, 16, std::string(1, static_cast<char>(mVolume.size())) + mVolume);
        Append(record, 28, "\0"s + static_cast<char>(mCount) + mAddresses);
        if (!mSubPath.empty()) Append(record, 36, mSubPath + '\0');
        return record;
    }

    static void Append(std::string& record, std::size_t field, std::string const& bytes)
    {
        PutOffset(record, field, static_cast<long>(record.size()));
        record += bytes;
    }
};

std::string Shown(ServerVolume const& server)
{
    return server.mURL.value_or("(no URL)") + "|" + server.mName.value_or("(no name)");
}

TEST(VolumeMountRecord, TellsTheURLByMediaType)
{
    struct
    {
        char const* mWhat;
        std::string mRecord;
        char const* mServer;
    } const kCases[] = {
        {"crbm", RecordOf("crbm", "nfs://h/p\0rest"s), "nfs://h/p|(no name)"},
        {"nfs_", RecordOf("nfs_", "nfs://h/p\0"s), "nfs://h/p|(no name)"},
        {"cifs", RecordOf("cifs", "smb://h/s"), "smb://h/s|(no name)"},
        {"cifs, empty", RecordOf("cifs", "\0"s), "|(no name)"},
        {"cifs, nothing there", RecordOf("cifs"), "(no URL)|(no name)"},
        {"cifs, not UTF-8", RecordOf("cifs", "smb://\xFF"), "(no URL)|(no name)"},
        {"http", RecordOf("http"), "source|(no name)"},
        {"another", RecordOf("ftp_", "ftp://h"), "(no URL)|(no name)"},
        {"upper case", RecordOf("CIFS", "smb://h/s"), "(no URL)|(no name)"},
        {"bytes in the other order", RecordOf("sfic", "smb://h/s"), "(no URL)|(no name)"},
        {"empty", "", "(no URL)|(no name)"},
        {"cut off in its type", RecordOf("http").substr(0, 5), "(no URL)|(no name)"},
        {"cut off behind its type", RecordOf("http").substr(0, 6), "source|(no name)"},
    };

    for (auto const& c : kCases) {
        SCOPED_TRACE(c.mWhat);
        EXPECT_EQ(Shown(ReadMountRecord(c.mRecord, "source")), c.mServer);
    }
}

TEST(VolumeMountRecord, MakesTheURLOfAnAppleFileServer)
{
    std::string const text = Address(1, "h.local");
    std::string const name = Address(4, "files.example.org");

    struct
    {
        char const* mWhat;
        ServerRecord mRecord;
        char const* mURL;
    } const kCases[] = {
        {"no address", {}, "afp:///Data"},
        {"IPv4", {"S", "Data", 1, kIPv4, ""}, "afp://192.168.1.10:548/Data"},
        {"IPv6", {"S", "Data", 1, kIPv6, ""}, "afp://[2001:db8:0:0:0:0:abcd:1]/Data"},
        {"text", {"S", "Data", 1, text, ""}, "afp://h.local/Data"},
        {"DNS name", {"S", "Data", 1, name, ""}, "afp://files.example.org/Data"},
        {"DNS name before addresses",
         {"S", "Data", 3, name + kIPv4 + kIPv6, ""},
         "afp://files.example.org/Data"},
        {"DNS name behind addresses",
         {"S", "Data", 3, kIPv4 + text + name, ""},
         "afp://files.example.org/Data"},
        {"later address",
         {"S", "Data", 2, kIPv4 + kIPv6, ""},
         "afp://[2001:db8:0:0:0:0:abcd:1]/Data"},
        {"later address, other order",
         {"S", "Data", 2, kIPv6 + kIPv4, ""},
         "afp://192.168.1.10:548/Data"},
        {"address behind text", {"S", "Data", 2, text + kIPv4, ""}, "afp://192.168.1.10:548/Data"},
        {"text behind an address",
         {"S", "Data", 2, kIPv4 + text, ""},
         "afp://192.168.1.10:548/Data"},
        {"text behind text", {"S", "Data", 2, text + Address(1, "x"), ""}, "afp://h.local/Data"},
        {"unknown types",
         {"S", "Data", 4, Address(3, "abcdef") + Address(0, "") + kIPv4 + Address(255, "x"), ""},
         "afp://192.168.1.10:548/Data"},
        {"fewer told than there",
         {"S", "Data", 1, kIPv4 + kIPv6, ""},
         "afp://192.168.1.10:548/Data"},
        {"more told than there", {"S", "Data", 9, kIPv4, ""}, "afp://192.168.1.10:548/Data"},
        {"sub-path", {"S", "Data", 1, kIPv4, "a/b c"}, "afp://192.168.1.10:548/Data/a/b c"},
        {"names in UTF-8", {"Ä", "Büro", 0, "", "ö"}, "afp:///Büro/ö"},
        {"empty volume name", {"S", "", 0, "", ""}, "afp:///"},
        {"longest port and bytes",
         {"S", "D", 1, Address(2, "\xFF\xFF\xFF\xFF\xFF\xFF"), ""},
         "afp://255.255.255.255:65535/D"},
        {"all groups full",
         {"S", "D", 1, Address(7, std::string(16, '\xFF')), ""},
         "afp://[ffff:ffff:ffff:ffff:ffff:ffff:ffff:ffff]/D"},
        {"more data than an address has",
         {"S", "D", 1, Address(2, "\1\2\3\4\0\5abc"s), ""},
         "afp://1.2.3.4:5/D"},
    };

    for (auto const& c : kCases) {
        SCOPED_TRACE(c.mWhat);
        ServerVolume const server = ReadMountRecord(c.mRecord.Make(), "source");
        EXPECT_EQ(server.mURL.value_or("(no URL)"), c.mURL);
        EXPECT_EQ(server.mName, c.mRecord.mServer);
    }
}

TEST(VolumeMountRecord, PassesOverAddressesThatAreNone)
{
    struct
    {
        char const* mWhat;
        std::string mAddresses;
        char const* mHost;
    } const kCases[] = {
        {"IPv4 too short", Address(2, "\1\2\3\4\5") + Address(1, "h"), "h"},
        {"IPv6 too short", Address(7, std::string(15, '\1')) + Address(1, "h"), "h"},
        {"empty DNS name", Address(4, "") + Address(1, "h"), "h"},
        {"empty text", Address(1, "") + Address(1, "h"), "h"},
        {"DNS name not UTF-8", Address(4, "\xFF") + Address(1, "h"), "h"},
        {"text not UTF-8", Address(1, "\xC0\xAF") + Address(1, "h"), "h"},
        {"text with a null byte", Address(1, "h\0x"s), "h"},
        {"length 0 ends the list", "\0\1"s + Address(1, "h"), ""},
        {"length 1 ends the list", "\1\1"s + Address(1, "h"), ""},
        {"length past the record ends the list", Address(1, "h") + "\xFF\4x"s, "h"},
    };

    for (auto const& c : kCases) {
        SCOPED_TRACE(c.mWhat);
        ServerVolume const server =
            ReadMountRecord(ServerRecord{"S", "D", 200, c.mAddresses, ""}.Make(), "");
        EXPECT_EQ(server.mURL, "afp://" + std::string(c.mHost) + "/D");
    }
}

TEST(VolumeMountRecord, TrustsNoOffset)
{
    constexpr long kNowhere[] = {0, -1, -32768, 32767};
    std::string const whole = ServerRecord{"Server", "Data", 1, kIPv4, "sub"}.Make();

    struct
    {
        char const* mWhat;
        std::size_t mField;
        char const* mServer;
    } const kCases[] = {
        {"server name", 14, "afp://192.168.1.10:548/Data/sub|(no name)"},
        {"volume name", 16, "(no URL)|Server"},
        {"addresses", 28, "afp:///Data/sub|Server"},
        {"sub-path", 36, "afp://192.168.1.10:548/Data|Server"},
    };

    for (auto const& c : kCases) {
        SCOPED_TRACE(c.mWhat);
        for (long const offset : kNowhere) {
            std::string record = whole;
            PutOffset(record, c.mField, offset);
            EXPECT_EQ(Shown(ReadMountRecord(record, "")), c.mServer) << offset;
        }
        // One byte behind the end.
        std::string record = whole;
        PutOffset(record, c.mField, static_cast<long>(whole.size()));
        EXPECT_EQ(Shown(ReadMountRecord(record, "")), c.mServer);
    }
}

TEST(VolumeMountRecord, ReadsNothingBehindItsEnd)
{
    // Copied to memory of the exact size, so that the address sanitizer sees the end.
    std::string const whole =
        ServerRecord{"Server", "Data", 3, kIPv6 + kIPv4 + Address(4, "h"), "sub"}.Make();
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        auto const memory = std::make_unique<char[]>(size);
        std::memcpy(memory.get(), whole.data(), size);
        ServerVolume const server = ReadMountRecord({memory.get(), size}, "");
        ASSERT_EQ(server.mURL.has_value(), size >= 76) << size;
    }
}

TEST(VolumeMountRecord, LetsNoNameReachBehindItsEnd)
{
    // The names come last, and are told to be longer than they are.
    std::string record = RecordOf("afpm");
    record.resize(64);
    ServerRecord::Append(record, 16, "\4Data");
    ServerRecord::Append(record, 14, "\7Server");
    EXPECT_EQ(Shown(ReadMountRecord(record, "")), "afp:///Data|(no name)");
    ServerRecord::Append(record, 14, "\6Server");
    EXPECT_EQ(Shown(ReadMountRecord(record, "")), "afp:///Data|Server");
    ServerRecord::Append(record, 16, "\xFF");
    EXPECT_EQ(Shown(ReadMountRecord(record, "")), "(no URL)|Server");
}

TEST(VolumeMountRecord, TakesASubPathWithoutItsNullByteToTheEnd)
{
    std::string record = ServerRecord().Make();
    ServerRecord::Append(record, 36, "a/b");
    EXPECT_EQ(ReadMountRecord(record, "").mURL, "afp:///Data/a/b");
    ServerRecord::Append(record, 36, "\0"s);
    EXPECT_EQ(ReadMountRecord(record, "").mURL, "afp:///Data/") << "there, and empty";
}

TEST(VolumeMountRecord, KnowsNoNameThatIsntUTF8)
{
    EXPECT_EQ(Shown(ReadMountRecord(ServerRecord{"\xFF", "Data", 0, "", ""}.Make(), "")),
              "afp:///Data|(no name)");
    EXPECT_EQ(Shown(ReadMountRecord(ServerRecord{"S", "\xFF", 0, "", ""}.Make(), "")),
              "(no URL)|S");
    EXPECT_EQ(Shown(ReadMountRecord(ServerRecord{"S", "Data", 0, "", "\xFF"}.Make(), "")),
              "afp:///Data|S");
}

}  // namespace
