#include "desktop/platform/CBasicTypePlatform.h"
#include "desktop/platform/macos/FileObjects.h"
#include "foundation/platform/macos/StReference.h"

namespace {

// Where nothing claims a tag the system makes up an identifier that begins with "dyn.", which is an
// answer like any other.
std::u16string PreferredType(CFStringRef tagClass, CFStringRef tag, CFStringRef conformingTo)
{
    if (!tag) return std::u16string();
    StReference<CFStringRef> const type(
        UTTypeCreatePreferredIdentifierForTag(tagClass, tag, conformingTo));
    return TextOf((NSString*)type.Get());
}

class CTypePlatformMacOSX final : public CBasicTypePlatform
{
public:
    std::u16string GetTypeForExtension(std::u16string const& extension,
                                       bool ofPackage) const override
    {
        StReference<CFStringRef> const tag(CreateString(extension));
        return PreferredType(kUTTagClassFilenameExtension, tag.Get(),
                             ofPackage ? CFSTR("com.apple.package") : nullptr);
    }

    std::u16string GetTypeForFileType(unsigned int fileType) const override
    {
        StReference<CFStringRef> const tag(UTCreateStringForOSType(fileType));
        return PreferredType(kUTTagClassOSType, tag.Get(), nullptr);
    }
};

}  // namespace

CBasicTypePlatform* NewTypePlatform()
{
    return new CTypePlatformMacOSX;
}
