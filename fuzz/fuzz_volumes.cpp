// Any bytes as the record of a mounted server volume, as a table of mounts and as a mount's source:
// nothing reads outside them, and what comes out holds together. The record gets memory of its
// exact size, so that the address sanitizer sees the end.
#include "desktop/VolumeMountRecord.h"
#include "desktop/platform/linux/MountTable.h"
#include "desktop/platform/linux/ServerURL.h"

#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

void Require(bool holds)
{
    if (!holds) std::abort();
}

// Mostly of a type that has something to read behind it.
void CheckRecord(std::string_view bytes)
{
    constexpr char const* kTypes[] = {"mpfa", "sfic", "ptth", "_sfn"};  // least byte first
    std::size_t const size = bytes.size();
    auto const memory = std::make_unique<char[]>(size);
    bytes.copy(memory.get(), size);
    for (std::size_t type = 0; type <= std::size(kTypes); ++type) {
        if (type > 0 && size >= 6) std::string_view(kTypes[type - 1], 4).copy(memory.get() + 2, 4);
        ServerVolume const server = ReadMountRecord({memory.get(), size}, "source");
        Require(!server.mURL || server.mURL->find('\0') == std::string::npos);
        Require(!server.mName || server.mName->size() <= 255);
    }
}

void CheckTable(std::string_view bytes)
{
    CMountTable const table(std::vector<char>(bytes.begin(), bytes.end()));
    for (MountEntry const& entry : table.Entries()) {
        Require(!entry.mMountPoint.empty());
        Require(table.FindId(entry.mId) != nullptr);
        MountEntry const* const shown = table.FindMountPoint(entry.mMountPoint);
        Require(entry.mIsHidden || (shown && shown->mMountPoint == entry.mMountPoint));
        ServerURLOf(entry.mType, entry.mSource, entry.mOptions);
    }
    Require(table.VolumePaths().size() <= table.Entries().size());
}

// What comes out is ASCII without blanks, but for a URL that is taken as it is.
void CheckSource(std::string_view bytes)
{
    std::size_t const half = bytes.size() / 2;
    for (char const* const type : {"nfs", "cifs", "fuse.sshfs", "9p"}) {
        for (char const c : ServerURLOf(type, bytes.substr(0, half), bytes.substr(half)))
            Require(c > ' ' && c < '\x7F');
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    std::string_view const bytes(reinterpret_cast<char const*>(data), size);
    CheckRecord(bytes);
    CheckTable(bytes);
    CheckSource(bytes);
    return 0;
}
