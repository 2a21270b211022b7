#include <gmock/gmock.h>

#include "console/router_file.h"
#include "support/temporary_directory.h"

using namespace console;

using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {
class RouterFile : public testing::Test {
  protected:
    temporary_directory directory;
    std::string path;
    desk::router_settings router;
    std::vector<std::string> warnings; // without the path
    std::string error;

    void read(const std::string& text, const std::string& name = "main.conf")
    {
        path = directory.file(name, text);
        warnings.clear();
        ASSERT_TRUE(read_router_file(path, router, warnings, error)) << error;
        for (std::string& warning : warnings) {
            EXPECT_THAT(warning, StartsWith(path));
            warning.erase(0, path.size());
        }
    }

    // With a good address, so that nothing else is warned of.
    void read_with_address(const std::string& text)
    {
        read("ip address=10.0.0.5\n" + text);
    }
};
} // namespace

TEST_F(RouterFile, HasAllSettings)
{
    read("# main\n\nip address = 10.0.0.5\nport=5000\ninputs = 8\noutputs = 4\n");
    EXPECT_EQ(router, (desk::router_settings{.id = "main",
                                             .name = "main",
                                             .address = "10.0.0.5",
                                             .port = 5000,
                                             .inputs = 8,
                                             .outputs = 4}));
    EXPECT_THAT(warnings, IsEmpty());
}

TEST_F(RouterFile, WarnsOfAByteOrderMarkBeforeTheFirstName)
{
    read("\uFEFFip address=10.0.0.5\n");
    EXPECT_THAT(warnings,
                ElementsAre(", line 1 is ignored: it begins with a byte order mark, which the "
                            "backend takes for a part of the name; save the file without one.",
                            ": there is no \"ip address\", so no connection is attempted."));
    read("\uFEFF# a=b\nip address=10.0.0.5\n");
    EXPECT_THAT(warnings, IsEmpty());
}

TEST_F(RouterFile, MayHaveAnAddressAlone)
{
    read("ip address=10.0.0.5\r\nport=\n");
    EXPECT_EQ(router.address, "10.0.0.5");
    EXPECT_EQ(router.port, 12345);
    EXPECT_EQ(router.inputs, 0);
    EXPECT_THAT(warnings, IsEmpty());
}

TEST_F(RouterFile, GivesTheRouterItsName)
{
    read("ip address=10.0.0.5\n", "Studio 1.backup.conf");
    EXPECT_EQ(router.name, "Studio 1.backup");
    EXPECT_THAT(router.id, MatchesRegex("Studio-1-backup-[0-9a-f]{8}"));
}

TEST(RouterId, IsTheNameWhereItCanBe)
{
    EXPECT_EQ(router_id("studio_2-b"), "studio_2-b");
    EXPECT_EQ(router_id(std::string(64, 'a')), std::string(64, 'a'));
}

TEST(RouterId, TellsNamesApart)
{
    EXPECT_EQ(router_id("stüdio_2-b"), router_id("stüdio_2-b"));
    EXPECT_NE(router_id("東京"), router_id("大阪"));
    EXPECT_NE(router_id("a b"), router_id("a.b"));
    EXPECT_NE(router_id(std::string(64, 'a') + "1"), router_id(std::string(64, 'a') + "2"));
    EXPECT_LE(router_id(std::string(1000, 'a')).size(), desk::ROUTER_ID_LENGTH);
}

TEST_F(RouterFile, AdvisesWhereUpToThreeLettersAreOthers)
{
    read_with_address("pxxx=5000\nxxxx=1\n");
    EXPECT_THAT(warnings,
                ElementsAre(testing::EndsWith("\"pxxx\"; did you mean \"port\"?"),
                            testing::HasSubstr("\"xxxx\"; there are \"ip address\", \"port\"")));
}

TEST_F(RouterFile, WarnsOfMisspeltNames)
{
    read_with_address("prot=5000\nIP adress=10.0.0.6\nPort=1\nout puts=3\ncolour=red\n=3\n");
    EXPECT_THAT(warnings,
                ElementsAre(", line 2 is ignored: there is no setting \"prot\"; did you mean "
                            "\"port\"?",
                            ", line 3 is ignored: there is no setting \"IP adress\"; did you mean "
                            "\"ip address\"?",
                            ", line 4 is ignored: there is no setting \"Port\"; did you mean "
                            "\"port\"?",
                            ", line 5 is ignored: there is no setting \"out puts\"; did you mean "
                            "\"outputs\"?",
                            ", line 6 is ignored: there is no setting \"colour\"; there are \"ip "
                            "address\", \"port\", \"inputs\" and \"outputs\".",
                            ", line 7 is ignored: there is no setting \"\"; there are \"ip "
                            "address\", \"port\", \"inputs\" and \"outputs\"."));
    EXPECT_EQ(router.port, 12345);
}

