#include "server/web/settings_json.h"

#include "server/accounts/people.h"

namespace web {

namespace {
json usual_settings()
{
    return {{"theme", "system"},      {"density", "comfortable"},
            {"view", "matrix"},       {"swapAxes", false},
            {"cellSize", "L"},        {"headerWidth", 292},
            {"hotMinutes", 10},       {"sourceFirst", false},
            {"sound", false},         {"volume", 50},
            {"singleKeys", true},     {"language", "en"},
            {"hintsSeen", false},     {"pins", json::array()},
            {"folds", json::array()}, {"starredSalvos", json::array()}};
}
} // namespace

json settings_json(const server& server, const std::string& person)
{
    json settings = usual_settings();
    const accounts::person* const known = accounts::find_person(server.accounts, person);
    if (known == nullptr) return settings;
    const json own = json::parse(known->settings, nullptr, false);
    if (own.is_object()) settings.update(own);
    return settings;
}

} // namespace web
