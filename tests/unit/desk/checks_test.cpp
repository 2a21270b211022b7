#include "server/desk/checks.h"
#include "server/desk/setup.h"
#include "unit/desk/desk_test.h"

using namespace desk;

namespace {
class Checks : public DeskTest {
  protected:
    // What speaks against a route of a router that has not been connected yet.
    reason against(int destination, int source)
    {
        return check_route(desk, anna, {"third", destination, source}).why;
    }

    void set_counts(int inputs, int outputs)
    {
        router_settings settings;
        settings.id = settings.name = "third";
        settings.inputs = inputs;
        settings.outputs = outputs;
        set_router(desk, now, eve, settings);
    }
};
} // namespace

TEST_F(Checks, KnowTheCountsThatAreSet)
{
    set_counts(3, 2);
    EXPECT_EQ(against(1, 2), reason::none);
    EXPECT_EQ(against(2, 2), reason::no_such_destination);
    EXPECT_EQ(against(-1, 2), reason::no_such_destination);
    EXPECT_EQ(against(1, 3), reason::no_such_source);
    EXPECT_EQ(against(1, NO_SOURCE), reason::none);
    EXPECT_EQ(against(1, UNKNOWN_SOURCE), reason::fact_unknown);
    EXPECT_EQ(against(1, UNKNOWN_SOURCE - 1), reason::no_such_source);
}

TEST_F(Checks, CountAsTheBackendOrElseAsIsSet)
{
    struct {
        int set, counted, routable;
    } const cases[] = {
        {0, 0, ROUTED_POSITIONS}, {1, 0, 1}, {3, 0, 3}, {0, 1, 1}, {3, 1, 1}, {3, 5, 5},
    };
    for (const auto& c : cases) {
        set_counts(c.set, 7);
        report_counts(desk, "third", c.counted, 7);
        EXPECT_EQ(sources_of(desk, "third"), c.routable);
        EXPECT_EQ(destinations_of(desk, "third"), 7);
        set_counts(7, c.set);
        report_counts(desk, "third", 7, c.counted);
        EXPECT_EQ(sources_of(desk, "third"), 7);
        EXPECT_EQ(destinations_of(desk, "third"), c.routable);
    }
}

TEST_F(Checks, LookAtTheRightBeforeTheDestination)
{
    EXPECT_EQ(check_route(desk, guest, {"main", 99, 99}).why, reason::no_right);
    EXPECT_EQ(check_route(desk, guest, {"main", 99, 99}).detail,
              "guest may not route destination 100 of Main");
    EXPECT_EQ(check_route(desk, anna, {"main", 99, 99}).detail, "Main has no destination 100");
    EXPECT_EQ(check_route(desk, anna, {"main", 0, 99}).detail, "Main has no source 100");
    EXPECT_EQ(check_route(desk, anna, {"gone", 0, 0}).detail, "there is no router \"gone\"");
    EXPECT_EQ(check_engineer(desk, anna, "main").detail, "anna is no engineer of Main");
    EXPECT_EQ(check_engineer(desk, eve, "main").why, reason::none);
}
