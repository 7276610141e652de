#include "system/platform/CBasicBundlePlatform.h"

#include "foundation/platform/macos/StReference.h"
#include "system/CProcessServicesImp.h"

#include <CoreFoundation/CoreFoundation.h>

#include <cstring>

namespace {

using StString = StReference<CFStringRef>;

CFStringRef CreateText(char const* text)
{
    return CFStringCreateWithCString(kCFAllocatorDefault, text, kCFStringEncodingUTF8);
}

CFBundleRef BundleOf(void* bundle)
{
    return static_cast<CFBundleRef>(bundle);
}

class CBundlePlatformMacOSX final : public CBasicBundlePlatform
{
public:
    void* GetBundle(char const* identifier) override
    {
        StString const text(CreateText(identifier));
        return text.Get() ? CFBundleGetBundleWithIdentifier(text.Get()) : nullptr;
    }

    void* CreateBundle(char const* path) override
    {
        StString const text(CreateText(path));
        if (!text.Get()) return nullptr;
        StReference<CFURLRef> const url(CFURLCreateWithFileSystemPath(
            kCFAllocatorDefault, text.Get(), kCFURLPOSIXPathStyle, true));
        return url.Get() ? CFBundleCreate(kCFAllocatorDefault, url.Get()) : nullptr;
    }

    bool LoadExecutable(void* bundle) override
    {
        return CFBundleLoadExecutable(BundleOf(bundle)) != 0;
    }

    void* GetFunction(void* bundle, char const* name) override
    {
        StString const text(CreateText(name));
        return CFBundleGetFunctionPointerForName(BundleOf(bundle), text.Get());
    }

    void* GetVariable(void* bundle, char const* name) override
    {
        StString const text(CreateText(name));
        return CFBundleGetDataPointerForName(BundleOf(bundle), text.Get());
    }

    void const* GetMainInfo() override
    {
        CFBundleRef const bundle = CFBundleGetMainBundle();
        return bundle ? CFBundleGetInfoDictionary(bundle) : nullptr;
    }

    void const* CreateString(char const* text) override { return CreateText(text); }

    void Release(void const* object) override { CFRelease(object); }

    // The URL isn't marked as a folder's.
    bool GetExecutable(char const* path, std::string& executable) override
    {
        constexpr CFIndex kBufferSize = 1024;
        StReference<CFURLRef> const url(CFURLCreateFromFileSystemRepresentation(
            kCFAllocatorDefault, reinterpret_cast<UInt8 const*>(path),
            static_cast<CFIndex>(std::strlen(path)), false));
        if (!url.Get()) return false;
        StReference<CFBundleRef> const bundle(CFBundleCreate(kCFAllocatorDefault, url.Get()));
        if (!bundle.Get()) return false;
        StReference<CFURLRef> const program(CFBundleCopyExecutableURL(bundle.Get()));
        UInt8 buffer[kBufferSize];
        if (!program.Get() ||
            !CFURLGetFileSystemRepresentation(program.Get(), true, buffer, kBufferSize)) {
            return false;
        }
        executable = reinterpret_cast<char const*>(buffer);
        return true;
    }
};

// The UTF-8 of a string object.
std::string TextOf(CFStringRef string)
{
    CFRange const all = CFRangeMake(0, CFStringGetLength(string));
    CFIndex size = 0;
    CFStringGetBytes(string, all, kCFStringEncodingUTF8, '?', false, nullptr, 0, &size);
    std::string text(static_cast<std::size_t>(size), '\0');
    CFStringGetBytes(string, all, kCFStringEncodingUTF8, '?', false,
                     reinterpret_cast<UInt8*>(text.data()), size, nullptr);
    return text;
}

}  // namespace

CBasicBundlePlatform* NewBundlePlatform()
{
    return new CBundlePlatformMacOSX;
}

CFBundleRef
CProcessServicesImp::LoadFramework(CFStringRef identifier, CFStringRef path, bool* wasLoaded) const
{
    return static_cast<CFBundleRef>(
        LoadFramework_(TextOf(identifier).c_str(), TextOf(path).c_str(), wasLoaded));
}
