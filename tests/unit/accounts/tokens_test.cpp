#include "server/accounts/tokens.h"
#include "unit/accounts/accounts_test.h"

using namespace accounts;
using testing::ElementsAre;

namespace {
class Tokens : public AccountsTest {
  protected:
    desk::ulid id;
    std::string secret;

    refusal make(const desk::actor& actor, const std::string& person,
                 desk::right most = desk::right::view, const std::string& name = "tally")
    {
        return make_token(accounts, now, actor,
                          {.name = name, .person = person, .kind = token_kind::api, .most = most},
                          id, secret)
            .why;
    }
};
} // namespace

TEST_F(Tokens, ActForTheirPerson)
{
    accounts.people["anna"].may.exceptions["studio"] = desk::right::view;
    ASSERT_EQ(make(anna, "anna", desk::right::operate), refusal::none);
    desk::actor actor;
    ASSERT_TRUE(actor_of_token(accounts, secret, token_kind::api, actor));
    EXPECT_EQ(actor.person, "anna");
    EXPECT_EQ(actor.origin, "token tally");
    EXPECT_EQ(actor.may.usual, desk::right::operate);
    EXPECT_EQ(actor.may.exceptions, accounts.people["anna"].may.exceptions);
}

TEST_F(Tokens, MayNoMoreThanSaid)
{
    accounts.people["anna"].may.exceptions = {{"studio", desk::right::engineer},
                                              {"secret", desk::right::none}};
    ASSERT_EQ(make(anna, "anna", desk::right::view), refusal::none);
    desk::actor actor;
    ASSERT_TRUE(actor_of_token(accounts, secret, token_kind::api, actor));
    EXPECT_EQ(actor.may.usual, desk::right::view);
    EXPECT_EQ(right_on(actor.may, "studio"), desk::right::view);
    EXPECT_EQ(right_on(actor.may, "secret"), desk::right::none);
}

TEST_F(Tokens, GiveNoMoreThanTheirMakerMay)
{
    EXPECT_EQ(make(anna, "anna", desk::right::engineer), refusal::no_right);
    anna.may.exceptions["studio"] = desk::right::engineer;
    EXPECT_EQ(make(anna, "anna", desk::right::engineer), refusal::none);
    EXPECT_EQ(make(eve, "eve", desk::right::view), refusal::none);
    desk::actor by_token;
    ASSERT_TRUE(actor_of_token(accounts, secret, token_kind::api, by_token));
    EXPECT_EQ(make(by_token, "eve", desk::right::administer), refusal::no_right);
    EXPECT_EQ(make(by_token, "anna", desk::right::view), refusal::no_right);
}

TEST_F(Tokens, AreMadeForOneselfOrByAdministrators)
{
    EXPECT_EQ(make(anna, "guest"), refusal::no_right);
    EXPECT_EQ(make(eve, "nobody"), refusal::no_such_person);
    EXPECT_EQ(make(eve, "guest", desk::right::view, ""), refusal::bad_value);
    EXPECT_TRUE(accounts.tokens.empty());
    EXPECT_EQ(make(eve, "guest"), refusal::none);
    ASSERT_EQ(accounts.events.size(), 1U);
    EXPECT_EQ(accounts.events[0].subject, text_of(id));
    EXPECT_EQ(accounts.tokens.at(id).created, now.utc);
    while (accounts.tokens.size() < TOKENS)
        make(eve, "guest");
    EXPECT_EQ(make(eve, "guest"), refusal::too_many);
}

TEST_F(Tokens, AreRemovedByTheirPersonOrAdministrators)
{
    make(anna, "anna");
    told();
    EXPECT_EQ(remove_token(accounts, now, guest, id).why, refusal::no_such_token);
    EXPECT_EQ(remove_token(accounts, now, anna, id).why, refusal::none);
    EXPECT_EQ(remove_token(accounts, now, anna, id).why, refusal::no_such_token);
    EXPECT_THAT(told(), ElementsAre(event::kind::token_removed));
    desk::actor actor;
    EXPECT_FALSE(actor_of_token(accounts, secret, token_kind::api, actor));
    make(anna, "anna");
    EXPECT_EQ(remove_token(accounts, now, eve, id).why, refusal::none);
}

TEST_F(Tokens, OfTheSimpleFormAreForNothingElse)
{
    make_token(accounts, now, anna,
               {.name = "button", .person = "anna", .kind = token_kind::simple}, id, secret);
    desk::actor actor;
    EXPECT_FALSE(actor_of_token(accounts, secret, token_kind::api, actor));
    EXPECT_TRUE(actor_of_token(accounts, secret, token_kind::simple, actor));
    make(anna, "anna");
    EXPECT_FALSE(actor_of_token(accounts, secret, token_kind::simple, actor));
}

TEST_F(Tokens, OfTheDisabledAreOfNoUse)
{
    make(anna, "anna");
    accounts.people["anna"].disabled = true;
    desk::actor actor;
    EXPECT_FALSE(actor_of_token(accounts, secret, token_kind::api, actor));
    EXPECT_FALSE(actor_of_token(accounts, "no secret", token_kind::api, actor));
}
