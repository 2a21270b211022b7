#include "console/filter.h"
#include "server/desk/stages.h"
#include "unit/console/console_test.h"

using namespace console;

class Filter : public ConsoleTest {
  protected:
    std::string complaint;

    void label(int position, const std::string& alias, const std::string& group)
    {
        desk::set_label(console.desk, now, console.person, "main", desk::side::destinations,
                        position, {alias, group});
    }

    // Positions; {-1} when the line cannot be understood.
    std::vector<int> find(const std::string& line, desk::side side = desk::side::destinations)
    {
        const auto words =
            line.empty() ? std::vector<common::word>{} : common::split_words(line).commands.at(0);
        return find_positions(console, "main", side, POSITIONS_HERE, words, complaint)
            .value_or(std::vector{-1});
    }
};

TEST_F(Filter, LeavesWhatFitsAllWords)
{
    label(1, "Transmission", "Live");
    label(2, "", "Live");
    label(5, "Spare 3", "Tape");
    struct {
        const char* line;
        std::vector<int> found;
    } const cases[] = {
        {"", {0, 1, 2, 3, 4, 5, 6, 7}},
        {"3", {2}},
        {"'3'", {5}},
        {"2-4", {1, 2, 3}},
        {"7-99", {6, 7}},
        {"99", {}},
        {"mon", {0, 1, 2, 3, 4, 5, 6, 7}}, // the router's own name counts beside an alias
        {"TRANS", {1}},
        {"live", {1, 2}}, // a group's
        {"@live", {1, 2}},
        {"'@live'", {}},
        {"@Live 3-8", {2}},
        {"2-4 3-8", {2, 3}},
        {"mon c", {2}}, // c of its name
        {"'2-4'", {}},
        {"3-", {}},
    };
    for (const auto& [line, found] : cases)
        EXPECT_EQ(find(line), found) << line;
}

TEST_F(Filter, LeavesAGroupThatNeedsQuotes)
{
    label(1, "", "Live 2");
    label(2, "", "Live");
    EXPECT_EQ(find("\"@live 2\""), (std::vector{1}));
    EXPECT_EQ(find("@\"Live 2\""), (std::vector{1}));
    EXPECT_EQ(find("\"@Live\""), (std::vector<int>{})) << "a text";
}

TEST_F(Filter, ComplainsOfWhatMakesNoSense)
{
    label(1, "", "Live");
    label(2, "", "Tape");
    struct {
        const char* line;
        const char* complaint;
    } const cases[] = {
        {"4-2", "The range 4-2 ends before it begins."},
        {"0", "The numbers of main begin at 1."},
        {"0-3", "The numbers of main begin at 1."},
        {"@Lib", "There is no group \"Lib\" of destinations; there is Live, Tape."},
    };
    for (const auto& [line, text] : cases) {
        EXPECT_EQ(find(line), std::vector{-1}) << line;
        EXPECT_EQ(complaint, text);
    }
    find("@Live", desk::side::sources);
    EXPECT_EQ(complaint, "There is no group \"Live\" of sources.");
    find("problems", desk::side::sources);
    EXPECT_EQ(complaint, "Sources have no problems: \"routes problems\" shows those of "
                         "destinations.");
}

TEST_F(Filter, ProblemsAreWhatNeedsADecisionOrIsNotKnown)
{
    EXPECT_EQ(find("problems"), std::vector<int>{});
    ask("take 2 3");
    desk::trace_take(console.desk, now, "main", 1, 2);
    desk::trace_take_answer(console.desk, now, "main", "NAK 0005");
    EXPECT_EQ(find("problems"), (std::vector{1}));
    desk::stage_row(console.desk, now, console.person, {"main", 4, 4});
    EXPECT_EQ(find("problems"), (std::vector{1}));
    report(4, 6);
    EXPECT_EQ(find("problems"), (std::vector{1, 4}));
    EXPECT_EQ(find("problems 1-3"), (std::vector{1}));
    link(desk::link_state::down, "gone");
    link(desk::link_state::ready);
    for (int i = 0; i < 7; ++i)
        report(i, i == 4 ? 6 : 0);
    EXPECT_EQ(find("PROBLEMS"), (std::vector{1, 4, 7})) << "the last has not been said again";
}
