#include "server/desk/setup.h"
#include "unit/desk/desk_test.h"

using namespace desk;

namespace {
// Each step is a millisecond after the one before.
class Authors : public DeskTest {
  protected:
    const wall beginning = now.utc;

    void step()
    {
        wait_ms(1);
    }

    void restart()
    {
        desk = make_desk(2, desk.house, now);
        link(link_state::ready);
    }

    void reconnect()
    {
        link(link_state::down);
        link(link_state::ready);
    }

    // "3 by ben since 2": what destination 0 shows, whose wish that was and since which step.
    std::string told() const
    {
        const fact& fact = desk.live.at("main").facts.at(0);
        std::string text = std::to_string(fact.source);
        if (const authorship* author = author_shown(desk, "main", 0))
            text += author->by ? " by " + author->person : " by nobody here";
        if (fact.changed) text += " since " + std::to_string((*fact.changed - beginning).count());
        return text;
    }
};
} // namespace

TEST_F(Authors, AreNotKnownOfWhatWasThereAtFirst)
{
    EXPECT_EQ(told(), "0");
    step();
    report(0, 0);
    reconnect();
    report(0, 0);
    EXPECT_EQ(told(), "0");
    EXPECT_EQ(author_shown(desk, "none", 0), nullptr);
    EXPECT_EQ(author_shown(desk, "main", 200), nullptr);
}

TEST_F(Authors, AreWhoseWishWasConfirmed)
{
    wish(ben, 0, 3);
    step();
    carry_out(0, 3);
    EXPECT_EQ(told(), "3 by ben since 1");
    step();
    report(0, 3);
    EXPECT_EQ(told(), "3 by ben since 1");
    step();
    report(0, 4);
    EXPECT_EQ(told(), "4 by nobody here since 3");
}

TEST_F(Authors, OfWhatIsSentOnceMoreDoNotChangeSinceWhen)
{
    wish(ben, 0, 3);
    carry_out(0, 3);
    step();
    take(desk, now, anna, {{}, {{{"main", 0, 3}, {}}}, true});
    forget_told();
    carry_out(0, 3);
    EXPECT_EQ(told(), "3 by anna since 0");
    EXPECT_EQ(desk.changes.back().what, change::kind::fact);
}

TEST_F(Authors, OfAnUnknownBeginningLeaveItUnknown)
{
    take(desk, now, anna, {{}, {{{"main", 0, 0}, {}}}, true});
    step();
    carry_out(0, 0);
    EXPECT_EQ(told(), "0 by anna");
}

TEST_F(Authors, AreNotKnownWhileATakeForTheSameMayHaveDoneIt)
{
    wish(ben, 0, 3);
    step();
    takes(0, 3);
    report(0, 3); // from before the take, for all that is known
    EXPECT_EQ(told(), "3 since 1");
    step();
    shows(0, 3);
    report(0, 3);
    EXPECT_EQ(told(), "3 by ben since 1");
}

TEST_F(Authors, OutlastALostLink)
{
    wish(ben, 0, 3);
    carry_out(0, 3);
    step();
    link(link_state::down);
    EXPECT_EQ(told(), "3 by ben since 0");
    link(link_state::ready);
    report(0, 3);
    EXPECT_EQ(told(), "3 by ben since 0");
    reconnect();
    step();
    report(0, 5);
    EXPECT_EQ(told(), "5 by nobody here since 2");
}

TEST_F(Authors, OutlastARestart)
{
    wish(ben, 0, 3);
    carry_out(0, 3);
    desk.house.batches.clear(); // they have been forgotten
    step();
    restart();
    EXPECT_EQ(author_shown(desk, "main", 0), nullptr) << "nothing is shown yet";
    report(0, 3);
    EXPECT_EQ(told(), "3 by ben since 0");
    restart();
    report(0, 4);
    EXPECT_EQ(told(), "4 by nobody here since 1");
    restart();
    step();
    report(0, 4);
    EXPECT_EQ(told(), "4 by nobody here since 1");
}

TEST_F(Authors, AreNotKnownWhereARestartHasEndedAWish)
{
    wish(ben, 0, 3);
    carry_out(0, 3);
    wish(ben, 0, 4);
    takes(0, 4);
    restart();
    report(0, 3);
    EXPECT_EQ(told(), "3");
}

TEST_F(Authors, AreNotKnownOfWhatWasShownBeforeATakeThatNothingConfirmed)
{
    wish(ben, 0, 3);
    carry_out(0, 3);
    wish(anna, 0, 4);
    takes(0, 4);
    report(0, 4);
    wait_ms(3000);
    restart();
    report(0, 3);
    EXPECT_EQ(told(), "3") << "whoever put it there again";
}

TEST_F(Authors, WhoseWishIsConfirmedLate)
{
    wish(ben, 0, 3);
    takes(0, 3);
    wait_ms(3000);
    report(0, 3);
    EXPECT_EQ(told(), "3 by ben since 3000");
}

