#include <gtest/gtest.h>
#include <random>

#include "server/desk/deadlines.h"
#include "server/desk/salvos.h"
#include "server/desk/start.h"
#include "server/desk/undo.h"
#include "server/desk/words.h"
#include "server/journal/house_json.h"
#include "unit/desk/model_history.h"

using namespace journal;

using nlohmann::json;

namespace {
constexpr const char* SALVO = "01ARZ3NDEKTSV4RRFFQ69G5FAV";
constexpr const char* TAKE = "01ARZ3NDEKTSV4RRFFQ69G5FAW";

desk::ulid id_of(const char* text)
{
    desk::ulid id;
    desk::read_id(text, id);
    return id;
}

// One with something at every place that a file can have.
desk::house full_house()
{
    desk::house house;
    desk::house_router& router = house.routers["main"];
    router.settings = {"main", "Main", "10.0.0.5", 12346, 16, 8, 0, std::chrono::seconds(2)};
    router.source_labels[2] = {"Camera \"3\"", ""};
    router.destination_labels[0] = {"", "monitors"};
    router.locks[1] = {desk::lock_mode::lock, "anna", "on air", desk::wall(1000), desk::wall(2000)};
    router.locks[2] = {desk::lock_mode::protect, "ben", "", desk::wall(1000), {}};
    router.authors[0] = {2, desk::wish_id{id_of(TAKE), 0}, "anna", desk::wall(900)};
    router.authors[3] = {desk::NO_SOURCE, {}, "", {}};
    house.salvos[id_of(SALVO)] = {"NEWS",
                                  {{1, "anna", desk::wall(500), {{"main", 0, 2}}},
                                   {3,
                                    "ben",
                                    desk::wall(600),
                                    {{"main", 1, desk::NO_SOURCE}},
                                    "on air",
                                    desk::batch_rule::rest}}};
    house.deleted_salvos[id_of(TAKE)] = {house.salvos[id_of(SALVO)], desk::wall(650)};
    desk::wish confirmed{
        {"main", 0, 2}, 1, false, desk::outcome::confirmed, {}, "", {}, {}, {}, {}};
    confirmed.sent_after = std::chrono::microseconds(1);
    confirmed.answered_after = std::chrono::microseconds(2);
    confirmed.ended_after = std::chrono::microseconds(12'345);
    desk::wish late{{"main", 1, desk::NO_SOURCE},
                    desk::UNKNOWN_SOURCE,
                    false,
                    desk::outcome::contradicted,
                    desk::reason::none,
                    "the router shows CAM 1",
                    {},
                    {},
                    {},
                    {}};
    late.confirmed_late_after = std::chrono::seconds(9);
    late.doings = {desk::wish_id{id_of(TAKE), 0}, desk::wish_id{id_of(TAKE), 2}};
    late.found = 700; // a source that cannot be routed
    late.accepted = true;
    const desk::wish unchanged{
        {"main", 2, 0}, 0, true, desk::outcome::confirmed, desk::reason::none, "", {}, {}, {}, {}};
    const desk::wish refused{{"main", 999, 2},
                             -1,
                             false,
                             desk::outcome::not_sent,
                             desk::reason::no_such_destination,
                             "none",
                             {},
                             {},
                             {},
                             {}};
    house.batches[id_of(TAKE)] = {desk::batch_kind::salvo,
                                  desk::batch_rule::rest,
                                  "anna",
                                  "console",
                                  "because",
                                  desk::wall(700),
                                  id_of(SALVO),
                                  3,
                                  {confirmed, late, unchanged, refused}};
    house.batch_rows = 4;
    const desk::undo_row row{{id_of(TAKE), 1}, {"main", 1, desk::NO_SOURCE}, desk::UNKNOWN_SOURCE};
    house.undo["anna"] = {{{id_of(TAKE), desk::wall(700), {row}}},
                          {{id_of(TAKE), desk::wall(800), {row, row}}}};
    return house;
}

// The complaint; empty when the text was read.
std::string complaint_of(const std::string& text)
{
    desk::house house = full_house();
    std::string error;
    if (read_house(text, house, error)) return "";
    EXPECT_TRUE(house == full_house()) << "is changed by what is wrong";
    return error;
}
} // namespace

TEST(HouseJson, IsReadAsItWasWritten)
{
    desk::house read;
    std::string error;
    ASSERT_TRUE(read_house(house_json(full_house()).dump(), read, error)) << error;
    EXPECT_TRUE(read == full_house());
    ASSERT_TRUE(read_house(house_json({}).dump(), read, error)) << error;
    EXPECT_TRUE(read == desk::house{});
}

TEST(HouseJson, IsReadAsItWasWrittenAfterAnyHistory)
{
    constexpr std::size_t STEPS = 1500;
    for (std::uint64_t seed = 1; seed <= 10; ++seed) {
        const desk::house house = model::outcome_of(model::random_steps(seed, STEPS)).house;
        desk::house read;
        std::string error;
        ASSERT_TRUE(read_house(house_json(house).dump(), read, error)) << seed << ": " << error;
        EXPECT_TRUE(read == house) << seed;
    }
}

TEST(HouseJson, KeepsWordsAndNumbersThatPeopleUnderstand)
{
    const json written = house_json(full_house());
    EXPECT_EQ(
        written["routers"]["main"]["authors"],
        json::parse(R"([{"index": 0, "source": 2, "by": {"batch": "01ARZ3NDEKTSV4RRFFQ69G5FAW",
                               "row": 0}, "person": "anna", "since": 900}, {"index": 3, "source": null}])"));
    EXPECT_EQ(written["batches"][TAKE]["rows"][1],
              json::parse(R"({"router": "main", "destination": 1, "source": null, "was": "unknown",
                              "end": "contradicted", "detail": "the router shows CAM 1",
                              "confirmedLateAfter": 9000000, "found": 700, "accepted": true,
                              "replaced": {"batch": "01ARZ3NDEKTSV4RRFFQ69G5FAW", "row": 0},
                              "restored": {"batch": "01ARZ3NDEKTSV4RRFFQ69G5FAW", "row": 2}})"));
}

