#include "desktop/platform/linux/ServerURL.h"

#include <algorithm>
#include <iterator>

namespace {

// What stands for itself everywhere, and in a path.
constexpr std::string_view kAllowed =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"
    "-._~!$&'()*+,;=:";
constexpr std::string_view kAllowedInPath = "@/";
constexpr std::string_view kHexDigits = "0123456789ABCDEF";

bool BeginsWith(std::string_view text, std::string_view start)
{
    return text.substr(0, start.size()) == start;
}

std::string Escaped(std::string_view text, std::string_view alsoAllowed = {})
{
    std::string escaped;
    escaped.reserve(text.size());
    for (char const c : text) {
        if (kAllowed.find(c) != kAllowed.npos || alsoAllowed.find(c) != alsoAllowed.npos) {
            escaped += c;
            continue;
        }
        auto const byte = static_cast<unsigned char>(c);
        escaped += '%';
        escaped += kHexDigits[byte >> 4];
        escaped += kHexDigits[byte & 0xF];
    }
    return escaped;
}

// Only an IPv6 address has colons, and needs its brackets. A user's name may stand before it.
std::string HostText(std::string_view host)
{
    std::size_t const at = host.rfind('@');
    std::string_view const name = at == host.npos ? host : host.substr(at + 1);
    std::string text = at == host.npos ? std::string() : Escaped(host.substr(0, at)) + "@";
    if (BeginsWith(name, "[") && name.back() == ']') {
        return text + "[" + Escaped(name.substr(1, name.size() - 2)) + "]";
    }
    if (name.find(':') != name.npos) return text + "[" + Escaped(name) + "]";
    return text + Escaped(name);
}

// Splits "host:path"; an IPv6 address in brackets keeps its colons. False if there is no host.
bool SplitHost(std::string_view source, std::string_view& host, std::string_view& path)
{
    std::size_t colon = source.find(':');
    if (std::size_t const bracket = source.find('['); bracket < colon)
        colon = source.find(':', std::min(source.find(']', bracket), source.size()));
    if (colon == source.npos || colon == 0) return false;
    host = source.substr(0, colon);
    path = source.substr(colon + 1);
    return true;
}

std::string NFSURL(std::string_view source, std::string_view)
{
    std::string_view host;
    std::string_view path;
    if (!SplitHost(source, host, path)) return {};
    return "nfs://" + HostText(host) + (BeginsWith(path, "/") ? "" : "/") +
           Escaped(path, kAllowedInPath);
}

std::string SSHURL(std::string_view source, std::string_view)
{
    std::string_view host;
    std::string_view path;
    if (!SplitHost(source, host, path)) return {};
    return "sftp://" + HostText(host) + (BeginsWith(path, "/") ? "" : "/~/") +
           Escaped(path, kAllowedInPath);
}

std::string SMBURL(std::string_view source, std::string_view)
{
    std::string share(source);
    std::replace(share.begin(), share.end(), '\\', '/');
    if (!BeginsWith(share, "//") || share.size() == 2 || share[2] == '/') return {};
    std::string_view const rest = std::string_view(share).substr(2);
    std::size_t const slash = std::min(rest.find('/'), rest.size());
    return "smb://" + HostText(rest.substr(0, slash)) + Escaped(rest.substr(slash), kAllowedInPath);
}

std::string WebDAVURL(std::string_view source, std::string_view)
{
    bool const isURL = BeginsWith(source, "http://") || BeginsWith(source, "https://");
    return isURL ? std::string(source) : std::string();
}

// The value of "name=value" among the options, empty if it isn't there.
std::string_view OptionOf(std::string_view options, std::string_view name)
{
    while (!options.empty()) {
        std::size_t const comma = std::min(options.find(','), options.size());
        std::string_view const option = options.substr(0, comma);
        if (option.size() > name.size() && BeginsWith(option, name) && option[name.size()] == '=')
            return option.substr(name.size() + 1);
        options.remove_prefix(std::min(comma + 1, options.size()));
    }
    return {};
}

// Without the option for the transport the kernel is too old to tell it.
std::string NinePURL(std::string_view source, std::string_view options)
{
    std::string_view const transport = OptionOf(options, "trans");
    if (source.empty() || source == "none") return {};
    if (!transport.empty() && transport != "tcp" && transport != "rdma") return {};
    std::string_view const port = OptionOf(options, "port");
    std::string_view const tree = OptionOf(options, "aname");
    std::string url = "9p://" + HostText(source);
    if (!port.empty()) url += ":" + Escaped(port);
    return url + (BeginsWith(tree, "/") ? "" : "/") + Escaped(tree, kAllowedInPath);
}

constexpr struct
{
    std::string_view mType;
    std::string (*mURL)(std::string_view source, std::string_view options);
} kForms[] = {
    {"9p", NinePURL},       {"cifs", SMBURL},          {"davfs", WebDAVURL},
    {"fuse", WebDAVURL},    {"fuse.davfs", WebDAVURL}, {"fuse.davfs2", WebDAVURL},
    {"fuse.sshfs", SSHURL}, {"nfs", NFSURL},           {"nfs4", NFSURL},
    {"smb3", SMBURL},       {"smbfs", SMBURL},
};

}  // namespace

std::string ServerURLOf(std::string_view type, std::string_view source, std::string_view options)
{
    auto const* const form = std::find_if(std::begin(kForms), std::end(kForms),
                                          [&](auto const& f) { return f.mType == type; });
    return form == std::end(kForms) ? std::string() : form->mURL(source, options);
}
