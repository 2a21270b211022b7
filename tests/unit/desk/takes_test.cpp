#include "unit/desk/desk_test.h"

using namespace desk;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

namespace {
class Takes : public DeskTest {
  protected:
    const live_router& main = *find_live(std::as_const(desk), "main");

    static take_request request_of(const std::vector<take_row>& rows)
    {
        take_request request;
        request.rows = rows;
        return request;
    }

    void lock_it(int destination, lock_mode mode, const std::string& owner)
    {
        record_entry(desk, {now.utc, owner, "",
                            lock_set{"main", destination, {mode, owner, "on air", now.utc, {}}}});
    }

    // What the router's last take ended as.
    void expect_trouble(int destination)
    {
        wish(anna, destination, 7);
        takes(destination, 7);
        refuses(destination, "NAK");
        ASSERT_TRUE(main.troubled.contains(destination));
    }
};
} // namespace

TEST_F(Takes, GoAsOneBatch)
{
    take_request request =
        request_of({{{"main", 1, 3}, {}}, {{"back", 0, 2}, {}}, {{"main", 0, NO_SOURCE}, {}}});
    request.reason_given = "on\nair";
    const auto answer = take(desk, now, anna, request);
    EXPECT_EQ(answer.why, reason::none);
    EXPECT_THAT(answer.rows, SizeIs(3));
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_EQ(said(answer, i), "goes");
    EXPECT_EQ(answer.rows[1].wished, (route{"back", 0, 2}));
    EXPECT_THAT(ordered(), ElementsAre("back 0<2", "main 1<3 0<-1"));

    ASSERT_THAT(desk.entries, SizeIs(1));
    EXPECT_EQ(desk.entries[0].person, "anna");
    EXPECT_EQ(desk.entries[0].origin, "test");
    EXPECT_EQ(desk.entries[0].at, now.utc);
    const batch& batch = desk.house.batches.at(answer.batch);
    EXPECT_EQ(batch.kind, batch_kind::take);
    EXPECT_EQ(batch.rule, batch_rule::all);
    EXPECT_EQ(batch.person, "anna");
    EXPECT_EQ(batch.origin, "test");
    EXPECT_EQ(batch.reason_given, "on air");
    EXPECT_EQ(batch.made, now.utc);
    ASSERT_THAT(batch.rows, SizeIs(3));
    EXPECT_EQ(batch.rows[0].wished, (route{"main", 1, 3}));
    EXPECT_EQ(batch.rows[0].was, 0);
    EXPECT_EQ(batch.rows[0].end, outcome::open);
}

TEST_F(Takes, OfAnotherKindSayOfWhat)
{
    const take_request request = request_of({{{"main", 1, 3}, {}}});
    const auto answer = take_as(desk, now, anna, request, {batch_kind::salvo, {4, 2}, 3, {}});
    const batch& batch = desk.house.batches.at(answer.batch);
    EXPECT_EQ(batch.kind, batch_kind::salvo);
    EXPECT_EQ(batch.of, (ulid{4, 2}));
    EXPECT_EQ(batch.salvo_version, 3);
}

TEST_F(Takes, AreRefusedWhole)
{
    struct {
        std::vector<take_row> rows;
        int asked_ms_ago;
        const char* answer;
    } const cases[] = {
        {{}, 0, "badValue: there are no rows"},
        {std::vector<take_row>(ROWS_PER_BATCH + 1), 0, "badValue: there are more than 4096 rows"},
        {{{{"main", 1, 3}, {}}, {{"back", 1, 3}, {}}, {{"main", 1, 4}, {}}},
         0,
         "duplicateDestination: MON B is there twice"},
        {{{{"main", 1, 3}, {}}}, 2001, "tooLate: the command is too old"},
    };
    for (const auto& c : cases) {
        take_request request = request_of(c.rows);
        request.asked = now.steady - std::chrono::milliseconds(c.asked_ms_ago);
        const auto answer = take(desk, now, anna, request);
        EXPECT_EQ(code_of(answer.why) + (": " + answer.detail), c.answer);
        EXPECT_TRUE(answer.batch.is_none());
        EXPECT_THAT(answer.rows, IsEmpty());
    }
    EXPECT_THAT(desk.entries, IsEmpty());
    EXPECT_THAT(ordered(), IsEmpty());
}

