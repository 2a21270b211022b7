// What a router shows when nobody can tell to which query it is the answer: it may be of before
// what was shown last.
#include "unit/desk/desk_test.h"

using namespace desk;
using testing::IsEmpty;
using testing::SizeIs;

namespace {
class LateAnswers : public DeskTest {
  protected:
    const live_router& main = *find_live(std::as_const(desk), "main");

    void ask()
    {
        trace_query(desk, "main", 0);
    }

    // The router answers another request that came after the oldest query.
    void pass_over()
    {
        trace_query_unanswered(desk, now, "main", 0, true);
    }

    void show(int source)
    {
        shows(0, source);
        report(0, source);
    }
};
} // namespace

TEST_F(LateAnswers, NameNobodyForWhatWasShownBeforeATake)
{
    ask();
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    pass_over();
    show(2);
    EXPECT_EQ(became(one), "confirmed");
    forget_told();
    show(0); // asked for before the take
    EXPECT_EQ(author_shown(desk, "main", 0), nullptr);
    EXPECT_EQ(main.facts[0].changed, std::nullopt);
    ask();
    show(2); // all the time
    EXPECT_EQ(main.facts[0].changed, std::nullopt);
    EXPECT_THAT(outside_changes(), IsEmpty());
}

TEST_F(LateAnswers, ContradictNoWish)
{
    ask();
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    pass_over();
    show(0);
    EXPECT_EQ(became(one), "sent");
    show(2);
    EXPECT_EQ(became(one), "confirmed");
    wait_ms(15'000);
    const auto other = wish(anna, 0, 3);
    takes(0, 3);
    show(2);
    EXPECT_EQ(became(other), "sent") << "for so long one may come";
    wait_ms(1);
    ask();
    show(2);
    EXPECT_EQ(became(other), "contradicted: the router still shows CAM 3");
}

TEST_F(LateAnswers, MayBeTurnedRoundWhereQueriesOverlap)
{
    ask();
    ask();
    show(2);
    show(0);
    EXPECT_THAT(outside_changes(), IsEmpty());
    EXPECT_EQ(main.facts[0].changed, std::nullopt);
    ask();
    show(3);
    EXPECT_THAT(outside_changes(), IsEmpty()) << "it may have been there before";
    ask();
    show(4);
    EXPECT_THAT(outside_changes(), SizeIs(1));
    EXPECT_EQ(main.facts[0].changed, now.utc);
}

TEST_F(LateAnswers, AreNoneWhereEachQueryIsAnswered)
{
    ask();
    show(2);
    ask();
    show(3);
    ask();
    trace_query_unanswered(desk, now, "main", 0, false); // refused
    show(4);
    EXPECT_THAT(outside_changes(), SizeIs(3));
}

TEST_F(LateAnswers, AreForgottenWithTheConnection)
{
    ask();
    pass_over();
    show(0);
    link(link_state::down);
    report_backend_ended(desk, now, "main");
    link(link_state::ready);
    show(2);
    EXPECT_THAT(outside_changes(), SizeIs(1));
}

// What the backend reports as one has been shown as one.
TEST_F(LateAnswers, LeaveTheirDoubtWhereTheyAreReportedWithOthers)
{
    ask();
    ask();
    shows(0, 2);
    shows(0, 2);
    shows(0, 2); // unasked
    report(0, 2);
    EXPECT_THAT(outside_changes(), IsEmpty());
}

// Of what may be older nobody knows that it is shown already.
TEST_F(LateAnswers, LetATakeOfWhatTheyShowGo)
{
    ask();
    pass_over();
    show(2);
    EXPECT_EQ(said(wish(anna, 0, 2)), "goes");
}

TEST_F(LateAnswers, LeaveTheirDoubtUntilTheSameIsSaidAgain)
{
    ask();
    pass_over();
    show(2);
    wait_ms(15'001);
    ask();
    shows(0, 2); // which the backend does not report again
    show(3);
    EXPECT_THAT(outside_changes(), SizeIs(1));
}

TEST_F(LateAnswers, LeaveTheirDoubtForAMinute)
{
    for (const int wait : {60'000, 60'001}) {
        report(0, 0);
        forget_told();
        ask();
        pass_over();
        show(2);
        wait_ms(wait);
        show(3);
        EXPECT_THAT(outside_changes(), SizeIs(wait == 60'000 ? 0 : 1));
    }
}

TEST_F(LateAnswers, AreNotWhatATakeFinds)
{
    carry_out(0, 3);
    ask();
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    pass_over();
    shows(0, 4); // asked for before
    shows(0, 2);
    report(0, 2);
    EXPECT_EQ(became(one), "confirmed");
    EXPECT_EQ(row_of(one).was, 3);
}

TEST_F(LateAnswers, ContradictInNobodysName)
{
    ask();
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    shows(0, 0);
    shows(0, 3);
    EXPECT_EQ(became(one), "contradicted: the router shows CAM 4 instead: it is not known by whom");
}

TEST_F(LateAnswers, ConfirmWhatTheyShow)
{
    ask();
    const auto one = wish(anna, 0, 2);
    takes(0, 2);
    pass_over();
    show(2);
    EXPECT_EQ(became(one), "confirmed");
    ASSERT_NE(author_shown(desk, "main", 0), nullptr);
    EXPECT_EQ(main.facts[0].changed, now.utc);
    wait_ms(15'001);
    show(3);
    EXPECT_THAT(outside_changes(), SizeIs(1));
}
