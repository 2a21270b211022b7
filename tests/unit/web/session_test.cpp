#include "server/accounts/people.h"
#include "unit/web/account_requests.h"

using namespace web;
using namespace web_test;
using testing::HasSubstr;

namespace {
// All that a client gets.
std::string text_of(const response& response)
{
    std::string text = std::to_string(response.status) + response.type + response.body;
    for (const auto& [name, value] : response.headers)
        text += name + value;
    return text;
}

struct Sessions : AccountRequests {
    response sign_in(const std::string& person, const std::string& password)
    {
        return ask_with_password(method::post, "/api/v1/session",
                                 plain{{"person", person}, {"password", password}}.dump());
    }
};
} // namespace

TEST_F(Sessions, BeginWithThePassword)
{
    const response given = sign_in("Ben", "river otter lantern");
    EXPECT_EQ(given.status, 200);
    EXPECT_EQ(json_of(given), plain::parse(R"({
        "person": {"id": "ben", "name": "Ben L."}, "origin": "panel",
        "rights": {"usual": "view", "exceptions": {"r1": "operate"}, "groups": ["Monitors"]},
        "expires": "2025-12-18T12:00:05.000Z", "demonstration": false})"));
    const std::string cookie = header_of(given, "Set-Cookie");
    EXPECT_THAT(cookie, HasSubstr("; Path=/; HttpOnly; SameSite=Strict"));
    EXPECT_EQ(accounts::end_of(server.accounts.sessions.begin()->second),
              now.utc + accounts::SESSION_IDLE);

    EXPECT_EQ(ask(method::get, "/api/v1/session").status, 401);
    with_cookie(cookie);
    EXPECT_EQ(ask(method::get, "/api/v1/session").body, given.body);
    EXPECT_EQ(ask(method::remove, "/api/v1/session").status, 204);
    EXPECT_EQ(ask(method::get, "/api/v1/session").status, 401);
}

// A cookie of that name cannot be set by a page of another host, or without TLS.
TEST_F(Sessions, AreTheHostsOwnWhereThereIsTls)
{
    server.settings.secure = true;
    const std::string cookie = header_of(sign_in("ben", "river otter lantern"), "Set-Cookie");
    EXPECT_THAT(cookie, testing::StartsWith("__Host-session="));
    EXPECT_THAT(cookie, testing::EndsWith("; Path=/; HttpOnly; SameSite=Strict; Secure"));
    with_cookie(cookie);
    EXPECT_EQ(ask(method::get, "/api/v1/session").status, 200);
    with_cookie(cookie.substr(sizeof "__Host-" - 1));
    EXPECT_EQ(ask(method::get, "/api/v1/session").status, 401);
}

TEST_F(Sessions, TellNothingOfWhoThereIs)
{
    const response wrong = sign_in("ben", "incorrect");
    EXPECT_EQ(wrong.status, 401);
    EXPECT_EQ(json_of(wrong), plain::parse(R"({
        "type": "/problems/wrong-password", "title": "Wrong password", "status": 401,
        "code": "wrongPassword", "detail": "The name or the password is wrong."})"));
    EXPECT_EQ(text_of(sign_in("nobody", "incorrect")), text_of(wrong));
    server.accounts.people["ben"].disabled = true;
    EXPECT_EQ(text_of(sign_in("ben", "river otter lantern")), text_of(wrong));
    server.accounts.people["ben"].disabled = false;
    server.accounts.people["ben"].password.clear();
    EXPECT_EQ(text_of(sign_in("ben", "")), text_of(wrong));
    EXPECT_TRUE(server.accounts.sessions.empty());
    EXPECT_EQ(server.accounts.events.size(), 0U) << "the journal was given them";
}

TEST_F(Sessions, AreBegunLaterAndLaterAfterWrongPasswords)
{
    for (const char* const person : {"ben", "nobody"}) {
        address = person;
        for (std::size_t i = 0; i < accounts::FAILURES_WITHOUT_WAIT; ++i)
            sign_in(person, "incorrect");
        const request_id slow = send_password(person);
        wait(accounts::FIRST_WAIT - std::chrono::milliseconds(1));
        EXPECT_TRUE(server.passwords.questions.empty()) << person;
        EXPECT_EQ(next_due(server, now), now.steady + std::chrono::milliseconds(1));
        wait(std::chrono::milliseconds(1));
        EXPECT_EQ(server.passwords.questions.size(), 1U) << person;
        const response more = ask(method::post, "/api/v1/session",
                                  plain{{"person", person}, {"password", "x"}}.dump());
        EXPECT_EQ(more.status, 429);
        EXPECT_EQ(header_of(more, "Retry-After"), "1");
        answer_passwords();
        EXPECT_EQ(answers[slow].status, 401);
    }
}

