#include "server/desk/notices.h"

#include "server/web/handlers.h"
#include "server/web/notice_json.h"

namespace web {

answer list_notices(server& server, const call& call)
{
    return json_response(notices_json(server, call.actor.person, call.now.utc));
}

answer dismiss_notice(server& server, const call& call)
{
    desk::ulid id;
    if (desk::read_id(call.values[0], id))
        desk::dismiss_notice(server.desk, call.now, call.actor, id);
    return response{204, "", "", {}};
}

} // namespace web
