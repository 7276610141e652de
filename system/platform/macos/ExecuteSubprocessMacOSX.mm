#include "system/ExecuteSubprocessNoRoot.h"
#include "system/Subprocess.h"
#include "system/platform/macos/CSubprocessMacOSX.h"
#import "system/platform/macos/NSTaskSafeWait.h"

namespace {

// False if there is something that isn't a string, or a string that isn't text.
bool TakeTexts(NSArray* strings, std::vector<std::string>& texts)
{
    for (id string in strings) {
        if (![string isKindOfClass:[NSString class]]) return false;
        char const* const text = [(NSString*)string UTF8String];
        if (!text) return false;
        texts.emplace_back(text);
    }
    return true;
}

}  // namespace

NSString*
ExecuteSubprocessNoRoot(NSString* launchPath, NSArray* arguments, int* status, float timeoutSeconds)
{
    char const* const path = launchPath.UTF8String;
    std::string const program = path ? path : "";
    std::vector<std::string> texts;
    if (!TakeTexts(arguments, texts)) {
        if (status) *status = SubprocessPlatform().FileExists(program) ? 0 : kSubprocessNotFound;
        return nil;
    }
    std::string text;
    if (!RunSubprocess(program, texts, timeoutSeconds, text, status)) return nil;
    return [[[NSMutableString alloc] initWithBytes:text.data()
                                            length:text.size()
                                          encoding:NSUTF8StringEncoding] autorelease];
}

@implementation NSTask (SafeWait)

- (void)waitUntilExitWithTimeout:(float)timeout
{
    CSubprocessMacOSX child(self);
    WaitForSubprocess(child, timeout);
}

@end
