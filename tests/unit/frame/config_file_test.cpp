#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <fstream>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

#include "frame/config_file.h"
#include "frame/settings.h"
#include "support/backend_state.h"
#include "support/backend_test.h"
#include "support/temporary_directory.h"

namespace {
class ConfigFile : public testing::Test {
  protected:
    void SetUp() override
    {
        reset_forced_results();
    }

    void TearDown() override
    {
        reset_forced_results();
    }

    void write_file(std::string_view text)
    {
        std::ofstream(path, std::ios::binary) << text;
    }

    // The settings of a file with this text.
    ConfigMap settings_of(std::string_view text)
    {
        write_file(text);
        ConfigMap config;
        EXPECT_EQ(read_config_file(path, config), 0);
        return config;
    }

    temporary_directory directory;
    std::string path = directory.path / "switcher.conf";
};
} // namespace

TEST(RegisteredConfigKeys, AreInputsAndOutputs)
{
    EXPECT_STREQ(registered_config_keys[0], "inputs");
    EXPECT_STREQ(registered_config_keys[1], "outputs");
}

TEST_F(ConfigFile, MayBeEmpty)
{
    EXPECT_EQ(settings_of(""), ConfigMap{});
}

TEST_F(ConfigFile, HoldsNamesAndValues)
{
    EXPECT_EQ(settings_of("inputs=8\nip address=10.0.0.5\n\nport=12345"),
              (ConfigMap{{"inputs", "8"}, {"ip address", "10.0.0.5"}, {"port", "12345"}}));
}

TEST_F(ConfigFile, StripsOneBlankBeforeAndThenOneAfterTheEqualsSign)
{
    EXPECT_EQ(settings_of("a = value\nb =value\nc=value\nd= value\ne  = value\nf =  value\n"),
              (ConfigMap{{"a", "value"},
                         {"b", "value"},
                         {"c", "value"},
                         {"d", " value"},
                         {"e ", "value"},
                         {"f", " value"}}));
}

TEST_F(ConfigFile, KeepsAllOtherWhiteSpace)
{
    EXPECT_EQ(settings_of("  a=v \t\n\tb\t=\tv\n"), (ConfigMap{{"  a", "v \t"}, {"\tb\t", "\tv"}}));
}

TEST_F(ConfigFile, ReadsAnEqualsSignInTheFirstColumnAsAnEmptyName)
{
    EXPECT_EQ(settings_of("= v\n"), (ConfigMap{{"", " v"}}));
    EXPECT_EQ(settings_of(" = v\n"), (ConfigMap{{"", "v"}}));
}

TEST_F(ConfigFile, SplitsALineAtItsFirstEqualsSign)
{
    EXPECT_EQ(settings_of("a=b=c\nd ==\n"), (ConfigMap{{"a", "b=c"}, {"d", "="}}));
}

TEST_F(ConfigFile, MayGiveAnEmptyValue)
{
    EXPECT_EQ(settings_of("a=\nb =\nc = \nd="),
              (ConfigMap{{"a", ""}, {"b", ""}, {"c", ""}, {"d", ""}}));
}

TEST_F(ConfigFile, SkipsCommentsBlankLinesAndLinesWithoutEqualsSign)
{
    EXPECT_EQ(settings_of("# inputs=8\n#\n\nword\n \n#a=1\n"), ConfigMap{});
}

TEST_F(ConfigFile, HasCommentsInTheFirstColumnOnly)
{
    EXPECT_EQ(settings_of(" # inputs=8\na=1 # b\n"),
              (ConfigMap{{" # inputs", "8"}, {"a", "1 # b"}}));
}

TEST_F(ConfigFile, KeepsACarriageReturnInTheValue)
{
    EXPECT_EQ(settings_of("inputs=8\r\nport = 1\r\n\r\nx\r\n"),
              (ConfigMap{{"inputs", "8\r"}, {"port", "1\r"}}));
}