TEST(HouseJson, HasEachReasonByTheDesksCode)
{
    desk::house house = full_house();
    desk::wish& wish = house.batches[id_of(TAKE)].rows[3];
    wish.wished.destination = 3;
    desk::reason& why = wish.why;
    for (why = desk::reason::no_such_router; why <= desk::reason::bad_value;
         why = static_cast<desk::reason>(static_cast<int>(why) + 1)) {
        const std::string code = desk::code_of(why);
        const json written = house_json(house);
        EXPECT_EQ(written["batches"][TAKE]["rows"][3]["why"], code);
        desk::house read;
        std::string error;
        ASSERT_TRUE(read_house(written.dump(), read, error)) << error;
        EXPECT_TRUE(read == house) << code;
    }
}

struct damage {
    const char* place; // a JSON pointer
    const char* value; // that is put there; null: nothing is there any more
    const char* complaint;
};

class DamagedHouse : public testing::TestWithParam<damage> {};

INSTANTIATE_TEST_SUITE_P(
    Damages, DamagedHouse,
    testing::Values(
        damage{"", "[]", "it is no object"}, damage{"/format", nullptr, "it has no \"format\""},
        damage{"/format", "\"salvos\"", "it keeps no house"},
        damage{"/version", "2",
               "it was written by a newer console: its version is 2, this console reads 1"},
        damage{"/version", "0", "version must be a whole number from 1 to 2147483647"},
        damage{"/people", "{}", "it has an unknown member \"people\""},
        damage{"/salvos", nullptr, "it has no \"salvos\""},
        damage{"/routers", "[]", "routers is no object"},
        damage{"/routers/two words", "{}", "routers.two words has no \"settings\""},
        damage{"/routers/main/settings/port", "0",
               "routers.main.settings is wrong: the port must be 1 to 65535"},
        damage{"/routers/main/settings/port", "1.5",
               "routers.main.settings.port must be a whole number from 0 to 2147483647"},
        damage{"/routers/main/settings/address", "\"example\"",
               "routers.main.settings is wrong: the address must be four numbers up to 255 with "
               "dots, or empty"},
        damage{"/routers/main/settings/speed", "1",
               "routers.main.settings has an unknown member \"speed\""},
        damage{"/routers/main/sourceLabels/0/index", "1024",
               "routers.main.sourceLabels[0].index must be a whole number from 0 to 1023"},
        damage{"/routers/main/destinationLabels/0/group", "\"\"",
               "routers.main.destinationLabels[0] is an empty label"},
        damage{"/routers/main/locks", "{}", "routers.main.locks is no array"},
        damage{"/routers/main/locks/1/index", "1",
               "routers.main.locks[1] is for an index that has one"},
        damage{"/routers/main/locks/0/mode", "\"closed\"",
               "routers.main.locks[0].mode must not be \"closed\""},
        damage{"/routers/main/locks/0/until", "253402300800000",
               "routers.main.locks[0].until must be a whole number from 0 to 253402300799999"},
        damage{"/routers/main/locks/0/owner", "7", "routers.main.locks[0].owner is no text"},
        damage{"/routers/main/authors/0/index", "256",
               "routers.main.authors[0].index must be a whole number from 0 to 255"},
        damage{"/routers/main/authors/1/index", "0",
               "routers.main.authors[1] is for an index that has one"},
        damage{"/routers/main/authors/0/source", "18446744073709551615",
               "routers.main.authors[0].source must be a whole number from 0 to 1023"},
        damage{"/routers/main/authors/0/by/batch", "\"00000000000000000000000000\"",
               "routers.main.authors[0].by.batch is no identifier"},
        damage{"/routers/main/authors/0/by/row", "4096",
               "routers.main.authors[0].by.row must be a whole number from 0 to 4095"},
        damage{"/salvos/x", R"({"name": "x", "versions": [{"number": 1, "author": "", "saved": 0,
                                "rows": [{"router": "a", "destination": 0, "source": 0}]}]})",
               "salvos.x is no identifier"},
        damage{"/salvos/01ARZ3NDEKTSV4RRFFQ69G5FAV/name", "\"\"",
               "salvos.01ARZ3NDEKTSV4RRFFQ69G5FAV has a name that no salvo can have"},
        damage{"/salvos/01ARZ3NDEKTSV4RRFFQ69G5FA0",
               R"({"name": "news", "versions": [{"number": 1, "author": "", "saved": 0,
                   "rows": [{"router": "a", "destination": 0, "source": 0}]}]})",
               "salvos.01ARZ3NDEKTSV4RRFFQ69G5FAV has the name of another salvo"},
        damage{"/salvos/01ARZ3NDEKTSV4RRFFQ69G5FAV/versions", "[]",
               "salvos.01ARZ3NDEKTSV4RRFFQ69G5FAV has no versions"},
        damage{"/salvos/01ARZ3NDEKTSV4RRFFQ69G5FAV/versions/1/number", "1",
               "salvos.01ARZ3NDEKTSV4RRFFQ69G5FAV.versions[1].number must be a whole number from "
               "2 to 2147483647"},
        damage{"/salvos/01ARZ3NDEKTSV4RRFFQ69G5FAV/versions/1/number", "2147483647",
               "salvos.01ARZ3NDEKTSV4RRFFQ69G5FAV.versions[1] has a number that none can follow"},
        damage{"/salvos/01ARZ3NDEKTSV4RRFFQ69G5FAV/versions/0/rows", "[]",
               "salvos.01ARZ3NDEKTSV4RRFFQ69G5FAV.versions[0] has no rows"},
        damage{"/salvos/01ARZ3NDEKTSV4RRFFQ69G5FAV/versions/0/rows/0/source", "\"unknown\"",
               "salvos.01ARZ3NDEKTSV4RRFFQ69G5FAV.versions[0].rows[0] has a source that is not "
               "known"},
        damage{"/batches/00000000000000000000000000",
               R"({"kind": "take", "rule": "all", "person": "", "origin": "", "reason": "",
                   "made": 0, "rows": [{"router": "a", "destination": 0, "source": 0,
                   "was": 0, "end": "confirmed"}]})",
               "batches.00000000000000000000000000 is no identifier"},
        damage{"/batches/01ARZ3NDEKTSV4RRFFQ69G5FAW/rows", "[]",
               "batches.01ARZ3NDEKTSV4RRFFQ69G5FAW has no rows"},
        damage{"/batches/01ARZ3NDEKTSV4RRFFQ69G5FAW/rows/0/destination", "256",
               "batches.01ARZ3NDEKTSV4RRFFQ69G5FAW.rows[0].destination must be a whole number "
               "from 0 to 255"},
        damage{"/batches/01ARZ3NDEKTSV4RRFFQ69G5FAW/rows/0/unchanged", "1",
               "batches.01ARZ3NDEKTSV4RRFFQ69G5FAW.rows[0].unchanged is neither true nor false"},
        damage{"/batches/01ARZ3NDEKTSV4RRFFQ69G5FAW/rows/0/endedAfter", "-1",
               "batches.01ARZ3NDEKTSV4RRFFQ69G5FAW.rows[0].endedAfter must be a whole number from "
               "0 to 253402300799999000"},
        damage{"/batches/01ARZ3NDEKTSV4RRFFQ69G5FAW/rows/3/why", "\"whim\"",
               "batches.01ARZ3NDEKTSV4RRFFQ69G5FAW.rows[3].why must not be \"whim\""},
        damage{"/batches/01ARZ3NDEKTSV4RRFFQ69G5FAW/rows/3/why", "\"\"",
               "batches.01ARZ3NDEKTSV4RRFFQ69G5FAW.rows[3].why must not be \"\""},
        damage{"/undo/anna/undo/0/rows/0/whim", "1",
               "undo.anna.undo[0].rows[0] has an unknown member \"whim\""},
        damage{"/undo/anna/undo/0/rows", "[]", "undo.anna.undo[0] has no rows"},
        damage{"/undo/anna/redo/0/rows/1/was", "-1",
               "undo.anna.redo[0].rows[1].was must be a whole number from 0 to 1023"}));

