// Single things of a house as JSON, written and read; in the manner of house_json.h. What is wrong
// with a place that is read ends the reading (json_places.h).
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "server/desk/house.h"
#include "server/journal/json_places.h"

namespace journal {

nlohmann::json settings_object(const desk::router_settings& settings); // without the id
// The settings, and the last batch for another router of its id.
nlohmann::json known_router_object(const desk::router_settings& settings,
                                   const desk::ulid& added_after);
nlohmann::json label_object(int position, const desk::label& label);
nlohmann::json lock_object(int destination, const desk::lock& lock);
nlohmann::json version_object(const desk::salvo_version& version);
nlohmann::json doings_object(const desk::doings& doings);
nlohmann::json wish_object(const desk::wish& wish);
nlohmann::json batch_object(const desk::batch& batch);

nlohmann::json notice_object(const desk::notice& notice);

desk::ulid read_ulid(const place& at); // not none
desk::notice read_notice(const place& at);
desk::router_settings read_settings(const std::string& id, const place& at);
desk::label read_label(const place& at);   // without its position
desk::lock read_lock(const place& at);     // likewise
desk::reason read_reason(const place& at); // by its code
desk::doings read_doings(const place& at);
desk::salvo_version read_version(const place& at, int least_number);

} // namespace journal
