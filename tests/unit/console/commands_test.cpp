#include <sstream>

#include "unit/console/console_test.h"

using namespace console;

using testing::HasSubstr;

class Commands : public ConsoleTest {};

TEST_F(Commands, AreFoundByAnyBeginningThatNoOtherHas)
{
    EXPECT_TRUE(ask("quit").quit);
    EXPECT_TRUE(ask("QU").quit);
    EXPECT_EQ(ask("q").verdict, verdict::wrong_use) << "one letter";
    EXPECT_EQ(says("nonsense"), "There is no command \"nonsense\"; \"help\" lists them.\n");
}

TEST_F(Commands, ComplainOfWhatTheyDoNotTake)
{
    EXPECT_EQ(says("use"), "Usage: use ROUTER\n");
    EXPECT_EQ(says("use main back"), "Usage: use ROUTER\n");
    EXPECT_EQ(says("use back --rest"), "use has no option --rest.\n");
    EXPECT_EQ(says("dry-run use back"), "There is no dry run of use.\n");
    EXPECT_EQ(console.router, "main");
}

TEST_F(Commands, NameThoseThatAWordMayBecome)
{
    EXPECT_EQ(says("salvo"),
              "salvo needs one more word: list, save, show, take, rollback or delete.\n");
    EXPECT_EQ(says("salvo s"), "There is no salvo command \"s\"; \"help\" lists them.\n");
}

TEST_F(Commands, AreExplainedInLinesThatFitATerminal)
{
    std::string text = says("help");
    for (const command& each : all_commands())
        text += says("help " + std::string(each.name));
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        EXPECT_LE(line.size(), 80U) << line;
}

TEST_F(Commands, ThatSendKnowTheRestAndTheDryRun)
{
    std::vector<std::string_view> with_rest, tried;
    for (const command& each : all_commands()) {
        if (each.takes_rest) with_rest.push_back(each.name);
        if (each.can_be_tried) tried.push_back(each.name);
    }
    EXPECT_THAT(with_rest, testing::ElementsAre("take", "undo", "redo", "salvo take",
                                                "salvo rollback", "dry-run"));
    EXPECT_THAT(tried, testing::ElementsAre("take", "undo", "redo", "back", "disconnect",
                                            "salvo take", "salvo rollback"));
}

TEST_F(Commands, AloneAreInVainWhenNothingKeepsWhatTheyDo)
{
    const auto why = [](const std::string& line, bool kept) -> std::string {
        const auto refused = refuse_in_vain(common::split_words(line).commands.at(0), kept);
        return refused ? refused->json.at("error") : "";
    };
    for (const std::string name : {"stage", "load"})
        for (const bool kept : {false, true})
            EXPECT_EQ(why(name + " 1 2", kept),
                      name + " alone would last no longer than this command: give it and take as "
                             "lines on standard input.");
    for (const std::string name : {"lock", "protect", "salvo save", "set alias"}) {
        EXPECT_THAT(why(name + " 1", false),
                    testing::EndsWith(" alone would last no longer than this "
                                      "command: --data FILE keeps it."));
        EXPECT_EQ(why(name + " 1", true), "");
    }
    for (const std::string name : {"address", "port", "inputs", "outputs", "name", "first-number"})
        for (const bool kept : {false, true})
            EXPECT_EQ(why("set " + name + " 1", kept),
                      "set alone would last no longer than this command: the options of the next "
                      "one say the " +
                          name + " anew.");
    for (const char* const name : {"confirmation-limit", "alias", "group"})
        EXPECT_EQ(why(std::string("set ") + name + " 1", true), "") << name;
    for (const char* const line :
         {"set", "set bogus 1", "take 1 2", "routes", "salvo list", "help lock"})
        EXPECT_EQ(why(line, false), "") << line;
    EXPECT_THAT(why("bogus", false), testing::StartsWith("There is no command"));
    EXPECT_EQ(refuse_in_vain(common::split_words("loa 1").commands.at(0), true)->json["command"],
              "load");
}

TEST_F(Commands, ConcernAllRoutersOrTheOneInUse)
{
    for (const char* const line : {"salvo take X", "undo", "redo", "routers", "watch", "dry-run"})
        EXPECT_TRUE(concerns_all_routers(common::split_words(line).commands.at(0))) << line;
    for (const char* const line : {"take 1 2", "lock 1", "routes", "bogus"})
        EXPECT_FALSE(concerns_all_routers(common::split_words(line).commands.at(0))) << line;
}

TEST_F(Commands, RefusedTellProgramsWhichTheyAre)
{
    for (const std::string line : {"take 1", "take 1 2 --bogus", "take 1 99", "dry-run lock 1"})
        EXPECT_EQ(ask(line).json.value("command", ""), line.substr(0, line.find(' '))) << line;
    EXPECT_FALSE(ask("bogus").json.contains("command"));
}

TEST_F(Commands, HelpTellsProgramsTheSame)
{
    const nlohmann::json all = ask("help").json;
    ASSERT_EQ(all["commands"].size(), all_commands().size());
    EXPECT_EQ(all["commands"][0]["name"], "take");
    EXPECT_EQ(all["commands"][0]["usage"], "take [DESTINATION SOURCE] [--rest]");
    const nlohmann::json one = ask("help unlock").json;
    ASSERT_EQ(one["commands"].size(), 1U);
    EXPECT_EQ(one["commands"][0]["name"], "unlock");
    EXPECT_THAT(one["help"].get<std::string>(), testing::StartsWith("Your own; "));
}

TEST_F(Commands, TakeOrdersOneRoute)
{
    console.desk.orders.clear();
    ask("take \"MON B\" 3");
    ASSERT_EQ(console.desk.orders.size(), 1U);
    EXPECT_EQ(console.desk.orders[0].rows, (std::vector<std::pair<int, int>>{{1, 2}}));
    EXPECT_THAT(happened(), testing::IsEmpty());
    carry_out(1, 2);
    EXPECT_THAT(happened(), HasSubstr("confirmed"));
}

TEST_F(Commands, DryRunOrdersNothing)
{
    console.desk.orders.clear();
    EXPECT_EQ(says("dry-run 2 3"), "Would take MON B: CAM 1 -> CAM 3.\n");
    EXPECT_EQ(says("dry-run take 2 3"), "Would take MON B: CAM 1 -> CAM 3.\n");
    EXPECT_TRUE(console.desk.orders.empty());
}
