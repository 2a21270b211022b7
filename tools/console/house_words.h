// The words of a house's JSON that writing and reading it share.
#pragma once

#include <string_view>

#include "console/json_places.h"
#include "server/desk/house.h"

namespace console {

constexpr std::string_view HOUSE_FORMAT = "router console house";
constexpr int HOUSE_VERSION = 1; // of a newer one nothing is read

constexpr value_words<desk::lock_mode, 2> LOCK_MODES = {
    {{"lock", desk::lock_mode::lock}, {"protect", desk::lock_mode::protect}}};

constexpr value_words<desk::batch_kind, 6> BATCH_KINDS = {
    {{"take", desk::batch_kind::take},
     {"stage", desk::batch_kind::stage},
     {"salvo", desk::batch_kind::salvo},
     {"undo", desk::batch_kind::undo},
     {"redo", desk::batch_kind::redo},
     {"rollback", desk::batch_kind::rollback}}};

constexpr value_words<desk::batch_rule, 2> BATCH_RULES = {
    {{"all", desk::batch_rule::all}, {"rest", desk::batch_rule::rest}}};

constexpr value_words<desk::outcome, 8> OUTCOMES = {{{"open", desk::outcome::open},
                                                     {"confirmed", desk::outcome::confirmed},
                                                     {"contradicted", desk::outcome::contradicted},
                                                     {"refused", desk::outcome::refused},
                                                     {"timedOut", desk::outcome::timed_out},
                                                     {"notSent", desk::outcome::not_sent},
                                                     {"superseded", desk::outcome::superseded},
                                                     {"unknown", desk::outcome::unknown}}};

constexpr value_words<desk::reason, 21> REASONS = {
    {{"none", desk::reason::none},
     {"noSuchRouter", desk::reason::no_such_router},
     {"noSuchDestination", desk::reason::no_such_destination},
     {"noSuchSource", desk::reason::no_such_source},
     {"noSuchSalvo", desk::reason::no_such_salvo},
     {"noSuchBatch", desk::reason::no_such_batch},
     {"noRight", desk::reason::no_right},
     {"linkNotReady", desk::reason::link_not_ready},
     {"destinationLocked", desk::reason::locked},
     {"destinationProtected", desk::reason::protected_by_other},
     {"changedSince", desk::reason::changed_since},
     {"factUnknown", desk::reason::fact_unknown},
     {"notConfirmed", desk::reason::not_confirmed},
     {"tooManyAtOnce", desk::reason::too_many_at_once},
     {"tooLate", desk::reason::too_late},
     {"blockedByOtherRow", desk::reason::blocked_by_other_row},
     {"linkLost", desk::reason::link_lost},
     {"notSentInTime", desk::reason::not_sent_in_time},
     {"backendEnded", desk::reason::backend_ended},
     {"nothingToDo", desk::reason::nothing_to_do},
     {"badValue", desk::reason::bad_value}}};

} // namespace console
