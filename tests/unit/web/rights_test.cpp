// Every route for every role and every kind of actor, by the description's rights.

#include "server/accounts/sessions.h"
#include "server/accounts/tokens.h"
#include "server/web/handlers.h"
#include "unit/web/described.h"
#include "unit/web/server_test.h"

using namespace web;
using namespace web_test;
using desk::right;

namespace {
using names = std::set<std::string, std::less<>>;

// What a person may by all rights: on r1, and where no router is named. There, what any router will
// do for counts by the highest right on one of them, and what changes the house by the usual one.
struct role {
    const char* name;
    desk::rights may;
    right on_r1;
    right in_house;
};

const std::vector<role> ROLES = {
    {"nothing", {right::none, {}, {}}, right::none, right::none},
    {"view", {right::view, {}, {}}, right::view, right::view},
    {"operate", {right::operate, {}, {}}, right::operate, right::operate},
    {"engineer", {right::engineer, {}, {}}, right::engineer, right::engineer},
    {"administer", {right::administer, {}, {}}, right::administer, right::administer},
    {"view r1", {right::none, {{"r1", right::view}}, {}}, right::view, right::view},
    {"operate r1", {right::none, {{"r1", right::operate}}, {}}, right::operate, right::operate},
    {"engineer r1", {right::view, {{"r1", right::engineer}}, {}}, right::engineer, right::operate},
    {"operate r2", {right::view, {{"r2", right::operate}}, {}}, right::view, right::operate},
    {"all but r1", {right::administer, {{"r1", right::none}}, {}}, right::none, right::administer},
    {"view r1 of all", {right::engineer, {{"r1", right::view}}, {}}, right::view, right::engineer},
    {"Monitors", {right::operate, {}, names{"Monitors"}}, right::operate, right::operate},
    {"Monitors of r1",
     {right::none, {{"r1", right::operate}}, names{"Monitors"}},
     right::operate,
     right::operate},
};

enum class sender { nobody, session, token, simple_token };

// A value for each body that is sent. A route with a body that is not here fails the test.
const std::map<std::string, std::string> BODIES = {
    {"makeFirstAdministrator",
     R"({"code":"x","id":"ana","name":"Ana","password":"correct horse"})"},
    {"signIn", R"({"person":"x","password":"y"})"},
    {"addRouter", R"({"id":"r3","name":"New"})"},
    {"setRouter", R"({"name":"STUDIO A"})"},
    {"setFaults", R"({"faults":[]})"},
    {"labelSources", R"({"rows":[{"index":0,"alias":"CAM"}]})"},
    {"labelSource", R"({"alias":"CAM"})"},
    {"labelDestinations", R"({"rows":[{"index":0,"alias":"MON"}]})"},
    {"labelDestination", R"({"alias":"MON"})"},
    {"renameGroup", R"({"name":"Gallery"})"},
    {"setLock", R"({"mode":"protect"})"},
    {"routeMany", R"({"rows":[{"destination":0,"source":2}]})"},
    {"route", R"({"source":2})"},
    {"setStage", R"({"rows":[{"destination":0,"source":2}]})"},
    {"changeStage", R"({"rows":[{"destination":0,"source":2}]})"},
    {"dryRunStage", "{}"},
    {"takeStage", "{}"},
    {"rollBack", "{}"},
    {"undo", "{}"},
    {"redo", "{}"},
    {"addSalvo", R"({"name":"News","rows":[{"router":"r1","destination":0,"source":2}]})"},
    {"setSalvo", R"({"name":"News","rows":[{"router":"r1","destination":0,"source":2}]})"},
    {"dryRunSalvo", "{}"},
    {"takeSalvo", "{}"},
    {"addPerson", R"({"id":"new","name":"New","password":"river otter lantern",
                      "rights":{"usual":"view","exceptions":{}}})"},
    {"setPerson", R"({"name":"New"})"},
    {"changePassword", R"({"old":"x","new":"river otter lantern"})"},
    {"changeSettings", R"({"theme":"dark"})"},
    {"addToken", R"({"id":"new","name":"New","kind":"api",
                     "rights":{"usual":"view","exceptions":{}}})"},
};

const std::vector<described_operation>& operations()
{
    static const std::vector<described_operation> ALL = described_operations();
    return ALL;
}

