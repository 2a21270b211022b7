#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <sys/stat.h>
#include <unistd.h>

#include "server/desk/stages.h"
#include "support/temporary_directory.h"
#include "unit/console/console_test.h"

using namespace console;

using testing::HasSubstr;

class SettingCommands : public ConsoleTest {
  protected:
    const std::string path = testing::TempDir() + "routes_" + std::to_string(getpid());

    ~SettingCommands() override
    {
        std::remove(path.c_str());
    }

    void write(const std::string& text)
    {
        std::ofstream(path) << text;
    }

    std::string written()
    {
        std::ostringstream text;
        text << std::ifstream(path).rdbuf();
        return text.str();
    }

    std::string quoted_path()
    {
        return "'" + path + "'";
    }

    const desk::stage_rows& staged(const std::string& router = "main")
    {
        return console.desk.stages["anna"][router];
    }
};

TEST_F(SettingCommands, UseChangesTheRouter)
{
    EXPECT_EQ(ask("use back").json["router"], "back");
    EXPECT_EQ(console.router, "back");
    EXPECT_EQ(says("use zebra"), "There is no router \"zebra\"; \"routers\" lists them.\n");
    EXPECT_EQ(console.router, "back");
}

TEST_F(SettingCommands, SetShowsAllSettings)
{
    EXPECT_EQ(says("set"), "address             none\n"
                           "port                12345\n"
                           "inputs              as many as the router has\n"
                           "outputs             as many as the router has\n"
                           "name                main\n"
                           "first-number        1\n"
                           "confirmation-limit  3.0 s\n");
}

TEST_F(SettingCommands, SetChangesOneSetting)
{
    struct {
        const char* line;
        const char* text;
    } const cases[] = {
        {"set address 10.0.0.5", "address of main: 10.0.0.5.\n"},
        {"set address none", "address of main: none.\n"},
        {"set port 4000", "port of main: 4000.\n"},
        {"set inputs 64", "inputs of main: 64.\n"},
        {"set outputs 0", "outputs of main: as many as the router has.\n"},
        {"set name 'Studio A'", "name of Studio A: Studio A.\n"},
        {"set first-number 0", "first-number of Studio A: 0.\n"},
        {"set confirmation-limit 500ms", "confirmation-limit of Studio A: 500 ms.\n"},
        {"set confirmation-limit 5s", "confirmation-limit of Studio A: 5.0 s.\n"},
    };
    for (const auto& [line, text] : cases)
        EXPECT_EQ(says(line), text);
    EXPECT_EQ(ask("set").json, nlohmann::json::parse(R"({"command": "set", "router": "main",
        "name": "Studio A", "address": "", "port": 4000, "inputs": 64, "outputs": 0,
        "firstNumber": 0, "confirmationLimitMs": 5000})"));
}

TEST_F(SettingCommands, SetLeavesARouterToItsName)
{
    ask("set name 'Studio A'");
    ask("use back");
    for (const char* const name : {"main", "studio a"}) {
        const answer told = ask("set name '" + std::string(name) + "'");
        EXPECT_EQ(told.text, "Not set: another router is called " + std::string(name) + ".\n");
        EXPECT_EQ(told.verdict, verdict::refused);
    }
    EXPECT_EQ(says("set name Back"), "name of Back: Back.\n");
}

