#include "server/accounts/people.h"
#include "unit/web/account_requests.h"

using namespace web;
using namespace web_test;

namespace {
struct People : AccountRequests {
    const std::string ben = R"({"id": "ben", "name": "Ben L.",
        "rights": {"usual": "view", "exceptions": {"r1": "operate"}, "groups": ["Monitors"]},
        "disabled": false, "created": "2025-12-18T00:00:00.000Z"})";

    People()
    {
        as("ana");
    }

    std::string code_of(const response& response)
    {
        return std::to_string(response.status) + " " + json_of(response).value("code", "");
    }
};
} // namespace

TEST_F(People, AreListedForAdministrators)
{
    const plain people = json_of(ask(method::get, "/api/v1/people"))["people"];
    ASSERT_EQ(people.size(), 2U);
    EXPECT_EQ(people[0]["id"], "ana");
    EXPECT_EQ(people[0]["lastSeen"], time_text(now.utc));
    EXPECT_EQ(people[1], plain::parse(ben));
    EXPECT_EQ(json_of(ask(method::get, "/api/v1/people/ben")), plain::parse(ben));
    EXPECT_EQ(code_of(ask(method::get, "/api/v1/people/nobody")), "404 noSuchPerson");
    as("ben");
    EXPECT_EQ(code_of(ask(method::get, "/api/v1/people")), "403 noRight");
    EXPECT_EQ(code_of(ask(method::get, "/api/v1/people/ana")), "403 noRight");
    EXPECT_EQ(json_of(ask(method::get, "/api/v1/people/me"))["id"], "ben");
}

TEST_F(People, AreTaggedByWhatOneMayChange)
{
    const std::string tag = header_of(ask(method::get, "/api/v1/people/me"), "ETag");
    wait(std::chrono::seconds(1)); // and the next request is a use of the session
    headers.emplace_back("if-match", tag);
    const response changed = ask(method::patch, "/api/v1/people/me", R"({"name": "Ana Kling"})");
    EXPECT_EQ(changed.status, 200);
    EXPECT_EQ(code_of(ask(method::patch, "/api/v1/people/me", R"({"name": "Ana"})")),
              "412 changedMeanwhile");
    headers.pop_back();
    EXPECT_EQ(header_of(ask(method::get, "/api/v1/people/me"), "ETag"), header_of(changed, "ETag"));
}

TEST_F(People, AreAdded)
{
    const std::string cleo = R"({"id": "cleo", "name": "Cleo", "password": "quiet harbour",
                                 "rights": {"usual": "operate", "exceptions": {"r2": "view"}}})";
    const response added = ask_with_password(method::post, "/api/v1/people", cleo);
    EXPECT_EQ(added.status, 201);
    EXPECT_EQ(header_of(added, "Location"), "/api/v1/people/cleo");
    const response found = ask(method::get, "/api/v1/people/cleo");
    EXPECT_EQ(found.body, added.body);
    EXPECT_EQ(header_of(found, "ETag"), header_of(added, "ETag"));
    EXPECT_EQ(json_of(found), plain::parse(R"({"id": "cleo", "name": "Cleo",
        "rights": {"usual": "operate", "exceptions": {"r2": "view"}}, "disabled": false,
        "created": ")" + time_text(now.utc) +
                                           "\"}"));
    EXPECT_EQ(server.accounts.people["cleo"].password, "hash of quiet harbour");
    EXPECT_EQ(code_of(ask(method::post, "/api/v1/people", cleo)), "409 nameTaken");
}

// Each happens while the passwords are being hashed.
TEST_F(People, AreChangedByNobodyWhoMayNotAnyMore)
{
    const std::string cleo = R"({"id": "cleo", "name": "Cleo", "password": "quiet harbour",
                                 "rights": {"usual": "view", "exceptions": {}}})";
    const std::string secret = R"({"password": "quiet harbour"})";
    const std::string change = R"({"old": "correct horse battery staple", "new": "quiet harbour"})";
    const auto before = server.accounts.people;
    const struct {
        std::function<void()> happens;
        std::string code;
    } cases[] = {
        {[&] { server.accounts.sessions.clear(); }, "401 notSignedIn"},
        {[&] {
             EXPECT_EQ(accounts::remove_person(server.accounts, now, engineer, "ana").why,
                       accounts::refusal::none);
         },
         "401 notSignedIn"},
        {[&] {
             accounts::person ana = server.accounts.people["ana"];
             ana.disabled = true;
             EXPECT_EQ(accounts::set_person(server.accounts, now, engineer, "ana", ana).why,
                       accounts::refusal::none);
         },
         "401 notSignedIn"},
        {[&] { server.accounts.people["ana"].may.usual = desk::right::engineer; }, "403 noRight"}};
    for (const auto& each : cases) {
        server.accounts.people = before;
        server.accounts.people["eve"] = before.at("ana"); // the last administrator stays
        as("ana");
        const request_id added = send(method::post, "/api/v1/people", cleo);
        const request_id set = send(method::patch, "/api/v1/people/ben", secret);
        const request_id own = send(method::put, "/api/v1/people/me/password", change);
        each.happens();
        answer_passwords();
        EXPECT_EQ(code_of(answers[added]), each.code);
        EXPECT_EQ(code_of(answers[set]), each.code);
        if (each.code.starts_with("401")) {
            EXPECT_EQ(code_of(answers[own]), each.code);
        }
        EXPECT_FALSE(server.accounts.people.contains("cleo"));
        EXPECT_EQ(server.accounts.people["ben"].password, before.at("ben").password);
    }
}

