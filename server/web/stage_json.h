// Stages in JSON.
#pragma once

#include <string>

#include "server/web/call.h"

namespace web {

// Stage: what the actor has staged for the router, newest last. The desk has the router.
json stage_json(server& server, const desk::moment& now, const desk::actor& actor,
                const std::string& router);

// StagedBy: without destinations when the person has staged none there.
json staged_json(const server& server, const std::string& router, const std::string& person);

// Stages: who has staged which destinations.
json stages_json(const server& server, const std::string& router);

} // namespace web