TEST_F(SettingCommands, SetRefusesWhatIsNoValue)
{
    struct {
        const char* line;
        const char* text;
    } const cases[] = {
        {"set bogus 1", "There is no setting \"bogus\"; there is address, port, inputs, outputs, "
                        "name, first-number, confirmation-limit, alias, group.\n"},
        {"set port", "Usage: set port VALUE (1 to 65535)\n"},
        {"set port x", "\"x\" is no port: 1 to 65535.\n"},
        {"set port 70000", "Not set: the port must be 1 to 65535.\n"},
        {"set address router.example",
         "Not set: the address must be four numbers up to 255 with dots, or empty.\n"},
        {"set confirmation-limit 3h",
         "\"3h\" is no confirmation-limit: 0.1 to 60 s, such as 3s or 500ms.\n"},
        {"set confirmation-limit 99999999", "Not set: the confirmation limit must be 0.1 to 60 "
                                            "s.\n"},
        {"set alias source 3", "Usage: set alias source|destination POSITION TEXT\n"},
        {"set group thing 3 Live", "Usage: set group source|destination POSITION TEXT\n"},
        {"set alias source 1-2 X", "An alias is for one position.\n"},
        {"set group source 20-30 X", "There is no source in 20-30.\n"},
        {"set alias source 20 X", "There is no source 20: they are numbered 1 to 8.\n"},
    };
    for (const auto& [line, text] : cases) {
        const answer told = ask(line);
        EXPECT_EQ(told.text, text);
        EXPECT_EQ(told.verdict, verdict::wrong_use);
    }
    EXPECT_EQ(desk::find_router(console.desk, "main")->settings.port, 12345);
}

TEST_F(SettingCommands, SetGivesAliasesAndGroups)
{
    EXPECT_EQ(says("set alias source 3 'Studio 1'"),
              "Source 3 CAM 3: alias Studio 1, group none.\n");
    EXPECT_EQ(says("set group destinations 2-3 Live"),
              "Destination 2 MON B: alias none, group Live.\n"
              "Destination 3 MON C: alias none, group Live.\n");
    EXPECT_EQ(says("set group source 'Studio 1' Live"),
              "Source 3 CAM 3: alias Studio 1, group Live.\n");
    EXPECT_EQ(says("set alias source 3 ''"), "Source 3 CAM 3: alias none, group Live.\n");
}

TEST_F(SettingCommands, SaveWritesWhatLoadStages)
{
    desk::report_names(console.desk, "main", desk::side::sources,
                       {"CAM 1", "it's \"live\"", "7", "CAM 1", "X"});
    report(1, 1);
    report(2, 2);
    report(3, desk::NO_SOURCE);
    report(4, 3);
    report(5, 4);
    desk::report_counts(console.desk, "main", POSITIONS_HERE, POSITIONS_HERE + 1);
    EXPECT_EQ(says("save " + quoted_path()), "Saved 7 routes in " + path + ".\n");
    EXPECT_EQ(written(), "# Routes of main, 2026-11-21 14:02:11.\n"
                         "use main\n"
                         "first-number 1\n"
                         "stage \"MON A\" 1\n"
                         "stage \"MON B\" 2\n"
                         "stage \"MON C\" \"7\"\n"
                         "# \"MON D\": no source\n"
                         "stage \"MON E\" 4\n"
                         "stage \"MON F\" X\n"
                         "stage \"MON G\" 1\n"
                         "stage \"MON H\" 1\n"
                         "# 9: unknown\n");
    console.router = "back";
    console.desk.orders.clear();
    const answer told = ask("load " + quoted_path());
    EXPECT_EQ(told.text, "Staged 7 routes: 7 on main; nothing has been sent. \"use\" chooses the "
                         "router whose routes \"staged\" shows and \"take\" takes.\n");
    EXPECT_EQ(told.json["staged"], (nlohmann::json{{"main", 7}}));
    EXPECT_EQ(staged().at(2).source, 2);
    EXPECT_EQ(staged().at(4).source, 3);
    EXPECT_EQ(console.router, "back");
    EXPECT_TRUE(console.desk.orders.empty());
}

TEST_F(SettingCommands, SaveSaysThatRoutesAreOld)
{
    link(desk::link_state::down, "gone");
    happened();
    wait_ms(5000);
    EXPECT_EQ(says("save " + quoted_path()),
              "Saved 8 routes in " + path + ".\nAs of 14:02:11, link down 0:05: gone.\n");
    EXPECT_THAT(written(), HasSubstr("\n# As of 14:02:11, link down 0:05: gone.\nuse main\n"));
}

