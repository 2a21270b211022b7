#include "server/accounts/carrying.h"
#include "server/accounts/kept_accounts.h"
#include "server/journal/history.h"
#include "server/journal/saved_house.h"
#include "unit/accounts/accounts_test.h"
#include "unit/journal/journal_test.h"

using namespace accounts;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {
class Carrying : public AccountsTest {
  protected:
    desk::house house;
    journal::tables tables; // of the other server

    Carrying()
    {
        desk::house_router& router = house.routers["r1"];
        router.settings = {"r1", "Studio A", "10.0.0.1"};
        router.source_labels[3] = {"CAM 4", "Cameras"};
        router.destination_labels[7] = {"", "Monitors"};
        router.locks[7] = {desk::lock_mode::protect, "anna", "on air", now.utc, {}};
        router.authors[7].source = 3;
        const desk::salvo_version noted{
            5, "anna", now.utc, {{"r1", 0, 2}, {"r1", 1, 2}}, "at noon", desk::batch_rule::rest};
        house.salvos[{1, 2}] = {"NEWS", {{4, "anna", now.utc, {{"r1", 0, 3}}}, noted}};
        house.deleted_salvos[{1, 3}] = {{"news", {noted}}, now.utc - std::chrono::hours(1)};
        house.notices[{1, 4}].person = "anna";
        accounts.people.at("anna").settings = R"({"theme": "dark"})";
        accounts.people.at("anna").may.exceptions["r1"] = desk::right::engineer;
        accounts.people.at("anna").seen = now.utc;
    }

    carried read(const std::string& text)
    {
        carried found;
        std::string error;
        EXPECT_TRUE(read_export(text, found, error)) << error;
        return found;
    }

    carrying_result import_all()
    {
        return carry_in(tables.store, read(export_text(house, accounts)), now);
    }

    std::string error_of(const std::string& text)
    {
        carried found;
        std::string error;
        EXPECT_FALSE(read_export(text, found, error));
        return error;
    }
};
} // namespace

TEST_F(Carrying, BringsEverythingThatHolds)
{
    const carrying_result result = import_all();
    EXPECT_THAT(result.against, IsEmpty());
    EXPECT_EQ(result.routers, 1);
    EXPECT_EQ(result.salvos, 2);
    EXPECT_EQ(result.people, 3);
    EXPECT_EQ(result.same, 0);
    house.routers.at("r1").authors.clear();
    house.notices.clear();
    EXPECT_TRUE(saved_house(tables.store, now.utc) == house);
    for (auto& [id, person] : accounts.people) {
        person.password.clear();
        person.seen = {};
    }
    EXPECT_TRUE(kept_accounts(tables.store, now).people == accounts.people);
    const journal::history_page told = ask_history(tables.opened, {{.kind = "personSet"}});
    ASSERT_EQ(told.rows.size(), 3);
    EXPECT_EQ(told.rows[0].origin, "import");
}

TEST_F(Carrying, TellsNoSecret)
{
    token program;
    program.name = "playout";
    std::string secret;
    ASSERT_EQ(make_token(accounts, now, eve, "automation", program, secret).why, refusal::none);
    open_session(accounts, now, "anna", "10.0.0.7");
    const std::string text = export_text(house, accounts);
    for (const std::string& hidden :
         {std::string("hash of"), std::string("playout"),
          text_of(accounts.tokens.begin()->second.hash), text_of(accounts.sessions.begin()->first)})
        EXPECT_THAT(text, Not(HasSubstr(hidden)));
}

TEST_F(Carrying, LeavesWhatIsThereTheSame)
{
    import_all();
    const auto revision = current_revision(tables.store);
    house.salvos[{1, 5}] = {"WEATHER", {{1, "anna", now.utc, {{"r1", 0, 3}}}}};
    const carrying_result result = import_all();
    EXPECT_THAT(result.against, IsEmpty());
    EXPECT_EQ(result.salvos, 1);
    EXPECT_EQ(result.same, 6);
    EXPECT_EQ(saved_house(tables.store, now.utc).salvos.size(), 2);
    EXPECT_EQ(current_revision(tables.store), revision + 2) << "a salvo and its version";
}

TEST_F(Carrying, AddsNothingWhereSomethingElseIsThere)
{
    import_all();
    const auto revision = current_revision(tables.store);
    const desk::salvo weather{"WEATHER", {{1, "anna", now.utc, {{"r1", 0, 3}}}}};
    house.routers.at("r1").locks.clear();
    house.routers["r2"].settings = {"r2", "Studio B", "10.0.0.2"};
    house.salvos = {{{1, 3}, weather}, {{1, 5}, {"news", weather.versions}}};
    house.deleted_salvos.clear();
    accounts.people.at("anna").may.exceptions.clear();
    EXPECT_THAT(import_all().against,
                ElementsAre("There is another router r1 already.",
                            "There is another salvo of the id of WEATHER already.",
                            "There is another salvo news already.",
                            "There is another person anna already."));
    EXPECT_EQ(current_revision(tables.store), revision);
}

