// What a person or a token leaves behind: the id may become another one's.
#pragma once

#include "server/web/server.h"

namespace web {

// To be called when one of this id has gone, and when one has come: after a restart the desk knows
// again what somebody had done who is there no more.
void forget_person(server& server, const desk::moment& now, const desk::actor& actor,
                   const std::string& id);

} // namespace web