TEST_F(People, AreNotChangedWhenTheyWereChangedMeanwhile)
{
    headers.emplace_back("if-match", header_of(ask(method::get, "/api/v1/people/ben"), "ETag"));
    const request_id id =
        send(method::patch, "/api/v1/people/ben", R"({"password": "quiet harbour"})");
    server.accounts.people["ben"].name = "Ben";
    answer_passwords();
    EXPECT_EQ(code_of(answers[id]), "412 changedMeanwhile");
    EXPECT_EQ(server.accounts.people["ben"].password, "hash of river otter lantern");
}

TEST_F(People, HaveSeenNamesAndAnyPassword)
{
    const auto added = [&](const std::string& id, const std::string& name) {
        const plain wanted = {{"id", id},
                              {"name", name},
                              {"password", "quiet \u200d harbour"},
                              {"rights", {{"usual", "view"}, {"exceptions", plain::object()}}}};
        return ask_with_password(method::post, "/api/v1/people", wanted.dump());
    };
    EXPECT_EQ(added("cleo", "Cleo").status, 201);
    EXPECT_EQ(json_of(added("cleo2", "Cleo\u200b"))["detail"],
              "name has a character that is not seen, U+200B");
}

TEST_F(People, AreAddedOnceWhenTwoAskAtOnce)
{
    const std::string cleo = R"({"id": "cleo", "name": "Cleo", "password": "quiet harbour",
                                 "rights": {"usual": "view", "exceptions": {}}})";
    const request_id one = send(method::post, "/api/v1/people", cleo);
    const request_id two = send(method::post, "/api/v1/people", cleo);
    answer_passwords();
    EXPECT_EQ(answers[one].status, 201);
    EXPECT_EQ(code_of(answers[two]), "409 nameTaken");
}

TEST_F(People, AreNotAddedWithValuesThatCannotBe)
{
    const std::map<std::string, std::string> bodies = {
        {R"({})", "/id /name /password /rights"},
        {R"({"id": "A B", "name": "x", "password": "quiet harbour",
             "rights": {"usual": "view", "exceptions": {}}})",
         "/id"},
        {R"({"id": "me", "name": "x", "password": "quiet harbour",
             "rights": {"usual": "view", "exceptions": {}}})",
         "/id"},
        {R"({"id": "a", "name": "", "password": "short", "such": 1,
             "rights": {"usual": "see", "exceptions": {"r1": 3}, "groups": [7]}})",
         "/name /password /rights/usual /rights/exceptions/r1 /rights/groups/0 /such"},
        {R"({"id": "a", "name": "x", "password": "quiet harbour", "rights": {"groups": 1}})",
         "/rights/usual /rights/exceptions /rights/groups"}};
    for (const auto& [body, pointers] : bodies) {
        std::string wrong;
        const plain list = json_of(ask(method::post, "/api/v1/people", body))["errors"];
        for (const plain& each : list)
            wrong += (wrong.empty() ? "" : " ") + each["pointer"].get<std::string>();
        EXPECT_EQ(wrong, pointers) << body;
    }
    EXPECT_EQ(server.accounts.people.size(), 2U);
}

TEST_F(People, AreChangedAndShutOut)
{
    as("ben");
    const auto of_ben = headers;
    as("ana");
    const response changed =
        ask(method::patch, "/api/v1/people/ben",
            R"({"rights": {"usual": "operate", "exceptions": {"r2": "view"}}})");
    EXPECT_EQ(json_of(changed)["rights"],
              plain::parse(R"({"usual": "operate", "exceptions": {"r2": "view"}})"));
    EXPECT_EQ(json_of(changed)["name"], "Ben L.");
    EXPECT_EQ(code_of(ask(method::patch, "/api/v1/people/ben", "{}")), "422 badValue");
    EXPECT_EQ(ask(method::patch, "/api/v1/people/ben", R"({"disabled": true})").status, 200);
    headers = of_ben;
    EXPECT_EQ(code_of(ask(method::get, "/api/v1/session")), "401 notSignedIn");
}

TEST_F(People, AreSignedOutWithANewPassword)
{
    as("ben");
    const auto of_ben = headers;
    as("ana");
    const response changed = ask_with_password(method::patch, "/api/v1/people/ben",
                                               R"({"password": "quiet harbour 1884 tide"})");
    EXPECT_EQ(changed.status, 200);
    EXPECT_EQ(server.accounts.people["ben"].password, "hash of quiet harbour 1884 tide");
    headers = of_ben;
    EXPECT_EQ(ask(method::get, "/api/v1/session").status, 401);
}

