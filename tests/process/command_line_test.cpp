// What the real program says of its command line and of the path there, and its status.
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "support/process_test.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
class CommandLine : public ProcessTest {
  protected:
    // Starts the backend with these arguments, waits for its end and returns how it ended.
    std::string run(const std::vector<std::string>& arguments)
    {
        EXPECT_TRUE(start_backend(backend, backend_program(), arguments, error)) << error;
        end_input(backend);
        return end();
    }

    // The path is refused as one that is no file.
    void expect_refused(const std::string& path)
    {
        EXPECT_EQ(run({"--file", path}), "exited with status 1");
        EXPECT_THAT(backend.diagnostics,
                    ElementsAre("File path '" + path +
                                "' is not valid. Must exist and it must be a file."));
        EXPECT_THAT(backend.records, IsEmpty());
    }
};
} // namespace

TEST_F(CommandLine, HelpIsAnErrorAndNamesTheProgram)
{
    EXPECT_EQ(run({"--help"}), "exited with status 1");
    EXPECT_THAT(backend.diagnostics,
                ElementsAre("Grass Valley routing switcher backend process.",
                            built_program("routing_switcher_backend") + ": [options]",
                            " --file <path>"));
    EXPECT_THAT(backend.records, IsEmpty());
}

TEST_F(CommandLine, MistakeIsShownAndEndsTheProgram)
{
    EXPECT_EQ(run({"-x"}), "exited with status 1");
    EXPECT_THAT(backend.diagnostics, ElementsAre("Unknown switch 'x'"));
    EXPECT_THAT(backend.records, IsEmpty());
}

TEST_F(CommandLine, RefusesDirectory)
{
    expect_refused(directory.path.string());
}

TEST_F(CommandLine, RefusesDevice)
{
    expect_refused("/dev/null");
}

TEST_F(CommandLine, RefusesNamedPipe)
{
    const std::string path = directory.path / "pipe";
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    expect_refused(path);
}

TEST_F(CommandLine, RefusesMissingFile)
{
    expect_refused(directory.path / "nothing.conf");
}

TEST_F(CommandLine, RefusesSymbolicLinkToFile)
{
    const std::string config = directory.file("a.conf", "inputs=4\n");
    const std::string path = directory.path / "link.conf";
    std::filesystem::create_symlink(config, path);
    expect_refused(path);
}

// The system finds that such a path cannot name a file before the metadata directory is looked at.
TEST_F(CommandLine, RefusesFileWithSlashBehindItsName)
{
    expect_refused(directory.file("a.conf", "inputs=4\n") + "/");
}

TEST_F(CommandLine, AcceptsHardLinkAndRelativePath)
{
    const std::string config = directory.file("a.conf", "inputs=4\n");
    std::filesystem::create_hard_link(config, directory.path / "link.conf");
    EXPECT_EQ(run({"--file", std::filesystem::relative(directory.path / "link.conf")}),
              "exited with status 0");
    EXPECT_THAT(backend.diagnostics, ElementsAre("<DBG>Changing number of inputs to 4"));
}
