// A person's settings of the panel.
#include "server/accounts/people.h"
#include "server/desk/limits.h"
#include "server/web/entity_tag.h"
#include "server/web/fields.h"
#include "server/web/handlers.h"
#include "server/web/settings_json.h"

namespace web {

namespace {
constexpr std::size_t LISTED = 2000; // entries of pins, and of folds
constexpr std::size_t STARRED = 1000;
constexpr std::size_t LONGEST_LANGUAGE = 35;

struct word_setting {
    const char* name;
    std::vector<std::string> words;
};

struct number_setting {
    const char* name;
    int least;
    int most;
};

const std::vector<word_setting>& word_settings()
{
    static const std::vector<word_setting> SETTINGS = {
        {"theme", {"system", "dark", "light"}},
        {"density", {"comfortable", "compact"}},
        {"view", {"matrix", "xy", "list"}},
        {"cellSize", {"S", "M", "L", "XL"}},
    };
    return SETTINGS;
}

constexpr number_setting NUMBERS[] = {
    {"headerWidth", 200, 480}, {"hotMinutes", 1, 60}, {"volume", 0, 100}};
constexpr const char* FLAGS[] = {"swapAxes", "sourceFirst", "sound", "singleKeys", "hintsSeen"};

bool is_made_of(const std::string& text, std::string_view others)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), [&](char letter) {
        return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') ||
               (letter >= '0' && letter <= '9') || others.find(letter) != std::string_view::npos;
    });
}

void read_router(fields& of, const char* name)
{
    const auto text = read_text(of, name, desk::ROUTER_ID_LENGTH);
    if (text && !is_made_of(*text, "-_"))
        complain(of, name, std::string(name) + " is no router's id");
}

std::string place_of(const fields& of, const char* name, std::size_t index)
{
    return of.at + "/" + name + "/" + std::to_string(index);
}

// A list of positions, or of groups, for a side of a router.
void check_sides(fields& settings, const char* name, const char* listed)
{
    if (find_member(settings, name) == nullptr) return;
    const json* const list = read_array(settings, name, LISTED);
    for (std::size_t i = 0; list != nullptr && i < list->size(); ++i) {
        fields one = fields_of((*list)[i], place_of(settings, name, i), settings.wrong);
        require(one, "router");
        require(one, "side");
        read_router(one, "router");
        read_word(one, "side", {"sources", "destinations"});
        const json* const values = read_array(one, listed, desk::POSITIONS);
        for (std::size_t k = 0; values != nullptr && k < values->size(); ++k) {
            const json& value = (*values)[k];
            const bool good =
                std::string_view(listed) == "groups"
                    ? value.is_string() &&
                          value.get_ref<const std::string&>().size() <= desk::TEXT_LENGTH
                    : value.is_number_unsigned() && value.get<std::uint64_t>() < desk::POSITIONS;
            if (!good)
                settings.wrong.push_back({place_of(one, listed, k), "badValue",
                                          std::string(listed) + " has a value that cannot be"});
        }
        finish(one);
    }
}

void check_starred(fields& settings)
{
    const char* const name = "starredSalvos";
    if (find_member(settings, name) == nullptr) return;
    const json* const list = read_array(settings, name, STARRED);
    desk::ulid id;
    for (std::size_t i = 0; list != nullptr && i < list->size(); ++i)
        if (!(*list)[i].is_string() || !desk::read_id((*list)[i].get_ref<const std::string&>(), id))
            settings.wrong.push_back(
                {place_of(settings, name, i), "badValue", "a salvo's id is no such id"});
}

// Complains of each value that cannot be.
void check_settings(fields& settings)
{
    for (const word_setting& each : word_settings())
        read_word(settings, each.name, each.words);
    for (const number_setting& each : NUMBERS)
        read_integer(settings, each.name, each.least, each.most);
    for (const char* const name : FLAGS)
        read_flag(settings, name);
    const auto language = read_text(settings, "language", LONGEST_LANGUAGE);
    if (language && !is_made_of(*language, "-"))
        complain(settings, "language", "language must be an IETF tag");
    read_router(settings, "lastRouter");
    check_sides(settings, "pins", "positions");
    check_sides(settings, "folds", "groups");
    check_starred(settings);
    finish(settings);
}

} // namespace

answer get_settings(server& server, const call& call)
{
    return json_response(settings_json(server, call.actor.person));
}

answer change_settings(server& server, const call& call)
{
    std::vector<problem_at> wrong;
    fields change = fields_of(call.body, "", wrong);
    check_settings(change);
    if (wrong.empty() && change.object.empty())
        wrong.push_back({"", "badValue", "the body changes nothing"});
    if (!wrong.empty()) return problem_of(wrong);
    json settings = settings_json(server, call.actor.person);
    settings.update(change.object);
    const accounts::objection against =
        accounts::set_settings(server.accounts, call.now, call.actor, text_of(settings));
    if (against.why != accounts::refusal::none) return problem_of(against);
    response given = json_response(settings);
    add_entity_tag(given, settings);
    return given;
}

} // namespace web