TEST_F(RouterFile, WarnsOfLinesThatSayNothing)
{
    read_with_address("port  = 5000\nport 5000\n  # comment\n \t\n");
    EXPECT_THAT(
        warnings,
        ElementsAre(", line 2 is ignored: there are two blanks before \"=\", and one is allowed.",
                    ", line 3 is ignored: there is no \"=\" in it.",
                    ", line 4 is ignored: there is no \"=\" in it."));
    EXPECT_EQ(router.port, 12345);
}

TEST_F(RouterFile, WarnsOfAddressesThatAreNone)
{
    const auto no_connection = [](const std::string& value) {
        return ": the ip address \"" + value +
               "\" is no IPv4 address (four numbers with dots), so no connection is attempted.";
    };
    for (const char* const value : {"router.studio", " 10.0.0.5", "10.0.0.256", "10.0.0.5:5000"}) {
        read(std::string("ip address=") + value + "\n");
        EXPECT_THAT(warnings, ElementsAre(no_connection(value)));
        EXPECT_EQ(router.address, "");
    }
    read("port=5000\n");
    EXPECT_THAT(warnings,
                ElementsAre(": there is no \"ip address\", so no connection is attempted."));
}

TEST_F(RouterFile, WarnsOfAddressesThatAreOthersThanTheyLook)
{
    read("ip address=010.0.0.5\n");
    EXPECT_EQ(router.address, "8.0.0.5");
    EXPECT_THAT(warnings, ElementsAre(": the ip address \"010.0.0.5\" is read as 8.0.0.5."));
    read("ip address=10.0.0.5\nip address=10.0.0.6\n");
    EXPECT_EQ(router.address, "10.0.0.5");
    EXPECT_THAT(warnings,
                ElementsAre(": the ip address \"10.0.0.5 10.0.0.6\" is read as 10.0.0.5."));
}

struct odd_number {
    const char* line;
    int port = 12345;
    int outputs = 0;
    const char* warning = nullptr; // none: there is none
};

class RouterFileNumber : public RouterFile, public testing::WithParamInterface<odd_number> {};

TEST_P(RouterFileNumber, IsReadAsTheBackendReadsIt)
{
    const odd_number& expected = GetParam();
    read_with_address(expected.line);
    EXPECT_EQ(router.port, expected.port);
    EXPECT_EQ(router.outputs, expected.outputs);
    if (expected.warning == nullptr)
        EXPECT_THAT(warnings, IsEmpty());
    else
        EXPECT_THAT(warnings, ElementsAre(expected.warning));
}

INSTANTIATE_TEST_SUITE_P(
    Each, RouterFileNumber,
    testing::Values(
        odd_number{.line = "port= 5000", .port = 5000},
        odd_number{.line = "port=5000 # ours",
                   .port = 5000,
                   .warning = ": the port \"5000 # ours\" is read as 5000."},
        odd_number{.line = "port=none", .warning = ": the port \"none\" is read as 12345."},
        odd_number{.line = "port=-1", .warning = ": the port \"-1\" is read as 12345."},
        odd_number{.line = "port=65535", .port = 65535},
        odd_number{
            .line = "port=65537", .port = 1, .warning = ": the port \"65537\" is read as 1."},
        odd_number{.line = "outputs=256", .outputs = 256},
        odd_number{.line = "outputs=257",
                   .outputs = 256,
                   .warning = ": the outputs \"257\" is read as 256."},
        odd_number{.line = "outputs=-1",
                   .outputs = 256,
                   .warning = ": the outputs \"-1\" is read as 256."},
        odd_number{.line = "outputs=0", .outputs = 0},
        odd_number{.line = "outputs=all",
                   .outputs = 0,
                   .warning = ": the outputs \"all\" is no number, so there are as many as the "
                              "router has."},
        odd_number{.line = "outputs=4\noutputs=8",
                   .outputs = 4,
                   .warning = ": the outputs \"4 8\" is read as 4."}));

TEST_F(RouterFile, MustBeReadable)
{
    EXPECT_FALSE(read_router_file("/nowhere/main.conf", router, warnings, error));
    EXPECT_EQ(error, "cannot read /nowhere/main.conf: No such file or directory");
    EXPECT_FALSE(read_router_file("/tmp", router, warnings, error));
    EXPECT_EQ(error, "cannot read /tmp: Is a directory");
}
