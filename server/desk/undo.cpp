#include "server/desk/undo.h"

#include <algorithm>
#include <deque>

#include "server/desk/showings.h"
#include "server/desk/words.h"

namespace desk {

namespace {
bool was_confirmed(const wish& wish)
{
    return wish.end == outcome::confirmed || wish.confirmed_late_after.has_value();
}

// Its take never reached the router: there is nothing to put back.
bool was_never_sent(const wish& wish)
{
    return wish.end == outcome::not_sent || wish.end == outcome::superseded;
}

std::string person_of(const desk_state& desk, const wish_id& id)
{
    const auto batch = desk.house.batches.find(id.batch);
    return batch != desk.house.batches.end() ? batch->second.person : "somebody";
}

// Also where the person's own later wishes on the destination have been taken back since.
bool is_doing_of(const house& house, const authorship& author, const wish_id& wish)
{
    return author.by &&
           (*author.by == wish || (same_person(house, *author.by, wish) &&
                                   doing_of(house, *author.by) == doing_of(house, wish)));
}

std::string place_of(const desk_state& desk, const undo_row& row)
{
    return destination_text(desk, row.put.router, row.put.destination);
}

// What has happened to the destination since the row's wish was confirmed there.
objection change_since(const desk_state& desk, const moment& now, const undo_row& row)
{
    const auto& [router, destination, source] = row.put;
    const live_router& live = *find_live(desk, router);
    const int shown = source_told(live, now, destination);
    const authorship* const author = has_come_back(live, now, destination, shown)
                                         ? nullptr
                                         : author_shown(desk, router, destination);
    const bool by_another = author != nullptr && !is_doing_of(desk.house, *author, row.by);
    if (shown != source || by_another)
        return {reason::changed_since, place_of(desk, row) + " was changed since: it shows " +
                                           source_text(desk, router, shown) + ", " +
                                           taker_text(desk, router, destination, shown)};
    if (author == nullptr)
        return {reason::fact_unknown, "whose doing it is that " + place_of(desk, row) + " shows " +
                                          source_text(desk, router, shown) + " is not known"};
    const auto open = live.open.find(destination);
    if (open != live.open.end()) {
        const open_wish& newest = open->second.back();
        return {reason::changed_since, person_of(desk, newest.id) + " has asked for " +
                                           source_text(desk, router, newest.source) + " on " +
                                           place_of(desk, row) + " since"};
    }
    return {};
}

// Why the row must stay as it is, apart from what speaks against any take, as an unknown
// source does.
objection object_to(const desk_state& desk, const moment& now, const undo_row& row)
{
    const auto& [router, destination, source] = row.put;
    const live_router* const live = find_live(desk, router);
    if (live == nullptr) return {};
    const wish* const wish = find_wish(desk.house, row.by); // none: forgotten
    if (wish != nullptr && !was_confirmed(*wish))
        return {reason::not_confirmed, source_text(desk, router, source) + " on " +
                                           place_of(desk, row) +
                                           " has not been confirmed: " + text_of(wish->end)};
    if (wish != nullptr && wish->end == outcome::unknown) // what was there then is not kept
        return {reason::fact_unknown, "what " + place_of(desk, row) +
                                          " showed before is not known: the program was restarted"};
    if (!is_fresh(*live, destination))
        return {reason::fact_unknown, "what " + place_of(desk, row) + " shows is not known"};
    return change_since(desk, now, row);
}

std::vector<undo_row> rows_of(const ulid& id, const batch& batch)
{
    std::vector<undo_row> rows;
    for (const wish& wish : batch.rows) {
        const auto number = static_cast<std::uint32_t>(&wish - batch.rows.data());
        if (!wish.unchanged) rows.push_back({{id, number}, wish.wished, wish.was});
    }
    return rows;
}

// Without the rows that were never sent.
std::vector<undo_row> what_went(const house& house, std::vector<undo_row> rows)
{
    std::erase_if(rows, [&](const undo_row& row) {
        const wish* const wish = find_wish(house, row.by);
        return wish != nullptr && was_never_sent(*wish);
    });
    return rows;
}

take_answer put_back(desk_state& desk, const moment& now, const actor& actor,
                     const batch_command& command, const std::vector<undo_row>& rows,
                     batch_origin from)
{
    take_request request{command, {}, false};
    for (const undo_row& row : rows) {
        request.rows.push_back({{row.put.router, row.put.destination, row.was}, std::nullopt});
        from.objections.push_back(object_to(desk, now, row));
    }
    return take_as(desk, now, actor, request, from);
}

std::vector<const undo_step*> usable_steps(const house& house, const moment& now,
                                           const std::string& person,
                                           std::deque<undo_step> undo_record::*steps)
{
    std::vector<const undo_step*> usable;
    const auto record = house.undo.find(person);
    if (record == house.undo.end()) return usable;
    const std::deque<undo_step>& all = record->second.*steps;
    for (std::size_t i = all.size(); i-- > 0;)
        if (now.utc - all[i].made <= UNDO_AGE && !what_went(house, all[i].rows).empty())
            usable.push_back(&all[i]);
    return usable;
}

take_answer use_newest(desk_state& desk, const moment& now, const actor& actor,
                       const batch_command& command, std::deque<undo_step> undo_record::*steps,
                       batch_kind kind)
{
    if (std::optional<take_answer> again = answer_again(desk, command.id)) return *again;
    const auto usable = usable_steps(desk.house, now, actor.person, steps);
    if (!usable.empty())
        return put_back(desk, now, actor, command, what_went(desk.house, usable.front()->rows),
                        {kind, usable.front()->batch, 0, {}});
    return {{},
            reason::nothing_to_do,
            std::string("there is nothing to ") + (kind == batch_kind::undo ? "undo" : "redo"),
            {}};
}
} // namespace

std::vector<const undo_step*> undo_steps(const house& house, const moment& now,
                                         const std::string& person)
{
    return usable_steps(house, now, person, &undo_record::undo);
}

std::vector<const undo_step*> redo_steps(const house& house, const moment& now,
                                         const std::string& person)
{
    return usable_steps(house, now, person, &undo_record::redo);
}

take_answer undo(desk_state& desk, const moment& now, const actor& actor,
                 const batch_command& command)
{
    return use_newest(desk, now, actor, command, &undo_record::undo, batch_kind::undo);
}

take_answer redo(desk_state& desk, const moment& now, const actor& actor,
                 const batch_command& command)
{
    return use_newest(desk, now, actor, command, &undo_record::redo, batch_kind::redo);
}

bool may_have_changed(const house& house, const ulid& batch)
{
    const std::vector<wish>& rows = house.batches.at(batch).rows;
    return std::any_of(rows.begin(), rows.end(), [](const wish& row) {
        const bool refused = row.end == outcome::refused && !row.confirmed_late_after;
        return !row.unchanged && !was_never_sent(row) && !refused;
    });
}

take_answer roll_back(desk_state& desk, const moment& now, const actor& actor, const ulid& batch,
                      const batch_command& command)
{
    if (std::optional<take_answer> again = answer_again(desk, command.id)) return *again;
    const auto found = desk.house.batches.find(batch);
    if (found == desk.house.batches.end())
        return {{}, reason::no_such_batch, "this batch is not known any more", {}};
    const std::vector<undo_row> rows = what_went(desk.house, rows_of(batch, found->second));
    if (rows.empty())
        return {{}, reason::nothing_to_do, "nothing of this batch was sent to a router", {}};
    return put_back(desk, now, actor, command, rows, {batch_kind::rollback, batch, 0, {}});
}

} // namespace desk