TEST_F(Takes, MayBeLongAndAlmostTooLate)
{
    take_request request;
    for (int i = 0; i < static_cast<int>(ROWS_PER_BATCH); ++i)
        request.rows.push_back({{"none", i, 3}, {}});
    request.asked = now.steady - COMMAND_AGE;
    EXPECT_THAT(take(desk, now, anna, request).rows, SizeIs(ROWS_PER_BATCH));
}

TEST_F(Takes, AreBlockedRowByRow)
{
    lock_it(1, lock_mode::lock, "anna");
    lock_it(2, lock_mode::protect, "ben");
    lock_it(3, lock_mode::protect, "anna");
    report_link(desk, now, "back", link_state::down, "no answer");
    add_router("mute", "Mute");
    report_link(desk, now, "mute", link_state::connecting, "");
    struct {
        actor who;
        route wished;
        const char* answer;
    } const cases[] = {
        {anna, {"none", 0, 2}, "noSuchRouter: there is no router \"none\""},
        {guest, {"main", 0, 2}, "noRight: guest may not route MON A of Main"},
        {guest, {"main", 99, 2}, "noRight: guest may not route destination 100 of Main"},
        {anna, {"main", 8, 99}, "noSuchDestination: Main has no destination 9"},
        {anna, {"main", 1, 8}, "noSuchSource: Main has no source 9"},
        {anna, {"main", 1, 2}, "destinationLocked: MON B is locked by anna (on air)"},
        {anna, {"main", 2, 2}, "destinationProtected: MON C is protected by ben (on air)"},
        {anna, {"main", 3, 2}, "goes"},
        {anna, {"back", 0, 2}, "linkNotReady: the link to Back is down: no answer"},
        {anna, {"mute", 0, 2}, "linkNotReady: the link to Mute is connecting"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(said(wish(c.who, std::vector<route>{c.wished})), c.answer);
}

TEST_F(Takes, OfALockedDestinationDoNotAskForTheLink)
{
    lock_it(1, lock_mode::lock, "anna");
    link(link_state::down);
    EXPECT_EQ(said(wish(anna, 1, 2)), "destinationLocked: MON B is locked by anna (on air)");
}

TEST_F(Takes, AreBlockedWhenTheFactHasChanged)
{
    report(0, 5);
    wish(ben, 1, 5);
    carry_out(1, 5);
    struct {
        int destination;
        const char* answer;
    } const cases[] = {
        {0, "changedSince: MON A shows CAM 6 by now, taken by somebody else"},
        {1, "changedSince: MON B shows CAM 6 by now, taken by ben"},
        {2, "goes"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(said(take(desk, now, anna, request_of({{{"main", c.destination, 2}, 0}}))),
                  c.answer);
    desk.live["main"].facts[3].connection = 0;
    EXPECT_EQ(said(take(desk, now, anna, request_of({{{"main", 3, 2}, 0}}))),
              "factUnknown: what MON D shows is not known");
}

// What the destination shows is about to change: two who have seen the same must not both go.
TEST_F(Takes, AreBlockedByAWishThatIsOpenWhenTheFactMustNotChange)
{
    const take_request seen = request_of({{{"main", 1, 3}, 0}});
    EXPECT_EQ(said(take(desk, now, anna, seen), 0), "goes");
    EXPECT_EQ(said(take(desk, now, ben, seen), 0),
              "changedSince: another take of MON B is under way");
    carry_out(1, 3);
    EXPECT_EQ(said(take(desk, now, ben, seen), 0),
              "changedSince: MON B shows CAM 4 by now, taken by anna");
    EXPECT_EQ(said(take(desk, now, ben, request_of({{{"main", 1, 4}, 3}})), 0), "goes");
}

TEST_F(Takes, AreBlockedByWhatTheCallerFound)
{
    const take_request request = request_of({{{"main", 0, 2}, {}}, {{"main", 1, 2}, {}}});
    batch_origin from;
    from.objections = {{}, {reason::not_confirmed, "it was not confirmed"}};
    const auto answer = take_as(desk, now, anna, request, from);
    EXPECT_EQ(said(answer, 0), "blockedByOtherRow: another row is blocked");
    EXPECT_EQ(said(answer, 1), "notConfirmed: it was not confirmed");
    link(link_state::down);
    EXPECT_EQ(said(take_as(desk, now, anna, request, from), 1),
              "linkNotReady: the link to Main is down");
}

TEST_F(Takes, OfOneDestinationAreBounded)
{
    for (std::size_t i = 0; i < OPEN_PER_DESTINATION; ++i) {
        EXPECT_EQ(said(wish(anna, 0, 2)), "goes");
        takes(0, 2);
    }
    EXPECT_EQ(said(wish(anna, 0, 2)), "tooManyAtOnce: too many takes of MON A are under way");
    EXPECT_EQ(said(wish(anna, 1, 2)), "goes");
}

TEST_F(Takes, GoAllOrNotAtAll)
{
    report(2, 2);
    const std::vector<route> rows{{"main", 0, 2}, {"main", 1, 99}, {"main", 2, 2}};
    const auto answer = wish(anna, rows);
    EXPECT_EQ(said(answer, 0), "blockedByOtherRow: another row is blocked");
    EXPECT_EQ(said(answer, 1), "noSuchSource: Main has no source 100");
    EXPECT_EQ(said(answer, 2), "blockedByOtherRow: another row is blocked");
    EXPECT_EQ(became(answer, 0), "not sent blockedByOtherRow: another row is blocked");
    EXPECT_EQ(became(answer, 1), "not sent noSuchSource: Main has no source 100");
    EXPECT_EQ(row_of(answer, 0).ended_after, monotonic(0));
    EXPECT_FALSE(row_of(answer, 2).unchanged);
    EXPECT_THAT(ordered(), IsEmpty());
    EXPECT_THAT(main.open, IsEmpty());
}

TEST_F(Takes, GoAsFarAsTheyCan)
{
    report(2, 2);
    const auto answer =
        wish(anna, {{"main", 0, 2}, {"main", 1, 99}, {"main", 2, 2}}, batch_rule::rest);
    EXPECT_EQ(said(answer, 0), "goes");
    EXPECT_EQ(said(answer, 1), "noSuchSource: Main has no source 100");
    EXPECT_EQ(said(answer, 2), "unchanged");
    EXPECT_EQ(became(answer, 1), "not sent noSuchSource: Main has no source 100");
    EXPECT_EQ(desk.house.batches.at(answer.batch).rule, batch_rule::rest);
    EXPECT_THAT(ordered(), ElementsAre("main 0<2"));
}

TEST_F(Takes, OfWhatIsShownAlreadyEndAtOnce)
{
    expect_trouble(1);
    forget_told();
    const auto answer = wish(anna, 1, 0);
    EXPECT_EQ(said(answer), "unchanged");
    EXPECT_EQ(became(answer), "confirmed");
    EXPECT_TRUE(row_of(answer).unchanged);
    EXPECT_EQ(row_of(answer).ended_after, monotonic(0));
    EXPECT_THAT(ordered(), IsEmpty());
    EXPECT_THAT(main.troubled, IsEmpty());
    EXPECT_THAT(changed(), ElementsAre(Pair(change::kind::batch, 0), Pair(change::kind::wish, 1)));
    EXPECT_FALSE(desk.house.routers.at("main").authors.contains(1));
}

TEST_F(Takes, AreSentUnlessTheSourceIsKnownToBeShown)
{
    take_request request = request_of({{{"main", 0, 0}, {}}});
    request.send_unchanged = true;
    EXPECT_EQ(said(take(desk, now, anna, request)), "goes");
    wish(anna, 1, 2);
    EXPECT_EQ(said(wish(anna, 1, 0)), "goes");
    desk.live["main"].facts[2].connection = 0;
    const auto stale = wish(anna, 2, 0);
    EXPECT_EQ(said(stale), "goes");
    EXPECT_EQ(row_of(stale).was, UNKNOWN_SOURCE);
}

TEST_F(Takes, AnswerDryWhatTheyWould)
{
    report(2, 2);
    const std::vector<take_row> rows{
        {{"main", 0, 2}, {}}, {{"main", 1, 99}, {}}, {{"main", 2, 2}, {}}};
    for (const batch_rule rule : {batch_rule::all, batch_rule::rest}) {
        forget_told();
        take_request request = request_of(rows);
        request.rule = rule;
        request.dry_run = true;
        const auto dry = take(desk, now, anna, request);
        EXPECT_TRUE(dry.batch.is_none());
        EXPECT_THAT(desk.entries, IsEmpty());
        EXPECT_THAT(desk.changes, IsEmpty());
        EXPECT_THAT(ordered(), IsEmpty());
        request.dry_run = false;
        const auto real = take(desk, now, anna, request);
        for (std::size_t i = 0; i < rows.size(); ++i) {
            EXPECT_EQ(said(dry, i), said(real, i));
            EXPECT_EQ(dry.rows[i].wished, real.rows[i].wished);
        }
    }
}

TEST_F(Takes, HappenOnceUnderAnId)
{
    report(2, 2);
    take_request request =
        request_of({{{"main", 0, 2}, {}}, {{"main", 1, 99}, {}}, {{"main", 2, 2}, {}}});
    request.rule = batch_rule::rest;
    request.id = {7, 7};
    const auto first = take(desk, now, anna, request);
    EXPECT_EQ(first.batch, (ulid{7, 7}));
    link(link_state::down);
    report_backend_ended(desk, now, "main");
    EXPECT_EQ(row_of(first, 0).end, outcome::not_sent);
    forget_told();
    const auto again = take(desk, now, anna, request);
    EXPECT_EQ(again.batch, first.batch);
    ASSERT_THAT(again.rows, SizeIs(3));
    for (std::size_t i = 0; i < 3; ++i) {
        EXPECT_EQ(said(again, i), said(first, i));
        EXPECT_EQ(again.rows[i].wished, first.rows[i].wished);
    }
    EXPECT_THAT(desk.entries, IsEmpty());
    EXPECT_THAT(ordered(), IsEmpty());
}

TEST_F(Takes, HaveIdsOfTheirTime)
{
    const auto one = wish(anna, 0, 2);
    const auto other = wish(anna, 1, 2);
    EXPECT_EQ(one.batch.high >> 16, static_cast<std::uint64_t>(now.utc.count()));
    EXPECT_LT(one.batch, other.batch);
}

TEST_F(Takes, ThatAreForgottenAtOnceAreAnsweredAllTheSame)
{
    for (std::uint64_t i = 0; i < BATCHES_KEPT; ++i) {
        batch open;
        open.rows.resize(1);
        desk.house.batches[{9, i}] = open;
    }
    take_request request = request_of({{{"main", 0, 0}, {}}});
    request.id = {0, 1};
    EXPECT_EQ(said(take(desk, now, anna, request)), "unchanged");
    EXPECT_FALSE(desk.house.batches.contains({0, 1}));
}

TEST_F(Takes, ThatWentWrongAreAccepted)
{
    expect_trouble(1);
    const wish_id id = main.troubled.at(1).id;
    forget_told();
    EXPECT_EQ(said(accept_outcome(desk, now, ben, "main", 1)), "");
    EXPECT_TRUE(find_wish(desk.house, id)->accepted);
    EXPECT_THAT(main.troubled, IsEmpty());
    EXPECT_THAT(changed(), ElementsAre(Pair(change::kind::wish, 1)));
    ASSERT_THAT(desk.entries, SizeIs(1));
    EXPECT_EQ(desk.entries[0].person, "ben");
}

TEST_F(Takes, AreNotAcceptedWithoutRightOrTrouble)
{
    expect_trouble(1);
    forget_told();
    EXPECT_EQ(said(accept_outcome(desk, now, anna, "none", 1)),
              "noSuchRouter: there is no router \"none\"");
    EXPECT_EQ(said(accept_outcome(desk, now, guest, "main", 1)),
              "noRight: guest may not route MON B of Main");
    EXPECT_EQ(said(accept_outcome(desk, now, anna, "main", 2)),
              "nothingToDo: nothing went wrong on MON C");
    EXPECT_THAT(desk.entries, IsEmpty());
    EXPECT_TRUE(main.troubled.contains(1));
}

TEST_F(Takes, AreLimitedToGroups)
{
    anna.may.groups = {{"studio"}};
    record_entry(desk, {now.utc, "", "", label_set{"main", side::destinations, 0, {"", "studio"}}});
    EXPECT_EQ(said(wish(anna, 0, 2)), "goes");
    EXPECT_EQ(said(wish(anna, 1, 2)), "noRight: anna may not route MON B of Main");
    expect_trouble(0);
    desk.live["main"].troubled[1] = desk.live["main"].troubled.at(0);
    EXPECT_EQ(accept_outcome(desk, now, anna, "main", 1).why, reason::no_right);
    EXPECT_EQ(said(accept_outcome(desk, now, anna, "main", 0)), "");
}
