// A specifier as the platform's own objects.
#include "desktop/CFileSpecMacOSX.h"
#include "desktop/platform/macos/FileObjects.h"
#include "foundation/platform/macos/StReference.h"

bool CFileSpecMacOSX::GetFSRef(FSRef& ref) const
{
    std::string path;
    GetFullPath8bit(&path);
    StReference<CFURLRef> const url(CFURLCreateFromFileSystemRepresentation(
        kCFAllocatorDefault, reinterpret_cast<UInt8 const*>(path.data()),
        static_cast<CFIndex>(path.size()), false));
    return url.Get() && CFURLGetFSRef(url.Get(), &ref);
}

NSURL* CFileSpecMacOSX::GetNSURL() const
{
    return FileURL(mPath);
}

CFURLRef CFileSpecMacOSX::CreateCFURL() const
{
    return CreateFileURL(mPath);
}

NSString* CFileSpecMacOSX::GetPathNSString() const
{
    return StringOf(mPath);
}

CFStringRef CFileSpecMacOSX::CreatePathCFString() const
{
    return CreateString(mPath);
}
