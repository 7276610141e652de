// The uniform type identifiers of macOS by the tags that claim them: extensions and file types.
//
// Plain data, for systems that have no such table of their own. Of several identifiers that claim
// one tag the table holds the one that was declared first, and for an extension also the first that
// conforms to "com.apple.package". An identifier is named by the offset of its text.
#pragma once

#include <cstddef>
#include <cstdint>

/// In place of an offset: no identifier.
constexpr std::uint16_t kNoType = 0xFFFF;

struct TypeOfExtension
{
    char mExtension[18];  // ASCII in lower case, with a zero behind it
    std::uint16_t mType;
    std::uint16_t mPackageType;  // `kNoType` if no package has the extension
};

struct TypeOfFileType
{
    std::uint32_t mFileType;
    std::uint16_t mType;
};

struct TypeTable
{
    char const* mIdentifiers;            // each ends with a zero
    TypeOfExtension const* mExtensions;  // in rising order of their bytes
    std::size_t mExtensionCount;
    TypeOfFileType const* mFileTypes;  // in rising order
    std::size_t mFileTypeCount;
};

extern TypeTable const kTypeTable;
