// What there is to tell of a destination: what it shows, what is wished and staged for it, its
// lock, and what went wrong.
#pragma once

#include <nlohmann/json.hpp>
#include <optional>
#include <string>

#include "console/console_state.h"
#include "console/positions.h"

namespace console {

// Its pointers are into the desk, until it changes. Each may be null.
struct route_row {
    std::string router;
    position destination;
    int source = desk::UNKNOWN_SOURCE;
    desk::wall confirmed{};          // when the router said so last
    std::optional<desk::wall> as_of; // the router may show another since; none: fresh, or unknown
    const desk::open_wish* wish = nullptr; // the newest that is under way
    const desk::staged_row* staged = nullptr;
    bool changed = false; // it shows another source than when the row was staged
    const desk::lock* lock = nullptr;
    const desk::wish* trouble = nullptr; // its last wish, which ended badly
    desk::wall troubled{};               // when it did
    bool ready = false;                  // the link
};

// Null when the person has staged nothing there.
const desk::staged_row* find_staged(const console_state& console, const std::string& router,
                                    int destination);

// Of a staged row that is as it was, and has to wait for a take: "a take of CAM 4 by ben is under
// way". Empty for any other.
std::string open_take_text(const console_state& console, const std::string& router,
                           int destination);

// The desk must have the router.
route_row route_row_of(const console_state& console, const std::string& router, int destination);

// The last wish ended badly and its source is not shown, what it shows is not known although the
// link is ready, or it has changed since it was staged.
bool is_problem(const route_row& row);

// "taking CAM 4 (sent); staged CAM 5; locked by anna (on air)": all but what it shows. Of `as_of`
// it tells when it is another time than `told_above`.
std::string state_text(const console_state& console, const route_row& row,
                       std::optional<desk::wall> told_above);
std::string holder_text(const desk::lock& lock); // "locked by anna (on air)"
std::string lock_state(const desk::lock& lock);  // "locked by anna (on air) until 14:10:00"
// " until 14:10:00", with the day where the time alone may be another day's; empty without an end.
std::string until_text(const desk::lock& lock);

nlohmann::json lock_json(const desk::lock& lock);
nlohmann::json shown_json(const console_state& console, const route_row& row);

} // namespace console
