// The configuration file, read by the real program.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <regex>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "support/process_test.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
class Configuration : public ProcessTest {
  protected:
    // The numbers of the first record, "4 3".
    std::string counts()
    {
        std::smatch found;
        const std::string info = hear("info");
        const std::regex numbers("\ninputs=(.*)\n(?:.*\n)*outputs=(.*)\n");
        if (!std::regex_search(info, found, numbers)) return "";
        return found.str(1) + " " + found.str(2);
    }
};
} // namespace

TEST_F(Configuration, EmptyFileGivesZeroCounts)
{
    start("");
    EXPECT_EQ(counts(), "0 0");
}

TEST_F(Configuration, CountsAreApplied)
{
    start("inputs=4\noutputs = 3\n");
    EXPECT_EQ(counts(), "4 3");
}

TEST_F(Configuration, CommentsBlankLinesAndUnknownNamesAreIgnored)
{
    start("# inputs=8\n\n #inputs=9\ninputs=4\nno equals sign\ncolour=red\n#outputs=2\n");
    EXPECT_EQ(counts(), "4 0");
}

TEST_F(Configuration, FirstOfSeveralNumbersCounts)
{
    start("inputs=8\ninputs=16\noutputs=2abc");
    EXPECT_EQ(counts(), "8 2");
}

TEST_F(Configuration, NegativeCountsGiveTheMost)
{
    start("inputs=-1\noutputs=257\n");
    EXPECT_EQ(counts(), "256 256");
}

TEST_F(Configuration, FileWithCarriageReturnsReachesRouter)
{
    listen_for_client(router);
    start("inputs=4\r\nip address=127.0.0.1\r\nport=" + std::to_string(router.port) + "\r\n");
    EXPECT_TRUE(until([this] { return router.connections == 1; }));
    EXPECT_TRUE(logs("<DBG>Changing number of inputs to 4"));
}

// A process may not read its own memory from its beginning: opened, but every read fails.
TEST_F(Configuration, ReadErrorIsRefused)
{
    ASSERT_TRUE(start_backend(backend, backend_program(), {"--file", "/proc/self/mem"}, error))
        << error;
    EXPECT_EQ(end(), "exited with status 1");
    EXPECT_THAT(backend.diagnostics, ElementsAre("<ERR>Failure to read configuration"));
    EXPECT_THAT(backend.records, IsEmpty());
}

// Permissions do not bind the superuser unless it gives up its right to override them.
TEST_F(Configuration, FileWithoutReadPermissionIsRefused)
{
    const std::string config = directory.file("router.conf", "inputs=4\n");
    ASSERT_EQ(chmod(config.c_str(), 0), 0);
    std::vector<std::string> words = {"--file", config};
    std::string program = backend_program();
    if (geteuid() == 0) {
        words.insert(words.begin(), {"--bounding-set", "-dac_override,-dac_read_search", program});
        program = "/usr/bin/setpriv";
    }
    ASSERT_TRUE(start_backend(backend, program, words, error)) << error;
    EXPECT_EQ(end(), "exited with status 1");
    EXPECT_THAT(backend.diagnostics, ElementsAre("<ERR>Failure to read configuration"));
}

namespace {
// Whether the process waits for a lock that another one holds: "1: -> FLOCK ADVISORY WRITE 77 ...".
bool waits_for_lock(pid_t process)
{
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);)
        if (line.find("-> FLOCK") != std::string::npos &&
            line.find(" " + std::to_string(process) + " ") != std::string::npos)
            return true;
    return false;
}
} // namespace

TEST_F(Configuration, WaitsWhileAnotherProcessHoldsTheLock)
{
    const std::string config = directory.file("router.conf", "inputs=4\n");
    const owned_descriptor file(open(config.c_str(), O_RDWR | O_CLOEXEC));
    ASSERT_EQ(flock(file.number, LOCK_EX), 0);
    ASSERT_TRUE(start_backend(backend, backend_program(), {"--file", config}, error)) << error;
    ASSERT_TRUE(until(
        [this] { return waits_for_lock(backend.child.process) || !backend.records.empty(); }));
    EXPECT_THAT(backend.records, IsEmpty());
    write_all(file.number, "inputs=7\n");
    ASSERT_EQ(flock(file.number, LOCK_UN), 0);
    EXPECT_EQ(counts(), "7 0");
}

TEST_F(Configuration, LockIsReleasedAfterReading)
{
    start("inputs=4\n");
    EXPECT_EQ(counts(), "4 0");
    const owned_descriptor file(open((directory.path / "router.conf").c_str(), O_RDWR | O_CLOEXEC));
    EXPECT_EQ(flock(file.number, LOCK_EX | LOCK_NB), 0);
}

TEST_F(Configuration, LaterChangesOfTheFileAreNotRead)
{
    start("inputs=4\n");
    EXPECT_EQ(counts(), "4 0");
    directory.file("router.conf", "inputs=9\n");
    say("*COMMAND=set\n*TYPE=message\nname=outputs\nvalue=3");
    EXPECT_EQ(counts(), "4 3");
}
