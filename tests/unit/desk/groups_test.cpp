#include "server/desk/groups.h"
#include "server/desk/setup.h"
#include "unit/desk/desk_test.h"

using namespace desk;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
class Groups : public DeskTest {
  protected:
    const house_router& main = desk.house.routers.at("main");

    void label(int position, const std::string& alias, const std::string& group,
               side side = side::destinations, const std::string& router = "main")
    {
        set_label(desk, now, eve, router, side, position, {alias, group});
        forget_told();
    }

    std::string rename(const std::string& name, const std::string& into,
                       side side = side::destinations)
    {
        return said(rename_group(desk, now, eve, "main", side, name, into));
    }
};
} // namespace

TEST_F(Groups, AreListedByTheirFirstMembers)
{
    EXPECT_THAT(groups_of(main, side::destinations), IsEmpty());
    label(1, "", "Monitors");
    label(0, "", "Tape");
    label(7, "", "Monitors");
    label(2, "alias alone", "");
    label(3, "", "Cameras", side::sources);
    EXPECT_THAT(groups_of(main, side::destinations),
                ElementsAre(group{"Tape", {0}}, group{"Monitors", {1, 7}}));
    EXPECT_THAT(groups_of(main, side::sources), ElementsAre(group{"Cameras", {3}}));
}

TEST_F(Groups, AreRenamed)
{
    label(1, "MON 1", "Monitors");
    label(7, "", "Monitors");
    label(2, "", "Tape");
    EXPECT_EQ(rename("Monitors", "Gallery"), "");
    EXPECT_THAT(groups_of(main, side::destinations),
                ElementsAre(group{"Gallery", {1, 7}}, group{"Tape", {2}}));
    EXPECT_EQ(main.destination_labels.at(1).alias, "MON 1");
    EXPECT_THAT(changed(), ElementsAre(std::pair(change::kind::labels, 1),
                                       std::pair(change::kind::labels, 7)));
    EXPECT_EQ(rename("Gallery", "Gallery"), "");
    EXPECT_THAT(changed(), IsEmpty());
}

TEST_F(Groups, AreNotRenamedIntoAnother)
{
    label(1, "", "Monitors");
    label(2, "", "Tape");
    label(3, "", "Air", side::destinations, "back");
    label(1, "", "Cameras", side::sources);
    label(2, "", "Air", side::sources, "back");
    struct {
        const char* name;
        const char* into;
        side of;
        const char* said;
    } const cases[] = {
        {"Monitors", "Tape", side::destinations, "nameTaken: there is already a group called Tape"},
        // Who may route it there would be given more.
        {"Monitors", "Air", side::destinations, "nameTaken: there is already a group called Air"},
        {"Monitors", "", side::destinations, "badValue: a group needs a name"},
        {"Nobody", "x", side::destinations, "noSuchGroup: Main has no group Nobody"},
        {"", "x", side::destinations, "noSuchGroup: Main has no group "},
        {"Monitors", "x", side::sources, "noSuchGroup: Main has no group Monitors"},
        {"Cameras", "Air", side::sources, ""},
        {"Monitors", "Cameras", side::destinations, ""},
    };
    for (const auto& c : cases)
        EXPECT_EQ(rename(c.name, c.into, c.of), c.said) << c.name << " into " << c.into;
}

TEST_F(Groups, AreDissolved)
{
    label(1, "MON 1", "Monitors");
    label(7, "", "Monitors");
    EXPECT_EQ(said(dissolve_group(desk, now, eve, "main", side::destinations, "Monitors")), "");
    EXPECT_THAT(groups_of(main, side::destinations), IsEmpty());
    EXPECT_EQ(main.destination_labels, (std::map<int, desk::label>{{1, {"MON 1", ""}}}));
    EXPECT_EQ(said(dissolve_group(desk, now, eve, "main", side::destinations, "Monitors")),
              "noSuchGroup: Main has no group Monitors");
}

TEST_F(Groups, AreForEngineers)
{
    label(1, "", "Monitors");
    EXPECT_EQ(said(rename_group(desk, now, anna, "main", side::destinations, "Monitors", "x")),
              "noRight: anna is no engineer of Main");
    EXPECT_EQ(said(dissolve_group(desk, now, anna, "main", side::destinations, "Monitors")),
              "noRight: anna is no engineer of Main");
    EXPECT_EQ(said(dissolve_group(desk, now, eve, "none", side::destinations, "Monitors")),
              "noSuchRouter: there is no router \"none\"");
    EXPECT_THAT(desk.entries, IsEmpty());
}

// Rights that are limited to the group go by its name on every router.
TEST_F(Groups, OfDestinationsAreRenamedByEngineersOfAllTheirRouters)
{
    label(1, "", "Monitors");
    label(2, "", "Monitors", side::destinations, "back");
    label(1, "", "Cameras", side::sources);
    label(2, "", "Cameras", side::sources, "back");
    const actor mia{"mia", "test", {right::view, {{"main", right::engineer}}, {}}};
    EXPECT_EQ(said(rename_group(desk, now, mia, "main", side::destinations, "Monitors", "x")),
              "noRight: mia is no engineer of every router that has a group Monitors");
    EXPECT_THAT(desk.entries, IsEmpty());
    EXPECT_EQ(said(rename_group(desk, now, mia, "main", side::sources, "Cameras", "x")), "");
    label(2, "", "Tape", side::destinations, "back");
    EXPECT_EQ(said(rename_group(desk, now, mia, "main", side::destinations, "Monitors", "x")), "");
}

TEST_F(Groups, OfDestinationsAreLookedForOnAllRouters)
{
    label(1, "", "Monitors", side::destinations, "back");
    label(1, "", "Cameras", side::sources);
    EXPECT_TRUE(is_group_of_destinations(desk.house, "Monitors"));
    EXPECT_FALSE(is_group_of_destinations(desk.house, "Cameras"));
}
