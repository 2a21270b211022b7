#include "console/batch_answer.h"

#include <algorithm>
#include <vector>

#include "console/batch_text.h"
#include "console/route_names.h"
#include "console/route_rows.h"
#include "server/desk/words.h"

namespace console {

namespace {
struct verbs {
    const char* goes;
    const char* would_go;
};

verbs verbs_of(desk::batch_kind kind)
{
    switch (kind) {
    case desk::batch_kind::take:
    case desk::batch_kind::stage:
    case desk::batch_kind::salvo:
        break;
    case desk::batch_kind::undo:
        return {"Undoing ", "Would undo "};
    case desk::batch_kind::redo:
        return {"Redoing ", "Would redo "};
    case desk::batch_kind::rollback:
        return {"Rolling back ", "Would roll back "};
    }
    return {"Taking ", "Would take "};
}

// "3 routes", "2 of 3 routes"
std::string routes(std::size_t part, std::size_t whole)
{
    return (part == whole ? "" : std::to_string(part) + " of ") + route_count(whole);
}

// What stands in the row's way, and what a person can do about it.
std::string blocked_text(const console_state& console, const desk::row_answer& row,
                         const batch_asked& asked)
{
    std::string better;
    if (row.why == desk::reason::not_confirmed)
        better = unconfirmed_text(console, asked.of, row.wished);
    const bool staged = asked.kind == desk::batch_kind::stage;
    if (!staged || row.why != desk::reason::changed_since)
        return better.empty() ? row.detail : better;
    better = open_take_text(console, row.wished.router, row.wished.destination);
    return better.empty() ? row.detail + "; stage it again to keep it, or unstage it" : better;
}

std::string row_text(const console_state& console, const desk::row_answer& row,
                     const batch_asked& asked)
{
    const auto& [router, destination, source] = row.wished;
    const std::string place = place_text(console, router, destination);
    const std::string name = desk::source_text(console.desk, router, source);
    if (row.unchanged) return place + " shows " + name + " already";
    if (!row.goes) return place + " <- " + name + ": " + blocked_text(console, row, asked);
    const int shown = known_source(console.desk, row.wished);
    return place + ": " + desk::source_text(console.desk, router, shown) + " -> " + name;
}

nlohmann::json row_json(const desk::desk_state& desk, const desk::row_answer& row)
{
    nlohmann::json json = route_json(desk, row.wished, known_source(desk, row.wished));
    json["goes"] = row.goes;
    json["unchanged"] = row.unchanged;
    if (row.why == desk::reason::none) return json;
    json["reason"] = desk::code_of(row.why);
    json["detail"] = row.detail;
    return json;
}

bool is_blocked(const desk::row_answer& row)
{
    return !row.goes && !row.unchanged;
}

// By itself, rather than by another row.
bool has_reason(const desk::row_answer& row)
{
    return is_blocked(row) && row.why != desk::reason::blocked_by_other_row;
}

verdict verdict_of(const desk::row_answer& row)
{
    if (!has_reason(row)) return verdict::done;
    return row.why == desk::reason::link_not_ready ? verdict::not_ready : verdict::refused;
}

// None of these begins with a name, whose case is not ours to change.
answer refuse_whole(const desk::take_answer& told)
{
    std::string complaint = told.detail + ".";
    if (told.why == desk::reason::nothing_to_do || told.why == desk::reason::no_such_batch)
        complaint.front() = static_cast<char>(complaint.front() - 'a' + 'A');
    else
        complaint = "Not sent: " + complaint;
    return refusal(complaint, verdict::refused);
}

std::string one_row_text(const std::string& row, bool blocked, bool dry_run)
{
    if (!blocked) return row + ".\n";
    return (dry_run ? "Would not be sent: " : "Not sent: ") + row + ".\n";
}

// The first line of an answer of several rows.
std::string headline(const std::vector<desk::row_answer>& rows, const verbs& verbs, bool dry_run)
{
    const auto count = [&](auto rule) {
        return static_cast<std::size_t>(std::count_if(rows.begin(), rows.end(), rule));
    };
    const std::size_t going = count([](const auto& row) { return row.goes; });
    const std::size_t blocked = count(has_reason);
    if (going > 0)
        return (dry_run ? verbs.would_go : verbs.goes) + routes(going, rows.size()) + ":\n";
    if (blocked == 0) return "All " + route_count(rows.size()) + " are shown already:\n";
    return std::string("Nothing ") + (dry_run ? "would be" : "was") +
           " sent: " + routes(blocked, rows.size()) + (blocked == 1 ? " is" : " are") +
           " blocked:\n";
}

// "undo" when that is what the command was, or "redo"; else empty.
std::string step_command(desk::batch_kind kind)
{
    if (kind == desk::batch_kind::undo) return "undo";
    return kind == desk::batch_kind::redo ? "redo" : "";
}

// It may go by itself, later.
bool may_only_wait(const console_state& console, const desk::row_answer& row)
{
    const desk::live_router* const live = desk::find_live(console.desk, row.wished.router);
    return row.why == desk::reason::link_not_ready ||
           (live != nullptr && live->open.contains(row.wished.destination));
}

// What is to be typed when rows are blocked.
std::string rest_text(const console_state& console, const std::vector<desk::row_answer>& rows,
                      const batch_asked& asked)
{
    const auto any = [&](auto rule) {
        return std::any_of(rows.begin(), rows.end(), rule);
    };
    const std::string step = step_command(asked.kind);
    if (any([](const auto& row) { return is_blocked(row) && !has_reason(row); }))
        return step.empty()
                   ? "With --rest, what can go goes.\n"
                   : "\"" + step + " --rest\" sends what can go, and gives up the others.\n";
    if (step.empty() || asked.dry_run || !any(has_reason)) return "";
    if (asked.rest) return "What is not sent is given up.\n";
    const bool stuck = std::none_of(rows.begin(), rows.end(), [&](const desk::row_answer& row) {
        return may_only_wait(console, row);
    });
    return stuck ? "\"" + step + " --rest\" gives it up.\n" : "";
}

std::string answer_text(const console_state& console, const desk::take_answer& told,
                        const batch_asked& asked)
{
    const verbs verbs = verbs_of(asked.kind);
    const bool dry_run = asked.dry_run;
    if (told.rows.size() == 1) {
        const desk::row_answer& row = told.rows.front();
        const char* const verb = !row.goes ? "" : dry_run ? verbs.would_go : verbs.goes;
        return one_row_text(verb + row_text(console, row, asked), is_blocked(row), dry_run) +
               rest_text(console, told.rows, asked);
    }
    std::string text = headline(told.rows, verbs, dry_run);
    for (const desk::row_answer& row : told.rows)
        if (!is_blocked(row) || has_reason(row))
            text += "  " + row_text(console, row, asked) + "\n";
    return text + rest_text(console, told.rows, asked);
}
} // namespace

answer batch_answer(const console_state& console, const desk::take_answer& told,
                    const batch_asked& asked)
{
    if (told.rows.empty()) return refuse_whole(told);
    answer result{.text = answer_text(console, told, asked)};
    bool goes = false;
    auto& rows = result.json["rows"] = nlohmann::json::array();
    for (const desk::row_answer& row : told.rows) {
        rows.push_back(row_json(console.desk, row));
        goes = goes || row.goes;
        result.verdict = std::max(result.verdict, verdict_of(row));
    }
    result.json["dryRun"] = asked.dry_run;
    if (!goes || asked.dry_run) return result;
    result.batch = told.batch;
    result.json["batch"] = desk::text_of(told.batch);
    return result;
}

} // namespace console
