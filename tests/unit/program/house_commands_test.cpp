#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "server/journal/database.h"
#include "server/program/house_commands.h"
#include "support/temporary_directory.h"

using program::command;

namespace {
struct HouseCommands : testing::Test {
    temporary_directory folder;
    std::string file = (folder.path / "export.json").string();

    HouseCommands()
    {
        journal::database made;
        std::string error;
        EXPECT_TRUE(journal::open_database(made, folder.path, error)) << error;
    }

    // What is said on standard error; nothing when it is done.
    std::string run(program::command command)
    {
        program::options options;
        options.command = command;
        options.data = folder.path;
        options.file = file;
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const int status = program::run_command(options);
        testing::internal::GetCapturedStdout();
        std::string said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(status == 0, said.empty());
        return said;
    }
};
} // namespace

TEST_F(HouseCommands, ExportAFileThatNobodyElseMayRead)
{
    const mode_t before = umask(0);
    EXPECT_EQ(run(command::carry_out), "");
    umask(before);
    struct stat found {};
    ASSERT_EQ(stat(file.c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777U, 0600U);
    EXPECT_EQ(run(command::carry_out), "The file " + file + " is there already.\n");
    EXPECT_EQ(run(command::carry_in), "");
}

TEST_F(HouseCommands, ExportIntoNoFileOfAnybodyElse)
{
    const std::string victim = (folder.path / "victim").string();
    std::ofstream(victim) << "precious";
    std::filesystem::create_symlink(victim, file + ".unfinished");
    EXPECT_EQ(run(command::carry_out), "");
    EXPECT_TRUE(std::filesystem::exists(victim));
    EXPECT_EQ(std::filesystem::file_size(victim), 8U);
    EXPECT_FALSE(std::filesystem::is_symlink(file));
}

TEST_F(HouseCommands, ImportOrdinaryFilesAlone)
{
    EXPECT_EQ(run(command::carry_in),
              "The file " + file + " cannot be read: No such file or directory.\n");
    ASSERT_EQ(mkfifo(file.c_str(), 0600), 0); // whoever opened it would wait for ever
    EXPECT_EQ(run(command::carry_in), "The file " + file + " is no ordinary file.\n");
    std::filesystem::remove(file);
    std::filesystem::create_directory(file);
    EXPECT_EQ(run(command::carry_in), "The file " + file + " is no ordinary file.\n");
    std::filesystem::remove(file);
    std::ofstream(file).flush();
    EXPECT_EQ(run(command::carry_in), "The file " + file + " is empty.\n");
}
