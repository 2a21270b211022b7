#include "fuzz/played_server.h"

#include <array>
#include <string_view>
#include <utility>

#include "fuzz/property.h"
#include "server/accounts/sessions.h"
#include "server/desk/reports.h"
#include "server/desk/setup.h"
#include "server/desk/start.h"
#include "server/web/page.h"
#include "server/web/target.h"

namespace {
constexpr int POSITIONS = 4;
const desk::actor ENGINEER{"ana", "panel", {desk::right::administer, {}, {}}};

bool is_text(const std::string& body)
{
    return web::json(body).dump(-1, ' ', false, web::json::error_handler_t::replace) ==
           web::json(body).dump(-1, ' ', false, web::json::error_handler_t::ignore);
}

void check_secrets(const std::string& text)
{
    require(text.find(SECRET) == std::string::npos, "no password's hash leaves the server");
}

void check_answer(const web::response& answer)
{
    require(answer.status >= 200 && answer.status < 600, "an answer has a status");
    require(answer.status != 500, "no request makes the server fail");
    require((answer.status != 204 && answer.status != 304) || answer.body.empty(),
            "an answer without content has none");
    check_secrets(answer.body);
    if (answer.type.find("json") != std::string::npos)
        require(web::json::accept(answer.body), "JSON is JSON");
    require(answer.body.size() < 65536 || answer.status < 400, "a refusal is short");
    require(is_text(answer.body), "what is sent is UTF-8");
    for (const auto& [name, value] : answer.headers)
        require((name + value).find_first_of("\r\n") == std::string::npos, "a header is one line");
}

void add_person(played_server& played, const std::string& id, const desk::rights& rights)
{
    accounts::person person;
    person.name = id;
    person.password = std::string(SECRET) + id;
    person.may = rights;
    person.created = played.now.utc;
    played.server.accounts.people[id] = person;
}

void add_router(played_server& played, const std::string& id)
{
    desk::desk_state& desk = played.server.desk;
    desk::router_settings settings;
    settings.id = settings.name = id;
    desk::set_router(desk, played.now, ENGINEER, settings);
    desk::report_link(desk, played.now, id, desk::link_state::reading, "");
    desk::report_counts(desk, id, POSITIONS, POSITIONS);
    std::vector<std::string> names;
    std::vector<std::pair<int, int>> routes;
    for (int i = 0; i < POSITIONS; ++i) {
        names.push_back("CAM " + std::to_string(i + 1));
        routes.emplace_back(i, i);
    }
    for (const desk::side side : {desk::side::sources, desk::side::destinations})
        desk::report_names(desk, id, side, names);
    desk::report_routes(desk, played.now, id, routes);
}

void connect(played_server& played)
{
    web::client_side& clients = played.server.clients;
    clients.answer = [&played](web::request_id id, const web::response& answer) {
        require(!std::exchange(played.answered.at(id), true), "a request is answered once");
        check_answer(answer);
    };
    clients.open_body = [&played](web::request_id id, const web::response& head) {
        require(!std::exchange(played.answered.at(id), true), "a request is answered once");
        check_answer(head);
        return played.stream = id;
    };
    clients.open_websocket = [&played](web::request_id id, const std::string&) {
        require(!std::exchange(played.answered.at(id), true), "a request is answered once");
        return played.stream = id;
    };
    clients.send = [](web::stream_id, const std::shared_ptr<const std::string>& text) {
        check_secrets(*text);
        require(!text->starts_with('{') || web::json::accept(*text), "a message is JSON");
    };
    clients.unsent_bytes = [](web::stream_id) {
        return std::size_t{0};
    };
    clients.finish = [](web::stream_id) {
    };
    clients.close = [](web::stream_id, int, const std::string& reason) {
        require(reason.size() <= 1000, "the reason of an end is short");
    };
}

void hash_passwords(accounts::password_worker& worker)
{
    for (const accounts::password_question& asked : std::exchange(worker.questions, {})) {
        const std::string hash = std::string(SECRET) + asked.password;
        worker.results.push_back({asked.number, !asked.to_be_hashed && asked.hash == hash,
                                  asked.to_be_hashed ? hash : ""});
    }
}

std::string take_line(std::string_view& text)
{
    const std::string line(text.substr(0, text.find('\n')));
    text.remove_prefix(std::min(text.size(), line.size() + 1));
    return line;
}

web::method method_of(std::string_view name)
{
    constexpr std::array NAMES = {
        std::pair{"GET", web::method::get},     std::pair{"HEAD", web::method::head},
        std::pair{"POST", web::method::post},   std::pair{"PUT", web::method::put},
        std::pair{"PATCH", web::method::patch}, std::pair{"DELETE", web::method::remove}};
    for (const auto& [each, method] : NAMES)
        if (name == each) return method;
    return web::method::other;
}
} // namespace

void begin(played_server& played)
{
    accounts::begin_secrets();
    web::server& server = played.server;
    server.settings.simple_form = true;
    server.desk = desk::make_desk(1);
    server.instance = desk::make_id(server.desk.ids, played.now.utc);
    server.started = played.now;
    server.routers.stopping = true; // no backend is started
    server.kept = UINT64_MAX;       // the journal is faster than anything
    connect(played);
    add_person(played, "ana", {desk::right::administer, {}, {}});
    add_person(played, "ben", {desk::right::view, {{"r1", desk::right::operate}}, {}});
    for (const auto& [who, id] : {std::pair{asker::ana, "ana"}, std::pair{asker::ben, "ben"}})
        played.secrets[who] = accounts::open_session(server.accounts, played.now, id, "127.0.0.1");
    add_router(played, "r1");
    add_router(played, "r2");
    desk::report_link(server.desk, played.now, "r1", desk::link_state::ready, "");
    pass(played);
}

void ask(played_server& played, asker who, const std::string& text)
{
    std::string_view rest = text;
    const std::string first = take_line(rest);
    const std::size_t blank = first.find(' ');
    web::request request;
    request.method = method_of(first.substr(0, blank));
    request.address = "127.0.0.1";
    request.headers = {{"host", "localhost"}, {"origin", "http://localhost"}};
    if (who != asker::nobody) request.headers["cookie"] = "session=" + played.secrets.at(who);
    std::string error;
    if (blank == std::string::npos ||
        !web::read_target(std::string_view(first).substr(blank + 1), request, error))
        return;
    for (std::string line = take_line(rest); !line.empty(); line = take_line(rest)) {
        const std::size_t colon = line.find(':');
        if (colon != std::string::npos)
            request.headers[line.substr(0, colon)] = line.substr(colon + 1);
    }
    request.body = rest;
    if (!rest.empty()) request.headers.try_emplace("content-type", "application/json");
    played.answered[++played.requests] = false;
    web::take_request(played.server, played.now, played.requests, request);
    pass(played);
}

void pass(played_server& played)
{
    hash_passwords(played.server.passwords);
    web::pass(played.server, played.now);
}

void wait(played_server& played, desk::monotonic time)
{
    played.now.steady += time;
    played.now.utc += std::chrono::duration_cast<desk::wall>(time);
    pass(played);
}
