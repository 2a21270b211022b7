#include "server/web/forgotten.h"

#include "server/desk/people.h"

namespace web {

void forget_person(server& server, const desk::moment& now, const desk::actor& actor,
                   const std::string& id)
{
    desk::forget_person(server.desk, now, actor, id);
    forget_answers(server.first_answers, id);
}

} // namespace web
