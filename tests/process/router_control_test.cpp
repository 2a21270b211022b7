// The control server as a program: its start, its end, its data folder.
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>

#include "support/control_process.h"

using testing::HasSubstr;
using testing::Not;

namespace {
class RouterControl : public ControlProcess {
  protected:
    std::string program = built_program("router_control");

    // With the router r1 of this name, and anna.
    std::string exported(const std::string& file, const std::string& name)
    {
        return directory.file(file, R"({"format": "router control export", "version": 1, "house": {
            "format": "router console house", "version": 1, "salvos": {}, "batches": {}, "undo": {},
            "routers": {"r1": {"settings": {"name": ")" +
                                        name + R"(", "address": "10.0.0.1",
                "port": 12345, "inputs": 0, "outputs": 0, "firstNumber": 1,
                "confirmationLimit": 3000}, "sourceLabels": [], "destinationLabels": [
                {"index": 3, "alias": "MON 4", "group": ""}], "locks": [], "authors": []}}},
            "people": {"anna": {"name": "Anna", "created": 0, "rights": {"usual": "operate",
                "exceptions": {}}}}})");
    }

    int carry(const std::string& folder, const std::string& command, const std::string& file)
    {
        return run({program, "--data", folder, command, file});
    }
};
} // namespace

TEST_F(RouterControl, DemonstratesItself)
{
    start({"--demo"});
    ASSERT_NE(address, "") << printed;
    EXPECT_THAT(ask("/version"), HasSubstr("\"demonstration\":true"));
    EXPECT_THAT(ask("/"), HasSubstr("<title>Router control</title>"));
    EXPECT_EQ(end(SIGTERM), 0);
    EXPECT_THAT(printed, HasSubstr("This is a demonstration"));
}

TEST_F(RouterControl, ServesADataFolderThatOneProcessUses)
{
    start_on_data();
    ASSERT_NE(address, "") << printed;
    EXPECT_EQ(ask("/ready"), R"({"status":"ready"})");
    EXPECT_EQ(run({program, "--data", data, "--port", "0"}), 1);
    EXPECT_EQ(output, "The folder " + data + " is used by another process.\n");
    EXPECT_EQ(run({program, "--data", data, "check"}), 0);
    EXPECT_EQ(run({program, "--data", data, "backup", data + ".copy"}), 0);
    EXPECT_TRUE(std::filesystem::exists(data + ".copy"));
    EXPECT_EQ(run({program, "--data", data, "backup", data + ".copy"}), 2);
    EXPECT_EQ(end(SIGINT), 0);
    start_on_data();
    EXPECT_NE(address, "");
    EXPECT_EQ(end(SIGTERM), 0);
}

TEST_F(RouterControl, CarriesWhatHoldsFromFolderToFolder)
{
    const std::string file = exported("given.json", "Studio A");
    ASSERT_EQ(carry(data, "import", file), 0) << output;
    EXPECT_EQ(output,
              "Added to " + data +
                  ": routers 1, salvos 0, people 1; the same already: 0.\n"
                  "Passwords are not carried: an administrator sets those of the people.\n");
    ASSERT_EQ(carry(data, "export", data + ".json"), 0) << output;
    EXPECT_EQ(output, "Written to " + data + ".json: routers 1, salvos 0, people 1.\n");
    EXPECT_EQ(carry(data, "export", data + ".json"), 2);
    EXPECT_EQ(output, "The file " + data + ".json is there already.\n");
    ASSERT_EQ(carry(data + "2", "import", data + ".json"), 0) << output;
    ASSERT_EQ(carry(data + "2", "export", data + "2.json"), 0) << output;
    EXPECT_EQ(run({"cmp", data + ".json", data + "2.json"}), 0) << output;
    EXPECT_EQ(run({"grep", "-c", "MON 4", data + "2.json"}), 0);
}

TEST_F(RouterControl, AddsNothingOfWhatDoesNotFit)
{
    ASSERT_EQ(carry(data, "import", exported("given.json", "Studio A")), 0) << output;
    EXPECT_EQ(carry(data, "import", exported("other.json", "Studio B")), 2);
    EXPECT_EQ(output, "There is another router r1 already.\nNothing was added.\n");
    const std::string broken = directory.file("broken.json", "{\n\"format\": }");
    EXPECT_EQ(carry(data, "import", broken), 2);
    EXPECT_EQ(output, broken + ": line 2, column 11: this is no JSON. Nothing was added.\n");
    EXPECT_EQ(carry(data, "import", data + ".none"), 2);
    EXPECT_THAT(output, HasSubstr("cannot be read: No such file or directory."));
    EXPECT_EQ(carry(data + ".none", "export", data + ".json"), 2);
    EXPECT_EQ(output, "There is no journal.db in " + data + ".none.\n");
    EXPECT_FALSE(std::filesystem::exists(data + ".none"));
}

