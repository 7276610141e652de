#include "system/platform/CBasicPowerPlatform.h"

#include <CoreFoundation/CoreFoundation.h>
#include <IOKit/ps/IOPSKeys.h>
#include <IOKit/ps/IOPowerSources.h>

namespace {

PowerSourceState StateOf(CFDictionaryRef description)
{
    if (!description) return kPowerSourceUnknown;
    auto const state = static_cast<CFStringRef>(
        CFDictionaryGetValue(description, CFSTR(kIOPSPowerSourceStateKey)));
    bool const isOnAC =
        state && CFStringCompare(state, CFSTR(kIOPSACPowerValue), 0) == kCFCompareEqualTo;
    return isOnAC ? kPowerSourceOnAC : kPowerSourceNotOnAC;
}

class CPowerPlatformMacOSX final : public CBasicPowerPlatform
{
public:
    std::vector<PowerSourceState> GetPowerSources() const override
    {
        std::vector<PowerSourceState> sources;
        CFTypeRef const info = IOPSCopyPowerSourcesInfo();
        if (!info) return sources;
        if (CFArrayRef const list = IOPSCopyPowerSourcesList(info)) {
            CFIndex const count = CFArrayGetCount(list);
            for (CFIndex i = 0; i < count; ++i) {
                sources.push_back(
                    StateOf(IOPSGetPowerSourceDescription(info, CFArrayGetValueAtIndex(list, i))));
            }
            CFRelease(list);
        }
        CFRelease(info);
        return sources;
    }
};

}  // namespace

CBasicPowerPlatform* NewPowerPlatform()
{
    return new CPowerPlatformMacOSX;
}
