#include "security/CPwdDBServices.h"

#include "security/CPwdDBServicesImp.h"
#include "testing/ScriptedPwdDBPlatform.h"

#include <gmock/gmock.h>

namespace {

using namespace std::string_literals;
using testing::ElementsAre;

// On a store in memory.
class PwdDBServices : public testing::Test
{
protected:
    ScriptedPwdDBPlatform mPlatform;
    StPwdDBPlatform mInUse{mPlatform};
    CPwdDBServices mServices;

    std::vector<std::string> TakeTrace() { return std::exchange(mPlatform.mTrace, {}); }
};

}  // namespace

TEST_F(PwdDBServices, AreMadeOnce)
{
    ASSERT_NE(CPwdDBServices::GetPwdDBServices(), nullptr);
    EXPECT_EQ(CPwdDBServices::GetPwdDBServices(), CPwdDBServices::GetPwdDBServices());
}

TEST_F(PwdDBServices, AskOnlyOnceWhetherThereIsAStore)
{
    EXPECT_TRUE(mServices.HasPwdDB());
    mPlatform.mHasStore = false;
    EXPECT_TRUE(mServices.HasPwdDB());
    EXPECT_TRUE(mServices.Unlock());
    EXPECT_THAT(TakeTrace(), ElementsAre("has", "unlock"));
    mServices.CheckForPwdDBSystem();
    EXPECT_FALSE(mServices.HasPwdDB());
    EXPECT_THAT(TakeTrace(), ElementsAre("has"));
}

TEST_F(PwdDBServices, AnswerWhatTheStoreAnswers)
{
    for (bool const answer : {false, true}) {
        mPlatform.mAnswer = answer;
        EXPECT_EQ(mServices.Unlock(), answer);
        EXPECT_EQ(mServices.Lock(), answer);
        EXPECT_EQ(mServices.IsUnlocked(), answer);
    }
}

TEST_F(PwdDBServices, AnswerFalseWithoutAStore)
{
    mPlatform.mHasStore = false;
    EXPECT_FALSE(mServices.HasPwdDB());
    EXPECT_FALSE(mServices.Unlock());
    EXPECT_FALSE(mServices.Lock());
    EXPECT_FALSE(mServices.IsUnlocked());
    EXPECT_FALSE(mServices.AllowUserInteraction(true));
    EXPECT_THAT(TakeTrace(), ElementsAre("has"));
}

TEST_F(PwdDBServices, KeepDialogsWhateverIsAllowed)
{
    EXPECT_TRUE(mServices.AllowUserInteraction(false));
    EXPECT_THAT(TakeTrace(), ElementsAre("has"));
}

TEST_F(PwdDBServices, PasswordsGoToTheStoreUnasked)
{
    mPlatform.mHasStore = false;
    mServices.AddPassword("service", "account", "password");
    std::string password;
    EXPECT_TRUE(mServices.GetPassword("service", "account", &password));
    mServices.DeletePassword("service", "account");
    EXPECT_THAT(TakeTrace(), ElementsAre("find", "make", "find", "find", "delete"));
    EXPECT_EQ(mPlatform.mHeldItems, 0);
}

TEST_F(PwdDBServices, AddingTwiceReplaces)
{
    mServices.AddPassword("service", "account", "first");
    mServices.AddPassword("service", "account", "second");
    auto const imap = CPwdDBServices::kPwdProtocolIMAP;
    mServices.AddPassword(imap, "server", "account", 143, "third");
    mServices.AddPassword(imap, "server", "account", 143, "fourth");
    EXPECT_THAT(mPlatform.mEntries,
                ElementsAre(ScriptedPwdDBPlatform::Entry{true, "service", "account",
                                                         PwdEntryKey::kAny, 0, "second"},
                            ScriptedPwdDBPlatform::Entry{false, "server", "account",
                                                         PwdEntryKey::kIMAP, 143, "fourth"}));
    EXPECT_EQ(mPlatform.mHeldItems, 0);
}

TEST_F(PwdDBServices, MissingEntriesChangeNothing)
{
    std::string password = "as it was";
    EXPECT_FALSE(mServices.GetPassword("service", "account", &password));
    EXPECT_FALSE(mServices.GetPassword(CPwdDBServices::kPwdProtocolSMTP, "s", "a", 25, &password));
    EXPECT_EQ(password, "as it was");
    mServices.DeletePassword("service", "account");
    mServices.DeletePassword(CPwdDBServices::kPwdProtocolSMTP, "s", "a", 25);
    EXPECT_THAT(TakeTrace(), ElementsAre("find", "find", "find", "find"));
}

TEST_F(PwdDBServices, AStoreThatDoesNotReplyIsAskedNoMore)
{
    mPlatform.mReplies = false;
    mServices.AddPassword("service", "account", "password");
    mServices.DeletePassword("service", "account");
    std::string password = "as it was";
    EXPECT_FALSE(mServices.GetPassword("service", "account", &password));
    EXPECT_EQ(password, "as it was");
    EXPECT_THAT(TakeTrace(), ElementsAre("find", "find", "find"));
}

TEST_F(PwdDBServices, ProtocolsOfNoNameStandForSMTP)
{
    struct
    {
        int mProtocol;
        PwdEntryKey::Protocol mStored;
    } const cases[] = {{0, PwdEntryKey::kSMTP},
                       {1, PwdEntryKey::kIMAP},
                       {2, PwdEntryKey::kPOP3},
                       {3, PwdEntryKey::kAny},
                       {7, PwdEntryKey::kSMTP}};

    for (auto const& c : cases) {
        SCOPED_TRACE(c.mProtocol);
        mPlatform.mEntries.clear();
        mServices.AddPassword(static_cast<CPwdDBServices::ProtocolEnum>(c.mProtocol), "s", "a", 1,
                              "p");
        ASSERT_EQ(mPlatform.mEntries.size(), 1U);
        EXPECT_EQ(mPlatform.mEntries.front().mProtocol, c.mStored);
    }
}
