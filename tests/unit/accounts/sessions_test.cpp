#include "server/accounts/sessions.h"
#include "unit/accounts/accounts_test.h"

using namespace accounts;
using testing::ElementsAre;

namespace {
class Sessions : public AccountsTest {
  protected:
    std::string secret = open_session(accounts, now, "anna", "10.0.0.5");

    bool is_open()
    {
        desk::actor actor;
        return actor_of_session(accounts, now, secret, actor);
    }
};
} // namespace

TEST_F(Sessions, ActForTheirPerson)
{
    desk::actor actor;
    ASSERT_TRUE(actor_of_session(accounts, now, secret, actor));
    EXPECT_EQ(actor.person, "anna");
    EXPECT_EQ(actor.origin, "panel");
    EXPECT_EQ(actor.may.usual, desk::right::operate);
    accounts.people["anna"].may.usual = desk::right::view; // counts at once
    actor_of_session(accounts, now, secret, actor);
    EXPECT_EQ(actor.may.usual, desk::right::view);
    EXPECT_THAT(told(), ElementsAre(event::kind::signed_in));
}

TEST_F(Sessions, AreKnownByTheirSecretAlone)
{
    desk::actor actor;
    EXPECT_FALSE(actor_of_session(accounts, now, "", actor));
    EXPECT_FALSE(actor_of_session(accounts, now, new_secret(), actor));
    EXPECT_FALSE(actor_of_session(accounts, now, text_of(accounts.sessions.begin()->first), actor));
    EXPECT_EQ(actor.person, "");
}

TEST_F(Sessions, AreOfPeopleWhoMay)
{
    EXPECT_EQ(open_session(accounts, now, "nobody", "10.0.0.5"), "");
    accounts.people["guest"].disabled = true;
    EXPECT_EQ(open_session(accounts, now, "guest", "10.0.0.5"), "");
    EXPECT_EQ(accounts.sessions.size(), 1U);
}

TEST_F(Sessions, EndWhenIdle)
{
    advance(SESSION_IDLE);
    EXPECT_TRUE(is_open());
    advance(SESSION_IDLE);
    EXPECT_TRUE(is_open());
    told();
    advance(SESSION_IDLE + desk::wall(1));
    EXPECT_FALSE(is_open());
    EXPECT_THAT(told(), ElementsAre(event::kind::session_ended));
    EXPECT_TRUE(accounts.sessions.empty());
}

TEST_F(Sessions, EndWhenOld)
{
    for (desk::wall age{}; age + SESSION_IDLE <= SESSION_LIFE; age += SESSION_IDLE) {
        EXPECT_TRUE(is_open());
        advance(SESSION_IDLE);
    }
    EXPECT_TRUE(is_open());
    advance(desk::wall(1));
    EXPECT_FALSE(is_open());
}

TEST_F(Sessions, TellOfTheirUseNowAndThen)
{
    told();
    advance(SESSION_USE_KEPT - desk::wall(1));
    is_open();
    EXPECT_THAT(told(), ElementsAre());
    advance(desk::wall(1));
    is_open();
    is_open();
    EXPECT_THAT(told(), ElementsAre(event::kind::session_used));
}

TEST_F(Sessions, OutliveAClockSetBack)
{
    now.utc -= std::chrono::hours(1);
    EXPECT_TRUE(is_open());
    EXPECT_EQ(accounts.sessions.begin()->second.used, now.utc + std::chrono::hours(1));
}

TEST_F(Sessions, EndWhenTheirOwnerSaysSo)
{
    const std::string other = open_session(accounts, now, "anna", "10.0.0.6");
    end_session(accounts, now, "no secret");
    EXPECT_EQ(accounts.sessions.size(), 2U);
    end_session(accounts, now, secret);
    EXPECT_FALSE(is_open());
    desk::actor actor;
    EXPECT_TRUE(actor_of_session(accounts, now, other, actor));
}

TEST_F(Sessions, OldOnesEndUnasked)
{
    advance(SESSION_IDLE);
    open_session(accounts, now, "guest", "10.0.0.6");
    end_old_sessions(accounts, now);
    EXPECT_EQ(accounts.sessions.size(), 2U);
    advance(desk::wall(1));
    end_old_sessions(accounts, now);
    ASSERT_EQ(accounts.sessions.size(), 1U);
    EXPECT_EQ(accounts.sessions.begin()->second.person, "guest");
}

TEST_F(Sessions, LongestIdleOfAPersonMakesRoom)
{
    open_session(accounts, now, "guest", "10.0.0.6");
    advance(desk::wall(1));
    for (std::size_t i = 1; i < SESSIONS_PER_PERSON; ++i)
        open_session(accounts, now, "anna", "10.0.0.7");
    desk::actor actor;
    EXPECT_EQ(accounts.sessions.size(), SESSIONS_PER_PERSON + 1);
    open_session(accounts, now, "anna", "10.0.0.8");
    EXPECT_EQ(accounts.sessions.size(), SESSIONS_PER_PERSON + 1);
    EXPECT_FALSE(is_open());
}