TEST_F(Sessions, DoNotBeginWithAPasswordThatHasBeenReplacedMeanwhile)
{
    const request_id late = send_password("ben", "river otter lantern");
    server.accounts.people["ben"].password = "hash of another one";
    answer_passwords();
    EXPECT_EQ(answers[late].status, 401);
}

TEST_F(Sessions, AreForgottenWithTheClientThatAskedForOne)
{
    const request_id gone = send_password("ben", "river otter lantern");
    drop_request(server, now, gone);
    EXPECT_TRUE(server.attempts.under_way.empty());
    answer_passwords();
    EXPECT_TRUE(server.accounts.sessions.empty());
    EXPECT_FALSE(answers.contains(gone));
}

TEST_F(Sessions, EndWhenIdleAndWithTheRights)
{
    with_cookie(header_of(sign_in("ben", "river otter lantern"), "Set-Cookie"));
    EXPECT_EQ(ask(method::get, "/api/v1/session").status, 200);
    wait(accounts::SESSION_IDLE);
    EXPECT_EQ(ask(method::get, "/api/v1/session").status, 200);
    wait(accounts::SESSION_IDLE + std::chrono::milliseconds(1));
    EXPECT_EQ(ask(method::get, "/api/v1/session").status, 401);
}

TEST_F(Sessions, OfADemonstrationBeginWithANameAlone)
{
    server.settings.demonstration = true;
    const response given = ask(method::post, "/api/v1/session", R"({"person": "Ana K."})");
    EXPECT_EQ(json_of(given)["person"], plain::parse(R"({"id": "ana-k", "name": "Ana K."})"));
    EXPECT_EQ(json_of(given)["rights"],
              plain::parse(R"({"usual": "administer", "exceptions": {}})"));
    EXPECT_EQ(json_of(given)["demonstration"], true);
    with_cookie(header_of(given, "Set-Cookie"));
    EXPECT_EQ(json_of(ask(method::get, "/api/v1/session"))["person"]["id"], "ana-k");
    headers.clear();
    EXPECT_EQ(json_of(ask(method::get, "/api/v1/session"))["person"]["id"], "guest");
    const std::map<std::string, std::string> ids = {
        {"me", "me-"}, {"Jos\xc3\xa9", "josc3a9"}, {"  A  b ", "a-b"}, {"BEN", "ben"}};
    for (const auto& [name, id] : ids)
        EXPECT_EQ(json_of(ask(method::post, "/api/v1/session",
                              plain{{"person", name}}.dump()))["person"]["id"],
                  id);
    EXPECT_EQ(server.accounts.people["ben"].name, "Ben L.");
    EXPECT_EQ(ask(method::post, "/api/v1/session", R"({"person": "..."})").status, 422);
}

TEST_F(Sessions, MakeTheFirstAdministratorWithTheCodeAlone)
{
    const std::string body = R"({"code": "4q2k 9wtx7HNP3RVD", "id": "ana", "name": "Ana K.",
                                 "password": "correct horse battery staple"})";
    EXPECT_EQ(json_of(ask(method::post, "/api/v1/first-administrator", body))["code"], "notFirst");
    server.accounts.people.clear();
    server.first_code = "4Q2K-9WTX-7HNP-3RVE";
    const response other = ask(method::post, "/api/v1/first-administrator", body);
    EXPECT_EQ(other.status, 422);
    EXPECT_EQ(json_of(other)["errors"][0]["pointer"], "/code");
    server.first_code = "4Q2K-9WTX-7HNP-3RVD";
    const request_id one = send(method::post, "/api/v1/first-administrator", body);
    const request_id two = send(method::post, "/api/v1/first-administrator", body);
    answer_passwords();
    EXPECT_EQ(answers[one].status, 200);
    EXPECT_EQ(json_of(answers[one])["rights"]["usual"], "administer");
    EXPECT_EQ(json_of(answers[two])["code"], "notFirst") << "the code counts once";
    EXPECT_EQ(server.accounts.people["ana"].password, "hash of correct horse battery staple");
    with_cookie(header_of(answers[one], "Set-Cookie"));
    EXPECT_EQ(ask(method::get, "/api/v1/people").status, 200);
}
