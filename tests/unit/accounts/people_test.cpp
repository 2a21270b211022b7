#include "server/accounts/people.h"
#include "server/desk/limits.h"
#include "unit/accounts/accounts_test.h"

using namespace accounts;
using testing::ElementsAre;

namespace {
class People : public AccountsTest {
  protected:
    refusal set(const desk::actor& actor, const std::string& id, desk::right right,
                bool disabled = false)
    {
        person wanted;
        wanted.name = "Ben L.";
        wanted.may.usual = right;
        wanted.disabled = disabled;
        return set_person(accounts, now, actor, id, wanted).why;
    }

    const person& found(const std::string& id)
    {
        return *find_person(accounts, id);
    }
};
} // namespace

TEST_F(People, AreMadeByAdministrators)
{
    EXPECT_EQ(set(anna, "ben", desk::right::view), refusal::no_right);
    EXPECT_EQ(find_person(accounts, "ben"), nullptr);
    EXPECT_EQ(set(eve, "ben", desk::right::operate), refusal::none);
    EXPECT_EQ(found("ben").name, "Ben L.");
    EXPECT_EQ(found("ben").may.usual, desk::right::operate);
    EXPECT_EQ(found("ben").password, "");
    EXPECT_EQ(found("ben").created, now.utc);
    ASSERT_EQ(accounts.events.size(), 1U);
    EXPECT_EQ(accounts.events[0].person, "eve");
    EXPECT_EQ(accounts.events[0].subject, "ben");
    EXPECT_THAT(told(), ElementsAre(event::kind::person_set));
}

TEST_F(People, KeepWhatIsNotSet)
{
    accounts.people["anna"].settings = "{}";
    const desk::wall created = now.utc;
    advance(desk::wall(1));
    EXPECT_EQ(set(eve, "anna", desk::right::engineer), refusal::none);
    EXPECT_EQ(found("anna").may.usual, desk::right::engineer);
    EXPECT_EQ(found("anna").password, "hash of anna");
    EXPECT_EQ(found("anna").settings, "{}");
    EXPECT_EQ(found("anna").created, created);
}

TEST_F(People, HaveIdsThatCanBeTyped)
{
    for (const char* id : {"", "Anna", "an na", "anna/x", "\xc3\xa4nne"})
        EXPECT_EQ(set(eve, id, desk::right::view), refusal::bad_value) << id;
    EXPECT_EQ(set(eve, std::string(65, 'a'), desk::right::view), refusal::bad_value);
    for (const char* id : {"a", "a.b-c_d@e.example", "007"})
        EXPECT_EQ(set(eve, id, desk::right::view), refusal::none) << id;
    EXPECT_EQ(set(eve, std::string(64, 'a'), desk::right::view), refusal::none);
    EXPECT_EQ(typed_id("AnnaZ.1"), "annaz.1");
}

TEST_F(People, NeedANameWhichIsCut)
{
    person wanted;
    EXPECT_EQ(set_person(accounts, now, eve, "ben", wanted).why, refusal::bad_value);
    wanted.name = std::string(300, 'x') + "\n";
    EXPECT_EQ(set_person(accounts, now, eve, "ben", wanted).why, refusal::none);
    EXPECT_EQ(found("ben").name, std::string(255, 'x'));
}

TEST_F(People, AreBounded)
{
    for (int i = 0; accounts.people.size() < PEOPLE; ++i)
        accounts.people["p" + std::to_string(i)];
    EXPECT_EQ(set(eve, "ben", desk::right::view), refusal::too_many);
    EXPECT_EQ(set(eve, "anna", desk::right::view), refusal::none);
}

TEST_F(People, LastAdministratorStays)
{
    EXPECT_EQ(set(eve, "eve", desk::right::engineer), refusal::last_administrator);
    EXPECT_EQ(set(eve, "eve", desk::right::administer, true), refusal::last_administrator);
    EXPECT_EQ(remove_person(accounts, now, eve, "eve").why, refusal::last_administrator);
    EXPECT_EQ(set_password(accounts, now, eve, "eve", "").why, refusal::last_administrator);
    EXPECT_EQ(set(eve, "eve", desk::right::administer), refusal::none);
    // One who cannot sign in is none.
    EXPECT_EQ(set(eve, "ben", desk::right::administer), refusal::none);
    EXPECT_EQ(remove_person(accounts, now, eve, "eve").why, refusal::last_administrator);
    EXPECT_EQ(set_password(accounts, now, eve, "ben", "hash").why, refusal::none);
    EXPECT_EQ(remove_person(accounts, now, eve, "eve").why, refusal::none);
    EXPECT_EQ(find_person(accounts, "eve"), nullptr);
}

TEST_F(People, LackAnAdministratorUntilOneCanSignIn)
{
    EXPECT_FALSE(lacks_administrator(accounts));
    accounts.people["eve"].password.clear();
    EXPECT_TRUE(lacks_administrator(accounts));
    accounts.people["anna"].may.usual = desk::right::administer;
    EXPECT_FALSE(lacks_administrator(accounts));
    accounts.people["anna"].disabled = true;
    EXPECT_TRUE(lacks_administrator(accounts));
}

