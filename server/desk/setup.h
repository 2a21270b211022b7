// What engineers set: which routers there are, and aliases and groups of their positions.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "server/desk/desk.h"

namespace desk {

// A new router, whose link is off, or new settings of one that the desk has, whose simulation stays
// as it is. A new address, port or count ends its backend. Values out of range are refused with
// bad_value; the address is four numbers with dots between them, or empty.
objection set_router(desk_state& desk, const moment& now, const actor& actor,
                     const router_settings& wanted);

// What set_router takes as one.
bool is_router_id(const std::string& text);
bool is_address(const std::string& text); // empty: none

// Ends the router's backend, so that it connects anew and reads all again. Nothing to do while the
// link is not ready, for then that is under way.
objection read_again(desk_state& desk, const moment& now, const actor& actor,
                     const std::string& router);

// With its labels, locks and stages. Wishes that the backend has end as unknown, for they may still
// be carried out before it has ended; held ones as not sent.
objection remove_router(desk_state& desk, const moment& now, const actor& actor,
                        const std::string& router);

objection set_label(desk_state& desk, const moment& now, const actor& actor,
                    const std::string& router, side side, int position, const label& wanted);

struct wanted_label {
    int position = 0;
    std::optional<std::string> alias; // none: it stays as it is
    std::optional<std::string> group; // likewise
};

// All of them, or none when one cannot be or a position is there twice.
row_objection set_labels(desk_state& desk, const moment& now, const actor& actor,
                         const std::string& router, side side,
                         const std::vector<wanted_label>& wanted);

} // namespace desk
