// A search in the history, under way: it is asked piece after piece, as what the filters let pass
// may stand far apart.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "server/journal/history.h"
#include "server/web/call.h"

namespace web {

// What the journal is asked for at most at once: to tell of so many rows takes the loop a few
// milliseconds, in which nobody else is served.
constexpr std::size_t ROWS_OF_PIECE = 100;

// Then what has been found is told, or that it takes too long.
constexpr std::chrono::seconds LONGEST_SEARCH{2};

struct history_search {
    journal::history_question question; // the next piece
    // What the journal does not ask for itself:
    std::set<std::string, std::less<>> whys{};     // empty: all
    std::set<std::string, std::less<>> outcomes{}; // empty: all
    std::optional<int> source{};                   // to or from
    std::vector<std::string> words{};              // in small letters; all of them
    desk::actor actor{};                           // who asks, and sees no more than they may

    std::uint64_t asked = 0;     // the number of the piece that is under way; 0: none
    std::vector<json> entries{}; // that have been found
    bool ended = false;          // there is nothing older
};

problem unreadable(const std::string& failure);
problem too_long();

// From the request's parameters; what is wrong is complained of.
history_search read_search(const call& call, std::vector<problem_at>& wrong);

// Asks for the next piece, unless one is under way or nothing is older.
void ask_piece(server& server, history_search& search);

// Whether a piece has come, whose entries are then among those found, at most `most` of them: the
// question goes on behind the last. False also when it cannot be read; then the failure says why.
bool take_piece(server& server, history_search& search, std::size_t most, std::string& failure);

} // namespace web
