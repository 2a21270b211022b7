#include "unit/web/live_house.h"

#include "server/accounts/people.h"
#include "server/desk/locks.h"
#include "server/desk/stages.h"

using namespace web;

namespace web_test {

namespace {
const std::vector<std::string> ROUTERS = {"r1", "r2", "r3"};
constexpr int SOURCES = 8;
constexpr int DESTINATIONS = 6;

// A list of things that have one of these, in the order of it.
nlohmann::json by_name(const nlohmann::json& list)
{
    if (!list.is_array() || list.empty() || !list.front().is_object()) return list;
    for (const char* const key : {"id", "index", "number", "destination", "router", "person"}) {
        if (!list.front().contains(key)) continue;
        std::vector<nlohmann::json> all(list.begin(), list.end());
        std::stable_sort(all.begin(), all.end(),
                         [&](const auto& a, const auto& b) { return a[key] < b[key]; });
        return all;
    }
    return list;
}

void forget_revisions(json& data)
{
    if (data.contains("router")) data["router"].erase("revision");
    if (data.contains("routers"))
        for (json& each : data["routers"])
            each.erase("revision");
    if (data.contains("server")) data["server"].erase("time");
}

// Of `list` those that `wanted` has too.
void keep_wanted(json& list, const json& wanted, const char* key)
{
    json kept = json::array();
    for (const json& each : list)
        for (const json& other : wanted)
            if (each[key] == other[key]) kept.push_back(each);
    list = kept;
}

// A member, null when it is not there.
json member(const json& object, const char* name)
{
    const auto found = object.find(name);
    return found == object.end() ? json() : *found;
}

// The member `name` of the entry for the destination.
json told_of(const json& list, const json& destination, const char* name)
{
    for (const json& each : list)
        if (each["destination"] == destination) return name == nullptr ? each : each[name];
    return {};
}
} // namespace

nlohmann::json sorted(const json& value)
{
    nlohmann::json copy = nlohmann::json::parse(value.dump());
    if (copy.is_array()) return by_name(copy);
    for (auto& each : copy)
        each = by_name(each);
    return copy;
}

void make_comparable(json& has, json& wanted)
{
    forget_revisions(has);
    forget_revisions(wanted);
    if (wanted.contains("operations")) keep_wanted(has["operations"], wanted["operations"], "id");
    if (wanted.contains("frames")) keep_wanted(has["frames"], wanted["frames"], "number");
    if (!wanted.contains("frames")) return;
    for (json* const data : {&has, &wanted})
        for (json& frame : (*data)["frames"])
            frame = {{"number", frame["number"]}, {"raw", frame["raw"]}}; // names may be others now
}

live_house::live_house(unsigned seed) : chance(seed)
{
    server.routers.stopping = false; // the routers have no address: no process is started
    for (const std::string& each : ROUTERS)
        add_router(each, SOURCES, DESTINATIONS);
}

std::string live_house::any_router()
{
    return ROUTERS[below(ROUTERS.size())];
}

std::string live_house::any_salvo()
{
    const auto& salvos = server.desk.house.salvos;
    const auto& deleted = server.desk.house.deleted_salvos;
    if (!deleted.empty() && below(3) == 0) return desk::text_of(deleted.begin()->first);
    return salvos.empty() ? "none" : desk::text_of(salvos.begin()->first);
}

void live_house::change_router()
{
    const std::string router = any_router();
    switch (below(4)) {
    case 0:
        return desk::report_link(server.desk, now, router, desk::link_state::down, "gone");
    case 1:
        return desk::report_link(server.desk, now, router, desk::link_state::reading, "");
    default:
        return desk::report_link(server.desk, now, router, desk::link_state::ready, "");
    }
}

void live_house::change_settings()
{
    const std::string router = any_router();
    const std::string name = "ROUTER " + std::to_string(++named);
    if (below(3) != 0) {
        send(method::patch, "/api/v1/routers/" + router,
             json{{"name", name}, {"firstNumber", below(2)}}.dump());
    } else if (desk::find_live(server.desk, "r3") == nullptr) {
        add_router("r3", SOURCES, DESTINATIONS);
    } else if (below(3) == 0) {
        send(method::remove, "/api/v1/routers/r3");
    } else {
        desk::report_counts(server.desk, router, SOURCES,
                            DESTINATIONS - 2 + static_cast<int>(below(3)));
    }
}

void live_house::change_names()
{
    const std::string router = any_router();
    const std::string name = "N" + std::to_string(++named);
    if (below(3) == 0) {
        std::vector<std::string> names(1 + below(SOURCES), name);
        desk::report_names(server.desk, router, desk::side::sources, names);
        return;
    }
    const std::string side = below(2) == 0 ? "sources/" : "destinations/";
    send(method::patch, "/api/v1/routers/" + router + "/" + side + std::to_string(below(6)),
         json{{"alias", below(3) == 0 ? "" : name}, {"group", "G" + std::to_string(below(2))}}
             .dump());
}

void live_house::change_locks()
{
    const std::string router = any_router();
    const int destination = static_cast<int>(below(DESTINATIONS));
    const std::string lock =
        "/api/v1/routers/" + router + "/destinations/" + std::to_string(destination) + "/lock";
    if (below(3) != 0)
        send(method::put, lock, R"({"mode":"protect","reason":"on air"})");
    else if (below(2) == 0)
        send(method::remove, lock);
    else // which the owner is told
        desk::remove_lock(server.desk, now, engineer, router, destination, true, "wrong studio");
    for (const auto& [id, notice] : server.desk.house.notices)
        if (below(8) == 0)
            return static_cast<void>(
                send(method::remove, "/api/v1/people/me/notices/" + desk::text_of(id)));
}

void live_house::change_stages()
{
    const std::string router = any_router();
    const std::string stage = "/api/v1/routers/" + router + "/stage";
    const int destination = static_cast<int>(below(DESTINATIONS));
    const int source = static_cast<int>(below(SOURCES));
    switch (below(5)) {
    case 0:
        desk::stage_row(server.desk, now, engineer, {router, destination, source});
        break;
    case 1:
        send(method::post, stage + "/take", R"({"rule":"rest"})");
        break;
    case 2:
        send(method::patch, stage, json{{"remove", {destination}}}.dump());
        break;
    default:
        send(method::patch, stage,
             json{{"rows", json::array({{{"destination", destination}, {"source", source}}})}}
                 .dump());
    }
}

void live_house::change_salvos()
{
    const std::string salvo = "/api/v1/salvos/" + any_salvo();
    const json wanted = {
        {"name", "S" + std::to_string(++named)},
        {"rows", json::array({{{"router", any_router()}, {"destination", 1}, {"source", 2}},
                              {{"router", "r1"}, {"destination", 2}, {"source", below(8)}}})}};
    switch (below(5)) {
    case 0:
        send(method::post, "/api/v1/salvos", wanted.dump());
        break;
    case 1:
        send(method::put, salvo, wanted.dump());
        break;
    case 2:
        send(method::remove, salvo);
        break;
    case 3:
        send(method::post, salvo + "/restore");
        break;
    default:
        send(method::post, salvo + "/take", R"({"rule":"rest"})");
    }
}

void live_house::change_people()
{
    const desk::actor administrator{"server", "server", {desk::right::administer, {}, {}}};
    accounts::person erna;
    erna.name = "Erna " + std::to_string(++named);
    if (accounts::find_person(server.accounts, "erna") == nullptr)
        accounts::add_person(server.accounts, now, administrator, "erna", erna);
    else
        accounts::remove_person(server.accounts, now, administrator, "erna");
}

void live_house::carry_out_a_wish()
{
    const std::string router = any_router();
    const desk::live_router* const live = desk::find_live(server.desk, router);
    if (live == nullptr || live->open.empty()) return;
    const int destination = live->open.begin()->first;
    const int source = live->open.begin()->second.front().source;
    desk::trace_take(server.desk, now, router, destination, source);
    if (below(4) == 0) return;
    desk::trace_take_answer(server.desk, now, router, below(5) == 0 ? "NAK 0005" : "");
    const int shown = below(5) == 0 ? static_cast<int>(below(SOURCES)) : source;
    desk::trace_route(server.desk, now, router, destination, shown);
    shows(router, destination, shown);
}

void live_house::pass_a_frame()
{
    if (!server.routers.backends.contains("r1")) return;
    routers::trace_reader& trace = server.routers.backends.at("r1").trace;
    routers::traced_frame frame;
    frame.at = now;
    frame.raw = "frame " + std::to_string(++trace.sent);
    trace.frames.push_back(frame);
    if (trace.frames.size() > 20) trace.frames.pop_front();
}

void live_house::change_something()
{
    const std::string router = any_router();
    const std::string route =
        "/api/v1/routers/" + router + "/destinations/" + std::to_string(below(DESTINATIONS));
    switch (below(24)) {
    case 0:
        return change_router();
    case 1:
        return change_settings();
    case 2:
        return change_names();
    case 3:
    case 4:
        return change_locks();
    case 5:
    case 6:
        return change_stages();
    case 7:
    case 8:
        return change_salvos();
    case 9:
        return below(6) == 0 ? change_people() : pass_a_frame();
    case 10:
        return static_cast<void>(send(method::post, below(3) == 0 ? "/api/v1/redo" : "/api/v1/undo",
                                      R"({"rule":"rest"})"));
    case 11:
        return static_cast<void>(send(method::post, route + "/accept"));
    case 12:
    case 13:
    case 14:
    case 15:
        return static_cast<void>(
            send(method::put, route + "/route", json{{"source", below(SOURCES)}}.dump()));
    case 16:
    case 17:
    case 18:
    case 19:
        return carry_out_a_wish();
    default:
        shows(router, static_cast<int>(below(DESTINATIONS)), static_cast<int>(below(SOURCES)));
    }
}

void live_house::expect_what_is_got(const std::string& router, const json& data)
{
    const std::string path = "/api/v1/routers/" + router;
    for (const char* const list : {"sources", "destinations", "locks", "stages"})
        EXPECT_EQ(sorted(data[list]), sorted(json_of(ask(method::get, path + "/" + list))[list]))
            << list;
    const json routes = json_of(ask(method::get, path + "/routes"))["routes"];
    for (const json& route : routes) {
        const json& destination = route["destination"];
        const auto place = destination.get<std::size_t>();
        const json source = route.contains("source") ? route["source"] : json(-2);
        EXPECT_EQ(data["routes"]["sources"].at(place), source.is_null() ? json(-1) : source);
        EXPECT_EQ(data["routes"]["by"].contains(std::to_string(place)), route.contains("by"));
        if (route.contains("by")) {
            EXPECT_EQ(data["routes"]["by"][std::to_string(place)], route["by"]);
        }
        const json& stale = data["routes"]["stale"];
        EXPECT_EQ(std::find(stale.begin(), stale.end(), destination) != stale.end(),
                  route["state"] == "stale");
        EXPECT_EQ(told_of(data["wishes"], destination, "wish"), member(route, "wish"));
        EXPECT_EQ(told_of(data["problems"], destination, "problem"), member(route, "problem"));
        EXPECT_EQ(told_of(data["locks"], destination, nullptr), member(route, "lock"));
    }
}

} // namespace web_test
