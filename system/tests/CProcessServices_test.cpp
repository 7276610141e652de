#include "system/CProcessServices.h"

#include <gtest/gtest.h>

#include <unistd.h>

TEST(CProcessServices, IsOneForTheProcess)
{
    CProcessServices* const services = CProcessServices::GetProcessServices();
    ASSERT_NE(services, nullptr);
    EXPECT_EQ(CProcessServices::GetProcessServices(), services);
}

TEST(CProcessServices, KnowsThisProcess)
{
    EXPECT_EQ(CProcessServices::GetProcessServices()->mImp->GetCurrentProcess(), getpid());
}

TEST(CProcessServices, CanBeHadAsAnInstanceOfItsOwn)
{
    CProcessServices const own;
    EXPECT_EQ(own.mImp->GetCurrentProcess(), getpid());
    EXPECT_NE(&own, CProcessServices::GetProcessServices());
}
