#include <cstdlib>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "console/line_history.h"
#include "support/temporary_directory.h"

using namespace console;

using testing::ElementsAre;
using testing::IsEmpty;

TEST(LineHistory, StandsInTheStateFolder)
{
    setenv("XDG_STATE_HOME", "/state", 1);
    EXPECT_EQ(history_path(), "/state/router_console/history");
    setenv("HOME", "/home/anna", 1);
    for (const char* const none : {"", "relative"}) {
        setenv("XDG_STATE_HOME", none, 1);
        EXPECT_EQ(history_path(), "/home/anna/.local/state/router_console/history");
    }
    unsetenv("XDG_STATE_HOME");
    unsetenv("HOME");
    EXPECT_EQ(history_path(), "");
}

TEST(LineHistory, HasNoBlankLineAndNoneTwiceBehindItself)
{
    std::vector<std::string> lines;
    EXPECT_TRUE(add_to_history(lines, "take 1 2"));
    EXPECT_FALSE(add_to_history(lines, "take 1 2"));
    EXPECT_FALSE(add_to_history(lines, ""));
    EXPECT_FALSE(add_to_history(lines, "  "));
    EXPECT_TRUE(add_to_history(lines, "undo"));
    EXPECT_TRUE(add_to_history(lines, "take 1 2"));
    EXPECT_THAT(lines, ElementsAre("take 1 2", "undo", "take 1 2"));
}

TEST(LineHistory, ForgetsTheOldest)
{
    std::vector<std::string> lines;
    for (std::size_t i = 0; i <= LINES_KEPT; ++i)
        add_to_history(lines, "take 1 " + std::to_string(i));
    EXPECT_EQ(lines.size(), LINES_KEPT);
    EXPECT_EQ(lines.front(), "take 1 1");
}

TEST(LineHistory, IsKeptForItsOwnerAlone)
{
    const temporary_directory directory;
    const std::string path = (directory.path / "new" / "folder" / "history").string();
    EXPECT_THAT(read_history(path), IsEmpty());
    write_history(path, {"take \"カメラ\" 2", "undo"});
    write_history(path, {"take \"カメラ\" 2", "redo"});
    EXPECT_THAT(read_history(path), ElementsAre("take \"カメラ\" 2", "redo"));
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.path / "new" / "folder"),
                            std::filesystem::directory_iterator()),
              1);
}

TEST(LineHistory, MayHaveNoPlace)
{
    write_history("", {"undo"});
    write_history("/proc/nowhere/history", {"undo"});
    EXPECT_THAT(read_history("/proc/nowhere/history"), IsEmpty());
}
