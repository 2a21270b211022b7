#include <cerrno>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "frame/config_file.h"
#include "server/routers/configuration.h"
#include "support/forced_results.h"
#include "support/temporary_directory.h"

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

namespace {
desk::router_settings settings(const std::string& address, int port = 12345,
                               int inputs = desk::ROUTED_POSITIONS,
                               int outputs = desk::ROUTED_POSITIONS)
{
    desk::router_settings made;
    made.address = address;
    made.port = port;
    made.inputs = inputs;
    made.outputs = outputs;
    return made;
}

class Configuration : public testing::Test {
  protected:
    void SetUp() override
    {
        reset_forced_results();
    }

    // As the backend reads it.
    ConfigMap written(const desk::router_settings& wished)
    {
        std::string error;
        EXPECT_TRUE(routers::write_configuration(path, wished, error)) << error;
        ConfigMap config;
        EXPECT_EQ(read_config_file(path, config), 0);
        return config;
    }

    int files() const
    {
        return static_cast<int>(std::distance(std::filesystem::directory_iterator(folder.path),
                                              std::filesystem::directory_iterator()));
    }

    const temporary_directory folder;
    const std::string path = folder.path / "main.conf";
};
} // namespace

TEST_F(Configuration, IsReadByTheBackendAsItIsMeant)
{
    EXPECT_THAT(written(settings("10.0.0.5", 4711, 16, 8)),
                UnorderedElementsAre(Pair("ip address", "10.0.0.5"), Pair("port", "4711"),
                                     Pair("inputs", "16"), Pair("outputs", "8")));
}

TEST_F(Configuration, LeavesTheCountsToTheRouterWhenNoneAreSet)
{
    EXPECT_THAT(written(settings("")),
                UnorderedElementsAre(Pair("ip address", ""), Pair("port", "12345"),
                                     Pair("inputs", "0"), Pair("outputs", "0")));
}

TEST_F(Configuration, TakesNoSettingOutOfAnAddress)
{
    const ConfigMap config = written(settings("10.0.0.5\nport=1\ninputs=3"));
    EXPECT_EQ(config.at("port"), "12345");
    EXPECT_EQ(config.at("ip address"), "10.0.0.5 port=1 inputs=3");
}

TEST_F(Configuration, ReplacesAnOldOneAndLeavesNothingBeside)
{
    std::ofstream(path) << "a much longer text\n";
    std::filesystem::permissions(path, std::filesystem::perms::all);
    EXPECT_EQ(written(settings("10.0.0.6")).size(), 4U);
    EXPECT_EQ(files(), 1);
    struct stat status {};
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(Configuration, KeepsTheOldOneWhenTheDiskIsFull)
{
    std::ofstream(path) << "old\n";
    force_result(SystemCall::Write, ANY_DESCRIPTOR, -1, ENOSPC);
    std::string error;
    EXPECT_FALSE(routers::write_configuration(path, {}, error));
    EXPECT_EQ(error, "Cannot write " + path + ": No space left on device");
    std::string text;
    std::ifstream file(path);
    std::getline(file, text);
    EXPECT_EQ(text, "old");
    EXPECT_EQ(files(), 1);
}

TEST_F(Configuration, NeedsNoDiskForWhatIsThere)
{
    written(settings("10.0.0.5"));
    force_result(SystemCall::Write, ANY_DESCRIPTOR, -1, ENOSPC);
    EXPECT_EQ(written(settings("10.0.0.5")).at("ip address"), "10.0.0.5");
}

TEST_F(Configuration, SaysThatThereIsNoFolder)
{
    std::string error;
    EXPECT_FALSE(routers::write_configuration(folder.path / "none/main.conf", {}, error));
    EXPECT_THAT(error, HasSubstr("No such file or directory"));
}
