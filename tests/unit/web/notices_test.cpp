#include "server/desk/locks.h"
#include "unit/web/account_requests.h"

using namespace web;
using namespace web_test;

namespace {
constexpr const char* NOTICES = "/api/v1/people/me/notices";

struct Notices : AccountRequests {
    Notices()
    {
        add_router("r1");
        as("ben");
    }

    void break_lock_of_ben()
    {
        const desk::actor ben{"ben", "panel", {desk::right::operate, {}, {}}};
        const desk::actor ana{"ana", "panel", {desk::right::administer, {}, {}}};
        desk::set_lock(server.desk, now, ben, "r1", 3, desk::lock_mode::lock, "on air", {});
        desk::remove_lock(server.desk, now, ana, "r1", 3, true, "wrong studio");
    }

    plain notices()
    {
        return json_of(ask(method::get, NOTICES)).at("notices");
    }
};
} // namespace

TEST_F(Notices, AreNoneAtFirst)
{
    EXPECT_EQ(notices(), plain::array());
}

TEST_F(Notices, SayWhoBrokeWhichLock)
{
    break_lock_of_ben();
    plain wanted = plain::parse(R"({"code": "lockBroken", "router": "r1", "destination": 3,
        "text": "Ana K. broke your lock on DST 4: 'wrong studio'",
        "by": {"id": "ana", "name": "Ana K."}})");
    wanted["id"] = desk::text_of(server.desk.house.notices.begin()->first);
    wanted["time"] = time_text(now.utc);
    EXPECT_EQ(notices(), plain::array({wanted}));
    as("ana");
    EXPECT_EQ(notices(), plain::array());
}

TEST_F(Notices, AreDismissedByWhoIsTold)
{
    break_lock_of_ben();
    const std::string one = NOTICES + ("/" + notices()[0]["id"].get<std::string>());
    as("ana");
    EXPECT_EQ(ask(method::remove, one).status, 204);
    as("ben");
    EXPECT_EQ(notices().size(), 1U);
    EXPECT_EQ(ask(method::remove, one).status, 204);
    EXPECT_EQ(notices(), plain::array());
    EXPECT_EQ(ask(method::remove, one).status, 204) << "it is not there any more";
    EXPECT_EQ(ask(method::remove, std::string(NOTICES) + "/x").status, 204);
}
