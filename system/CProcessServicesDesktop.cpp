// What the desktop offers by functions that it doesn't publish. They are looked up by name at run
// time, and where one is missing, all is left as it was.
#include "system/CProcessServicesImp.h"
#include "system/platform/CBasicBundlePlatform.h"

#include <cstring>

namespace {

constexpr char kLaunchServices[] = "com.apple.LaunchServices";
constexpr char kHIServices[] = "com.apple.HIServices";
constexpr char kHIServicesPath[] =
    "/System/Library/Frameworks/ApplicationServices.framework/Frameworks/HIServices.framework";

// The session that the process is in.
constexpr int kThisSession = -2;

// Objects are opaque here, whatever their kind, and so is the process's serial number.
using Object = void const*;
using SetIsDaemonFunction = int (*)(unsigned char isDaemon);
using SetConnectionStatusFunction = void (*)(unsigned long long flags, Object block);
using CheckInFunction = Object (*)(int session, Object info);
using GetSerialNumberFunction = Object (*)();
using SetInformationFunction =
    int (*)(int session, Object serialNumber, Object key, Object value, Object* info);

template <class Function>
Function FunctionIn(void* bundle, char const* name)
{
    return reinterpret_cast<Function>(BundlePlatform().GetFunction(bundle, name));
}

// What the pointer variable `name` in a bundle points to; null if either is missing.
Object ObjectIn(void* bundle, char const* name)
{
    void const* const variable = BundlePlatform().GetVariable(bundle, name);
    if (!variable) return nullptr;
    Object object;
    std::memcpy(&object, variable, sizeof object);
    return object;
}

}  // namespace

void* CProcessServicesImp::LoadFramework_(char const* identifier,
                                          char const* path,
                                          bool* wasLoaded) const
{
    CBasicBundlePlatform& platform = BundlePlatform();
    if (wasLoaded) *wasLoaded = false;
    if (void* const present = platform.GetBundle(identifier)) return present;
    void* const bundle = platform.CreateBundle(path);
    if (!bundle) return nullptr;
    if (!platform.LoadExecutable(bundle)) {
        platform.Release(bundle);
        return nullptr;
    }
    if (wasLoaded) *wasLoaded = true;
    return bundle;
}

// A bundle that was loaded stays so, or its functions would go.
bool CProcessServicesImp::SetDaemonMode(bool isDaemon) const
{
    void* const launchServices = BundlePlatform().GetBundle(kLaunchServices);
    if (!launchServices) return false;
    void* const hiServices = LoadFramework_(kHIServices, kHIServicesPath, nullptr);
    if (!hiServices) return false;

    auto const setIsDaemon = FunctionIn<SetIsDaemonFunction>(hiServices, "SetApplicationIsDaemon");
    auto const checkIn = FunctionIn<CheckInFunction>(launchServices, "_LSApplicationCheckIn");
    auto const setConnectionStatus = FunctionIn<SetConnectionStatusFunction>(
        launchServices, "_LSSetApplicationLaunchServicesServerConnectionStatus");
    if (!setIsDaemon || !checkIn) return false;
    if (setIsDaemon(isDaemon ? 1 : 0) != 0) return false;
    if (setConnectionStatus) setConnectionStatus(0, nullptr);
    checkIn(kThisSession, BundlePlatform().GetMainInfo());
    return true;
}

bool CProcessServicesImp::ChangeProcessName(char const* name) const
{
    CBasicBundlePlatform& platform = BundlePlatform();
    void* const launchServices = platform.GetBundle(kLaunchServices);
    if (!launchServices) return false;

    auto const getSerialNumber =
        FunctionIn<GetSerialNumberFunction>(launchServices, "_LSGetCurrentApplicationASN");
    auto const setInformation =
        FunctionIn<SetInformationFunction>(launchServices, "_LSSetApplicationInformationItem");
    Object const key = ObjectIn(launchServices, "_kLSDisplayNameKey");
    if (!getSerialNumber || !setInformation || !key) return false;

    Object const text = platform.CreateString(name);
    if (!text) return false;
    int const error = setInformation(kThisSession, getSerialNumber(), key, text, nullptr);
    platform.Release(text);
    return error == 0;
}
