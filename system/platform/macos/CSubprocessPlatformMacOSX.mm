#include "system/platform/macos/CSubprocessMacOSX.h"

namespace {

class CSubprocessPlatformMacOSX final : public CBasicSubprocessPlatform
{
public:
    bool FileExists(std::string const& path) const override
    {
        @autoreleasepool {
            NSString* const text = [NSString stringWithUTF8String:path.c_str()];
            return text && [[NSFileManager defaultManager] fileExistsAtPath:text];
        }
    }

    std::unique_ptr<CBasicSubprocess> Launch(std::string const& path,
                                             std::vector<std::string> const& arguments) override
    {
        NSTask* const task = [[NSTask alloc] init];
        auto child = std::make_unique<CSubprocessMacOSX>(task);
        [task release];
        if (!child->Launch(path, arguments)) return nullptr;
        return child;
    }
};

}  // namespace

CBasicSubprocessPlatform* NewSubprocessPlatform()
{
    return new CSubprocessPlatformMacOSX;
}
