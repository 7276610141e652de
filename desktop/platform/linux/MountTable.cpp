#include "desktop/platform/linux/MountTable.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iterator>
#include <unordered_set>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace {

// Types that the kernel, FUSE and the desktops know, in the order of `std::less`.
constexpr std::string_view kPseudoFileSystems[] = {
    "anon_inodefs",
    "apparmorfs",
    "autofs",
    "bdev",
    "binder",
    "binfmt_misc",
    "bpf",
    "cgroup",
    "cgroup2",
    "configfs",
    "cpuset",
    "dax",
    "debugfs",
    "devfs",
    "devpts",
    "devtmpfs",
    "dlmfs",
    "dmabuf",
    "drm",
    "efivarfs",
    "fuse.gvfs-fuse-daemon",
    "fuse.gvfsd-fuse",
    "fuse.lxcfs",
    "fuse.portal",
    "fuse.vmware-vmblock",
    "fusectl",
    "hugetlbfs",
    "ipathfs",
    "mqueue",
    "nfsd",
    "none",
    "nsfs",
    "pidfs",
    "pipefs",
    "proc",
    "pstore",
    "ramfs",
    "resctrl",
    "rootfs",
    "rpc_pipefs",
    "securityfs",
    "selinuxfs",
    "smackfs",
    "sockfs",
    "spufs",
    "sysfs",
    "tracefs",
    "usbfs",
    "xenfs",
};

// The kernel hands out a page at a time, whatever the room.
std::vector<char> ReadAll(int descriptor)
{
    constexpr std::size_t kFirstRoom = std::size_t{64} * 1024;
    std::vector<char> text(kFirstRoom);
    std::size_t size = 0;
    for (;;) {
        if (size == text.size()) text.resize(2 * size);
        ssize_t const count = read(descriptor, text.data() + size, text.size() - size);
        if (count < 0 && errno == EINTR) continue;
        if (count <= 0) break;
        size += static_cast<std::size_t>(count);
    }
    text.resize(size);
    return text;
}

bool IsOctal(char c)
{
    return c >= '0' && c <= '7';
}

bool IsEscape(char const* at, char const* end)
{
    return end - at >= 4 && at[0] == '\\' && at[1] >= '0' && at[1] <= '3' && IsOctal(at[2]) &&
           IsOctal(at[3]);
}

// Undoes \040 and the like within the field's own bytes. Most fields have none.
std::string_view Decode(char* text, char* end)
{
    auto const length = static_cast<std::size_t>(end - text);
    auto* from = static_cast<char*>(std::memchr(text, '\\', length));
    if (!from) return {text, length};
    char* to = from;
    while (from < end) {
        if (!IsEscape(from, end)) {
            *to++ = *from++;
            continue;
        }
        *to++ = static_cast<char>((from[1] - '0') * 64 + (from[2] - '0') * 8 + (from[3] - '0'));
        from += 4;
    }
    return {text, static_cast<std::size_t>(to - text)};
}

// Walks the fields of one line. They stand one blank apart, and one of them may be empty.
class CFields
{
public:
    CFields(char* at, char* end)
        : mAt(at)
        , mEnd(end)
    {
    }

    // False behind the last field.
    bool Next(std::string_view& field)
    {
        if (!mAt) return false;
        auto const rest = static_cast<std::size_t>(mEnd - mAt);
        auto* const blank = static_cast<char*>(std::memchr(mAt, ' ', rest));
        field = Decode(mAt, blank ? blank : mEnd);
        mAt = blank ? blank + 1 : nullptr;
        return true;
    }

private:
    char* mAt;  // null behind the last one
    char* mEnd;
};

template <class Number>
bool ParseNumber(std::string_view text, Number& number)
{
    char const* const end = text.data() + text.size();
    auto const [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end;
}

bool ParseDevice(std::string_view text, MountEntry& entry)
{
    std::size_t const colon = text.find(':');
    return colon != text.npos && ParseNumber(text.substr(0, colon), entry.mMajor) &&
           ParseNumber(text.substr(colon + 1), entry.mMinor);
}

bool ParseLine(char* line, char* end, MountEntry& entry)
{
    CFields fields(line, end);
    std::string_view field;
    bool const isNumbered = fields.Next(field) && ParseNumber(field, entry.mId) &&
                            fields.Next(field) && ParseNumber(field, entry.mParentId) &&
                            fields.Next(field) && ParseDevice(field, entry);
    if (!isNumbered) return false;
    std::string_view root;
    if (!fields.Next(root) || !fields.Next(entry.mMountPoint) || !fields.Next(field)) return false;
    // Any number of fields of which we want none, then a dash.
    do {
        if (!fields.Next(field)) return false;
    } while (field != "-");
    return fields.Next(entry.mType) && fields.Next(entry.mSource) && fields.Next(entry.mOptions) &&
           !entry.mMountPoint.empty();
}

// Where a mount lies, for look-ups among the mounts on one and the same mount.
struct Place
{
    unsigned long long mParentId;
    std::string_view mMountPoint;

    bool operator==(Place const&) const = default;
};

struct PlaceHash
{
    std::size_t operator()(Place const& place) const
    {
        constexpr std::uint64_t kSpread = 0x9E3779B97F4A7C15;  // 2^64 by the golden ratio
        std::uint64_t const number = place.mParentId * kSpread;
        return std::hash<std::string_view>()(place.mMountPoint) ^ static_cast<std::size_t>(number);
    }
};

using Places = std::unordered_set<Place, PlaceHash>;

// The folder around `path`, with no slash at its end but the root's own; empty for the root.
std::string_view FolderOf(std::string_view path)
{
    std::size_t const slash = path.rfind('/');
    if (slash == path.npos || path.size() <= 1) return {};
    return path.substr(0, slash == 0 ? 1 : slash);
}

// Whether another mount on the same parent lies over a folder on the way to this one.
bool IsWayCovered(MountEntry const& entry, Places const& places)
{
    for (std::string_view folder = FolderOf(entry.mMountPoint); !folder.empty();
         folder = FolderOf(folder)) {
        if (places.count({entry.mParentId, folder}) != 0) return true;
    }
    return false;
}

}  // namespace

