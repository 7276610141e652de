// What type identifiers are remembered by.
#pragma once

#include <string>
#include <string_view>

/// The key of a look-up: as `FileTypeAndExtension`, of a text that belongs to somebody else.
struct FileTypeAndExtensionView
{
    unsigned int mFileType;
    std::u16string_view mExtension;
};

struct FileTypeAndExtension
{
    unsigned int mFileType;     // a four-character code
    std::u16string mExtension;  // without the dot

    operator FileTypeAndExtensionView() const noexcept { return {mFileType, mExtension}; }
};

/// By file type, then by extension, unit by unit; a text stands before those that it begins. Case
/// counts.
struct FileTypeAndExtensionComparator
{
    using is_transparent = void;

    bool operator()(FileTypeAndExtensionView a, FileTypeAndExtensionView b) const noexcept
    {
        return a.mFileType != b.mFileType ? a.mFileType < b.mFileType : a.mExtension < b.mExtension;
    }
};
