// The record that the File Manager of macOS keeps of a mounted server volume.
//
// Numbers are in the processor's byte order unless it says otherwise; offsets are in bytes from the
// record's start. None is trusted: what would lie outside the record counts as missing.
#pragma once

#include <optional>
#include <string>
#include <string_view>

/// What a record says of the server.
struct ServerVolume
{
    std::optional<std::string> mURL;   ///< UTF-8, as it was mounted, not escaped
    std::optional<std::string> mName;  ///< the server's own name, where the record has one
};

/// Reads `record`. `source` is the mount's own, which is the URL of a WebDAV volume.
///
/// A volume of an Apple file server has no URL if its name can't be read, and one with an empty
/// host if the record names no address. Text that isn't UTF-8 counts as missing, text is cut at a
/// null byte, and offsets below 1 stand for none.
ServerVolume ReadMountRecord(std::string_view record, std::string const& source);