method method_of(const std::string& word)
{
    if (word == "post") return method::post;
    if (word == "put") return method::put;
    if (word == "patch") return method::patch;
    return word == "delete" ? method::remove : method::get;
}

right right_of(const std::string& word)
{
    for (const right each : {right::view, right::operate, right::engineer, right::administer})
        if (desk::text_of(each) == word) return each;
    EXPECT_EQ(word, "none");
    return right::none;
}

// With something for each segment in braces, which is there: r1, its destination 0, its group.
std::string address_of(const described_operation& operation)
{
    std::string address = operation.path;
    for (const auto& [name, value] : std::map<std::string, std::string>{{"{router}", "r1"},
                                                                        {"{index}", "0"},
                                                                        {"{side}", "destinations"},
                                                                        {"{group}", "Monitors"},
                                                                        {"{person}", "somebody"}}) {
        const auto at = address.find(name);
        if (at != std::string::npos) address.replace(at, name.size(), value);
    }
    const auto at = address.find('{');
    if (at == std::string::npos) return address;
    return address.replace(at, address.find('}') - at + 1, "01J00000000000000000000000");
}

right allowed(const role& role, sender sender, const described_operation& operation)
{
    if (sender == sender::nobody || sender == sender::simple_token) return right::none;
    if (operation.name == "renameGroup") // which both routers have
        return std::min(desk::right_on(role.may, "r1"), desk::right_on(role.may, "r2"));
    const bool named = operation.path.find("{router}") != std::string::npos ||
                       operation.name == "addSalvo"; // whose row is r1's
    return named ? role.on_r1 : role.in_house;
}

bool is_missing(const std::string& name)
{
    return std::any_of(all_routes().begin(), all_routes().end(), [&](const route& each) {
        return each.name == name && each.handle == nothing_here;
    });
}

bool is_refused(const desk::entry& entry)
{
    const auto* const made = std::get_if<desk::batch_made>(&entry.what);
    return made != nullptr &&
           std::all_of(made->batch.rows.begin(), made->batch.rows.end(),
                       [](const desk::wish& row) { return row.why == desk::reason::no_right; });
}

struct Rights : ServerTest {
    desk::desk_state desk_before;
    accounts::accounts_state accounts_before;

    Rights()
    {
        server.settings.demonstration = false;
        for (const char* const router : {"r1", "r2"}) {
            add_router(router, 4, 4);
            desk::set_label(server.desk, now, engineer, router, desk::side::destinations, 0,
                            {"", "Monitors"});
        }
        server.desk.entries.clear();
        desk_before = server.desk;
        set_person("boss", {right::administer, {}, {}});
        set_person("somebody", {right::view, {}, {}});
        accounts_before = server.accounts;
    }

    void set_person(const std::string& id, const desk::rights& may)
    {
        accounts::person& person = server.accounts.people[id];
        person.name = id;
        person.may = may;
        person.password = "has one";
    }

    std::string token(accounts::token_kind kind, const desk::rights& may)
    {
        const desk::actor boss{"boss", "panel", {right::administer, {}, {}}};
        std::string secret;
        const accounts::token wanted{"t", kind, may};
        EXPECT_EQ(accounts::make_token(server.accounts, now, boss, "tally", wanted, secret).why,
                  accounts::refusal::none);
        return secret;
    }

    void sign(sender sender, const desk::rights& may = {})
    {
        headers.clear();
        switch (sender) {
        case sender::nobody:
            return;
        case sender::session: {
            const std::string secret = accounts::open_session(server.accounts, now, "ana", address);
            headers = {{"cookie", "session=" + secret}, {"origin", "http://localhost"}};
            return;
        }
        case sender::token:
            headers = {{"authorization", "Bearer " + token(accounts::token_kind::api, may)}};
            return;
        case sender::simple_token:
            headers = {{"authorization", "Bearer " + token(accounts::token_kind::simple, may)}};
        }
    }

    // "", "notSignedIn" or "noRight": how it was turned away. What it has changed is undone.
    std::string turned_away(const described_operation& operation)
    {
        const auto body = BODIES.find(operation.name);
        const request_id id = send(method_of(operation.method), address_of(operation),
                                   body == BODIES.end() ? "" : body->second);
        if (!answers.contains(id)) { // it is looked into
            drop_request(server, now, id);
            return "";
        }
        const response& answer = answers[id];
        const json problem = json_of(answer);
        const std::string code = problem.is_object() ? problem.value("code", "") : "";
        if (code != "notSignedIn" && code != "noRight") return "";
        EXPECT_EQ(answer.status, code == "noRight" ? 403 : 401);
        return code;
    }

