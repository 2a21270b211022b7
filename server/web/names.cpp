#include <algorithm>
#include <utility>
#include <vector>

#include "server/desk/setup.h"
#include "server/web/entity_tag.h"
#include "server/web/fields.h"
#include "server/web/handlers.h"
#include "server/web/name_json.h"
#include "server/web/position.h"

namespace web {

namespace {
using desk::side;

answer list_names(server& server, const call& call, side side)
{
    problem wrong;
    if (find_router(server, call, wrong) == nullptr) return wrong;
    return json_response(names_json(server.desk, call.values.front(), side));
}

struct label_wanted {
    std::optional<std::string> alias; // none: as it is
    std::optional<std::string> group;
};

label_wanted read_label(fields& fields)
{
    return {read_text(fields, "alias"), read_text(fields, "group")};
}

desk::objection set_label(server& server, const call& call, side side, int position,
                          const label_wanted& wanted)
{
    const std::string& router = call.values.front();
    desk::label label = desk::label_of(*desk::find_router(server.desk, router), side, position);
    label.alias = wanted.alias.value_or(label.alias);
    label.group = wanted.group.value_or(label.group);
    return desk::set_label(server.desk, call.now, call.actor, router, side, position, label);
}

using label_rows = std::vector<std::pair<int, label_wanted>>;

void read_row(const server& server, const call& call, side side, fields& fields, label_rows& rows)
{
    require(fields, "index");
    const auto index = read_integer(fields, "index", 0, desk::POSITIONS - 1);
    label_wanted wanted = read_label(fields);
    finish(fields);
    if (!index) return;
    const int position = static_cast<int>(*index);
    problem none;
    if (!find_position(server, call.values.front(), side, std::to_string(position), false, none))
        complain(fields, "index", none.detail, none.code);
    const auto same = [&](const auto& row) {
        return row.first == position;
    };
    if (std::any_of(rows.begin(), rows.end(), same))
        complain(fields, "index", "index " + std::to_string(position) + " is there twice");
    rows.emplace_back(position, std::move(wanted));
}

label_rows read_rows(const server& server, const call& call, side side,
                     std::vector<problem_at>& wrong)
{
    fields fields = fields_of(call.body, "", wrong);
    label_rows rows;
    const json* const list = read_array(fields, "rows", desk::POSITIONS);
    if (list != nullptr && list->empty()) complain(fields, "rows", "rows must not be empty");
    for (std::size_t i = 0; list != nullptr && i < list->size(); ++i) {
        web::fields row = fields_of((*list)[i], "/rows/" + std::to_string(i), wrong);
        read_row(server, call, side, row, rows);
    }
    finish(fields);
    return rows;
}

answer label_names(server& server, const call& call, side side)
{
    problem not_there;
    if (find_router(server, call, not_there) == nullptr) return not_there;
    const std::string& router = call.values.front();
    std::vector<problem_at> wrong;
    const label_rows rows = read_rows(server, call, side, wrong);
    if (!wrong.empty()) return problem_of(wrong, router);
    std::vector<int> positions;
    for (const auto& [position, wanted] : rows) {
        const desk::objection found = set_label(server, call, side, position, wanted);
        if (found.why != desk::reason::none) return problem_of(found, router); // of the first
        positions.push_back(position);
    }
    response labelled = json_response(names_json(server.desk, router, side, positions));
    add_entity_tag(labelled, names_json(server.desk, router, side));
    return labelled;
}

answer label_name(server& server, const call& call, side side)
{
    problem not_there;
    const std::optional<int> position = find_position(server, call, side, not_there);
    if (!position) return not_there;
    const std::string& router = call.values.front();
    std::vector<problem_at> wrong;
    fields fields = fields_of(call.body, "", wrong);
    const label_wanted wanted = read_label(fields);
    finish(fields);
    if (fields.object.empty() && wrong.empty())
        wrong.push_back({"", "badValue", "there is nothing to change"});
    if (!wrong.empty()) return problem_of(wrong, router);
    const desk::objection found = set_label(server, call, side, *position, wanted);
    if (found.why != desk::reason::none) return problem_of(found, router);
    const json present = name_json(server.desk, router, side, *position);
    response labelled = json_response(present);
    add_entity_tag(labelled, present);
    return labelled;
}

answer get_name(server& server, const call& call, side side)
{
    problem wrong;
    const std::optional<int> position = find_position(server, call, side, wrong);
    if (!position) return wrong;
    return json_response(name_json(server.desk, call.values.front(), side, *position));
}
} // namespace

answer list_sources(server& server, const call& call)
{
    return list_names(server, call, side::sources);
}

answer list_destinations(server& server, const call& call)
{
    return list_names(server, call, side::destinations);
}

answer get_source(server& server, const call& call)
{
    return get_name(server, call, side::sources);
}

answer get_destination(server& server, const call& call)
{
    return get_name(server, call, side::destinations);
}

answer label_sources(server& server, const call& call)
{
    return label_names(server, call, side::sources);
}

answer label_destinations(server& server, const call& call)
{
    return label_names(server, call, side::destinations);
}

answer label_source(server& server, const call& call)
{
    return label_name(server, call, side::sources);
}

answer label_destination(server& server, const call& call)
{
    return label_name(server, call, side::destinations);
}

} // namespace web