TEST_P(DamagedHouse, IsRefusedWithThePlace)
{
    const damage& done = GetParam();
    json whole = house_json(full_house());
    const json::json_pointer place(done.place);
    if (done.value != nullptr)
        whole[place] = json::parse(done.value);
    else
        whole[place.parent_pointer()].erase(place.back());
    EXPECT_EQ(complaint_of(whole.dump()), done.complaint);
}

TEST(DamagedHouse, IsRefusedWithTheLine)
{
    EXPECT_EQ(complaint_of("{\n \"format\": 7,\n  oops\n}"), "line 3, column 3: this is no JSON");
    EXPECT_EQ(complaint_of("x"), "line 1, column 1: this is no JSON");
    EXPECT_EQ(complaint_of("{\"version\": 1e999}"), "it has a number that is too large");
}

TEST(DamagedHouse, IsRefusedWhereverItIsCut)
{
    const std::string text = house_json(full_house()).dump();
    for (std::size_t end = 0; end < text.size(); ++end)
        ASSERT_NE(complaint_of(text.substr(0, end)), "") << end;
}

namespace {
// Everything that looks at what was read.
void use(const desk::house& house)
{
    const desk::moment now{desk::monotonic(1), desk::wall(1000)};
    desk::desk_state desk = desk::make_desk(1, house, now);
    const desk::actor anna{"anna", "console", {desk::right::administer, {}, {}}};
    desk::batch_command command;
    command.rule = desk::batch_rule::rest;
    for (const auto& [id, salvo] : house.salvos)
        desk::run_salvo(desk, now, anna, id, 0, command);
    desk::redo(desk, now, anna, command);
    command.dry_run = true;
    desk::undo(desk, now, anna, command);
    desk::advance(desk, {now.steady, desk::wall(3000)});
    EXPECT_FALSE(
        house_json(desk.house).dump(-1, ' ', true, json::error_handler_t::replace).empty());
}

// Some value anywhere in the text's JSON becomes another, or goes.
json with_another_value(json whole, std::mt19937_64& random)
{
    static const std::vector<json> OTHERS = {
        nullptr, true, -1,     0,     1,    255,           256,           1e300,
        "",      "x",  "open", SALVO, TAKE, json::array(), json::object()};
    json* at = &whole;
    while (at->is_structured() && !at->empty() && random() % 8 != 0)
        at = &*std::next(at->begin(), static_cast<std::ptrdiff_t>(random() % at->size()));
    *at = OTHERS[random() % OTHERS.size()];
    return whole;
}
} // namespace

TEST(DamagedHouse, IsReadOrRefusedWhateverIsInIt)
{
    std::mt19937_64 random(7);
    const json whole = house_json(full_house());
    const std::string text = whole.dump();
    std::size_t read = 0;
    for (int i = 0; i < 4000; ++i) {
        std::string changed = text;
        if (i % 2 == 0)
            changed = with_another_value(whole, random).dump();
        else
            changed[random() % changed.size()] = static_cast<char>(random());
        desk::house house;
        std::string error;
        if (read_house(changed, house, error)) {
            ++read;
            use(house);
        } else {
            ASSERT_NE(error, "");
        }
    }
    EXPECT_GT(read, 100U) << "too few to tell";
}
