#include "desktop/platform/macos/FileObjects.h"

#include "foundation/platform/macos/StReference.h"
#include "text/CUTFConverter.h"

CFStringRef CreateString(std::u16string const& text)
{
    return CFStringCreateWithCharacters(kCFAllocatorDefault,
                                        reinterpret_cast<UniChar const*>(text.data()),
                                        static_cast<CFIndex>(text.size()));
}

NSString* StringOf(std::u16string const& text)
{
    return [(NSString*)CreateString(text) autorelease];
}

std::u16string TextOf(NSString* string)
{
    std::u16string text(string.length, u'\0');
    [string getCharacters:reinterpret_cast<unichar*>(text.data())
                    range:NSMakeRange(0, text.size())];
    return text;
}

CFURLRef CreateFileURL(std::u16string const& path)
{
    std::string path8bit;
    CUTFConverter::ConvertUTF16toUTF8(path, path8bit, CUTFConverter::kLenientMode);
    return (CFURLRef)[[NSURL alloc] initFileURLWithFileSystemRepresentation:path8bit.c_str()
                                                                isDirectory:NO
                                                              relativeToURL:nil];
}

NSURL* FileURL(std::u16string const& path)
{
    return [(NSURL*)CreateFileURL(path) autorelease];
}

bool GetPathOf(FSRef const& ref, std::u16string& path)
{
    StReference<CFURLRef> const url(CFURLCreateFromFSRef(kCFAllocatorDefault, &ref));
    if (!url.Get()) return false;
    StReference<CFStringRef> const text(CFURLCopyFileSystemPath(url.Get(), kCFURLPOSIXPathStyle));
    if (!text.Get()) return false;
    path = TextOf((NSString*)text.Get());
    return true;
}
