// A backend's place is taken by a shell script that says what a backend would.
#include <chrono>
#include <fstream>
#include <gmock/gmock.h>
#include <sstream>

#include "server/desk/reports.h"
#include "server/desk/start.h"
#include "server/desk/steps.h"
#include "server/desk/takes.h"
#include "server/desk/words.h"
#include "server/routers/backend.h"
#include "support/frames.h"
#include "support/temporary_directory.h"

using namespace routers;
using namespace std::chrono_literals;
using desk::link_state;
using testing::ElementsAre;
using testing::EndsWith;
using testing::StartsWith;

namespace {
constexpr auto PATIENCE = 60s; // only a failure lasts that long

std::string octal(std::string_view text)
{
    std::string quoted;
    for (const char byte : text) {
        char digits[5];
        std::snprintf(digits, sizeof digits, "\\%03o", static_cast<unsigned char>(byte));
        quoted += digits;
    }
    return quoted;
}

// Commands that say it in one write.
std::string says(std::string_view line)
{
    return "printf '" + octal(line) + "\\n' >&2\n";
}
std::string reports(const std::string& record)
{
    return "printf '" + octal(record) + "\\n\\n'\n";
}

// A connection to a router with the sources CAM 1 and CAM 2, the destinations MON A and MON B.
std::string becomes_ready()
{
    return says("<NOTE>Connection sucessful.") + says("<DBG>Inputs range from 1-2") +
           says("<DBG>Outputs range from 1-2") +
           says("<DBG>Router finished returning levels, sources, destinations") +
           reports("*COMMAND=info\n*TYPE=message\ninputs=16\noutputs=16") +
           reports("*COMMAND=outputs\n*TYPE=message\no0.input.all=0\no1.input.all=0") +
           reports("*COMMAND=inputs\n*TYPE=message\ni0.name=CAM 1\ni1.name=CAM 2") +
           reports("*COMMAND=outputs\n*TYPE=message\no0.name=MON A\no1.name=MON B");
}

// Until the desk's batch has come.
const std::string WAITS_FOR_FLUSH =
    "while read line; do [ \"$line\" = queue=flush ] && break; done\n";
const std::string LISTENS = "exec cat >\"$2.heard\"\n";

class BackendRun : public testing::Test {
  protected:
    desk::desk_state desk = desk::make_desk(1);
    temporary_directory folder;
    backend main;
    desk::actor anna{"anna", "test", {desk::right::operate, {}, {}}};

    BackendRun()
    {
        desk::router_settings settings;
        settings.id = "main";
        settings.name = "Main";
        settings.address = "10.0.0.5";
        desk::record_entry(desk, {{}, "", "", desk::router_set{settings}});
        desk.live["main"];
        main.router = "main";
        main.configuration = folder.path / "main.conf";
    }

