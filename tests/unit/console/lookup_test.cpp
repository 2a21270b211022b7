#include "console/lookup.h"
#include "unit/console/console_test.h"

using namespace console;

class Lookup : public ConsoleTest {
  protected:
    std::string complaint;

    Lookup()
    {
        desk::report_names(console.desk, "main", desk::side::sources,
                           {"CAM 1", "CAM 10", "cam 2", "VTR 1", "Cam 2", "7", "黑场", "Éclair"});
    }

    void number_from(int first)
    {
        desk::router_settings settings = desk::find_router(console.desk, "main")->settings;
        settings.first_number = first;
        desk::set_router(console.desk, now, console.person, settings);
    }

    // -1: none.
    int find(const std::string& text, bool quoted = false)
    {
        complaint.clear();
        return find_source(console, {text, quoted, 0}, complaint).value_or(-1);
    }
};

TEST_F(Lookup, NumbersBeginWhereTheRouterSays)
{
    EXPECT_EQ(find("1"), 0);
    EXPECT_EQ(find("08"), 7);
    EXPECT_EQ(find("0"), -1);
    EXPECT_EQ(complaint, "There is no source 0: they are numbered 1 to 8.");
    number_from(0);
    EXPECT_EQ(find("0"), 0);
    EXPECT_EQ(find("7"), 7);
    EXPECT_EQ(find("8"), -1);
    EXPECT_EQ(complaint, "There is no source 8: they are numbered 0 to 7.");
    EXPECT_EQ(find("99999999999999999999"), -1);
}

TEST_F(Lookup, WhatIsListedButCannotBeRoutedIsNotSaidToBeMissing)
{
    desk::report_names(console.desk, "main", desk::side::sources,
                       {"1", "2", "3", "4", "5", "6", "7", "8", "SRV 1", ""});
    EXPECT_EQ(find("srv 1"), -1);
    EXPECT_EQ(complaint, "SRV 1 cannot be routed: 8 of 10 sources can be.");
    EXPECT_EQ(find("10"), -1);
    EXPECT_EQ(complaint, "source 10 cannot be routed: 8 of 10 sources can be.");
    EXPECT_EQ(find("11"), -1);
    EXPECT_EQ(complaint, "There is no source 11: they are numbered 1 to 8.");
    EXPECT_EQ(find("", true), -1);
    EXPECT_EQ(complaint, "There is no source \"\"; \"sources\" lists them.");
}

TEST_F(Lookup, NameThatCannotBeRoutedLeadsToNoOtherThatBeginsSo)
{
    desk::report_names(console.desk, "main", desk::side::sources,
                       {"1", "CAM 10", "3", "4", "5", "6", "7", "8", "CAM 1"});
    for (const char* const name : {"CAM 1", "cam 1"}) {
        EXPECT_EQ(find(name), -1);
        EXPECT_EQ(complaint, "CAM 1 cannot be routed: 8 of 9 sources can be.");
    }
    EXPECT_EQ(find("CAM"), 1);
    EXPECT_EQ(find("CAM 10"), 1);
}

TEST_F(Lookup, NameBehindAllThatCouldEverBeRoutedLeadsToNoOther)
{
    std::vector<std::string> names(300);
    names[1] = "CAM 10";
    names[299] = "CAM 1";
    desk::report_counts(console.desk, "main", desk::ROUTED_POSITIONS, POSITIONS_HERE);
    desk::report_names(console.desk, "main", desk::side::sources, names);
    EXPECT_EQ(find("CAM 1"), -1);
    EXPECT_EQ(complaint, "CAM 1 cannot be routed: 256 of 300 sources can be.");
    EXPECT_EQ(find("300"), -1);
    EXPECT_EQ(complaint, "CAM 1 cannot be routed: 256 of 300 sources can be.");
}

TEST_F(Lookup, QuotedNumberIsAName)
{
    EXPECT_EQ(find("7"), 6);
    EXPECT_EQ(find("7", true), 5);
    EXPECT_EQ(find("3", true), -1);
}

