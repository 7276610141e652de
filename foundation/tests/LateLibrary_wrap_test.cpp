// Libraries that are loaded late and aren't on the machine: what the platforms answer then.
#include "foundation/platform/linux/LateLibrary.h"
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

#include <pthread.h>

extern "C" {

// This program has none of them, and may be cancelled where it looks for them.
void* __wrap_dlopen(char const* file, int flags);

void* __wrap_dlopen(char const*, int)
{
    pthread_testcancel();
    return nullptr;
}
}

namespace {

// Not on the stack of the thread that is cancelled: it has no chance to take back what the address
// sanitizer notes about that.
constinit CLateLibrary sNowhere("libloam-nowhere.so.1");

TEST(LateLibrary, IsNoPlaceToBeCancelled)
{
    bool isPassed = false;
    pthread_t thread{};
    auto* const look = +[](void* passed) -> void* {
        pthread_cancel(pthread_self());
        sNowhere.IsThere();
        *static_cast<bool*>(passed) = true;
        pthread_testcancel();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, nullptr, look, &isPassed), 0);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_TRUE(isPassed);
    EXPECT_EQ(result, PTHREAD_CANCELED) << "it can be cancelled again behind it";
}

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
