#include "server/journal/history.h"

#include "server/journal/columns.h"
#include "server/journal/sql.h"

namespace journal {

namespace {
// Rows are found by one index, in the order of time, and the other conditions tried on each of
// them. The first of these that the question can use leaves the fewest rows.
const char* index_for(const history_filter& filter)
{
    if (filter.batch) return "history_by_batch";
    if (filter.salvo) return "history_by_salvo";
    if (filter.router && filter.destination) return "history_by_destination";
    if (filter.outcome && *filter.outcome != "confirmed") return "history_by_outcome";
    if (filter.router) return "history_by_router";
    if (filter.person) return "history_by_person";
    if (filter.kind) return "history_by_kind";
    if (filter.origin) return "history_by_origin";
    if (filter.outcome) return "history_by_outcome";
    return "history_by_time";
}

// The condition that the index answers; parameters are numbered by bind_question.
std::string key_for(const history_filter& filter)
{
    const std::string index = index_for(filter);
    if (index == "history_by_batch") return "batch = (SELECT number FROM batches WHERE id = ?7)";
    if (index == "history_by_salvo") return "salvo = ?12";
    if (index == "history_by_destination") return "router = ?1 AND destination = ?2";
    if (index == "history_by_outcome") return "outcome = ?6";
    if (index == "history_by_router") return "router = ?1";
    if (index == "history_by_person") return "person = ?3";
    if (index == "history_by_kind") return "kind = ?5";
    if (index == "history_by_origin") return "origin = ?4";
    return "1";
}

std::string fits(const history_filter& filter)
{
    std::string text = "1";
    if (filter.router) text += " AND router IS ?1";
    if (filter.destination) text += " AND destination IS ?2";
    if (filter.person) text += " AND person IS ?3";
    if (filter.origin) text += " AND origin IS ?4";
    if (filter.kind) text += " AND kind IS ?5";
    if (filter.outcome) text += " AND outcome IS ?6";
    if (filter.salvo) text += " AND salvo IS ?12";
    return text;
}

void bind_question(SQLite::Statement& statement, const history_question& question)
{
    const auto bind = [&](const char* name, const auto& value) {
        const int index = statement.getIndex(name);
        if (index > 0) bind_value(statement, index, value);
    };
    const history_filter& filter = question.filter;
    bind("?1", filter.router);
    bind("?2", filter.destination);
    bind("?3", filter.person);
    bind("?4", filter.origin);
    bind("?5", filter.kind);
    bind("?6", filter.outcome);
    bind("?7", filter.batch);
    bind("?12", filter.salvo);
    bind("?8", filter.from ? filter.from->count() : 0);
    if (filter.until) bind("?9", filter.until->count());
    if (question.after) {
        bind("?10", question.after->at.count());
        bind("?11", question.after->id);
    }
}

std::optional<int> number_in(const SQLite::Column& column)
{
    if (column.isNull()) return std::nullopt;
    return column.getInt();
}

constexpr const char* READING =
    "SELECT history.at, history.id, history.kind, history.person, history.origin, router,"
    " destination, source, was, history.salvo, data, batches.id, wish, outcome, why, detail, "
    "unchanged,"
    " sent_after, answered_after, ended_after, confirmed_late_after, found, accepted, reason, of, "
    "salvo_version"
    " FROM history LEFT JOIN batches ON batches.number = history.batch WHERE history.id = ?";

history_row read_row(SQLite::Statement& row)
{
    history_row read;
    int column = 0;
    const auto next = [&] {
        return row.getColumn(column++);
    };
    read.place.at = desk::wall(next().getInt64());
    read.place.id = next().getInt64();
    for (std::string* text : {&read.kind, &read.person, &read.origin, &read.router})
        *text = next().getString();
    for (std::optional<int>* number : {&read.destination, &read.source, &read.was})
        *number = number_in(next());
    read.salvo = next().getString();
    read.data = next().getString();
    read.batch = next().getString();
    read.wish = number_in(next());
    for (std::string* text : {&read.outcome, &read.why, &read.detail})
        *text = next().getString();
    read.unchanged = next().getInt() != 0;
    for (auto* duration :
         {&read.sent_after, &read.answered_after, &read.ended_after, &read.confirmed_late_after})
        *duration = duration_in(next());
    read.found = number_in(next());
    read.accepted = next().getInt() != 0;
    read.reason_given = next().getString();
    read.of = next().getString();
    read.salvo_version = next().getInt();
    return read;
}
} // namespace

std::string finding_sql(const history_question& question)
{
    const history_filter& filter = question.filter;
    std::string sql = "SELECT at, id, " + fits(filter) + " FROM history INDEXED BY " +
                      index_for(filter) + " WHERE " + key_for(filter) + " AND at >= ?8";
    if (filter.until) sql += " AND at < ?9";
    if (question.after) sql += " AND (at, id) < (?10, ?11)";
    return sql + " ORDER BY at DESC, id DESC";
}

history_page ask_history(database& database, const history_question& question)
{
    history_page page;
    const statement_use finding(database, finding_sql(question));
    bind_question(finding.statement, question);
    history_place last;
    for (std::int64_t examined = 0; finding.statement.executeStep(); ++examined) {
        if (page.rows.size() == question.most || examined == ROWS_EXAMINED) {
            page.next = last;
            break;
        }
        last = {desk::wall(finding.statement.getColumn(0).getInt64()),
                finding.statement.getColumn(1).getInt64()};
        if (finding.statement.getColumn(2).getInt() == 0) continue;
        each_row(
            database, READING,
            [&](SQLite::Statement& row) {
                page.rows.push_back(read_row(row));
                return false;
            },
            last.id);
    }
    return page;
}

} // namespace journal