TEST_F(Carrying, LetsNoPersonActUnderATokensId)
{
    accounts_state there;
    std::string secret;
    token program;
    program.name = "playout";
    ASSERT_EQ(make_token(there, now, eve, "anna", program, secret).why, refusal::none);
    for (const journal::note& each : take_notes(there))
        keep_note(tables.store, each);
    EXPECT_THAT(import_all().against, ElementsAre("There is a token anna already."));
}

TEST_F(Carrying, RefusesTooMuch)
{
    for (std::size_t i = 0; i < PEOPLE; ++i)
        accounts.people["p" + std::to_string(i)] = accounts.people.at("anna");
    for (const char* const id : {"eve", "guest", "anna"})
        accounts.people.erase(id);
    ASSERT_THAT(import_all().against, IsEmpty());
    accounts.people = {{"ben", accounts.people.at("p1")}};
    EXPECT_THAT(import_all().against, ElementsAre("There would be too many people."));
}

TEST_F(Carrying, SaysWhatCannotBeRead)
{
    EXPECT_EQ(error_of("{\n\"format\" 1}"), "line 2, column 10: this is no JSON");
    EXPECT_EQ(error_of("[]"), "it is no object");
    EXPECT_EQ(error_of(R"({"format": "x"})"), "it is no export");
    EXPECT_EQ(error_of(R"({"format": 1e999})"), "it has a number that is too large");
    const auto changed = [&](const std::string& place, const nlohmann::json& value) {
        nlohmann::json whole = nlohmann::json::parse(export_text(house, accounts));
        whole[nlohmann::json::json_pointer(place)] = value;
        return error_of(whole.dump());
    };
    EXPECT_EQ(changed("/version", 2), "it was written by a newer program");
    EXPECT_EQ(changed("/people/anna/rights/usual", "op"),
              "people.anna.rights.usual must not be \"op\"");
    EXPECT_EQ(changed("/people/anna/password", "x"),
              "people.anna has a password, which is not carried");
    EXPECT_EQ(changed("/house/routers/r1/locks/0/mode", "key"),
              "house: routers.r1.locks[0].mode must not be \"key\"");
}

TEST_F(Carrying, RefusesCharactersThatAreNotSeen)
{
    const std::string mark = "\u202e"; // turns the order of what follows
    const auto with = [&](const char* place) {
        nlohmann::json whole = nlohmann::json::parse(export_text(house, accounts));
        whole[nlohmann::json::json_pointer(place)] = "x" + mark;
        return error_of(whole.dump());
    };
    const std::string why = " has a character that is not seen, U+202E";
    EXPECT_EQ(with("/house/routers/r1/settings/name"), "house.routers.r1.settings.name" + why);
    EXPECT_EQ(with("/house/routers/r1/sourceLabels/0/alias"),
              "house.routers.r1.sourceLabels[0].alias" + why);
    EXPECT_EQ(with("/house/routers/r1/locks/0/reason"), "house.routers.r1.locks[0].reason" + why);
    EXPECT_EQ(with("/people/anna/name"), "people.anna.name" + why);
    house.salvos.at({1, 2}).versions.back().note = "a\u200b";
    EXPECT_THAT(error_of(export_text(house, accounts)),
                testing::EndsWith(".versions[1].note has a character that is not seen, U+200B"));
    house.salvos.clear();
    accounts.people.at("anna").may.groups = {"Gal" + mark};
    EXPECT_EQ(error_of(export_text(house, accounts)), "people.anna.rights.groups[0]" + why);
    accounts.people.at("anna").may.groups.reset();
    accounts.people.at("anna").may.exceptions = {{"r" + mark, desk::right::view}};
    EXPECT_EQ(error_of(export_text(house, accounts)),
              "people.anna.rights.exceptions has a member whose name" + why);
}

TEST_F(Carrying, RefusesWhatIsNestedVeryDeep)
{
    const std::string deep = std::string(1'000'000, '[') + std::string(1'000'000, ']');
    EXPECT_EQ(error_of(deep), "it is nested too deep");
    EXPECT_EQ(error_of(R"({"format": "router control export", "version": 1, "people": {},
                           "house": )" +
                       deep + "}"),
              "it is nested too deep");
    accounts.people.at("anna").settings = deep.substr(0, 33);
    EXPECT_EQ(error_of(export_text(house, accounts)),
              "people.anna has settings that are nested too deep");
    accounts.people.at("anna").settings = R"({"a": "\\\"[)" + deep.substr(0, 100) + "\"}";
    EXPECT_EQ(read(export_text(house, accounts)).people.at("anna").settings,
              accounts.people.at("anna").settings);
}

// A router of the same id has been removed here.
TEST_F(Carrying, TakesNoWishFromBeforeForTheNewRouters)
{
    const desk::ulid last{5, 5};
    desk::batch made;
    made.rows.resize(1);
    made.rows[0].wished.router = "r1";
    keep_entry(tables.store, {now.utc, "anna", "", desk::batch_made{last, made}});
    house.routers.at("r1").added_after = {9, 9}; // of the other server's
    EXPECT_THAT(import_all().against, IsEmpty());
    EXPECT_EQ(saved_house(tables.store, now.utc).routers.at("r1").added_after, last);
    EXPECT_EQ(import_all().against, std::vector<std::string>{});
}