TEST_F(SettingCommands, SaveSaysWhichRoutesMayHaveChangedSince)
{
    wait_ms(60'000);
    console.desk.live.at("main").facts[1].connection = 0;
    EXPECT_EQ(says("save " + quoted_path()),
              "Saved 8 routes in " + path +
                  ".\n1 route may have changed since; the file says as of when.\n");
    EXPECT_THAT(written(), HasSubstr("first-number 1\n"
                                     "stage \"MON A\" \"CAM 1\"\n"
                                     "# As of 2026-11-21 14:02:11:\n"
                                     "stage \"MON B\" \"CAM 1\"\n"
                                     "stage \"MON C\" \"CAM 1\"\n"));
    EXPECT_EQ(ask("save " + quoted_path()).json["old"], 1);
    EXPECT_THAT(says("load " + quoted_path()), testing::StartsWith("Staged 8 routes;"));
}

TEST_F(SettingCommands, SaveReplacesAFileOrLeavesIt)
{
    write("old");
    EXPECT_EQ(ask("save " + quoted_path()).verdict, verdict::done);
    EXPECT_THAT(written(), HasSubstr("use main"));
    EXPECT_EQ(says("save /nowhere/routes"),
              "Cannot write /nowhere/routes: No such file or directory.\n");
    EXPECT_EQ(ask("save /nowhere/routes").verdict, verdict::refused);
}

TEST_F(SettingCommands, SaveFollowsLinksAndReplacesNothingButFiles)
{
    const temporary_directory directory;
    const std::string link = (directory.path / "link").string();
    std::filesystem::create_symlink(directory.file("routes", ""), link);
    EXPECT_EQ(ask("save " + link).verdict, verdict::done);
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_GT(std::filesystem::file_size(directory.path / "routes"), 0U);

    const std::string pipe = (directory.path / "pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(says("save " + pipe), "Cannot write " + pipe + ": it is no file.\n");
    EXPECT_TRUE(std::filesystem::is_fifo(pipe));
}

TEST_F(SettingCommands, SaveNeedsAKnownRoute)
{
    desk::router_settings settings;
    settings.id = settings.name = "new";
    desk::set_router(console.desk, now, console.person, settings);
    ask("use new");
    EXPECT_EQ(says("save " + quoted_path()), "Not saved: no route of new is known.\n");
    EXPECT_EQ(written(), "");
}

TEST_F(SettingCommands, LoadComplainsPerLineAndStagesTheRest)
{
    write("# a comment\n"
          "\n"
          "stage 1 2\r\n"
          "  # another\n"
          "stage 1 \"CAM 99\"\n"
          "take 1 2\n"
          "stage 'MON B 3\n"
          "stage 2\n"
          "use back\n"
          "stage \"MON B\" \"CAM 3\"; stage 3 4");
    const answer told = ask("load " + quoted_path());
    EXPECT_EQ(told.text,
              "Line 5: There is no source \"CAM 99\"; \"sources\" lists them.\n"
              "Line 6: Only \"use ROUTER\", \"first-number 0|1\" and \"stage DESTINATION SOURCE\" "
              "stand in such a file.\n"
              "Line 7: A quote is not closed.\n"
              "Line 8: Only \"use ROUTER\", \"first-number 0|1\" and \"stage DESTINATION SOURCE\" "
              "stand in such a file.\n"
              "Staged 3 routes: 2 on back, 1 on main; nothing has been sent. \"use\" chooses the "
              "router whose routes \"staged\" shows and \"take\" takes.\n");
    EXPECT_EQ(told.verdict, verdict::refused);
    EXPECT_EQ(told.json["complaints"].size(), 4U);
    EXPECT_EQ(staged().at(0).source, 1);
    EXPECT_EQ(staged("back").at(2).source, 3);
}

TEST_F(SettingCommands, LoadStagesNothingForARouterThatIsNotThere)
{
    write("use zebra\nstage 1 2\n");
    EXPECT_EQ(says("load " + quoted_path()),
              "Line 1: There is no router \"zebra\"; \"routers\" lists them.\n"
              "The lines below are not read.\n"
              "Nothing was staged.\n");
    EXPECT_TRUE(console.desk.stages.empty());
}

TEST_F(SettingCommands, LoadTakesNoBeginningForAName)
{
    desk::report_names(console.desk, "main", desk::side::sources, {"CAM 1", "CAM 20"});
    write("stage \"mon a\" \"cam 20\"\nstage \"MON\" 1\nstage 2 \"CAM 2\"\nstage \"MO\" 1\n"
          "use mai\n");
    EXPECT_EQ(
        says("load " + quoted_path()),
        "Line 2: There is no destination \"MON\"; there is 1 MON A, 2 MON B, 3 MON C, 4 MON D, "
        "5 MON E, 6 MON F and 2 more.\n"
        "Line 3: There is no source \"CAM 2\"; there is 2 CAM 20.\n"
        "Line 4: There is no destination \"MO\"; there is 1 MON A, 2 MON B, 3 MON C, 4 MON D, "
        "5 MON E, 6 MON F and 2 more.\n"
        "Line 5: There is no router \"mai\"; there is main.\n"
        "The lines below are not read.\n"
        "Staged 1 route; nothing has been sent. \"staged\" shows them, \"take\" takes them.\n");
    EXPECT_EQ(staged().at(0).source, 1);
    EXPECT_THAT(says("help load"), HasSubstr("behind a \"use\" or"));
}

TEST_F(SettingCommands, LoadReadsCommandsInAnyCaseAndBehindAByteOrderMark)
{
    write("\uFEFFUSE back\nStage 1 2\nuse back\nstage 2 3\nstage 1 4\n");
    EXPECT_EQ(says("load " + quoted_path()),
              "Staged 2 routes: 2 on back; nothing has been sent. \"use\" chooses the router whose "
              "routes \"staged\" shows and \"take\" takes.\n");
    EXPECT_TRUE(staged().empty());
    EXPECT_EQ(staged("back").at(0).source, 3);
}

TEST_F(SettingCommands, LoadStagesNothingBehindALineThatDoesNotSayWhere)
{
    for (const char* const line : {"Use zebra", "us back", "use \"back", "use back now",
                                   "stage 1 99; use back", "first-number 2", "first-number"}) {
        write(std::string(line) + "\nstage 1 2\n");
        EXPECT_THAT(says("load " + quoted_path()),
                    testing::EndsWith("The lines below are not read.\nNothing was staged.\n"))
            << line;
    }
    write("use back; stage 1 99\nstage 1 2\n");
    EXPECT_THAT(says("load " + quoted_path()), HasSubstr("Staged 1 route: 1 on back;"));
}

TEST_F(SettingCommands, LoadCountsAsTheFileSays)
{
    write("first-number 0\nstage 0 1\nstage 8 1\nfirst-number 1\nstage 8 8\n");
    EXPECT_THAT(says("load " + quoted_path()),
                testing::StartsWith("Line 3: There is no destination 8: they are numbered 0 to 7.\n"
                                    "Staged 2 routes;"));
    EXPECT_EQ(staged().at(0).source, 1);
    EXPECT_EQ(staged().at(7).source, 7);
}

TEST_F(SettingCommands, LoadRefusesWhatIsNoFileOfRoutes)
{
    EXPECT_EQ(says("load /nowhere/routes"),
              "Cannot read /nowhere/routes: No such file or directory.\n");
    EXPECT_EQ(says("load /tmp"), "/tmp is no file with routes.\n");
    EXPECT_EQ(says("load /dev/zero"), "/dev/zero is no file with routes.\n");
    write(std::string(2'000'000, '#'));
    EXPECT_EQ(says("load " + quoted_path()), path + " is too large: more than 1 MiB.\n");
}

TEST_F(SettingCommands, EveryCommandHasItsHelp)
{
    for (const command& each : all_commands()) {
        const std::string text = says("help " + std::string(each.name));
        EXPECT_THAT(text, testing::StartsWith(std::string(each.name))) << each.name;
        EXPECT_THAT(text, testing::EndsWith("\n")) << each.name;
    }
}
