// Who did what, when, with which result.
#include "server/web/fields.h"
#include "server/web/handlers.h"
#include "server/web/history_export.h"
#include "server/web/history_json.h"
#include "server/web/history_search.h"
#include "server/web/parameters.h"
#include "tools/common/numbers.h"

namespace web {

namespace {
constexpr std::int64_t MOST_ENTRIES = 1000; // of a page
constexpr std::int64_t USUAL_ENTRIES = 100;

std::string cursor_of(const journal::history_place& place)
{
    return std::to_string(place.at.count()) + "." + std::to_string(place.id);
}

// False when the text is no cursor of ours.
bool read_cursor(const std::string& text, journal::history_place& place)
{
    const std::size_t dot = text.find('.');
    long long at = 0;
    long long id = 0;
    if (dot == std::string::npos || !common::read_decimal(text.substr(0, dot), at) ||
        !common::read_decimal(text.substr(dot + 1), id) || at < 0 || id < 0)
        return false;
    place = {desk::wall(at), id};
    return true;
}

// Looks for the piece under way, and asks for the next one while the page is not full.
struct gathering {
    history_search search;
    std::size_t most = 0;
    desk::monotonic until{};
    std::string entries{}; // so far, as JSON
    std::size_t count = 0;

    void add_entries()
    {
        for (const json& entry : search.entries)
            entries += (count++ == 0 ? "" : ",") + text_of(entry);
        search.entries.clear();
    }

    response page() const
    {
        std::string next;
        if (!search.ended && search.question.after)
            next = "\"next\":\"" + cursor_of(*search.question.after) + "\",";
        return {200, "application/json", "{" + next + "\"entries\":[" + entries + "]}", {}};
    }

    std::optional<response> operator()(server& server, const desk::moment& now)
    {
        std::string failure;
        take_piece(server, search, most - count, failure);
        add_entries();
        if (!failure.empty()) return problem_response(unreadable(failure));
        if (search.asked == 0 && (search.ended || count == most)) return page();
        if (now.steady >= until && search.question.after) return page();
        if (now.steady >= until) return problem_response(too_long());
        ask_piece(server, search);
        return std::nullopt;
    }
};

answer export_history(server& /*server*/, const call& call, bool as_table)
{
    std::vector<problem_at> wrong;
    const history_search search = read_search(call, wrong);
    if (!wrong.empty()) return problem_of(wrong);
    const std::string day = time_text(call.now.utc).substr(0, sizeof "2026-11-22" - 1);
    const std::string name = "router-control-history-" + day + (as_table ? ".csv" : ".json");
    answer stream;
    stream.response = {200,
                       as_table ? "text/csv; charset=utf-8" : "application/json",
                       "",
                       {{"Content-Disposition", "attachment; filename=\"" + name + "\""}}};
    stream.opened = [search, as_table](web::server& those, const desk::moment&, stream_id id) {
        return begin_export(those, id, search, as_table);
    };
    return stream;
}
} // namespace

answer list_history(server& server, const call& call)
{
    std::vector<problem_at> wrong;
    gathering page{read_search(call, wrong), 0, call.now.steady + LONGEST_SEARCH};
    page.most = static_cast<std::size_t>(
        read_integer(call.request, "limit", 1, MOST_ENTRIES, wrong).value_or(USUAL_ENTRIES));
    page.search.question.most = std::min(page.most, ROWS_OF_PIECE);
    journal::history_place after;
    if (const std::string* const cursor = find_parameter(call.request, "cursor")) {
        if (read_cursor(*cursor, after))
            page.search.question.after = after;
        else
            wrong.push_back({"cursor", "badValue", "cursor is none that was given here"});
    }
    if (!wrong.empty()) return problem_of(wrong);
    ask_piece(server, page.search);
    answer held;
    held.until = page.until;
    held.later = std::move(page);
    return held;
}

answer export_history_csv(server& server, const call& call)
{
    return export_history(server, call, true);
}

answer export_history_json(server& server, const call& call)
{
    return export_history(server, call, false);
}

} // namespace web
