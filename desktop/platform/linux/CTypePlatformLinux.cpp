#include "desktop/platform/CBasicTypePlatform.h"
#include "desktop/tables/TypeTable.h"

#include <algorithm>
#include <cstdint>
#include <string_view>

namespace {

// Case is set aside for the letters of ASCII. The table has no others.
constexpr char16_t ToLower(char16_t unit)
{
    return unit >= u'A' && unit <= u'Z' ? static_cast<char16_t>(unit + (u'a' - u'A')) : unit;
}

// As `strcmp` with the extension in lower case, in which a zero unit is a unit like any other.
int Compare(char const* row, std::u16string const& extension)
{
    for (char16_t const unit : extension) {
        if (*row == 0) return -1;
        int const difference = static_cast<unsigned char>(*row) - ToLower(unit);
        if (difference != 0) return difference;
        ++row;
    }
    return static_cast<unsigned char>(*row);
}

std::u16string TextOf(std::uint16_t type)
{
    if (type == kNoType) return std::u16string();
    std::string_view const text = kTypeTable.mIdentifiers + type;
    return std::u16string(text.begin(), text.end());
}

// There is no one to ask here, so the library's own table answers.
class CTypePlatformLinux final : public CBasicTypePlatform
{
public:
    std::u16string GetTypeForExtension(std::u16string const& extension,
                                       bool ofPackage) const override
    {
        auto const* const end = kTypeTable.mExtensions + kTypeTable.mExtensionCount;
        auto const* const row =
            std::lower_bound(kTypeTable.mExtensions, end, extension,
                             [](TypeOfExtension const& r, std::u16string const& e) {
                                 return Compare(r.mExtension, e) < 0;
                             });
        if (row == end || Compare(row->mExtension, extension) != 0) return std::u16string();
        return TextOf(ofPackage ? row->mPackageType : row->mType);
    }

    std::u16string GetTypeForFileType(unsigned int fileType) const override
    {
        auto const* const end = kTypeTable.mFileTypes + kTypeTable.mFileTypeCount;
        auto const* const row = std::lower_bound(
            kTypeTable.mFileTypes, end, fileType,
            [](TypeOfFileType const& r, unsigned int t) { return r.mFileType < t; });
        return row != end && row->mFileType == fileType ? TextOf(row->mType) : std::u16string();
    }
};

}  // namespace

CBasicTypePlatform* NewTypePlatform()
{
    return new CTypePlatformLinux;
}