TEST_F(RouterControl, CarriesNothingWhileAServerRuns)
{
    start_on_data();
    ASSERT_NE(address, "") << printed;
    const std::string used = "The folder " + data + " is used by another process.\n";
    EXPECT_EQ(carry(data, "import", exported("given.json", "Studio A")), 2);
    EXPECT_EQ(output, used);
    EXPECT_EQ(carry(data, "export", data + ".json"), 2);
    EXPECT_EQ(output, used);
    EXPECT_FALSE(std::filesystem::exists(data + ".json"));
    EXPECT_EQ(end(SIGTERM), 0);
}

TEST_F(RouterControl, GivesAFirstAnswerAgainAfterARestart)
{
    const std::string jar = data + ".cookies";
    const auto post = [&](const std::string& path, const std::string& body) {
        return ask(path, {"--include", "--cookie", jar, "--cookie-jar", jar, "--header",
                          "Origin: " + address, "--header", "Content-Type: application/json",
                          "--header", "Idempotency-Key: k1", "--data", body});
    };
    const std::string router = R"({"id": "r1", "name": "Studio A", "address": "127.0.0.1"})";
    start_on_data();
    ASSERT_NE(address, "") << printed;
    const std::size_t code = printed.find("first#") + std::string("first#").size();
    EXPECT_THAT(
        post("/api/v1/first-administrator",
             R"({"id": "ana", "name": "Ana", "password": "correct horse battery", "code": ")" +
                 printed.substr(code, printed.find('\n', code) - code) + "\"}"),
        HasSubstr("200 OK"));
    EXPECT_THAT(post("/api/v1/routers", router), HasSubstr("201 Created"));
    EXPECT_EQ(end(SIGTERM), 0);
    start_on_data();
    ASSERT_NE(address, "") << printed;
    const std::string again = post("/api/v1/routers", router);
    EXPECT_THAT(again, HasSubstr("201 Created"));
    EXPECT_THAT(again, HasSubstr("Idempotency-Replayed: true"));
    EXPECT_THAT(post("/api/v1/routers", R"({"id": "r2", "name": "Studio B"})"),
                HasSubstr("idempotencyKeyReused"));
    EXPECT_EQ(end(SIGTERM), 0);
}

TEST_F(RouterControl, SaysWhyItCannotStart)
{
    start_on_data();
    ASSERT_NE(address, "") << printed;
    const std::string port = address.substr(address.rfind(':') + 1);
    EXPECT_EQ(run({program, "--data", data + "2", "--port", port}), 1);
    EXPECT_THAT(output, HasSubstr(port));
    EXPECT_EQ(run({program, "--data", "/proc/none"}), 1);
    EXPECT_THAT(output, HasSubstr("Cannot write to the folder /proc/none"));
    const std::string config = directory.file("config.toml", "[listen]\nprot = 1\n");
    EXPECT_EQ(run({program, "--data", data + "2", "--config", config}), 1);
    EXPECT_THAT(output, HasSubstr(config + ":2: there is no setting prot in listen\n"));
    EXPECT_EQ(end(SIGTERM), 0);
}

TEST_F(RouterControl, IsTheirsAloneWhoOwnItsFolder)
{
    start_on_data();
    ASSERT_NE(address, "");
    for (const auto& each : std::filesystem::recursive_directory_iterator(data))
        EXPECT_EQ(each.status().permissions() &
                      (std::filesystem::perms::group_all | std::filesystem::perms::others_all),
                  std::filesystem::perms::none)
            << each.path();
    EXPECT_EQ(end(SIGTERM), 0);
}

TEST_F(RouterControl, AsksWhereItIsNotDemonstrated)
{
    start_on_data();
    ASSERT_NE(address, "");
    EXPECT_THAT(ask("/api/v1/routers"), HasSubstr("notSignedIn"));
    EXPECT_THAT(ask("/health", {"--header", "Host: evil.example"}), HasSubstr("foreignOrigin"));
    EXPECT_EQ(end(SIGTERM), 0);
}

TEST_F(RouterControl, TellsMetricsWithoutSigningInOnAListenerOfTheirOwn)
{
    start({"--data", data, "--config", directory.file("config.toml", "[metrics]\nport = 0\n")});
    ASSERT_NE(address, "") << printed;
    EXPECT_THAT(ask("/metrics"), HasSubstr("notSignedIn"));
    const std::string is_at = "Metrics are at ";
    const std::size_t begin = printed.find(is_at) + is_at.size();
    const std::string metrics = printed.substr(begin, printed.find('\n', begin) - begin);
    EXPECT_EQ(run({"curl", "--silent", metrics}), 0);
    EXPECT_THAT(output, HasSubstr("# TYPE http_requests_total counter"));
    EXPECT_EQ(run({"curl", "--silent", metrics.substr(0, metrics.rfind('/')) + "/health"}), 0);
    EXPECT_THAT(output, HasSubstr("notFound"));
    EXPECT_EQ(run({"curl", "--silent", "--header", "Host: evil.example", metrics}), 0);
    EXPECT_THAT(output, HasSubstr("foreignOrigin"));
    EXPECT_EQ(end(SIGTERM), 0);
}
