#include "testing/FailureOf.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

void Throw()
{
    throw HierarchicalException(kFileDomain, kFileExists, kFileCreate, 17, std::string("/a"));
}

}  // namespace

TEST(FailureOf, TellsTheFirstRecord)
{
    EXPECT_EQ(FailureOf(Throw), FileFailure(kFileExists, kFileCreate, 17));
    EXPECT_NE(FailureOf(Throw), FileFailure(kFileExists, kFileOpen, 17));
    EXPECT_EQ(FailureTextOf(Throw), "/a");
}

TEST(FailureOf, TellsThatNothingWasThrown)
{
    EXPECT_EQ(FailureOf([] {}), Failure());
    EXPECT_EQ(FailureTextOf([] {}), "nothing thrown");
}

TEST(FailureOf, LetsOtherExceptionsPass)
{
    EXPECT_THROW(FailureOf([] { throw std::runtime_error("other"); }), std::runtime_error);
}