TEST_F(People, GoWithTheirSessions)
{
    open_session(accounts, now, "anna", "10.0.0.5");
    open_session(accounts, now, "guest", "10.0.0.6");
    told();
    EXPECT_EQ(remove_person(accounts, now, anna, "anna").why, refusal::no_right);
    EXPECT_EQ(remove_person(accounts, now, eve, "nobody").why, refusal::no_such_person);
    EXPECT_EQ(remove_person(accounts, now, eve, "anna").why, refusal::none);
    EXPECT_THAT(told(), ElementsAre(event::kind::session_ended, event::kind::person_removed));
    ASSERT_EQ(accounts.sessions.size(), 1U);
    EXPECT_EQ(accounts.sessions.begin()->second.person, "guest");
}

TEST_F(People, LoseTheirSessionsWhenDisabled)
{
    open_session(accounts, now, "anna", "10.0.0.5");
    set(eve, "anna", desk::right::operate);
    EXPECT_EQ(accounts.sessions.size(), 1U);
    set(eve, "anna", desk::right::operate, true);
    EXPECT_TRUE(accounts.sessions.empty());
}

TEST_F(People, SetTheirOwnPassword)
{
    open_session(accounts, now, "anna", "10.0.0.5");
    told();
    EXPECT_EQ(set_password(accounts, now, guest, "anna", "new").why, refusal::no_right);
    EXPECT_EQ(set_password(accounts, now, eve, "nobody", "new").why, refusal::no_such_person);
    EXPECT_EQ(found("anna").password, "hash of anna");
    EXPECT_EQ(set_password(accounts, now, anna, "anna", "new").why, refusal::none);
    EXPECT_EQ(found("anna").password, "new");
    EXPECT_TRUE(accounts.sessions.empty());
    EXPECT_THAT(told(), ElementsAre(event::kind::session_ended, event::kind::password_set));
    EXPECT_EQ(set_password(accounts, now, eve, "anna", "newer").why, refusal::none);
}

TEST_F(People, HaveSettingsOfTheirOwn)
{
    EXPECT_EQ(set_settings(accounts, now, {"nobody", "", {}}, "{}").why, refusal::no_such_person);
    EXPECT_EQ(set_settings(accounts, now, anna, std::string(SETTINGS_LENGTH + 1, ' ')).why,
              refusal::bad_value);
    EXPECT_EQ(set_settings(accounts, now, anna, "{}").why, refusal::none);
    EXPECT_EQ(set_settings(accounts, now, anna, "{}").why, refusal::none);
    EXPECT_EQ(found("anna").settings, "{}");
    EXPECT_THAT(told(), ElementsAre(event::kind::settings_set));
    EXPECT_EQ(set_settings(accounts, now, anna, std::string(SETTINGS_LENGTH, ' ')).why,
              refusal::none);
}

TEST(Passwords, HaveALength)
{
    EXPECT_EQ(password_complaint("1234567"), "A password has at least 8 characters.");
    EXPECT_EQ(password_complaint("12345678"), "");
    EXPECT_EQ(password_complaint(std::string(1024, 'x')), "");
    EXPECT_EQ(password_complaint(std::string(1025, 'x')),
              "A password has at most 1024 characters.");
}

TEST_F(People, MayRouteAGroupUnderItsNewName)
{
    const auto limit = [&](const std::string& id, std::set<std::string, std::less<>> groups) {
        accounts.people[id].may.groups = std::move(groups);
    };
    limit("anna", {"Monitors", "Tape"});
    limit("ben", {"Tape"});
    accounts.events.clear();
    rename_group(accounts, now, eve, "Monitors", "Gallery", false);
    EXPECT_THAT(*found("anna").may.groups, ElementsAre("Gallery", "Tape"));
    EXPECT_THAT(*found("ben").may.groups, ElementsAre("Tape"));
    ASSERT_EQ(accounts.events.size(), 1U);
    EXPECT_EQ(accounts.events[0].person, "eve");
    EXPECT_EQ(accounts.events[0].subject, "anna");
    EXPECT_THAT(told(), ElementsAre(event::kind::person_set));
    rename_group(accounts, now, eve, "Tape", "VTR", true);
    EXPECT_THAT(*found("anna").may.groups, ElementsAre("Gallery", "Tape", "VTR"));
    EXPECT_EQ(found("eve").may.groups, std::nullopt) << "who is not limited stays so";
}

TEST_F(People, HaveRightsWithinBounds)
{
    person wanted;
    wanted.name = "Ben L.";
    wanted.may.groups.emplace();
    for (int i = 0; i < desk::POSITIONS; ++i)
        wanted.may.groups->insert("G" + std::to_string(i));
    EXPECT_EQ(set_person(accounts, now, eve, "ben", wanted).why, refusal::none);
    wanted.may.groups->insert("one more");
    EXPECT_EQ(set_person(accounts, now, eve, "ben", wanted).why, refusal::bad_value);
    wanted.may.groups = {std::string(desk::TEXT_LENGTH + 1, 'x')};
    EXPECT_EQ(set_person(accounts, now, eve, "ben", wanted).why, refusal::bad_value);
    wanted.may.groups.reset();
    for (std::size_t i = 0; i <= desk::ROUTERS; ++i)
        wanted.may.exceptions["r" + std::to_string(i)] = desk::right::view;
    EXPECT_EQ(set_person(accounts, now, eve, "ben", wanted).why, refusal::bad_value);
}
