#include "unit/web/live_client.h"

#include <algorithm>

using web::json;

namespace web_test {

namespace {
// In the place of the one that says the same under `key`; without a value there is none any more.
void put_by(json& list, const std::string& key, const json& is, const json& value)
{
    const auto found =
        std::find_if(list.begin(), list.end(), [&](const json& each) { return each[key] == is; });
    if (found != list.end()) list.erase(found);
    if (!value.is_null()) list.push_back(value);
}

json unless(bool empty, const json& value)
{
    return empty ? json() : value;
}

void put_route(json& routes, const json& tuple)
{
    const auto place = tuple[0].get<std::size_t>();
    while (routes["sources"].size() <= place) {
        routes["sources"].push_back(-2);
        routes["times"].push_back(0);
    }
    routes["sources"][place] = tuple[1];
    routes["times"][place] = tuple[2];
    routes["by"].erase(std::to_string(place));
    if (tuple[3] != "unknown") routes["by"][std::to_string(place)] = tuple[3];
}

void put_names(json& list, const json& change)
{
    for (const json& row : change["rows"])
        put_by(list, "index", row["index"], row);
    json left = json::array();
    for (const json& row : list)
        if (row["index"] < change["count"]) left.push_back(row);
    list = left;
}

void put_rows(json& operations, const json& change)
{
    for (json& each : operations) {
        if (each["id"] != change["operation"]) continue;
        each["state"] = change["state"];
        each["counts"] = change["counts"];
        for (const json& row : change["rows"])
            each["rows"].at(row["row"].get<std::size_t>()) = row["result"];
    }
}

void put_in_router(json& data, const std::string& kind, const json& change)
{
    if (kind == "router") data["router"] = change["router"];
    if (kind == "sources" || kind == "destinations") put_names(data[kind], change);
    if (kind == "routes")
        for (const json& tuple : change["routes"])
            put_route(data["routes"], tuple);
    if (kind == "stale") data["routes"]["stale"] = change["destinations"];
    for (const char* const one : {"wish", "problem"})
        if (kind == one)
            put_by(data[kind == "wish" ? "wishes" : "problems"], "destination",
                   change["destination"], unless(change[one].is_null(), change));
    if (kind == "lock") put_by(data["locks"], "destination", change["destination"], change["lock"]);
    if (kind == "staged")
        put_by(data["stages"], "person", change["staged"]["person"],
               unless(change["staged"]["destinations"].empty(), change["staged"]));
}

void put_in_house(json& data, const std::string& kind, const json& change)
{
    if (kind == "router") put_by(data["routers"], "id", change["router"]["id"], change["router"]);
    if (kind == "routerRemoved") put_by(data["routers"], "id", change["id"], {});
    if (kind == "operation")
        put_by(data["operations"], "id", change["operation"]["id"], change["operation"]);
    if (kind == "rows") put_rows(data["operations"], change);
    if (kind == "salvo") put_by(data["salvos"], "id", change["salvo"]["id"], change["salvo"]);
    if (kind == "salvoDeleted") put_by(data["salvos"], "id", change["id"], {});
    if (kind == "operators") data["operators"] = change["operators"];
    if (kind == "server") data["server"] = change["server"];
    if (kind == "frames")
        for (const json& frame : change["frames"])
            data["frames"].push_back(frame);
}

void put_of_mine(json& data, const std::string& kind, const json& change)
{
    if (kind == "stage")
        put_by(data["stages"], "router", change["stage"]["router"],
               unless(change["stage"]["rows"].empty(), change["stage"]));
    if (kind == "settings") data["settings"] = change["settings"];
    if (kind == "undo") {
        data["undo"] = change["undo"];
        data["redo"] = change["redo"];
    }
    if (kind == "notice") put_by(data["notices"], "id", change["notice"]["id"], change["notice"]);
    if (kind == "noticeDismissed") put_by(data["notices"], "id", change["id"], {});
}

void put(json& data, const std::string& topic, const json& change)
{
    const std::string kind = change["kind"];
    if (topic.starts_with("routers/")) return put_in_router(data, kind, change);
    if (topic == "me") return put_of_mine(data, kind, change);
    put_in_house(data, kind, change);
}
} // namespace

void live_model::hears(const std::string& text)
{
    const json message = json::parse(text);
    if (message["type"] == "snapshot") {
        ++snapshots;
        instance = message["instance"];
        topics[message["topic"]] = {message["revision"], message["data"]};
    }
    if (message["type"] == "error") topics.erase(message["topic"].get<std::string>());
    if (message["type"] != "change") return;
    ++changes;
    live_copy& copy = topics[message["topic"]];
    if (message["previous"] != copy.revision) {
        broken.insert(message["topic"]);
        return;
    }
    copy.revision = message["revision"];
    for (const json& each : message["data"])
        put(copy.data, message["topic"], each);
}

std::string subscription_of(const live_model& model, const std::set<std::string>& topics)
{
    json message = {{"type", "subscribe"}, {"topics", topics}};
    if (model.instance.empty()) return message.dump();
    message["since"] = json::object();
    for (const auto& [topic, copy] : model.topics)
        if (topics.contains(topic)) message["since"][topic] = copy.revision;
    message["instance"] = model.instance;
    return message.dump();
}

} // namespace web_test
