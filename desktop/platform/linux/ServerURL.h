// The URL of the server behind a mount, from what the mount says of itself.
#pragma once

#include <string>
#include <string_view>

/// The URL for `source`, with `type` and `options` of the same mount; empty if the type has no
/// server or the source doesn't name one. What may not stand in a URL is escaped (RFC 3986). No
/// state; nothing is asked.
///
/// | type | source | URL |
/// |---|---|---|
/// | nfs, nfs4 | host:/path, [v6]:/path | nfs://host/path |
/// | cifs, smb3, smbfs | //host/share | smb://host/share |
/// | fuse.sshfs | user@host:/path | sftp://user@host/path |
/// | fuse.sshfs | user@host:path | sftp://user@host/~/path, from the user's own folder |
/// | fuse, fuse.davfs, davfs | https://host/path | as it is |
/// | 9p | host | 9p://host:port/aname, by the options; none if another transport than tcp or rdma |
std::string ServerURLOf(std::string_view type, std::string_view source, std::string_view options);
