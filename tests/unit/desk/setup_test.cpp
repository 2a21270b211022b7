#include "server/desk/locks.h"
#include "server/desk/setup.h"
#include "server/desk/stages.h"
#include "unit/desk/desk_test.h"

using namespace desk;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
class Setup : public DeskTest {
  protected:
    router_settings settings_of(const std::string& router)
    {
        return find_router(desk, router)->settings;
    }

    std::vector<change::kind> told()
    {
        std::vector<change::kind> kinds;
        for (const change& change : desk.changes)
            kinds.push_back(change.what);
        return kinds;
    }

    router_settings fresh()
    {
        router_settings settings;
        settings.id = "third";
        settings.name = "Third";
        return settings;
    }
};
} // namespace

TEST_F(Setup, MakesARouter)
{
    EXPECT_EQ(set_router(desk, now, eve, fresh()).why, reason::none);
    EXPECT_EQ(settings_of("third"), fresh());
    EXPECT_EQ(find_live(desk, "third")->link, link_state::off);
    EXPECT_EQ(find_live(desk, "third")->link_since, now.utc);
    EXPECT_EQ(find_live(desk, "third")->revision, 1U);
    EXPECT_THAT(told(), ElementsAre(change::kind::routers, change::kind::settings));
    EXPECT_THAT(desk.orders, IsEmpty());
}

TEST_F(Setup, IsForEngineers)
{
    const std::string before = settings_of("main").name;
    router_settings renamed = settings_of("main");
    renamed.name = "Studio";
    EXPECT_EQ(set_router(desk, now, anna, renamed).why, reason::no_right);
    EXPECT_EQ(set_router(desk, now, anna, fresh()).why, reason::no_right);
    EXPECT_EQ(remove_router(desk, now, anna, "main").why, reason::no_right);
    EXPECT_EQ(set_label(desk, now, anna, "main", side::sources, 0, {"A", ""}).why,
              reason::no_right);
    EXPECT_THAT(desk.entries, IsEmpty());
    const actor anna_of_main{"anna", "panel", {right::operate, {{"main", right::engineer}}, {}}};
    EXPECT_EQ(set_router(desk, now, anna_of_main, renamed).why, reason::none);
    EXPECT_EQ(settings_of("main").name, "Studio");
}

