#include "server/accounts/sessions.h"
#include "server/desk/stages.h"
#include "server/desk/takes.h"
#include "unit/web/account_requests.h"

using namespace web;
using namespace web_test;
using testing::HasSubstr;
using testing::Not;

namespace {
answer go_wrong(web::server& /*server*/, const call& /*call*/)
{
    throw std::runtime_error("a\nmistake");
}

constexpr route WRONG[] = {
    {method::get, "/wrong/{way}", desk::right::none, "wrong", go_wrong, "token"}};

struct Diagnosis : AccountRequests {
    Diagnosis()
    {
        as("ana");
    }

    std::vector<std::string> operators()
    {
        std::vector<std::string> ids;
        const plain list = json_of(ask(method::get, "/api/v1/operators"))["operators"];
        for (const plain& each : list)
            ids.push_back(each["person"]["id"]);
        return ids;
    }
};
} // namespace

TEST_F(Diagnosis, LogsWhatGoesWrongWithoutSecrets)
{
    request request;
    request.path = {"wrong", "way"};
    request.query = {{"token", "rc_secret"}};
    request.headers = {{"authorization", "Bearer rc_secret"}};
    server.settings.demonstration = true;
    request.headers.clear();
    EXPECT_EQ(handle(server, now, request, WRONG).response.status, 500);
    EXPECT_EQ(
        json_of(ask(method::get, "/api/v1/server/log")),
        (plain{{"forgotten", 0},
               {"lines",
                {{{"time", time_text(now.utc)},
                  {"level", "error"},
                  {"text", "Something went wrong at a request for /wrong/way: a mistake"}}}}}));
}

TEST_F(Diagnosis, KeepsTheLastLinesOfTheLog)
{
    for (std::size_t i = 0; i < LOG_LINES_KEPT + 2; ++i)
        log_line(server.log, now.utc, i % 2 == 0 ? log_level::note : log_level::warning,
                 std::to_string(i) + std::string(LOG_LINE_LENGTH, 'x'));
    const plain all = json_of(ask(method::get, "/api/v1/server/log"));
    EXPECT_EQ(all["forgotten"], 2);
    EXPECT_EQ(all["lines"].size(), LOG_LINES_KEPT);
    EXPECT_EQ(all["lines"][0]["text"], "2" + std::string(LOG_LINE_LENGTH - 1, 'x'));
    const plain some = json_of(ask(method::get, "/api/v1/server/log?level=warning"));
    EXPECT_EQ(some["lines"].size(), LOG_LINES_KEPT / 2);
    EXPECT_EQ(some["lines"][0]["level"], "warning");
    EXPECT_EQ(ask(method::get, "/api/v1/server/log?level=loud").status, 422);
}

TEST_F(Diagnosis, TellsWhoIsHere)
{
    EXPECT_EQ(operators(), (std::vector<std::string>{"ana"}));
    as("ben");
    EXPECT_EQ(operators(), (std::vector<std::string>{"ana", "ben"}));
    wait(std::chrono::seconds(59));
    EXPECT_EQ(operators(), (std::vector<std::string>{"ana", "ben"}));
    wait(std::chrono::seconds(1));
    EXPECT_EQ(operators(), (std::vector<std::string>{"ben"}));
}

TEST_F(Diagnosis, TellsWhatOperatorsDidLastAsFarAsOneMaySee)
{
    add_router("r1");
    add_router("r2");
    const desk::actor ana{"ana", "panel", {desk::right::administer, {}, {}}};
    desk::take_request request;
    request.rows = {{{"r1", 4, 3}, {}}};
    desk::take(server.desk, now, ana, request);
    desk::stage_row(server.desk, now, ana, {"r1", 1, 2});
    desk::stage_row(server.desk, now, ana, {"r2", 1, 2});
    const plain of_ana = json_of(ask(method::get, "/api/v1/operators"))["operators"][0];
    EXPECT_EQ(of_ana,
              (plain{{"person", {{"id", "ana"}, {"name", "Ana K."}}},
                     {"connections", 0},
                     {"screen", ""},
                     {"staged", 2},
                     {"lastAction", {{"time", time_text(now.utc)}, {"text", "SRC 4 to DST 5"}}}}));
    server.accounts.people["ben"].may = {desk::right::view, {{"r1", desk::right::none}}, {}};
    as("ben");
    const plain as_far = json_of(ask(method::get, "/api/v1/operators"))["operators"][0];
    EXPECT_FALSE(as_far.contains("lastAction"));
    EXPECT_EQ(as_far["staged"], 1);
}

TEST_F(Diagnosis, TellsWhatIsOutOfItsLimits)
{
    add_router("r1");
    add_router("r2");
    desk::report_link(server.desk, now, "r2", desk::link_state::down, "connection lost");
    server.journal_health = {"disk full", now.utc, 7, 3, 0, "", 2, 4096};
    const plain told = json_of(ask(method::get, "/api/v1/server"));
    EXPECT_EQ(told["operators"], 1);
    EXPECT_EQ(told["database"],
              plain::parse(R"({"bytes": 4096, "waiting": 7, "failures": 2, "lost": 3})"));
    ASSERT_EQ(told["warnings"].size(), 2U);
    EXPECT_EQ(told["warnings"][0]["severity"], "error");
    EXPECT_THAT(told["warnings"][0]["text"].get<std::string>(), HasSubstr("disk full"));
    EXPECT_EQ(told["warnings"][1]["router"], "r2");
    EXPECT_THAT(told["warnings"][1]["text"].get<std::string>(),
                HasSubstr("ROUTER r2: no connection since "));
    server.accounts.people["ben"].may.exceptions = {{"r2", desk::right::none}};
    as("ben");
    EXPECT_EQ(json_of(ask(method::get, "/api/v1/server"))["warnings"].size(), 1U);
}

TEST_F(Diagnosis, ReportsWithoutSecrets)
{
    add_router("r1");
    log_line(server.log, now.utc, log_level::note, "Listening on 127.0.0.1:8080");
    server.first_code = "4Q2K-9WTX-7HNP-3RVD";
    const response report = ask(method::get, "/api/v1/server/report");
    EXPECT_THAT(header_of(report, "Content-Disposition"),
                testing::MatchesRegex("attachment; filename=\"router-control-[0-9-]{10}.txt\""));
    EXPECT_THAT(report.body, HasSubstr("routers: 1\n  r1 (ROUTER r1): ready since "));
    EXPECT_THAT(report.body, HasSubstr("note: Listening on 127.0.0.1:8080\n"));
    for (const std::string& secret :
         {std::string("hash of"), accounts::text_of(server.accounts.sessions.begin()->first),
          server.first_code})
        EXPECT_THAT(report.body, Not(HasSubstr(secret)));
    as("ben");
    EXPECT_EQ(ask(method::get, "/api/v1/server/report").status, 403);
}
