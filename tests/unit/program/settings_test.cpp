#include <fstream>
#include <gmock/gmock.h>

#include "server/program/settings.h"

using namespace program;
using testing::ElementsAre;

namespace {
struct Settings : testing::Test {
    std::string path = testing::TempDir() + "router_control_" +
                       testing::UnitTest::GetInstance()->current_test_info()->name() + ".toml";
    settings read;
    std::string error;

    bool read_text(const std::string& text)
    {
        std::ofstream(path) << text;
        read = {};
        return read_settings(path, read, error);
    }

    // What is said of it, behind the file's name.
    std::string complaint(const std::string& text)
    {
        EXPECT_FALSE(read_text(text)) << text;
        EXPECT_TRUE(error.starts_with(path + ":")) << error;
        return error.substr(path.size() + 1);
    }
};
} // namespace

TEST_F(Settings, HaveTheirUsualValues)
{
    ASSERT_TRUE(read_text(""));
    EXPECT_EQ(read.listen.address, "127.0.0.1");
    EXPECT_EQ(read.listen.port, 8080);
    EXPECT_FALSE(read.metrics);
    EXPECT_FALSE(read.simple_form);
    EXPECT_EQ(read.history.age, std::chrono::days(400));
}

TEST_F(Settings, AreRead)
{
    ASSERT_TRUE(read_text("[listen]\naddress = \"::\"\nport = 443\nnames = [\"a.example\"]\n"
                          "[tls]\ncertificate = \"c.pem\"\nkey = \"k.pem\"\n"
                          "[metrics]\nport = 9000\n"
                          "[simple_form]\nenabled = true\n"
                          "[history]\ndays = 30\nrows = 1000000\n"))
        << error;
    EXPECT_EQ(read.listen.address, "::");
    EXPECT_EQ(read.listen.port, 443);
    EXPECT_THAT(read.names, ElementsAre("a.example"));
    EXPECT_EQ(read.certificate, "c.pem");
    EXPECT_EQ(read.key, "k.pem");
    EXPECT_EQ(read.metrics->address, "127.0.0.1");
    EXPECT_EQ(read.metrics->port, 9000);
    EXPECT_TRUE(read.simple_form);
    EXPECT_EQ(read.history.age, std::chrono::days(30));
    EXPECT_EQ(read.history.rows, 1'000'000);
}

TEST_F(Settings, AreRefusedWithTheirLine)
{
    EXPECT_EQ(complaint("[listen]\nprot = 80\n"), "2: there is no setting prot in listen");
    EXPECT_EQ(complaint("\n[lisen]\n"), "2: there is no table lisen");
    EXPECT_EQ(complaint("port = 80\n"), "1: there is no setting port outside of a table");
    EXPECT_EQ(complaint("[listen]\nport = 65536\n"),
              "2: port must be a whole number from 0 to 65535");
    EXPECT_EQ(complaint("[listen]\nport = \"80\"\n"),
              "2: port must be a whole number from 0 to 65535");
    EXPECT_EQ(complaint("[listen]\naddress = \"here\"\n"),
              "2: address must be an IPv4 or IPv6 address");
    EXPECT_EQ(complaint("[listen]\nnames = \"a\"\n"), "2: names must be a list of texts");
    EXPECT_EQ(complaint("[simple_form]\nenabled = 1\n"), "2: enabled must be true or false");
    EXPECT_EQ(complaint("[history]\ndays = 1\n"), "2: days must be a whole number from 2 to 36500");
    EXPECT_EQ(complaint("[listen]\nport = \n").substr(0, 2), "2:");
    EXPECT_FALSE(read_settings(path + ".none", read, error));
    EXPECT_EQ(error, path + ".none cannot be read: there is no such file");
}

TEST_F(Settings, DoNotOpenTheServerToStrangers)
{
    EXPECT_EQ(complaint("[listen]\naddress = \"0.0.0.0\"\n").substr(0, 32),
              " listening on 0.0.0.0 needs TLS ");
    EXPECT_EQ(complaint("[listen]\naddress = \"::\"\n").substr(0, 27),
              " listening on :: needs TLS ");
    EXPECT_TRUE(read_text("[listen]\naddress = \"0.0.0.0\"\nprotected_in_front = true\n"));
    EXPECT_TRUE(read_text("[listen]\naddress = \"127.0.0.2\"\n"));
    EXPECT_TRUE(read_text("[listen]\naddress = \"::1\"\n"));
    EXPECT_EQ(complaint("[tls]\nkey = \"k.pem\"\n"), " TLS needs both a certificate and its key");
}
