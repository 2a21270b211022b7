#include "console/batch_text.h"

#include <algorithm>
#include <vector>

#include "console/route_names.h"
#include "console/times.h"
#include "server/desk/words.h"

namespace console {

namespace {
constexpr std::size_t ROWS_TOLD = 20; // of an outcome's, which comes unasked

struct kind_names {
    const char* code;  // in JSON
    const char* title; // begins the text; empty for a plain take
};

kind_names names_of(desk::batch_kind kind)
{
    switch (kind) {
    case desk::batch_kind::take:
        return {"take", ""};
    case desk::batch_kind::stage:
        return {"stage", ""};
    case desk::batch_kind::salvo:
        return {"salvo", "Salvo"};
    case desk::batch_kind::undo:
        return {"undo", "Undo"};
    case desk::batch_kind::redo:
        return {"redo", "Redo"};
    case desk::batch_kind::rollback:
        return {"rollback", "Rollback"};
    }
    return {};
}
} // namespace

bool has_ended(const desk::house& house, const desk::ulid& batch)
{
    const auto found = house.batches.find(batch);
    return found == house.batches.end() ||
           std::none_of(found->second.rows.begin(), found->second.rows.end(),
                        [](const desk::wish& row) { return row.end == desk::outcome::open; });
}

bool has_outcome(const desk::house& house, const desk::ulid& batch)
{
    const auto found = house.batches.find(batch);
    return found != house.batches.end() && has_ended(house, batch) &&
           std::any_of(
               found->second.rows.begin(), found->second.rows.end(),
               [](const desk::wish& row) { return desk::was_accepted(row) && !row.unchanged; });
}

namespace {
std::string timed_out_text(const desk::wish& row)
{
    if (!row.detail.empty()) return "timed out: " + row.detail;
    std::string text = "timed out: not confirmed";
    if (row.sent_after && row.ended_after)
        text += " within " + duration(*row.ended_after - *row.sent_after) + " of being sent";
    return text;
}

std::string end_itself(const desk::wish& row)
{
    switch (row.end) {
    case desk::outcome::open:
        return "under way";
    case desk::outcome::confirmed:
        if (row.unchanged) return "shown already";
        return "confirmed after " + duration(row.ended_after.value_or(desk::monotonic{}));
    case desk::outcome::contradicted:
        return "not confirmed: " + row.detail;
    case desk::outcome::refused:
        return "refused by the router (" + row.detail + ")";
    case desk::outcome::timed_out:
        return timed_out_text(row);
    case desk::outcome::not_sent:
        return "not sent: " + row.detail;
    case desk::outcome::superseded:
        return "superseded: " + row.detail;
    case desk::outcome::unknown:
        return "unknown: " + row.detail;
    }
    return "";
}

// Of a confirmed row. What was confirmed a moment ago may have changed again.
std::string shown_text(const console_state& console, const desk::route& route,
                       const std::string& end)
{
    const auto& [router, destination, source] = route;
    const int shown = known_source(console.desk, route);
    const std::string place = place_text(console, router, destination);
    const std::string said = desk::source_text(console.desk, router, source) + ": " + end;
    if (shown == source) return place + " shows " + said;
    if (shown == desk::UNKNOWN_SOURCE)
        return place + " showed " + said + "; what it shows by now is not known";
    return place + " showed " + said + "; it shows " +
           desk::source_text(console.desk, router, shown) + " by now, " +
           desk::taker_text(console.desk, router, destination, shown);
}

std::string outcome_row_text(const console_state& console, const desk::ulid& of,
                             const desk::wish& row)
{
    if (row.end == desk::outcome::confirmed) return shown_text(console, row.wished, end_text(row));
    std::string text = route_text(console, row.wished) + ": " + end_text(console, of, row);
    if (row.end != desk::outcome::timed_out || row.confirmed_late_after) return text;
    const int shown = known_source(console.desk, row.wished);
    if (shown == desk::UNKNOWN_SOURCE) return text + "; what it shows by now is not known";
    return text + "; " + place_text(console, row.wished.router, row.wished.destination) +
           " shows " + desk::source_text(console.desk, row.wished.router, shown);
}

// Figures of a batch that has ended.
struct outcome_figures {
    std::size_t confirmed = 0;
    std::size_t unchanged = 0;
    desk::monotonic slowest{}; // of the confirmed
};

outcome_figures figures_of(const desk::batch& batch)
{
    outcome_figures figures;
    for (const desk::wish& row : batch.rows) {
        if (row.end != desk::outcome::confirmed) continue;
        if (row.unchanged) {
            ++figures.unchanged;
            continue;
        }
        ++figures.confirmed;
        figures.slowest = std::max(figures.slowest, row.ended_after.value_or(desk::monotonic{}));
    }
    return figures;
}

// The line below the first of so many rows.
std::string others_text(std::size_t rows)
{
    return rows <= ROWS_TOLD ? "" : "  and " + std::to_string(rows - ROWS_TOLD) + " more\n";
}

// "Salvo NEWS: ", empty for a plain take.
std::string title_text(const desk::house& house, const desk::batch& batch)
{
    const std::string title = names_of(batch.kind).title;
    if (title.empty()) return "";
    const auto salvo = house.salvos.find(batch.of);
    return title + (salvo == house.salvos.end() ? "" : " " + salvo->second.name) + ": ";
}

nlohmann::json outcome_row_json(const desk::desk_state& desk, const desk::wish& row)
{
    nlohmann::json json = route_json(desk, row.wished, row.was);
    json["outcome"] = code_of(row.end);
    if (row.end == desk::outcome::confirmed) json["unchanged"] = row.unchanged;
    if (row.end == desk::outcome::confirmed && !row.unchanged && row.ended_after)
        json["latencyMs"] = json_ms(*row.ended_after);
    if (row.why != desk::reason::none) json["reason"] = desk::code_of(row.why);
    if (!row.detail.empty()) json["detail"] = row.detail;
    if (row.confirmed_late_after) json["confirmedLateMs"] = json_ms(*row.confirmed_late_after);
    return json;
}
} // namespace

std::string end_text(const desk::wish& row)
{
    std::string end = end_itself(row);
    if (!row.confirmed_late_after) return end;
    return end + "; confirmed late, after " + duration(*row.confirmed_late_after);
}

std::string end_text(const console_state& console, const desk::ulid& of, const desk::wish& row)
{
    const std::string why =
        row.why == desk::reason::not_confirmed ? unconfirmed_text(console, of, row.wished) : "";
    return why.empty() ? end_text(row) : "not sent: " + why;
}

std::string unconfirmed_text(const console_state& console, const desk::ulid& of,
                             const desk::route& wished)
{
    const auto batch = console.desk.house.batches.find(of);
    if (batch == console.desk.house.batches.end()) return "";
    for (const desk::wish& row : batch->second.rows) {
        if (row.wished.router != wished.router || row.wished.destination != wished.destination)
            continue;
        if (row.end == desk::outcome::confirmed || row.confirmed_late_after) return "";
        const std::string take =
            "the take of " + desk::source_text(console.desk, wished.router, row.wished.source);
        if (row.end == desk::outcome::open) return take + " there is still under way";
        if (row.end != desk::outcome::contradicted)
            return take + " there was not confirmed: " + end_text(row);
        const desk::wall ended =
            batch->second.made +
            std::chrono::floor<desk::wall>(row.ended_after.value_or(desk::monotonic{}));
        return take + " there was not confirmed at " + time_of_day(ended) + ": " + row.detail;
    }
    return "";
}

std::string figures_text(const desk::batch& batch)
{
    const outcome_figures figures = figures_of(batch);
    const std::size_t sent = batch.rows.size() - figures.unchanged;
    std::string text = std::to_string(sent);
    if (sent > 1 && figures.confirmed == sent)
        text.insert(0, "all ");
    else if (figures.confirmed < sent)
        text.insert(0, figures.confirmed == 0 ? "none of "
                                              : std::to_string(figures.confirmed) + " of ");
    text += " confirmed";
    if (figures.confirmed > 0)
        text += (figures.confirmed == 1 ? " after " : ", slowest ") + duration(figures.slowest);
    if (figures.unchanged > 0) text += ", " + std::to_string(figures.unchanged) + " shown already";
    return text;
}

std::string outcome_text(const console_state& console, const desk::ulid& batch)
{
    const auto found = console.desk.house.batches.find(batch);
    if (found == console.desk.house.batches.end()) return "";
    const std::vector<desk::wish>& rows = found->second.rows;
    const std::string title = title_text(console.desk.house, found->second);
    if (rows.size() == 1)
        return title + outcome_row_text(console, found->second.of, rows.front()) + ".\n";
    std::string text = title + figures_text(found->second) + ".\n";
    std::size_t others = 0;
    for (const desk::wish& row : rows)
        if (row.end != desk::outcome::confirmed && ++others <= ROWS_TOLD)
            text += "  " + outcome_row_text(console, found->second.of, row) + "\n";
    return text + others_text(others);
}

std::string unknown_text(const console_state& console, const desk::ulid& batch)
{
    std::string text;
    std::size_t open = 0;
    for (const desk::wish& row : console.desk.house.batches.at(batch).rows)
        if (row.end == desk::outcome::open && ++open <= ROWS_TOLD)
            text += route_text(console, row.wished) + ": it is not known what became of it.\n";
    return text + others_text(open);
}

nlohmann::json outcome_json(const console_state& console, const desk::ulid& batch)
{
    const auto found = console.desk.house.batches.find(batch);
    if (found == console.desk.house.batches.end()) return nullptr;
    const desk::batch& of = found->second;
    const outcome_figures figures = figures_of(of);
    nlohmann::json json = {{"event", "outcome"},
                           {"batch", desk::text_of(batch)},
                           {"kind", names_of(of.kind).code},
                           {"confirmed", figures.confirmed},
                           {"unchanged", figures.unchanged},
                           {"rows", nlohmann::json::array()}};
    if (figures.confirmed > 0) json["slowestMs"] = json_ms(figures.slowest);
    const auto salvo = console.desk.house.salvos.find(of.of);
    if (salvo != console.desk.house.salvos.end()) json["salvo"] = salvo->second.name;
    for (const desk::wish& row : of.rows)
        json["rows"].push_back(outcome_row_json(console.desk, row));
    return json;
}

std::string late_text(const console_state& console, const desk::wish_id& id)
{
    const desk::wish* const row = desk::find_wish(console.desk.house, id);
    if (row == nullptr || !row->confirmed_late_after) return "";
    return shown_text(console, row->wished,
                      "confirmed late, after " + duration(*row->confirmed_late_after)) +
           ".\n";
}

nlohmann::json late_json(const console_state& console, const desk::wish_id& id)
{
    const desk::wish* const row = desk::find_wish(console.desk.house, id);
    if (row == nullptr || !row->confirmed_late_after) return nullptr;
    nlohmann::json json = outcome_row_json(console.desk, *row);
    json["event"] = "confirmedLate";
    json["batch"] = desk::text_of(id.batch);
    return json;
}

const char* code_of(desk::outcome outcome)
{
    switch (outcome) {
    case desk::outcome::timed_out:
        return "timedOut";
    case desk::outcome::not_sent:
        return "notSent";
    case desk::outcome::open:
    case desk::outcome::confirmed:
    case desk::outcome::contradicted:
    case desk::outcome::refused:
    case desk::outcome::superseded:
    case desk::outcome::unknown:
        break;
    }
    return desk::text_of(outcome);
}

verdict verdict_of(const desk::batch& batch)
{
    verdict result = verdict::done;
    for (const desk::wish& row : batch.rows) {
        if (row.end == desk::outcome::confirmed) continue;
        if (row.why == desk::reason::link_not_ready || row.why == desk::reason::link_lost)
            return verdict::not_ready;
        result = verdict::refused;
    }
    return result;
}

} // namespace console
