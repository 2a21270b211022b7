#include "server/web/notice_json.h"

#include "server/desk/notices.h"
#include "server/desk/words.h"
#include "server/web/call.h"

namespace web {

json notice_json(const server& server, const desk::ulid& id, const desk::notice& notice)
{
    const json by = person_json(server, notice.by);
    const std::string name = desk::destination_name(server.desk, notice.router, notice.destination);
    const std::string text = by.at("name").get<std::string>() + " broke your lock on " + name +
                             ": '" + notice.reason + "'";
    return {{"id", desk::text_of(id)},
            {"time", time_text(notice.at)},
            {"code", "lockBroken"},
            {"text", text},
            {"router", notice.router},
            {"destination", notice.destination},
            {"by", by}};
}

json notices_json(const server& server, const std::string& person, desk::wall now)
{
    json list = json::array();
    for (const auto& [id, notice] : desk::notices_of(server.desk.house, person, now))
        list.push_back(notice_json(server, id, notice));
    return {{"notices", list}};
}

} // namespace web