TEST_F(Setup, RefusesValuesOutOfRange)
{
    const auto with = [&](const auto& change) {
        router_settings settings = fresh();
        change(settings);
        return set_router(desk, now, eve, settings).why;
    };
    const auto with_id = [&](const std::string& id) {
        return with([&](router_settings& settings) { settings.id = id; });
    };
    const auto with_address = [&](const std::string& address) {
        return with([&](router_settings& settings) { settings.address = address; });
    };
    for (const char* id : {"", "a b", "a/b", "a.b", "\xc3\xa9"})
        EXPECT_EQ(with_id(id), reason::bad_value) << id;
    EXPECT_EQ(with_id(std::string(ROUTER_ID_LENGTH + 1, 'a')), reason::bad_value);
    for (const char* address : {"10.0.0", "10.0.0.1.", "10.0.0.256", "10.0.0.1 ", " 10.0.0.1",
                                "10.0.0.01", "10..0.1", "-1.0.0.1", "router", "10.0.0.1\nport=1"})
        EXPECT_EQ(with_address(address), reason::bad_value) << address;
    for (int port : {0, -1, 65536})
        EXPECT_EQ(with([&](router_settings& settings) { settings.port = port; }),
                  reason::bad_value);
    for (int count : {-1, ROUTED_POSITIONS + 1}) {
        EXPECT_EQ(with([&](router_settings& settings) { settings.inputs = count; }),
                  reason::bad_value);
        EXPECT_EQ(with([&](router_settings& settings) { settings.outputs = count; }),
                  reason::bad_value);
    }
    for (int first : {-1, 2})
        EXPECT_EQ(with([&](router_settings& settings) { settings.first_number = first; }),
                  reason::bad_value);
    for (int limit : {99, 60'001})
        EXPECT_EQ(with([&](router_settings& settings) {
                      settings.confirmation_limit = std::chrono::milliseconds(limit);
                  }),
                  reason::bad_value);
    EXPECT_EQ(with([](router_settings& settings) { settings.name = ""; }), reason::bad_value);
    EXPECT_EQ(find_router(desk, "third"), nullptr);
    EXPECT_THAT(desk.entries, IsEmpty());
}

TEST_F(Setup, TakesValuesAtTheEndsOfTheirRanges)
{
    router_settings settings = fresh();
    settings.id = std::string(ROUTER_ID_LENGTH - 3, 'a') + "Z-_";
    settings.address = "0.10.100.255";
    settings.port = 65535;
    settings.inputs = settings.outputs = ROUTED_POSITIONS;
    settings.first_number = 0;
    settings.confirmation_limit = LONGEST_CONFIRMATION_LIMIT;
    EXPECT_EQ(set_router(desk, now, eve, settings).why, reason::none);
    settings.port = 1;
    settings.address = "";
    settings.inputs = settings.outputs = 0;
    settings.confirmation_limit = SHORTEST_CONFIRMATION_LIMIT;
    EXPECT_EQ(set_router(desk, now, eve, settings).why, reason::none);
    EXPECT_EQ(settings_of(settings.id), settings);
}

TEST_F(Setup, CutsLongNames)
{
    router_settings settings = fresh();
    settings.name = std::string(TEXT_LENGTH, 'a') + "b";
    set_router(desk, now, eve, settings);
    EXPECT_EQ(settings_of("third").name, std::string(TEXT_LENGTH, 'a'));
}

TEST_F(Setup, RefusesOneRouterMoreThanThereCanBe)
{
    router_settings settings = fresh();
    for (std::size_t i = desk.house.routers.size(); i < ROUTERS; ++i) {
        settings.id = "r" + std::to_string(i);
        EXPECT_EQ(set_router(desk, now, eve, settings).why, reason::none);
    }
    EXPECT_EQ(set_router(desk, now, eve, fresh()).why, reason::too_many_at_once);
    settings.name = "another";
    EXPECT_EQ(set_router(desk, now, eve, settings).why, reason::none);
}

TEST_F(Setup, TellsNothingOfTheSameSettings)
{
    EXPECT_EQ(set_router(desk, now, eve, settings_of("main")).why, reason::none);
    EXPECT_THAT(desk.changes, IsEmpty());
    EXPECT_THAT(desk.entries, IsEmpty());
}

TEST_F(Setup, EndsTheBackendWhenItMustBeToldSomethingNew)
{
    const auto ends_with = [&](const auto& change) {
        router_settings settings = settings_of("main");
        change(settings);
        forget_told();
        set_router(desk, now, eve, settings);
        const bool ends = desk.orders.size() == 1 &&
                          desk.orders.front().what == order::kind::end_backend &&
                          desk.orders.front().router == "main";
        EXPECT_EQ(ends, !desk.orders.empty());
        report_backend_ended(desk, now, "main");
        connect("main");
        return ends;
    };
    EXPECT_TRUE(ends_with([](router_settings& settings) { settings.address = "10.0.0.9"; }));
    EXPECT_TRUE(ends_with([](router_settings& settings) { settings.port = 7; }));
    EXPECT_TRUE(ends_with([](router_settings& settings) { settings.inputs = 7; }));
    EXPECT_TRUE(ends_with([](router_settings& settings) { settings.outputs = 7; }));
    EXPECT_FALSE(ends_with([](router_settings& settings) { settings.name = "Studio"; }));
    EXPECT_FALSE(ends_with([](router_settings& settings) { settings.first_number = 0; }));
}

TEST_F(Setup, ReadsARouterAgainOnce)
{
    EXPECT_EQ(read_again(desk, now, anna, "main").why, reason::no_right);
    EXPECT_EQ(read_again(desk, now, eve, "other").why, reason::no_such_router);
    EXPECT_THAT(desk.orders, IsEmpty());
    EXPECT_EQ(read_again(desk, now, eve, "main").why, reason::none);
    EXPECT_EQ(read_again(desk, now, eve, "main").why, reason::none);
    ASSERT_EQ(desk.orders.size(), 1U);
    EXPECT_EQ(desk.orders.front().what, order::kind::end_backend);
    report_backend_ended(desk, now, "main");
    for (const link_state link : {link_state::down, link_state::connecting, link_state::reading}) {
        report_link(desk, now, "main", link, "");
        EXPECT_EQ(read_again(desk, now, eve, "main").why, reason::none);
    }
    EXPECT_EQ(desk.orders.size(), 1U);
}

TEST_F(Setup, RemovesARouterWithAllThatIsItsOwn)
{
    stage_row(desk, now, anna, {"main", 0, 1});
    stage_row(desk, now, anna, {"back", 0, 1});
    stage_row(desk, now, ben, {"main", 0, 1});
    set_lock(desk, now, anna, "main", 3, lock_mode::lock, "", now.utc + wall(1000));
    const std::uint64_t last = find_live(desk, "main")->revision;
    forget_told();
    EXPECT_EQ(remove_router(desk, now, eve, "main").why, reason::none);
    EXPECT_EQ(find_router(desk, "main"), nullptr);
    EXPECT_EQ(find_live(desk, "main"), nullptr);
    EXPECT_THAT(desk.lock_ends, IsEmpty());
    EXPECT_EQ(desk.stages.size(), 1U);
    EXPECT_EQ(desk.stages.at("anna").size(), 1U);
    EXPECT_THAT(told(), ElementsAre(change::kind::stage, change::kind::stage, change::kind::removed,
                                    change::kind::routers));
    EXPECT_EQ(desk.changes[2].revision, last + 3);
    ASSERT_EQ(desk.orders.size(), 1U);
    EXPECT_EQ(desk.orders.front().what, order::kind::end_backend);
    EXPECT_EQ(remove_router(desk, now, eve, "main").why, reason::no_such_router);
}

TEST_F(Setup, GivesNoRevisionOfARemovedRouterToANewOne)
{
    EXPECT_EQ(remove_router(desk, now, eve, "main").why, reason::none);
    const std::uint64_t last = desk.changes[desk.changes.size() - 2].revision;
    router_settings settings;
    settings.id = "main";
    settings.name = "MAIN";
    EXPECT_EQ(set_router(desk, now, eve, settings).why, reason::none);
    EXPECT_EQ(find_live(desk, "main")->revision, last + 1);
}

// What its backend holds may still reach the router.
TEST_F(Setup, KnowsWhichWishesWereForAnotherRouterOfTheId)
{
    const ulid last = wish(anna, 0, 1).batch;
    const auto added_after = [&] {
        return find_router(desk, "main")->added_after;
    };
    router_settings settings = settings_of("main");
    EXPECT_TRUE(added_after().is_none());
    remove_router(desk, now, eve, "main");
    set_router(desk, now, eve, settings);
    EXPECT_EQ(added_after(), last);
    const ulid later = wish(anna, {{"back", 0, 1}}).batch;
    settings.first_number = 0;
    set_router(desk, now, eve, settings);
    EXPECT_EQ(added_after(), last);
    settings.port = 7;
    set_router(desk, now, eve, settings);
    EXPECT_EQ(added_after(), later) << "it may be another one, too";
}

TEST_F(Setup, EndsWishesOfARemovedRouter)
{
    const auto sent = wish(anna, 0, 1);
    takes(0, 1);
    const auto queued = wish(anna, 1, 3);
    const auto newest = wish(anna, 1, 2);
    const auto held = wish(anna, 1, 3);
    forget_told();
    remove_router(desk, now, eve, "main");
    EXPECT_EQ(row_of(sent).end, outcome::unknown);
    EXPECT_EQ(row_of(queued).end, outcome::unknown);
    EXPECT_EQ(row_of(newest).end, outcome::unknown);
    EXPECT_EQ(row_of(newest).detail, "the router was removed");
    EXPECT_EQ(row_of(held).end, outcome::not_sent);
    EXPECT_EQ(row_of(held).why, reason::backend_ended);
    EXPECT_THAT(desk.deadlines, IsEmpty());
    EXPECT_THAT(ordered(), ElementsAre("end main"));
}

TEST_F(Setup, SetsLabels)
{
    EXPECT_EQ(set_label(desk, now, eve, "main", side::sources, 7, {"Studio 1", "cams"}).why,
              reason::none);
    EXPECT_EQ(set_label(desk, now, eve, "main", side::destinations, 2, {"", "air"}).why,
              reason::none);
    const house_router& main = *find_router(desk, "main");
    EXPECT_EQ(main.source_labels, (std::map<int, label>{{7, {"Studio 1", "cams"}}}));
    EXPECT_EQ(main.destination_labels, (std::map<int, label>{{2, {"", "air"}}}));
    EXPECT_THAT(told(), ElementsAre(change::kind::labels, change::kind::labels));
    EXPECT_EQ(desk.changes.back().position, 2);

    forget_told();
    set_label(desk, now, eve, "main", side::sources, 7, {"Studio 1", "cams"});
    EXPECT_THAT(desk.changes, IsEmpty());
    set_label(desk, now, eve, "main", side::sources, 7, {});
    EXPECT_THAT(main.source_labels, IsEmpty());
}

TEST_F(Setup, RefusesLabelsBeyondThePositions)
{
    EXPECT_EQ(set_label(desk, now, eve, "main", side::sources, -1, {"A", ""}).why,
              reason::no_such_source);
    EXPECT_EQ(set_label(desk, now, eve, "main", side::destinations, POSITIONS, {"A", ""}).why,
              reason::no_such_destination);
    EXPECT_EQ(set_label(desk, now, eve, "gone", side::sources, 0, {"A", ""}).why,
              reason::no_such_router);
    EXPECT_EQ(set_label(desk, now, eve, "main", side::sources, POSITIONS - 1, {"A", ""}).why,
              reason::none);
    EXPECT_EQ(desk.entries.size(), 1U);
}

TEST_F(Setup, SetsLabelsTogether)
{
    set_label(desk, now, eve, "main", side::sources, 1, {"CAM B", "cams"});
    set_label(desk, now, eve, "main", side::sources, 2, {"CAM C", "cams"});
    forget_told();
    const std::vector<wanted_label> wanted{
        {0, "Jib", "cams"}, {1, std::nullopt, "tape"}, {2, "", std::nullopt}, {3, "", ""}};
    EXPECT_EQ(said(set_labels(desk, now, eve, "main", side::sources, wanted)), "");
    EXPECT_EQ(
        find_router(desk, "main")->source_labels,
        (std::map<int, label>{{0, {"Jib", "cams"}}, {1, {"CAM B", "tape"}}, {2, {"", "cams"}}}));
    EXPECT_THAT(changed(),
                ElementsAre(std::pair(change::kind::labels, 0), std::pair(change::kind::labels, 1),
                            std::pair(change::kind::labels, 2)));
}

TEST_F(Setup, SetsNoLabelWhenOneCannotBe)
{
    struct {
        const actor& by;
        int position;
        const char* said;
        std::optional<std::size_t> row;
    } const cases[] = {
        {eve, 0, "badValue: index 0 is there twice", 1},
        {eve, POSITIONS, "noSuchDestination: labels are for positions below 1024", 1},
        {anna, 1, "noRight: anna is no engineer of Main", std::nullopt},
    };
    for (const auto& c : cases) {
        const row_objection found = set_labels(desk, now, c.by, "main", side::destinations,
                                               {{0, "A", {}}, {c.position, "B", {}}});
        EXPECT_EQ(said(found), c.said);
        EXPECT_EQ(found.row, c.row);
        EXPECT_THAT(desk.entries, IsEmpty());
    }
}

TEST_F(Setup, KeepsWhetherARouterIsSimulated)
{
    router_settings settings;
    settings.id = settings.name = "sim";
    for (const simulation wrong : {simulation{0, 1}, simulation{1, POSITIONS + 1}}) {
        settings.simulated = wrong;
        EXPECT_EQ(set_router(desk, now, eve, settings).why, reason::bad_value);
    }
    settings.simulated = {POSITIONS, 1};
    EXPECT_EQ(said(set_router(desk, now, eve, settings)), "");
    settings.address = "127.0.0.1"; // where it listens now
    EXPECT_EQ(said(set_router(desk, now, eve, settings)), "");
    EXPECT_EQ(find_router(desk, "sim")->settings, settings);
    settings.simulated = std::nullopt;
    EXPECT_EQ(said(set_router(desk, now, eve, settings)),
              "badValue: whether a router is simulated, and its size, stays as it is");
}
