#include "console/route_names.h"
#include "unit/console/console_test.h"

using namespace console;

// Sources 1 and 8 are called CAM 1, destinations 2 and 3 MON B.
class RouteNames : public ConsoleTest {
  protected:
    RouteNames()
    {
        auto& live = console.desk.live.at("main");
        live.source_names[7] = "CAM 1";
        live.destination_names[2] = "MON B";
    }
};

TEST_F(RouteNames, TellsTheNumberWhereTheNameIsThatOfAnother)
{
    EXPECT_EQ(desk::source_text(console.desk, "main", 7), "CAM 1 (8)");
    EXPECT_EQ(desk::source_text(console.desk, "main", 1), "CAM 2");
    EXPECT_EQ(desk::source_text(console.desk, "back", 7), "CAM 8");
    EXPECT_EQ(desk::source_text(console.desk, "main", desk::NO_SOURCE), "no source");
    EXPECT_EQ(desk::destination_text(console.desk, "main", 2), "MON B (3)");
    EXPECT_EQ(desk::destination_text(console.desk, "gone", 2), "destination 3");
    desk::set_label(console.desk, now, console.person, "main", desk::side::sources, 7,
                    {"Studio", ""});
    EXPECT_EQ(desk::source_text(console.desk, "main", 7), "Studio");
    EXPECT_EQ(desk::source_text(console.desk, "main", 0), "CAM 1") << "the other shows its alias";
    desk::set_label(console.desk, now, console.person, "main", desk::side::sources, 3,
                    {"Studio", ""});
    EXPECT_EQ(desk::source_text(console.desk, "main", 7), "Studio (8)");
}

TEST_F(RouteNames, AreTheSameInAllThatIsSaid)
{
    EXPECT_EQ(says("stage 3 8"), "Staged MON B (3): CAM 1 (1) -> CAM 1 (8).\n");
    EXPECT_THAT(says("routes 3"), testing::HasSubstr("staged CAM 1 (8)"));
    EXPECT_EQ(says("take 2 8"), "Taking MON B (2): CAM 1 (1) -> CAM 1 (8).\n");
    carry_out(1, 7);
    EXPECT_THAT(happened(), testing::HasSubstr(" MON B (2) shows CAM 1 (8): confirmed after "));
    report(1, 3);
    EXPECT_THAT(happened(true),
                testing::HasSubstr(" MON B (2) shows CAM 4: taken by somebody else.\n"));
    ask("take 2 5");
    desk::trace_take(console.desk, now, "main", 1, 4);
    desk::trace_query(console.desk, "main", 1);
    desk::trace_route(console.desk, now, "main", 1, 7);
    report(1, 7);
    EXPECT_THAT(happened(),
                testing::HasSubstr("not confirmed: the router shows CAM 1 (8) instead"));
    report(1, 3);
    happened();
    EXPECT_THAT(says("where 8"), testing::HasSubstr("No destination of main shows CAM 1 (8).\n"));
    EXPECT_THAT(says("lock 3 news"), testing::StartsWith("MON B (3) is locked by anna (news): "));
    console.person.person = "ben";
    EXPECT_EQ(says("unlock 3"), "MON B (3) is locked by anna (news); to break that, give a reason "
                                "behind the destination.\n");
    console.person.person = "anna";
    EXPECT_EQ(says("unlock 3"), "MON B (3) is locked by anna (news) no longer.\n");
    EXPECT_EQ(says("salvo save NEWS 2-3"), "Saved salvo NEWS, version 1, 2 routes:\n"
                                           "  MON B (2) <- CAM 4\n"
                                           "  MON B (3) <- CAM 1 (1)\n");
    EXPECT_THAT(says("history"),
                testing::HasSubstr("anna asked for a take: MON B (2) of main <- CAM 1 (8)"));
}