    void call_handler(const described_operation& operation, const desk::actor& actor)
    {
        request request;
        std::string error;
        ASSERT_TRUE(read_target(address_of(operation), request, error)) << error;
        request.method = method_of(operation.method);
        const route_match match = find_route(all_routes(), request);
        ASSERT_NE(match.found, nullptr) << operation.name;
        const auto body = BODIES.find(operation.name);
        match.found->handle(server, {request, match.values, actor, now,
                                     body == BODIES.end() ? json(json::value_t::discarded)
                                                          : json::parse(body->second)});
    }

    // All of the description as this role, sent like this.
    void walk(const role& role, sender sender)
    {
        for (const described_operation& operation : operations()) {
            server.desk = desk_before;
            server.accounts = accounts_before;
            set_person("ana", role.may);
            server.streams.clear();
            sign(sender, role.may);
            const bool signed_in = sender != sender::nobody && sender != sender::simple_token;
            const right needed = operation.name == "getPerson" // everybody may get their own
                                     ? right::administer
                                     : right_of(operation.right);
            const bool may = allowed(role, sender, operation) >= needed;
            const std::string wanted = operation.open ? ""
                                       : !signed_in   ? "notSignedIn"
                                       : may          ? ""
                                                      : "noRight";
            EXPECT_EQ(turned_away(operation), wanted)
                << operation.name << " as " << role.name << " by " << static_cast<int>(sender);
        }
    }
};
} // namespace

TEST_F(Rights, HoldForEverySession)
{
    for (const role& role : ROLES)
        walk(role, sender::session);
}

TEST_F(Rights, HoldForEveryToken)
{
    for (const role& role : ROLES)
        walk(role, sender::token);
}

TEST_F(Rights, AreNothingWithoutOneOfThese)
{
    walk(ROLES.back(), sender::nobody);
    walk({"administer", {right::administer, {}, {}}, right::administer, right::administer},
         sender::simple_token);
}

TEST_F(Rights, OfAGroupHoldForItsDestinationsAlone)
{
    for (const described_operation& operation : operations()) {
        if (operation.path.find("/destinations/{index}/") == std::string::npos ||
            operation.right != "operate" || operation.name == "removeLock") // one's own lock
            continue;
        if (is_missing(operation.name)) continue;
        for (const char* const group : {"Monitors", "Gallery"}) {
            server.desk = desk_before;
            server.accounts = accounts_before;
            set_person("ana", {right::operate, {}, names{group}});
            sign(sender::session);
            EXPECT_EQ(turned_away(operation), group == std::string("Gallery") ? "noRight" : "")
                << operation.name << " with " << group;
        }
    }
}

TEST_F(Rights, AreTriedWithABodyWhereThereIsOne)
{
    for (const described_operation& operation : operations())
        EXPECT_EQ(BODIES.contains(operation.name), operation.has_body) << operation.name;
}

// The table only refuses early: without it nothing changes either.
TEST_F(Rights, HoldBehindTheTableAsWell)
{
    for (const described_operation& operation : operations()) {
        const right needed = right_of(operation.right);
        if (operation.method == "get" || needed == right::none) continue;
        if (operation.name == "setFaults") continue; // the desk knows nothing of them
        server.desk = desk_before;
        server.accounts = accounts_before;
        const right less = static_cast<right>(static_cast<int>(needed) - 1);
        call_handler(operation, {"somebody", "panel", {less, {}, {}}});
        for (const desk::entry& entry : server.desk.entries)
            EXPECT_TRUE(is_refused(entry)) << operation.name;
        EXPECT_TRUE(server.desk.orders.empty()) << operation.name;
        server.desk.house.batches = desk_before.house.batches; // which tell what was refused
        server.desk.house.batch_rows = desk_before.house.batch_rows;
        EXPECT_TRUE(server.desk.house == desk_before.house) << operation.name;
        EXPECT_EQ(server.desk.stages.size(), desk_before.stages.size()) << operation.name;
        EXPECT_TRUE(server.accounts.events.empty()) << operation.name;
    }
}