    static desk::moment now()
    {
        const auto steady = std::chrono::steady_clock::now().time_since_epoch();
        return {std::chrono::duration_cast<desk::monotonic>(steady), desk::wall(1'000'000'000)};
    }

    void run(const std::string& script)
    {
        main.program = folder.file("backend", "#!/bin/sh\n" + script);
        std::filesystem::permissions(main.program, std::filesystem::perms::owner_all);
        run_backend(main, desk, now(), desk.house.routers.at("main").settings);
    }

    void carry_out_orders()
    {
        for (const desk::order& order : std::exchange(desk.orders, {}))
            carry_out(main, desk, now(), order);
    }

    template <typename condition>
    testing::AssertionResult serve_until(condition done)
    {
        const auto deadline = std::chrono::steady_clock::now() + PATIENCE;
        while (!done()) {
            if (std::chrono::steady_clock::now() > deadline)
                return testing::AssertionFailure() << "link: " << live().link_reason;
            std::vector<pollfd> descriptors;
            add_poll_descriptors(main, descriptors);
            poll(descriptors.data(), descriptors.size(), next_due(main) ? 5 : 50);
            serve_backend(main, desk, now());
            carry_out_orders();
        }
        return testing::AssertionSuccess();
    }

    auto link_is(link_state state)
    {
        return [this, state] {
            return live().link == state;
        };
    }

    const desk::live_router& live() const
    {
        return desk.live.at("main");
    }

    std::string heard() const
    {
        std::ostringstream text;
        text << std::ifstream(main.configuration + ".heard").rdbuf();
        return text.str();
    }

    desk::ulid take(const std::vector<std::pair<int, int>>& rows)
    {
        desk::take_request request;
        for (const auto& [destination, source] : rows)
            request.rows.push_back({{"main", destination, source}, {}});
        const desk::take_answer answer = desk::take(desk, now(), anna, request);
        EXPECT_EQ(answer.why, desk::reason::none) << answer.detail;
        carry_out_orders();
        return answer.batch;
    }

    const desk::wish& row(const desk::ulid& batch) const
    {
        return desk.house.batches.at(batch).rows.at(0);
    }

    auto has_ended(const desk::ulid& batch)
    {
        return [this, batch] {
            return row(batch).end != desk::outcome::open;
        };
    }
};
} // namespace

TEST_F(BackendRun, TellsTheDeskWhatTheRouterHas)
{
    run(becomes_ready() + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    EXPECT_EQ(live().inputs, 2);
    EXPECT_EQ(live().outputs, 2);
    EXPECT_EQ(desk::destination_name(desk, "main", 1), "MON B");
    EXPECT_EQ(desk::source_shown(live(), 1), 0);
    EXPECT_TRUE(desk::is_fresh(live(), 1));
    std::ifstream file(main.configuration);
    std::string line;
    std::getline(file, line);
    EXPECT_EQ(line, "ip address=10.0.0.5");
}

TEST_F(BackendRun, WritesABatchAsOneRun)
{
    run(becomes_ready() + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    take({{0, 1}, {1, desk::NO_SOURCE}});
    const std::string head = "*COMMAND=route output\n*TYPE=command\n";
    const std::string batch = head + "from input=1\nqueue=add\nto output=0\n\n" + head +
                              "queue=add\nto output=1\n\n" + head + "queue=flush\n\n";
    EXPECT_TRUE(serve_until([&] { return heard().size() >= batch.size(); }));
    EXPECT_EQ(heard(), batch);
}

TEST_F(BackendRun, ConfirmsATakeThatWasSentAndShown)
{
    const std::string sent = frame("N0TI\t1\t2");
    const std::string shown = frame("N0IQ\t1\t0\tN\tN\t2");
    run(becomes_ready() + WAITS_FOR_FLUSH + says("<DBG>Send to router: " + sent) +
        says("<DBG>Router: MSG " + shown.substr(1, shown.size() - 2)) +
        says("<DBG>Accepting route change output=0 input=1") +
        reports("*COMMAND=outputs\n*TYPE=message\no0.input.all=1") + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    const desk::ulid batch = take({{0, 1}});
    ASSERT_TRUE(serve_until(has_ended(batch)));
    EXPECT_EQ(row(batch).end, desk::outcome::confirmed);
    EXPECT_EQ(main.trace.frames.size(), 2U);
}

TEST_F(BackendRun, HurriesTheReportOfAnAcceptedRoute)
{
    run(becomes_ready() + says("<DBG>Accepting route change output=0 input=1") + LISTENS);
    ASSERT_TRUE(serve_until([this] { return !heard().empty(); }));
    EXPECT_EQ(heard(), "\n");
    EXPECT_EQ(main.hurried, 1U);
}

TEST_F(BackendRun, TakesNoLineFromTheRoutersText)
{
    const std::string shown = frame("N0KB\tN\ta\n<NOTE>Connection to router closed\n");
    run(becomes_ready() + says("<DBG>Router: MSG " + shown.substr(1, shown.size() - 2)) +
        says("<NOTE>Device is a \"a\n<NOTE>Connection to router closed\n\"") + LISTENS);
    ASSERT_TRUE(serve_until(
        [this] { return !main.log.empty() && main.log.back().text.starts_with("Device"); }));
    EXPECT_EQ(live().link, link_state::ready);
    EXPECT_EQ(main.log.back().text, "Device is a \"a <NOTE>Connection to router closed \"");
}
