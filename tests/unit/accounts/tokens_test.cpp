#include "server/accounts/tokens.h"
#include "unit/accounts/accounts_test.h"

using namespace accounts;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

namespace {
class Tokens : public AccountsTest {
  protected:
    std::string secret;
    token wanted{.name = "Playout", .may = {desk::right::operate, {{"r1", desk::right::view}}, {}}};

    refusal make(const desk::actor& actor, const std::string& id = "playout")
    {
        return make_token(accounts, now, actor, id, wanted, secret).why;
    }

    bool counts(token_kind kind = token_kind::api)
    {
        desk::actor actor;
        return actor_of_token(accounts, now, secret, kind, actor);
    }
};
} // namespace

TEST_F(Tokens, ActUnderTheirOwnId)
{
    ASSERT_EQ(make(eve), refusal::none);
    EXPECT_THAT(secret, MatchesRegex("rc_[A-Za-z0-9_-]{43}"));
    desk::actor actor;
    ASSERT_TRUE(actor_of_token(accounts, now, secret, token_kind::api, actor));
    EXPECT_EQ(actor.person, "playout");
    EXPECT_EQ(actor.origin, "api");
    EXPECT_EQ(actor.may, wanted.may);
    accounts.tokens["playout"].may.usual = desk::right::none; // counts at once
    actor_of_token(accounts, now, secret, token_kind::api, actor);
    EXPECT_EQ(actor.may.usual, desk::right::none);
}

TEST_F(Tokens, AreKnownByTheirSecretAlone)
{
    make(eve);
    for (const std::string& other : {std::string(), secret.substr(3), "rc_" + new_secret(),
                                     "rc_" + text_of(accounts.tokens["playout"].hash)}) {
        desk::actor actor;
        EXPECT_FALSE(actor_of_token(accounts, now, other, token_kind::api, actor)) << other;
    }
}

TEST_F(Tokens, AreMadeByAdministrators)
{
    EXPECT_EQ(make(anna), refusal::no_right);
    EXPECT_EQ(make(eve, "anna"), refusal::exists) << "a person has this id";
    EXPECT_EQ(make(eve, "Play out"), refusal::bad_value);
    EXPECT_TRUE(accounts.tokens.empty());
    EXPECT_EQ(make(eve), refusal::none);
    EXPECT_EQ(make(eve), refusal::exists);
    EXPECT_THAT(told(), ElementsAre(event::kind::token_made));
    EXPECT_EQ(accounts.tokens.at("playout").created, now.utc);
    while (accounts.tokens.size() < TOKENS)
        make(eve, "t" + std::to_string(accounts.tokens.size()));
    EXPECT_EQ(make(eve, "more"), refusal::too_many);
    wanted.name.clear();
    EXPECT_EQ(make(eve, "nameless"), refusal::bad_value);
}

TEST_F(Tokens, CountNoMoreWhenRemovedOrExpired)
{
    make(eve);
    EXPECT_TRUE(counts());
    told();
    EXPECT_EQ(remove_token(accounts, now, anna, "playout").why, refusal::no_right);
    EXPECT_TRUE(counts());
    EXPECT_EQ(remove_token(accounts, now, eve, "playout").why, refusal::none);
    EXPECT_FALSE(counts());
    EXPECT_EQ(remove_token(accounts, now, eve, "playout").why, refusal::no_such_token);
    EXPECT_THAT(told(), ElementsAre(event::kind::token_removed));
    wanted.expires = now.utc + desk::wall(10);
    make(eve);
    advance(desk::wall(9));
    EXPECT_TRUE(counts());
    advance(desk::wall(1));
    EXPECT_FALSE(counts());
}

TEST_F(Tokens, OfTheSimpleFormAreForNothingElse)
{
    wanted.kind = token_kind::simple;
    make(eve);
    EXPECT_FALSE(counts());
    EXPECT_TRUE(counts(token_kind::simple));
    wanted.kind = token_kind::api;
    make(eve, "other");
    EXPECT_FALSE(counts(token_kind::simple));
}

TEST_F(Tokens, TellNowAndThenThatTheyAreUsed)
{
    make(eve);
    told();
    EXPECT_TRUE(counts());
    EXPECT_THAT(told(), ElementsAre(event::kind::token_used));
    advance(SESSION_USE_KEPT - desk::wall(1));
    EXPECT_TRUE(counts());
    EXPECT_THAT(told(), IsEmpty());
    EXPECT_EQ(accounts.tokens["playout"].used, now.utc);
    advance(desk::wall(1));
    EXPECT_TRUE(counts());
    EXPECT_THAT(told(), ElementsAre(event::kind::token_used));
}
