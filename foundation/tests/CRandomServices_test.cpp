#include "foundation/CRandomServices.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>

namespace {

std::array<long, 20> Draw(CRandomServices const& services)
{
    std::array<long, 20> numbers{};
    for (long& number : numbers)
        number = services.mImp->Random();
    return numbers;
}

// Ends the process with 0 if an instance of one's own gives the C library's default sequence.
[[noreturn]] void DrawWithoutSeedAndExit()
{
    CRandomServices const own;
    auto const drawn = Draw(own);
    srandom(1);
    std::_Exit(drawn == Draw(own) ? 0 : 1);
}

// Ends the process with 0 if an instance of one's own shares the generator that the getter seeded.
[[noreturn]] void DrawAfterTheGetterAndExit()
{
    CRandomServices const own;
    CRandomServices::GetRandomServices();
    srandom(17);
    auto const drawn = Draw(own);
    srandom(17);
    std::_Exit(drawn == Draw(*CRandomServices::GetRandomServices()) ? 0 : 1);
}

}  // namespace

TEST(CRandomServices, IsOneForTheProcess)
{
    CRandomServices* const services = CRandomServices::GetRandomServices();
    ASSERT_NE(services, nullptr);
    EXPECT_NE(services->mImp, nullptr);
    EXPECT_EQ(CRandomServices::GetRandomServices(), services);
}

TEST(CRandomServices, StaysBelowTwoToThePowerOf31)
{
    CRandomServices* const services = CRandomServices::GetRandomServices();
    long all = 0;
    for (int i = 0; i < 10000; ++i) {
        long const number = services->mImp->Random();
        ASSERT_GE(number, 0);
        ASSERT_LE(number, 0x7FFFFFFF);
        all |= number;
    }
    // Every bit is 0 in ten thousand numbers once in 2^10000 runs.
    EXPECT_EQ(all, 0x7FFFFFFF);
}

TEST(CRandomServicesDeathTest, IsNotSeededAsAnInstanceOfItsOwn)
{
    // In a process of its own, where nobody has called the getter.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(DrawWithoutSeedAndExit(), testing::ExitedWithCode(0), "");
}

TEST(CRandomServicesDeathTest, SharesTheGeneratorOfTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(DrawAfterTheGetterAndExit(), testing::ExitedWithCode(0), "");
}
