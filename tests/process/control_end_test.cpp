// The orderly end of the control server while somebody waits for an answer.
#include <csignal>
#include <gmock/gmock.h>

#include "support/control_house.h"

using nlohmann::json;
using testing::HasSubstr;

namespace {
class ControlEnd : public ControlHouse {
  protected:
    child_process client;
    common::child_pipes its;

    // Of r1's fifth destination, waiting long for its outcome. Its answer comes with its status on
    // the next line.
    void begin_waiting_take()
    {
        std::string error;
        ASSERT_TRUE(common::start_on_pipes(
            client, its,
            {"curl", "--silent", "--show-error", "--request", "PUT", "--header",
             "Authorization: Bearer " + token, "--header", "Content-Type: application/json",
             "--data", R"({"source": 20})", "--write-out", "\n%{http_code}",
             address + "/api/v1/routers/r1/destinations/5/route?wait=60000"},
            common::error_output::inherited, error))
            << error;
        until("it waits",
              [this] { return get("/api/v1/routers/r1/destinations/5/route").contains("wish"); });
    }
};
} // namespace

TEST_F(ControlEnd, AnswersWhoeverWaits)
{
    ASSERT_NO_FATAL_FAILURE(set_up());
    ASSERT_NO_FATAL_FAILURE(add_router("r1"));
    kill(simulators.at("r1").child.process, SIGSTOP); // it confirms nothing
    ASSERT_NO_FATAL_FAILURE(begin_waiting_take());
    EXPECT_EQ(end(SIGTERM), 0);
    std::string answer;
    common::read_to_end(its.output.number, answer);
    EXPECT_EQ(common::status_at_end(client), 0);
    const std::size_t line = answer.rfind('\n');
    EXPECT_EQ(answer.substr(line + 1), "202");
    const json operation = json::parse(answer.substr(0, line), nullptr, false);
    ASSERT_TRUE(operation.contains("rows")) << answer;
    EXPECT_EQ(operation["rows"][0].value("source", -1), 20) << answer;
    EXPECT_EQ(operation["rows"][0].value("state", ""), "sent") << answer;
}
