// The topics by their names, and who may follow which.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "server/web/problem.h"
#include "server/web/server.h"

namespace web {

// "routers/r1"; `person` is whose "me" is meant. None: there is no such topic.
std::optional<live_topic> read_topic(std::string_view name, const std::string& person);
std::string text_of(const live_topic& topic);

// None when the actor may follow it, which is there.
std::optional<problem> check_topic(const server& server, const desk::actor& actor,
                                   const live_topic& topic);

// What of the rights decides what stands in lists: for each router whether it may be viewed.
desk::rights viewing_part(const desk::rights& rights);
std::string view_text(const desk::rights& viewing);

// Whether what it tells depends on what else may be viewed.
bool differs_by_view(const live_topic& topic);

// Those for whom this is the same are told the same.
const std::string& view_of(const live_topic& topic, const live_client& client);

} // namespace web
