#include "system/platform/macos/CSubprocessMacOSX.h"

#include <unistd.h>

namespace {

// Null for what isn't UTF-8, which none of the calls below takes.
NSString* TextOf(std::string const& text)
{
    return [NSString stringWithUTF8String:text.c_str()];
}

}  // namespace

CSubprocessMacOSX::CSubprocessMacOSX(NSTask* task)
    : mTask([task retain])
{
}

CSubprocessMacOSX::~CSubprocessMacOSX()
{
    [mErrors release];
    [mOutput release];
    [mTask release];
}

template <typename Order>
void CSubprocessMacOSX::Try(Order const& order)
{
    if (mHasFailed) return;
    @autoreleasepool {
        @try {
            order();
        } @catch (id) {
            mHasFailed = true;
        }
    }
}

bool CSubprocessMacOSX::Launch(std::string const& path, std::vector<std::string> const& arguments)
{
    Try([&] {
        NSMutableArray* const texts = [NSMutableArray arrayWithCapacity:0];
        for (std::string const& argument : arguments)
            [texts addObject:TextOf(argument)];
        [mTask setLaunchPath:TextOf(path)];
        [mTask setArguments:texts];
        NSPipe* const output = [NSPipe pipe];
        NSPipe* const errors = [NSPipe pipe];
        [mTask setStandardOutput:output];
        [mTask setStandardError:errors];
        mOutput = [output.fileHandleForReading retain];
        mErrors = [errors.fileHandleForReading retain];
        [mTask launch];
    });
    return !mHasFailed;
}

int CSubprocessMacOSX::GetProcessId() const
{
    return mTask.processIdentifier;
}

bool CSubprocessMacOSX::IsRunning()
{
    bool isRunning = false;
    Try([&] { isRunning = mTask.running; });
    return isRunning;
}

void CSubprocessMacOSX::WaitUntilExit()
{
    Try([&] { [mTask waitUntilExit]; });
}

void CSubprocessMacOSX::Nap(int microSeconds)
{
    usleep(static_cast<useconds_t>(microSeconds));
}

void CSubprocessMacOSX::Interrupt()
{
    Try([&] { [mTask interrupt]; });
}

void CSubprocessMacOSX::Terminate()
{
    Try([&] { [mTask terminate]; });
}

bool CSubprocessMacOSX::ReadOutput(std::string& text)
{
    return ReadToEnd(mOutput, text);
}

bool CSubprocessMacOSX::ReadErrors(std::string& text)
{
    return ReadToEnd(mErrors, text);
}

bool CSubprocessMacOSX::ReadToEnd(NSFileHandle* pipe, std::string& text)
{
    Try([&] {
        NSData* const data = [pipe readDataToEndOfFile];
        text.clear();
        if (data.length != 0) text.assign(static_cast<char const*>(data.bytes), data.length);
    });
    return !mHasFailed;
}
