#include "server/desk/locks.h"
#include "unit/console/console_test.h"

using namespace console;

class LockCommands : public ConsoleTest {
  protected:
    LockCommands()
    {
        setenv("TZ", "UTC", 1);
        tzset();
    }

    void lock_by_ben(int destination)
    {
        const desk::actor ben{"ben", "console", {desk::right::administer, {}, {}}};
        desk::set_lock(console.desk, now, ben, "main", destination, desk::lock_mode::protect,
                       "on air", {});
    }

    const std::map<int, desk::lock>& locks()
    {
        return desk::find_router(console.desk, "main")->locks;
    }
};

constexpr const char* ROUTER_KNOWS_NOTHING =
    "The router itself knows nothing of it: it can still be routed past this console.\n";

TEST_F(LockCommands, LockBindsEverybodyHereAndSaysThatTheRouterKnowsNothing)
{
    EXPECT_EQ(says("lock \"MON A\" \"on air\" 10m"),
              std::string("MON A is locked by anna (on air) until 14:12:11: nobody may route it "
                          "here, you included.\n") +
                  ROUTER_KNOWS_NOTHING);
    EXPECT_EQ(says("take 1 3"), "Not sent: MON A <- CAM 3: MON A is locked by anna (on air).\n");
    wait_ms(600'000);
    EXPECT_EQ(says("take 1 3"), "Taking MON A: CAM 1 -> CAM 3.\n");
}

TEST_F(LockCommands, ProtectLeavesItsOwnerFree)
{
    EXPECT_EQ(says("protect 1"), std::string("MON A is protected by anna: nobody but you may route "
                                             "it here.\n") +
                                     ROUTER_KNOWS_NOTHING);
    EXPECT_EQ(says("take 1 3"), "Taking MON A: CAM 1 -> CAM 3.\n");
}

TEST_F(LockCommands, TellsOfTheTakeThatIsUnderWay)
{
    ask("take 1 3");
    EXPECT_THAT(says("lock 1"), testing::EndsWith("The take that is under way there goes on.\n"));
}

TEST_F(LockCommands, GivesProgramsTheSameFacts)
{
    const nlohmann::json expected = {{"command", "lock"},
                                     {"router", "main"},
                                     {"destination", {{"index", 1}, {"name", "MON B"}}},
                                     {"mode", "lock"},
                                     {"owner", "anna"},
                                     {"reason", ""},
                                     {"since", "2026-11-21T14:02:11.000Z"},
                                     {"until", "2026-11-22T14:02:11.000Z"}};
    EXPECT_EQ(ask("lock 2 1d").json, expected);
}

struct lock_case {
    const char* line;
    const char* reason;
    int seconds; // 0: without an end
};

class LockWords : public LockCommands, public testing::WithParamInterface<lock_case> {};

INSTANTIATE_TEST_SUITE_P(
    Lines, LockWords,
    testing::Values(lock_case{"lock 1", "", 0}, lock_case{"lock 1 30s", "", 30},
                    lock_case{"lock 1 2h", "", 7200}, lock_case{"lock 1 365d", "", 31'536'000},
                    lock_case{"lock 1 '10m'", "10m", 0}, lock_case{"lock 1 test", "test", 0},
                    lock_case{"lock 1 10 5m", "10", 300}, lock_case{"lock 1 '10x'", "10x", 0},
                    lock_case{"lock 1 m", "m", 0}, lock_case{"lock 1 ''", "", 0}));

TEST_P(LockWords, AreAReasonAndADuration)
{
    ask(GetParam().line);
    ASSERT_TRUE(locks().contains(0)) << GetParam().line;
    const desk::lock& lock = locks().at(0);
    EXPECT_EQ(lock.reason, GetParam().reason) << GetParam().line;
    EXPECT_EQ(lock.until.has_value(), GetParam().seconds != 0) << GetParam().line;
    if (lock.until) {
        EXPECT_EQ(*lock.until - now.utc, std::chrono::seconds(GetParam().seconds));
    }
}

TEST_F(LockCommands, ComplainOfADurationThatIsNone)
{
    EXPECT_EQ(says("lock 1 on air"),
              "\"air\" is no duration: that is a number and s, m, h or d, such as 10m. A reason "
              "that begins with a digit or has several words stands in quotes.\n");
    for (const std::string word : {"10M", "5", "1h30m", "10x"}) {
        EXPECT_EQ(says("lock 1 " + word),
                  "\"" + word +
                      "\" is no duration: that is a number and s, m, h or d, such as 10m. A reason "
                      "that begins with a digit or has several words stands in quotes.\n");
        EXPECT_EQ(ask("protect 1 test " + word).verdict, verdict::wrong_use);
    }
    for (const char* line :
         {"lock 1 0m", "lock 1 366d", "lock 1 99999999999999999999d", "lock 1 31536001s"}) {
        EXPECT_EQ(says(line), "A lock lasts for one second at least and 365 days at most.\n");
        EXPECT_EQ(ask(line).verdict, verdict::wrong_use);
    }
    EXPECT_TRUE(locks().empty());
}

TEST_F(LockCommands, UnlockEndsOnesOwn)
{
    ask("lock 1 'on air'");
    EXPECT_EQ(says("unlock 1"), "MON A is locked by anna (on air) no longer.\n");
    const answer again = ask("unlock 1");
    EXPECT_EQ(again.text, "Not unlocked: MON A is neither locked nor protected.\n");
    EXPECT_EQ(again.verdict, verdict::refused);
}

TEST_F(LockCommands, UnlockFindsWhatTheRouterHasNoMore)
{
    ask("lock 8");
    desk::report_counts(console.desk, "main", 8, 4);
    EXPECT_EQ(says("unlock 8"), "MON H is locked by anna no longer.\n");
    EXPECT_TRUE(locks().empty());
}

TEST_F(LockCommands, AForeignLockIsBrokenOnlyWithAReason)
{
    lock_by_ben(0);
    EXPECT_EQ(says("lock 1"), "Not locked: MON A is protected by ben (on air).\n");
    EXPECT_EQ(says("protect 1"), "Not protected: MON A is protected by ben (on air).\n");
    const answer refused = ask("unlock 1");
    EXPECT_EQ(refused.text, "MON A is protected by ben (on air); to break that, give a reason "
                            "behind the destination.\n");
    EXPECT_EQ(refused.verdict, verdict::refused);
    EXPECT_EQ(says("unlock 1 ' '"), "Not unlocked: breaking a lock needs a reason.\n");
    EXPECT_EQ(locks().size(), 1U);
    EXPECT_EQ(says("unlock 1 'ben is off'"), "MON A is protected by ben (on air) no longer.\n");
    EXPECT_TRUE(locks().empty());
}
