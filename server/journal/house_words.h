// The words of a house's JSON that writing and reading it share. Reasons are the desk's codes
// (desk::code_of).
#pragma once

#include <string_view>

#include "server/desk/house.h"
#include "server/journal/json_places.h"

namespace journal {

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

} // namespace journal
