#include "desktop/platform/CBasicTypePlatform.h"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreServices/CoreServices.h>

namespace {

// An owned string for a scope; null where the system made none.
class StString
{
public:
    explicit StString(CFStringRef string)
        : mString(string)
    {
    }

    StString(StString const&) = delete;
    StString& operator=(StString const&) = delete;

    ~StString()
    {
        if (mString) CFRelease(mString);
    }

    CFStringRef Get() const { return mString; }

private:
    CFStringRef mString;  // owned
};

// Where nothing claims a tag the system makes up an identifier that begins with "dyn.", which is an
// answer like any other.
std::u16string PreferredType(CFStringRef tagClass, CFStringRef tag, CFStringRef conformingTo)
{
    std::u16string type;
    if (!tag) return type;
    StString const answer(UTTypeCreatePreferredIdentifierForTag(tagClass, tag, conformingTo));
    if (!answer.Get()) return type;
    CFIndex const length = CFStringGetLength(answer.Get());
    type.resize(static_cast<std::size_t>(length));
    CFStringGetCharacters(answer.Get(), CFRangeMake(0, length),
                          reinterpret_cast<UniChar*>(type.data()));
    return type;
}

class CTypePlatformMacOSX final : public CBasicTypePlatform
{
public:
    std::u16string GetTypeForExtension(std::u16string const& extension,
                                       bool ofPackage) const override
    {
        StString const tag(CFStringCreateWithCharacters(
            kCFAllocatorDefault, reinterpret_cast<UniChar const*>(extension.data()),
            static_cast<CFIndex>(extension.size())));
        return PreferredType(kUTTagClassFilenameExtension, tag.Get(),
                             ofPackage ? CFSTR("com.apple.package") : nullptr);
    }

    std::u16string GetTypeForFileType(unsigned int fileType) const override
    {
        StString const tag(UTCreateStringForOSType(fileType));
        return PreferredType(kUTTagClassOSType, tag.Get(), nullptr);
    }
};

}  // namespace

CBasicTypePlatform* NewTypePlatform()
{
    return new CTypePlatformMacOSX;
}