TEST_F(ConfigFile, SeesALineUpToItsNul)
{
    using namespace std::string_view_literals;
    EXPECT_EQ(settings_of("a=1\0002\nb\0=3\n\0c=4\nd=5\n"sv), (ConfigMap{{"a", "1"}, {"d", "5"}}));
    EXPECT_EQ(settings_of("a =\0 1\n"sv), (ConfigMap{{"a", ""}}));
}

TEST_F(ConfigFile, JoinsTheValuesOfOneName)
{
    EXPECT_EQ(settings_of("inputs=8\nx=1\ninputs=16\n"),
              (ConfigMap{{"inputs", "8\n16"}, {"x", "1"}}));
    EXPECT_EQ(settings_of("a=1\na=\na=2\n"), (ConfigMap{{"a", "1\n\n2"}}));
    EXPECT_EQ(settings_of("a=1\na=\n"), (ConfigMap{{"a", "1\n"}}));
    EXPECT_EQ(settings_of("a=\na=1\n"), (ConfigMap{{"a", "1"}}));
}

TEST_F(ConfigFile, AddsToTheMapGiven)
{
    write_file("inputs=8\nx=2\n");
    ConfigMap config = {{"inputs", ""}, {"outputs", ""}, {"x", "1"}};
    EXPECT_EQ(read_config_file(path, config), 0);
    EXPECT_EQ(config, (ConfigMap{{"inputs", "8"}, {"outputs", ""}, {"x", "1\n2"}}));
}

TEST_F(ConfigFile, CutsALineAfter4095Characters)
{
    const std::string value(4093, 'v'); // with "a=", just as much as is read at once
    EXPECT_TRUE(settings_of("a=" + value + "b=1\n") == (ConfigMap{{"a", value}, {"b", "1"}}));
    EXPECT_TRUE(settings_of("a=" + value + "\nb=1\n") == (ConfigMap{{"a", value}, {"b", "1"}}));
    EXPECT_TRUE(settings_of("a=" + value + "#b=1\nc=2\n") == (ConfigMap{{"a", value}, {"c", "2"}}));
    EXPECT_TRUE(settings_of("a" + value + "b=1\n") == (ConfigMap{{"", "1"}}));
}

TEST_F(ConfigFile, FailsWhenItCannotBeOpened)
{
    ConfigMap config;
    EXPECT_EQ(read_config_file(path, config), -1);
    EXPECT_EQ(read_config_file("", config), -1);
    EXPECT_EQ(config, ConfigMap{});
}

TEST_F(ConfigFile, FailsWhenItIsADirectory)
{
    ConfigMap config;
    EXPECT_EQ(read_config_file(directory.path, config), -1);
    EXPECT_EQ(config, ConfigMap{});
}

namespace {
int lowest_free_descriptor()
{
    const int descriptor = dup(STDIN_FILENO);
    close(descriptor);
    return descriptor;
}
} // namespace

TEST_F(ConfigFile, FailsWhenItCannotBeLocked)
{
    write_file("a=1\n");
    const int free_before = lowest_free_descriptor();
    force_result(SystemCall::Flock, ANY_DESCRIPTOR, -1, ENOLCK);
    ConfigMap config;
    EXPECT_EQ(read_config_file(path, config), -1);
    EXPECT_EQ(config, ConfigMap{});
    EXPECT_EQ(lowest_free_descriptor(), free_before);
}

TEST_F(ConfigFile, IsClosedAndUnlockedAfterReading)
{
    write_file("a=1\n");
    const int other = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const int free_before = lowest_free_descriptor();
    ConfigMap config;
    EXPECT_EQ(read_config_file(path, config), 0);
    EXPECT_EQ(read_config_file(directory.path, config), -1);
    EXPECT_EQ(lowest_free_descriptor(), free_before);
    EXPECT_EQ(flock(other, LOCK_EX | LOCK_NB), 0);
    close(other);
}

