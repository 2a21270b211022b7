#include <fstream>
#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <regex>
#include <sstream>

#include "server/desk/words.h"
#include "server/web/problem.h"

using namespace web;

namespace {
std::string description()
{
    std::ostringstream text;
    text << std::ifstream(PROJECT_DIRECTORY "/docs/openapi.yaml").rdbuf();
    return text.str();
}

std::vector<std::smatch> matches(const std::string& text, const std::string& pattern)
{
    const std::regex expression(pattern);
    return {std::sregex_iterator(text.begin(), text.end(), expression), {}};
}
} // namespace

TEST(Problem, IsAsTheDescriptionOfTheApiHasIt)
{
    const std::string text = description();
    const auto examples =
        matches(text, "type: (/problems/[^,]+), title: ([^,]+), status: (\\d+), code: (\\w+)");
    EXPECT_GT(examples.size(), 40U);
    for (const std::smatch& example : examples) {
        const std::string code = example[4];
        // Of what the body names; of the old password, at a change.
        const bool other = (example[3] == "422" && code.starts_with("noSuch")) ||
                           (example[3] == "403" && code == "wrongPassword");
        const auto body =
            nlohmann::json::parse(problem_response({.code = code, .detail = ""}).body);
        EXPECT_EQ(body["type"], example[1]) << code;
        EXPECT_EQ(body["title"], example[2]) << code;
        EXPECT_TRUE(other || std::to_string(status_of(code)) == example[3]) << code;
    }
}

TEST(Problem, HasAKindForEachCodeOfTheApi)
{
    const std::string text = description();
    const auto lists = matches(text, "    ProblemCode:\n[^\\[]*\\[([^\\]]*)\\]");
    ASSERT_EQ(lists.size(), 1U);
    const std::string list = lists[0][1];
    const auto codes = matches(list, "\\w+");
    EXPECT_GT(codes.size(), 50U);
    for (const std::smatch& code : codes)
        EXPECT_TRUE(code[0] == "internalError" || status_of(code[0].str()) != 500) << code[0];
}

TEST(Problem, SaysWhatIsWrong)
{
    problem locked;
    locked.code = "destinationLocked";
    locked.detail = "MON A is locked by Anna.";
    locked.router = "r1";
    locked.destination = 0;
    locked.locked_by = "anna";
    locked.locked_by_name = "Anna";
    locked.operation = "01JD";
    const response answer = problem_response(locked);
    EXPECT_EQ(answer.status, 409);
    EXPECT_EQ(answer.type, "application/problem+json");
    EXPECT_EQ(answer.body,
              R"({"type":"/problems/destination-locked","title":"Locked","status":409,)"
              R"("code":"destinationLocked","detail":"MON A is locked by Anna.","router":"r1",)"
              R"("destination":0,"lockedBy":{"id":"anna","name":"Anna"},"operation":"01JD"})");
}

TEST(Problem, SaysNoMoreThanThat)
{
    const response answer = problem_response({.code = "notFound", .detail = "Nothing here."});
    EXPECT_EQ(answer.body, R"({"type":"/problems/not-found","title":"No such address",)"
                           R"("status":404,"code":"notFound","detail":"Nothing here."})");
}

TEST(Problem, MayHaveAnotherStatus)
{
    EXPECT_EQ(problem_response({.code = "noSuchSource", .detail = ""}).status, 404);
    const response answer = problem_response({.code = "noSuchSource", .detail = "", .status = 422});
    EXPECT_EQ(answer.status, 422);
    EXPECT_EQ(nlohmann::json::parse(answer.body)["status"], 422);
}

TEST(Problem, TellsOfABoundedNumberOfValues)
{
    problem bad{.code = "badValue", .detail = "Some rows cannot be."};
    for (std::size_t i = 0; i <= ERRORS_TOLD; ++i)
        bad.errors.push_back({"/rows/" + std::to_string(i), "noSuchSource", "No source 99."});
    const auto body = nlohmann::json::parse(problem_response(bad).body);
    ASSERT_EQ(body["errors"].size(), ERRORS_TOLD);
    const nlohmann::json last = {
        {"pointer", "/rows/99"}, {"code", "noSuchSource"}, {"detail", "No source 99."}};
    EXPECT_EQ(body["errors"].back(), last);
}

TEST(Problem, HasAKindForEachReasonOfTheDesk)
{
    for (int number = static_cast<int>(desk::reason::none) + 1;; ++number) {
        const std::string code = desk::code_of(static_cast<desk::reason>(number));
        if (code.empty()) break;
        EXPECT_NE(status_of(code), 500) << code;
    }
    EXPECT_EQ(status_of("whatever"), 500);
    EXPECT_EQ(status_of("internalError"), 500);
}

TEST(Problem, OfBytesThatAreNoTextIsTextAllTheSame)
{
    const response answer = problem_response({.code = "badValue", .detail = "\xff"});
    EXPECT_EQ(nlohmann::json::parse(answer.body)["detail"], "\xef\xbf\xbd");
}