bool IsPseudoFileSystem(std::string_view type)
{
    return std::binary_search(std::begin(kPseudoFileSystems), std::end(kPseudoFileSystems), type);
}

CMountTable CMountTable::Read(char const* file)
{
    int const descriptor = open(file, O_RDONLY | O_CLOEXEC);
    if (descriptor == -1) return CMountTable({});
    CMountTable table = Read(descriptor);
    close(descriptor);
    return table;
}

CMountTable CMountTable::Read(int descriptor)
{
    return CMountTable(ReadAll(descriptor));
}

CMountTable::CMountTable(std::vector<char> text)
    : mText(std::move(text))
{
    char* const end = mText.data() + mText.size();
    for (char* line = mText.data(); line != end;) {
        char* const lineEnd = std::find(line, end, '\n');
        MountEntry entry;
        if (ParseLine(line, lineEnd, entry)) mEntries.push_back(entry);
        line = lineEnd == end ? end : lineEnd + 1;
    }

    mById.reserve(mEntries.size());
    for (std::size_t i = 0; i < mEntries.size(); ++i)
        mById.emplace(mEntries[i].mId, i);
    FindHidden();
    mByMountPoint.reserve(mEntries.size());
    for (std::size_t i = 0; i < mEntries.size(); ++i) {
        if (!mEntries[i].mIsHidden) mByMountPoint.insert_or_assign(mEntries[i].mMountPoint, i);
    }
}

// No way leads to what is mounted where no way leads to. Each mount is settled once: the way up is
// kept until it meets one that is.
void CMountTable::FindHidden()
{
    Places places;
    places.reserve(mEntries.size());
    for (MountEntry const& entry : mEntries) {
        // The very first mount names itself as its parent, and doesn't lie upon itself.
        if (entry.mId != entry.mParentId) places.insert({entry.mParentId, entry.mMountPoint});
    }

    enum : char
    {
        kOpen,
        kReached,
        kUnreachable
    };

    std::vector<char> states(mEntries.size(), kOpen);
    std::vector<std::size_t> way;
    for (std::size_t i = 0; i < mEntries.size(); ++i) {
        auto parent = mById.end();
        for (std::size_t at = i; states[at] == kOpen; at = parent->second) {
            // Settled from here on, so that numbers that run in a circle come to an end.
            states[at] = kReached;
            way.push_back(at);
            parent = mById.find(mEntries[at].mParentId);
            if (parent == mById.end()) break;
        }
        bool isReached = parent == mById.end() || states[parent->second] == kReached;
        for (; !way.empty(); way.pop_back()) {
            MountEntry& entry = mEntries[way.back()];
            isReached = isReached && !IsWayCovered(entry, places);
            if (!isReached) states[way.back()] = kUnreachable;
            entry.mIsHidden = !isReached || places.count({entry.mId, entry.mMountPoint}) != 0;
        }
    }
}

MountEntry const* CMountTable::FindId(unsigned long long id) const
{
    auto const found = mById.find(id);
    return found == mById.end() ? nullptr : &mEntries[found->second];
}

MountEntry const* CMountTable::FindMountPoint(std::string_view path) const
{
    auto const found = mByMountPoint.find(path);
    return found == mByMountPoint.end() ? nullptr : &mEntries[found->second];
}

std::vector<std::string> CMountTable::VolumePaths() const
{
    std::vector<std::string> paths;
    for (MountEntry const& entry : mEntries) {
        bool const shows = FindMountPoint(entry.mMountPoint) == &entry;
        if (shows && !IsPseudoFileSystem(entry.mType)) paths.emplace_back(entry.mMountPoint);
    }
    return paths;
}