TEST_F(Lookup, NamesAreFoundByTheStrictestRuleThatFits)
{
    struct {
        const char* text;
        int found;
    } const cases[] = {
        {"CAM 1", 0},                                          // not the one that it begins
        {"cam 1", 0}, {"cam 2", 2},  {"Cam 2", 4},             // the same case goes first
        {"vt", 3},    {"CAM 10", 1}, {"黑场", 6},  {"黑", -1}, // one character
        {"Éc", 7},    {"éc", -1},                              // case is that of A to Z
    };
    for (const auto& [text, found] : cases)
        EXPECT_EQ(find(text), found) << text;
}

TEST_F(Lookup, OneLetterNeverGoesToAir)
{
    EXPECT_EQ(find("V"), -1);
    EXPECT_EQ(complaint, "There is no source \"V\"; there is 4 VTR 1.");
    desk::report_names(console.desk, "main", desk::side::sources, {"V", "W"});
    EXPECT_EQ(find("V"), 0) << "the whole name";
}

TEST_F(Lookup, AmbiguousNamesTellTheCandidates)
{
    EXPECT_EQ(find("CAM 2"), -1);
    EXPECT_EQ(complaint, "\"CAM 2\" may be 3 cam 2, 5 Cam 2.");
    EXPECT_EQ(find("cam"), -1);
    EXPECT_EQ(complaint, "\"cam\" may be 1 CAM 1, 2 CAM 10, 3 cam 2, 5 Cam 2.");
    desk::report_names(console.desk, "main", desk::side::sources,
                       {"A1", "A1", "A1", "A1", "A1", "A1", "A1", "A1"});
    EXPECT_EQ(find("A1"), -1);
    EXPECT_EQ(complaint, "\"A1\" may be 1 A1, 2 A1, 3 A1, 4 A1, 5 A1, 6 A1 and 2 more.");
}

TEST_F(Lookup, AliasAndTheRoutersNameBothLeadThere)
{
    desk::set_label(console.desk, now, console.person, "main", desk::side::sources, 3,
                    {"Studio", ""});
    EXPECT_EQ(find("Studio"), 3);
    EXPECT_EQ(find("stu"), 3);
    EXPECT_EQ(find("VTR 1"), 3);
    EXPECT_EQ(find("tudio"), -1);
    EXPECT_EQ(complaint, "There is no source \"tudio\"; there is 4 Studio.");
}

TEST_F(Lookup, NameThatTwoHaveByAliasAndByRouterIsAmbiguous)
{
    desk::set_label(console.desk, now, console.person, "main", desk::side::sources, 3,
                    {"CAM 1", ""});
    EXPECT_EQ(find("CAM 1"), -1);
    EXPECT_EQ(complaint, "\"CAM 1\" may be 1 CAM 1, 4 CAM 1.");
}

TEST_F(Lookup, UnknownNamesTellWhereToLook)
{
    EXPECT_EQ(find("zebra"), -1);
    EXPECT_EQ(complaint, "There is no source \"zebra\"; \"sources\" lists them.");
    EXPECT_EQ(find("", true), -1);
    EXPECT_EQ(complaint, "There is no source \"\"; \"sources\" lists them.");
}

TEST_F(Lookup, WhatCannotBeRoutedIsNotFound)
{
    desk::report_counts(console.desk, "main", 3, POSITIONS_HERE);
    EXPECT_EQ(find("VTR 1"), -1);
    EXPECT_EQ(find("4"), -1);
    EXPECT_EQ(complaint, "VTR 1 cannot be routed: 3 of 8 sources can be.");
    EXPECT_EQ(find("cam 2"), 2);
}

TEST_F(Lookup, RoutersAreFoundByIdAndName)
{
    desk::router_settings settings = desk::find_router(console.desk, "back")->settings;
    settings.name = "Studio B";
    desk::set_router(console.desk, now, console.person, settings);
    const auto router = [&](const std::string& text) {
        return find_router(console, {text, false, 0}, complaint).value_or("");
    };
    EXPECT_EQ(router("back"), "back");
    EXPECT_EQ(router("studio b"), "back");
    EXPECT_EQ(router("Stu"), "back");
    EXPECT_EQ(router("m"), "");
    EXPECT_EQ(router("zebra"), "");
    EXPECT_EQ(complaint, "There is no router \"zebra\"; \"routers\" lists them.");
}