// Which of the two times the source has come was ben's doing, no report tells.
TEST_F(Authors, AreNotKnownOfWhatHasBeenThereBefore)
{
    wish(ben, 0, 3);
    carry_out(0, 3);
    step();
    wish(anna, 0, 4);
    takes(0, 4);
    wish(anna, 0, 3);
    takes(0, 3);
    report(0, 4);
    report(0, 3);
    EXPECT_EQ(told(), "3 since 1");
    EXPECT_EQ(taker_text(desk, "main", 1, 0), "it is not known by whom");
}

TEST_F(Authors, AreForgottenWithoutWhenItWas)
{
    wish(ben, 0, 3);
    carry_out(0, 3);
    desk.house.routers.at("main").authors.clear();
    step();
    reconnect();
    report(0, 3);
    EXPECT_EQ(told(), "3 since 0");
}

TEST_F(Authors, AreToldAsFarAsTheyAreKnown)
{
    const auto taker = [&](int source) {
        return taker_text(desk, "main", 0, source);
    };
    EXPECT_EQ(taker_text(desk, "none", 0, 3), "it is not known by whom");
    EXPECT_EQ(taker(0), "it is not known by whom");
    EXPECT_EQ(taker(3), "taken by somebody else") << "in the place of the first";
    wish(ben, 0, 3);
    EXPECT_EQ(taker(3), "taken by somebody else") << "it has not been sent";
    takes(0, 3);
    EXPECT_EQ(taker(3), "it is not known by whom");
    wait_ms(3000);
    EXPECT_EQ(taker(3), "it is not known by whom");
    EXPECT_EQ(taker(4), "taken by somebody else");
    report(0, 4);
    EXPECT_EQ(taker(4), "taken by somebody else");
    wish(anna, 0, 4);
    wish(ben, 0, 2);
    takes(0, 4);
    EXPECT_EQ(taker(4), "taken by somebody else");
    reconnect();
    EXPECT_EQ(taker(5), "it is not known by whom");
}

TEST_F(Authors, AreNotGuessedWhereATakeOfAnEarlierConnectionWentWrong)
{
    wish(ben, 0, 3);
    takes(0, 3);
    wait_ms(3000);
    reconnect();
    report(0, 0);
    EXPECT_EQ(taker_text(desk, "main", 0, 3), "it is not known by whom");
    EXPECT_EQ(taker_text(desk, "main", 0, 4), "taken by somebody else");
}

TEST_F(Authors, AreNotKnownAfterTakesThatNothingConfirmed)
{
    wish(ben, 0, 3);
    carry_out(0, 3);
    const auto older = wish(anna, 0, 4);
    takes(0, 4);
    const auto newer = wish(anna, 0, 5);
    takes(0, 5);
    shows(0, 3);
    EXPECT_EQ(became(older), "contradicted: the router still shows CAM 4");
    report(0, 4); // as the older take may have brought it
    EXPECT_EQ(author_of(0), authorship{});
    wait_ms(3000);
    EXPECT_EQ(became(newer), "timed out");
    EXPECT_EQ(author_of(0), authorship{});
}

// What was there before a wish is what was shown, not what was recorded last.
TEST_F(Authors, AreNotKnownOfWhatAWishIsToReplace)
{
    wish(ben, 0, 3);
    carry_out(0, 3);
    wish(anna, 0, 4);
    takes(0, 4);
    report(0, 4); // without what the traffic tells
    EXPECT_EQ(author_of(0), authorship{});
    const auto one = wish(ben, 0, 5);
    restart();
    EXPECT_EQ(row_of(one).was, 4);
}

// Somebody else's was there meanwhile, which no report has brought.
TEST_F(Authors, AreNotKnownOfWhatHasComeBack)
{
    for (const bool doubted : {false, true}) {
        wish(ben, 0, 3);
        carry_out(0, 3);
        step();
        if (doubted)
            doubt_fact(desk, "main", 0);
        else
            shows(0, 6);
        forget_told();
        shows(0, 3);
        report(0, 3);
        EXPECT_EQ(told(), "3");
        EXPECT_EQ(changed().size(), 1);
        restart();
        report(0, 3);
        EXPECT_EQ(told(), "3");
        report(0, 0);
    }
}

TEST_F(Authors, AreNotKnownOfWhatHasComeBackThoughItIsNotKnownSinceWhenItWasThere)
{
    restart(); // what was there before is not known either
    wish(ben, 0, 3);
    carry_out(0, 3);
    EXPECT_EQ(author_of(0).person, "ben");
    shows(0, 6);
    shows(0, 3);
    report(0, 3);
    EXPECT_EQ(author_of(0), authorship{});
}

// Its answers are to queries from before the take.
TEST_F(Authors, AreNamedOfATakeThatHasBeenShown)
{
    wish(anna, 0, 2);
    takes(0, 2);
    wish(ben, 0, 3);
    takes(0, 3);
    shows(0, 2);
    EXPECT_EQ(taker_text(desk, "main", 0, 2), "taken by anna");
    EXPECT_EQ(taker_text(desk, "main", 0, 3), "it is not known by whom");
    shows(0, 3);
    EXPECT_EQ(taker_text(desk, "main", 0, 3), "taken by ben");
}