TEST_F(People, AreToldWhenAChangeOfTheirsIsNotKept)
{
    server.kept = 0;
    server.journal.news.health.failure = "disk I/O error";
    pass();
    const response shut = ask(method::patch, "/api/v1/people/ben", R"({"disabled": true})");
    EXPECT_EQ(code_of(shut), "503 journalFailing");
    EXPECT_EQ(
        json_of(shut)["detail"],
        "This holds now, but is not kept yet: a restart of the server before that undoes it.");
    EXPECT_TRUE(server.accounts.people["ben"].disabled);
    EXPECT_EQ(code_of(ask(method::remove, "/api/v1/people/ben")), "503 journalFailing");
    EXPECT_FALSE(server.accounts.people.contains("ben"));
    EXPECT_EQ(code_of(ask(method::remove, "/api/v1/people/ben")), "404 noSuchPerson");
    const response changed = ask_with_password(
        method::put, "/api/v1/people/me/password",
        R"({"old": "correct horse battery staple", "new": "quiet harbour lantern"})");
    EXPECT_EQ(code_of(changed), "503 journalFailing");
    with_cookie(header_of(changed, "Set-Cookie")); // the new session goes on
    const response out = ask(method::remove, "/api/v1/session");
    EXPECT_EQ(code_of(out), "503 journalFailing");
    EXPECT_THAT(header_of(out, "Set-Cookie"), testing::HasSubstr("Max-Age=0"));
    EXPECT_EQ(ask(method::get, "/api/v1/session").status, 401);
}

TEST_F(People, AreToldInTimeWhenTheDiskIsTooSlow)
{
    server.kept = 0;
    const request_id slow = send(method::remove, "/api/v1/people/ben");
    EXPECT_FALSE(answers.contains(slow));
    wait(LONGEST_KEEPING);
    EXPECT_EQ(code_of(answers[slow]), "503 journalFailing");
    const request_id kept = send(method::patch, "/api/v1/people/ana", R"({"name": "Ana"})");
    server.kept = server.given;
    wait(LONGEST_KEEPING);
    EXPECT_EQ(answers[kept].status, 200);
}

TEST_F(People, KeepOneWhoAdministers)
{
    const response refused = ask(method::patch, "/api/v1/people/ana", R"({"disabled": true})");
    EXPECT_EQ(json_of(refused), plain::parse(R"({
        "type": "/problems/last-administrator", "title": "The last administrator",
        "status": 409, "code": "lastAdministrator",
        "detail": "Ana K. is the last who may administer everything."})"));
    EXPECT_EQ(code_of(ask(method::remove, "/api/v1/people/me")), "409 lastAdministrator");
    EXPECT_EQ(ask(method::remove, "/api/v1/people/ben").status, 204);
    EXPECT_EQ(json_of(ask(method::remove, "/api/v1/people/nobody"))["detail"],
              "There is nobody with the id nobody.");
}

TEST_F(People, OfADemonstrationKeepOneAsWell)
{
    server.settings.demonstration = true;
    server.accounts = {};
    headers.clear();
    with_cookie(
        header_of(ask(method::post, "/api/v1/session", R"({"person": "Ana K."})"), "Set-Cookie"));
    EXPECT_EQ(code_of(ask(method::patch, "/api/v1/people/ana-k", R"({"disabled": true})")),
              "409 lastAdministrator");
}

TEST_F(People, ChangeTheirPasswordsAndEndTheirOtherSessions)
{
    as("ben");
    const auto elsewhere = headers;
    as("ben");
    const std::string target = "/api/v1/people/me/password";
    EXPECT_EQ(code_of(ask_with_password(method::put, target,
                                        R"({"old": "incorrect", "new": "quiet harbour"})")),
              "403 wrongPassword");
    EXPECT_EQ(ask(method::get, "/api/v1/session").status, 200);
    const response changed = ask_with_password(
        method::put, target, R"({"old": "river otter lantern", "new": "quiet harbour"})");
    EXPECT_EQ(changed.status, 204);
    EXPECT_EQ(server.accounts.people["ben"].password, "hash of quiet harbour");
    EXPECT_EQ(ask(method::get, "/api/v1/session").status, 401);
    with_cookie(header_of(changed, "Set-Cookie"));
    EXPECT_EQ(ask(method::get, "/api/v1/session").status, 200);
    headers = elsewhere;
    EXPECT_EQ(ask(method::get, "/api/v1/session").status, 401);
}

TEST_F(People, DropAChangeOfPasswordWithItsClient)
{
    as("ben");
    const std::string target = "/api/v1/people/me/password";
    const std::string body = R"({"old": "river otter lantern", "new": "quiet harbour"})";
    drop_request(server, now, send(method::put, target, body));
    EXPECT_TRUE(server.attempts.under_way.empty());
    EXPECT_EQ(server.attempts.on_account["ben"].count, 1U);
    server.passwords.questions.clear();

    const request_id hashing = send(method::put, target, body);
    server.passwords.questions.clear();
    server.passwords.results = {{server.passwords_asked, true, ""}};
    pass();
    drop_request(server, now, hashing);
    EXPECT_TRUE(server.attempts.on_account.empty()) << "the old password was right";
    EXPECT_EQ(server.accounts.people["ben"].password, "hash of river otter lantern");
}
