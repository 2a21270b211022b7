#include "support/control_house.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "support/patience.h"

using nlohmann::json;

void ControlHouse::set_up(const std::vector<std::string>& options)
{
    std::vector<std::string> all = {"--data", data};
    all.insert(all.end(), options.begin(), options.end());
    start(all);
    ASSERT_NE(address, "") << printed;
    const std::size_t code = printed.find("/first#") + 7;
    const std::string cookies = directory.file("cookies", "");
    const auto as_browser = [&](const std::string& path, const json& body) {
        return ask(path,
                   {"--cookie-jar", cookies, "--cookie", cookies, "--header", "Origin: " + address,
                    "--header", "Content-Type: application/json", "--data", body.dump()});
    };
    as_browser("/api/v1/first-administrator",
               {{"code", printed.substr(code, printed.find('\n', code) - code)},
                {"id", "ana"},
                {"name", "Ana K."},
                {"password", "correct horse battery staple"}});
    const json made = json::parse(as_browser(
        "/api/v1/tokens", {{"id", "playout"},
                           {"name", "Playout"},
                           {"kind", "api"},
                           {"rights", {{"usual", "administer"}, {"exceptions", json::object()}}}}));
    ASSERT_TRUE(made.contains("secret")) << made << printed;
    token = made["secret"];
}

void ControlHouse::add_router(const std::string& id)
{
    std::uint16_t port = 0;
    std::string error;
    ASSERT_TRUE(common::start_simulated_router(simulators[id], built_program("router_simulator"),
                                               {}, port, error))
        << error;
    const json added =
        asked("POST", "/api/v1/routers",
              {{"id", id}, {"name", "STUDIO " + id}, {"address", "127.0.0.1"}, {"port", port}});
    ASSERT_EQ(added.value("id", ""), id) << added;
    until_ready(id);
}

json ControlHouse::asked(const std::string& method, const std::string& path, const json& body)
{
    std::vector<std::string> words = {
        "--request",  method,
        "--max-time", std::to_string(std::chrono::seconds(PATIENCE).count()),
        "--header",   "Authorization: Bearer " + token};
    if (!body.is_null())
        words.insert(words.end(),
                     {"--header", "Content-Type: application/json", "--data", body.dump()});
    return json::parse(ask(path, words), nullptr, false);
}

std::string ControlHouse::link_of(const std::string& router)
{
    return get("/api/v1/routers/" + router)["link"]["state"];
}

void ControlHouse::until(const std::string& what, const std::function<bool()>& done)
{
    const auto end = std::chrono::steady_clock::now() + PATIENCE;
    while (!done() && !HasFatalFailure()) {
        ASSERT_LT(std::chrono::steady_clock::now(), end) << "never: " << what;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

void ControlHouse::until_ready(const std::string& router)
{
    until(router + " is ready", [&] { return link_of(router) == "ready"; });
}

// It is the process that was started with the router's configuration.
pid_t ControlHouse::backend_of(const std::string& router)
{
    for (const auto& each : std::filesystem::directory_iterator("/proc")) {
        std::ifstream file(each.path() / "cmdline");
        std::string words; // empty also when the process ends meanwhile
        std::getline(file, words);
        if (words.find(data + "/backends/" + router + ".conf") != std::string::npos)
            return std::stoi(each.path().filename());
    }
    throw std::runtime_error(router + " has no backend");
}

told_take ControlHouse::take(const std::string& router, int destination, int source)
{
    const json answer = asked("PUT",
                              "/api/v1/routers/" + router + "/destinations/" +
                                  std::to_string(destination) + "/route?wait=60000",
                              {{"source", source}});
    if (!answer.is_object()) return {"", "no answer", answer.dump()};
    if (answer.contains("code"))
        return {answer.value("operation", ""), answer["code"], answer.value("detail", "")};
    const json& row = answer.at("rows").at(0);
    return {answer.at("id"), row.at("outcome"), row.value("detail", "")};
}
