// What the platforms answer where the libraries that they load late aren't on the machine.
#include "net/platform/CBasicNetServicePlatform.h"
#include "security/platform/CBasicCryptoPlatform.h"
#include "security/platform/CBasicPwdDBPlatform.h"
#include "system/platform/CBasicDateTimePlatform.h"
#include "testing/StEnvironment.h"
#include "testing/StTempDir.h"

#include <gtest/gtest.h>

#include <fstream>
#include <memory>
#include <string>

extern "C" {

// This program has none of them.
void* __wrap_dlopen(char const* file, int flags);

void* __wrap_dlopen(char const*, int)
{
    return nullptr;
}
}

namespace {

TEST(LateLibraryMissing, ThereAreNoCiphersAndNoHash)
{
    std::unique_ptr<CBasicCryptoPlatform> const platform(NewCryptoPlatform());
    void* cipher = nullptr;
    for (CipherKind const kind : {kCipherAES, kCipherBlowFish}) {
        EXPECT_EQ(platform->MakeCipher(kind, true, "0123456789abcdef", 16, &cipher),
                  kCipherNotThere);
    }
    EXPECT_EQ(cipher, nullptr);
    unsigned char bytes[kSHA1Size] = {};
    EXPECT_FALSE(platform->HashSHA1("abc", 3, bytes));
    EXPECT_EQ(platform->FillWithRandomBytes(bytes, sizeof bytes), 0);
}

TEST(LateLibraryMissing, ThereIsNoPasswordStore)
{
    std::unique_ptr<CBasicPwdDBPlatform> const platform(NewPwdDBPlatform());
    EXPECT_FALSE(platform->HasStore());
    EXPECT_FALSE(platform->Unlock());
    EXPECT_FALSE(platform->Lock());
    EXPECT_FALSE(platform->IsUnlocked());
    PwdEntryKey const key{false, "server", "account"};
    std::string password = "as it was";
    void* item = nullptr;
    EXPECT_EQ(platform->FindPassword(key, &password), kPwdNoAnswer);
    EXPECT_EQ(password, "as it was");
    EXPECT_EQ(platform->FindItem(key, &item), kPwdNoAnswer);
    EXPECT_EQ(item, nullptr);
    platform->MakeEntry(key, "secret");
}

TEST(LateLibraryMissing, NoServiceIsAnnouncedOrFound)
{
    std::unique_ptr<CBasicNetServicePlatform> const platform(NewNetServicePlatform());
    NetServiceRegistration registration = {};
    registration.mType = "_loam._tcp";
    DNSServiceRef ref = nullptr;
    EXPECT_NE(platform->Register(&ref, registration, nullptr, nullptr), kNetServiceNoError);
    EXPECT_NE(platform->Browse(&ref, 0, "_loam._tcp", nullptr, nullptr, nullptr),
              kNetServiceNoError);
    NetServiceInstance const instance = {0, "name", "_loam._tcp", "local"};
    EXPECT_NE(platform->Resolve(&ref, instance, nullptr, nullptr), kNetServiceNoError);
    EXPECT_EQ(ref, nullptr);
}

TEST(LateLibraryMissing, NoPreferenceIsSet)
{
    StTempDir const folder;
    StEnvironment const environment("XDG_CONFIG_HOME", folder.Path());
    std::ofstream(folder.Path("loam.conf")) << "[Preferences]\nnumber=5\n";
    std::unique_ptr<CBasicDateTimePlatform> const platform(NewDateTimePlatform());
    long long value = 3;
    EXPECT_FALSE(platform->GetIntegerPreference("loam", "number", value));
    EXPECT_EQ(value, 3);
}

}  // namespace
