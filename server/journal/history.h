// Questions to the history: what was wished and what became of it, locks, settings, salvos, outside
// changes, newest first.
//
// A question is answered in pieces: one looks at no more than ROWS_EXAMINED rows, so that it takes
// a few milliseconds whatever is asked of however many. A piece may so be short, even empty, and
// still have a next one.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "server/desk/moment.h"
#include "server/journal/database.h"

namespace journal {

constexpr std::int64_t ROWS_EXAMINED = 2000;

// What is none does not matter.
struct history_filter {
    std::optional<std::string> router{};
    std::optional<int> destination{};
    std::optional<std::string> person{};
    std::optional<std::string> origin{};
    std::optional<std::string> kind{};    // entry_tables.h, or a batch's
    std::optional<std::string> outcome{}; // of a wish; the words are those of the house's JSON
    std::optional<std::string> batch{};   // its identifier
    std::optional<std::string> salvo{};   // its identifier: its versions, its runs, its end
    std::optional<desk::wall> from{};
    std::optional<desk::wall> until{}; // up to before then
};

// Between two rows.
struct history_place {
    desk::wall at{};
    std::int64_t id = 0;
    bool operator==(const history_place&) const = default;
};

struct history_question {
    history_filter filter;
    std::optional<history_place> after{}; // the place where an earlier piece ended
    std::size_t most = 100;               // rows; 1 or more
};

// As the table has it. Sources count from 0; -1 is none, -2 unknown. Durations are those since the
// batch was made.
struct history_row {
    history_place place; // its own
    std::string kind;
    std::string person; // empty: nobody's doing
    std::string origin;
    std::string router; // empty: of the house
    std::optional<int> destination;
    std::optional<int> source;
    std::optional<int> was;
    std::string salvo;
    std::string data; // JSON; empty: none

    // Of a wish.
    std::string batch;
    std::optional<int> wish; // its row in the batch
    std::string outcome;
    std::string why;
    std::string detail;
    bool unchanged = false;
    std::optional<desk::monotonic> sent_after;
    std::optional<desk::monotonic> answered_after;
    std::optional<desk::monotonic> ended_after;
    std::optional<desk::monotonic> confirmed_late_after;
    std::optional<int> found;
    bool accepted = false;
    std::string reason_given;
    std::string of; // the salvo or batch that its batch is of
    int salvo_version = 0;
};

struct history_page {
    std::vector<history_row> rows;     // newest first
    std::optional<history_place> next; // where to go on; none: there is nothing older
};

history_page ask_history(database& database, const history_question& question);

// The statement that finds the rows, as it is given to the database.
std::string finding_sql(const history_question& question);

} // namespace journal
