#include "system/platform/CBasicBundlePlatform.h"

namespace {

// There are no bundles.
class CBundlePlatformLinux final : public CBasicBundlePlatform
{
public:
    void* GetBundle(char const*) override { return nullptr; }

    void* CreateBundle(char const*) override { return nullptr; }

    bool LoadExecutable(void*) override { return false; }

    void* GetFunction(void*, char const*) override { return nullptr; }

    void* GetVariable(void*, char const*) override { return nullptr; }

    void const* GetMainInfo() override { return nullptr; }

    void const* CreateString(char const*) override { return nullptr; }

    void Release(void const*) override {}

    bool GetExecutable(char const*, std::string&) override { return false; }
};

}  // namespace

CBasicBundlePlatform* NewBundlePlatform()
{
    return new CBundlePlatformLinux;
}
