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
    keep_line(path, "take \"カメラ\" 2");
    keep_line(path, "redo");
    EXPECT_THAT(read_history(path), ElementsAre("take \"カメラ\" 2", "redo"));
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory.path / "new" / "folder"),
                            std::filesystem::directory_iterator()),
              1);
}

TEST(LineHistory, KeepsTheLinesOfAllConsoles)
{
    const temporary_directory directory;
    const std::string path = directory.file("history", "take 1 2\n");
    keep_line(path, "undo"); // of another one
    keep_line(path, "redo");
    EXPECT_THAT(read_history(path), ElementsAre("take 1 2", "undo", "redo"));
}

TEST(LineHistory, MayHaveNoPlace)
{
    keep_line("", "undo");
    keep_line("/proc/nowhere/history", "undo");
    EXPECT_THAT(read_history("/proc/nowhere/history"), IsEmpty());
}