namespace {
// Whether any process waits for a lock, by the kernel's list of locks.
bool somebody_waits_for(const struct stat& file)
{
    const std::string waiting = "-> FLOCK  ADVISORY  WRITE";
    const std::string inode = ":" + std::to_string(file.st_ino) + " ";
    std::ifstream locks("/proc/locks");
    for (std::string line; std::getline(locks, line);)
        if (line.find(waiting) != std::string::npos && line.find(inode) != std::string::npos)
            return true;
    return false;
}
} // namespace

// The other holder shares its lock, so only an exclusive one has to wait for it.
TEST_F(ConfigFile, IsReadOnceNobodyElseHoldsALock)
{
    write_file("a=1\n");
    const int other = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    ASSERT_EQ(flock(other, LOCK_SH), 0);
    struct stat status {};
    ASSERT_EQ(fstat(other, &status), 0);
    ConfigMap config;
    std::atomic<bool> finished = false;
    std::thread reader([&] {
        read_config_file(path, config);
        finished = true;
    });
    while (!finished && !somebody_waits_for(status))
        std::this_thread::yield();
    EXPECT_FALSE(finished);
    write_file("a=2\n");
    close(other);
    reader.join();
    EXPECT_EQ(config, (ConfigMap{{"a", "2"}}));
}

namespace {
void do_nothing(int)
{
}
} // namespace

// A pipe in the file's place, whose reading a signal interrupts once its one line has been taken.
TEST_F(ConfigFile, FailsWhenReadingFailsAfterSomeLines)
{
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    const int writer = open(path.c_str(), O_RDWR | O_CLOEXEC);
    ASSERT_EQ(write(writer, "a=1\n", 4), 4);
    struct sigaction interrupting {};
    struct sigaction previous {};
    interrupting.sa_handler = do_nothing; // without SA_RESTART
    sigaction(SIGUSR1, &interrupting, &previous);
    ConfigMap config;
    int result = 0;
    std::atomic<bool> finished = false;
    std::thread reader([&] {
        result = read_config_file(path, config);
        finished = true;
    });
    while (!finished) {
        int unread = 0;
        ioctl(writer, FIONREAD, &unread);
        if (unread == 0) pthread_kill(reader.native_handle(), SIGUSR1);
        std::this_thread::yield();
    }
    reader.join();
    sigaction(SIGUSR1, &previous, nullptr);
    close(writer);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(config, (ConfigMap{{"a", "1"}}));
}

TEST_F(ConfigFile, GivesTheSettingsOfEveryLineKind)
{
    reset_backend_state();
    for (const auto& [name, value] :
         settings_of("inputs = 12\r\noutputs=16\noutputs=8\nip address = 10.0.0.5\nport=70000\n"))
        apply_setting(name, value);
    EXPECT_EQ(configured_inputs, 12);
    EXPECT_EQ(configured_outputs, 16);
    EXPECT_EQ(router_ip_address, "10.0.0.5");
    EXPECT_EQ(router_port, 70'000);
}

TEST(MetadataDirectory, StandsBesideTheFile)
{
    EXPECT_EQ(metadata_directory("/etc/router/switcher.conf"),
              "/etc/router/.vorlixmeta.switcher.conf");
    EXPECT_EQ(metadata_directory("a/b"), "a/.vorlixmeta.b");
    EXPECT_EQ(metadata_directory("/b"), "/.vorlixmeta.b");
    EXPECT_EQ(metadata_directory("//b"), "//.vorlixmeta.b");
}

TEST(MetadataDirectory, HasNoFolderWhenThePathHasNone)
{
    EXPECT_EQ(metadata_directory("switcher.conf"), ".vorlixmeta.switcher.conf");
}

TEST(MetadataDirectory, IsEmptyWithoutAFileName)
{
    EXPECT_EQ(metadata_directory(""), "");
    EXPECT_EQ(metadata_directory("/"), "");
    EXPECT_EQ(metadata_directory("/etc/router/"), "");
}
