// What an entry of the desk, or a note, changes in the tables.
#pragma once

#include "server/desk/entries.h"
#include "server/journal/house_words.h"
#include "server/journal/record.h"
#include "server/journal/store.h"

namespace journal {

// The kinds of what the history tells, beside those of batches, which are the kinds of wishes.
constexpr std::string_view ROUTER_SET = "routerSet"; // data: the settings
constexpr std::string_view ROUTER_REMOVED = "routerRemoved";
constexpr std::string_view LABEL_SET = "labelSet";     // data: side, index, alias, group
constexpr std::string_view LOCK_SET = "lockSet";       // data: the lock
constexpr value_words<desk::lock_end, 3> LOCK_ENDS = { // data: owner, reason
    {{"lockReleased", desk::lock_end::released},
     {"lockBroken", desk::lock_end::broken},
     {"lockExpired", desk::lock_end::expired}}};
constexpr std::string_view SALVO_SAVED = "salvoSaved";       // data: name, version
constexpr std::string_view SALVO_RENAMED = "salvoRenamed";   // data: name, was
constexpr std::string_view SALVO_DELETED = "salvoDeleted";   // data: name
constexpr std::string_view SALVO_RESTORED = "salvoRestored"; // data: name
constexpr std::string_view OUTCOME_ACCEPTED = "outcomeAccepted";
constexpr std::string_view OUTSIDE_CHANGE = "outsideChange";

// Within a transaction of the caller's. An entry that concerns what the tables do not have changes
// nothing but the history.
void keep_entry(store& store, const desk::entry& entry);
void keep_note(store& store, const note& note);

// The wish as it is by now, when the history has it.
void keep_wish(store& store, const desk::wish_id& id, const desk::wish& wish);

} // namespace journal
