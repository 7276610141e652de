#include "desktop/LoginItems.h"
#include "desktop/LoginItemsAE.h"
#include "desktop/platform/CBasicLoginItemsPlatform.h"
#include "foundation/platform/macos/StReference.h"

#include <CoreServices/CoreServices.h>

// Wrong arguments end the process in every build.
#undef NDEBUG
#include <cassert>

namespace {

std::optional<std::u16string> ToText(CFStringRef string)
{
    if (!string) return std::nullopt;
    CFIndex const length = CFStringGetLength(string);
    std::u16string text(static_cast<std::size_t>(length), u'\0');
    CFStringGetCharacters(string, CFRangeMake(0, length), reinterpret_cast<UniChar*>(text.data()));
    return text;
}

CFURLRef CreateURL(std::u16string const& path)
{
    StReference<CFStringRef> const text(CFStringCreateWithCharacters(
        kCFAllocatorDefault, reinterpret_cast<UniChar const*>(path.data()),
        static_cast<CFIndex>(path.size())));
    if (!text.Get()) return nullptr;
    return CFURLCreateWithFileSystemPath(kCFAllocatorDefault, text.Get(), kCFURLPOSIXPathStyle,
                                         false);
}

std::optional<std::u16string> NameOf(CFURLRef url)
{
    StReference<CFStringRef> const name(CFURLCopyLastPathComponent(url));
    return ToText(name.Get());
}

LoginItem ItemOf(CFDictionaryRef description)
{
    auto const url = static_cast<CFURLRef>(CFDictionaryGetValue(description, CFSTR("URL")));
    if (!url) return {};
    StReference<CFStringRef> const path(CFURLCopyFileSystemPath(url, kCFURLPOSIXPathStyle));
    return {NameOf(url), ToText(path.Get())};
}

class CLoginItemsPlatformMacOSX final : public CBasicLoginItemsPlatform
{
public:
    int CopyItems(std::vector<LoginItem>& items) override
    {
        CFArrayRef copy = nullptr;
        OSStatus const status = LIAECopyLoginItems(&copy);
        if (status != noErr) return status;
        StReference<CFArrayRef> const list(copy);
        CFIndex const count = CFArrayGetCount(copy);
        for (CFIndex i = 0; i < count; ++i) {
            items.push_back(ItemOf(static_cast<CFDictionaryRef>(CFArrayGetValueAtIndex(copy, i))));
        }
        return noErr;
    }

    bool GetFileName(std::u16string const& path, std::u16string& name) override
    {
        StReference<CFURLRef> const url(CreateURL(path));
        if (!url.Get()) return false;
        std::optional<std::u16string> const found = NameOf(url.Get());
        if (found) name = *found;
        return found.has_value();
    }

    int RemoveItem(long index) override { return LIAERemove(index); }

    bool AddHiddenItem(std::u16string const& path, int& status) override
    {
        StReference<CFURLRef> const url(CreateURL(path));
        if (!url.Get()) return false;
        status = LIAEAddURLAtEnd(url.Get(), true);
        return true;
    }
};

}  // namespace

LoginItemResult SSTryAddDeleteUserLoginItem(CFStringRef path,
                                            void const* /*ignored*/,
                                            Boolean add,
                                            OSStatus* status)
{
    assert(path);

    CLoginItemsPlatformMacOSX list;
    OSStatus unread = noErr;
    return SetLoginItem(list, *ToText(path), add, status ? *status : unread);
}
