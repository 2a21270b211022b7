// The link of a whole backend whose router the test plays.
#include <cerrno>
#include <gmock/gmock.h>

#include "common/loop_flags.h"
#include "frame/settings.h"
#include "router_link/connection.h"
#include "router_model/state.h"
#include "server/routers/link_reader.h"
#include "unit/routers/told_test.h"

using namespace routers;
using desk::link_state;

namespace {
desk::router_settings settings(const std::string& address)
{
    desk::router_settings made;
    made.address = address;
    made.port = 4711;
    return made;
}

class LinkReader : public ToldTest {
  protected:
    void SetUp() override
    {
        ToldTest::SetUp();
        install_commands();
        router_ip_address = "10.0.0.5";
        router_port = 4711;
        link = start_of_link(settings("10.0.0.5"));
    }

    // It answers everything but, with -1, the query for its destinations.
    void router_has(int sources, int destinations)
    {
        router_answers("QN L", frame(body("NQ", {"L", "0"})));
        router_answers("QN IS", names_answer("S", sources));
        if (destinations >= 0) router_answers("QN ID", names_answer("D", destinations));
        router_answers("BK F", frame(body("KB", {"F", "0"})));
        router_answers("BK f 0", frame(body("ER", {"00", "BK"})));
        router_answers("QD", frame(body("ER", {"00", "QD"})));
    }

    static std::string names_answer(const std::string& kind, int count)
    {
        std::vector<std::string> parameters = {kind, std::to_string(count)};
        for (int i = 0; i < count; ++i)
            parameters.insert(parameters.end(), {"name", std::to_string(i + 1), "0", "0"});
        return frame(body("NQ", parameters));
    }

    // One pass of the backend's loop, and what it says.
    void pass()
    {
        run_passes(1);
        for (const diagnostic& each : told())
            if (read_link(link, each)) states.push_back(link.state);
        const std::string text = parent_hears();
        ParentRecord record;
        for (std::size_t begin = 0; begin < text.size();) {
            const std::size_t end = text.find('\n', begin);
            if (end == begin) {
                if (read_link(link, read_record(record))) states.push_back(link.state);
                clear(record);
            } else {
                decode_record_line(record, text.substr(begin, end - begin));
            }
            begin = end + 1;
        }
    }

    void pass_until(link_state state)
    {
        for (int i = 0; i < 200 && link.state != state; ++i)
            pass();
        EXPECT_EQ(link.state, state) << link.reason;
    }

    link_reader link;
    std::vector<link_state> states; // as they followed each other in passes
};
} // namespace

TEST_F(LinkReader, IsOffWithoutAnAddress)
{
    link = start_of_link(settings(""));
    EXPECT_EQ(link.state, link_state::off);
    EXPECT_EQ(link.reason, "no address is set");
}

TEST_F(LinkReader, SaysWhereItConnectsTo)
{
    EXPECT_EQ(link.state, link_state::connecting);
    EXPECT_EQ(link.reason, "connecting to 10.0.0.5:4711");
}

TEST_F(LinkReader, IsReadyWhenNamesOfBothSidesHaveCome)
{
    router_has(2, 3);
    router_accepts_connections();
    pass_until(link_state::ready);
    EXPECT_EQ(link.reason, "");
}

TEST_F(LinkReader, ReadsNamesBeforeItIsReady)
{
    router_accepts_connections();
    connect_to_router();
    connect_to_router();
    for (const diagnostic& each : told())
        read_link(link, each);
    EXPECT_EQ(link.state, link_state::reading);
    EXPECT_EQ(link.reason, "reading names and routes");
}

TEST_F(LinkReader, WaitsForTheRecordsWithTheNames)
{
    link.connected = true;
    link.answered = true;
    read_link(link, index_range{.inputs = true, .first = 1, .last = 2});
    read_link(link, index_range{.inputs = false, .first = 1, .last = 2});
    // From a connection before.
    read_link(link, names_report{.side = desk::side::sources, .names = {"A"}});
    read_link(link, link_line{link_event::names_complete, ""});
    EXPECT_EQ(link.state, link_state::reading);
    EXPECT_FALSE(read_link(link, names_report{.side = desk::side::destinations, .names = {"A"}}));
    EXPECT_FALSE(read_link(link, routes_report{}));
    EXPECT_TRUE(read_link(link, names_report{.side = desk::side::sources, .names = {"A"}}));
    EXPECT_EQ(link.state, link_state::ready);
}

TEST_F(LinkReader, KeepsNoNamesOfTheConnectionBefore)
{
    const report sources = names_report{.side = desk::side::sources, .names = {"A"}};
    const report destinations = names_report{.side = desk::side::destinations, .names = {"A"}};
    const auto connects = [this] {
        read_link(link, link_line{link_event::connected, ""});
        read_link(link, index_range{.inputs = true, .first = 1, .last = 2});
        read_link(link, index_range{.inputs = false, .first = 1, .last = 2});
        read_link(link, link_line{link_event::names_complete, ""});
    };
    connects();
    for (const report& last : {sources, destinations}) {
        read_link(link, sources);
        read_link(link, destinations);
        EXPECT_EQ(link.state, link_state::ready);
        connects();
        read_link(link, last);
        EXPECT_EQ(link.state, link_state::reading);
    }
}

TEST_F(LinkReader, SaysThatARouterAcceptsAndNeverAnswers)
{
    router_accepts_connections();
    std::vector<std::string> reasons;
    for (int i = 0; i < 200; ++i) {
        pass();
        EXPECT_NE(link.state, link_state::ready);
        if (reasons.empty() || reasons.back() != link.reason) reasons.push_back(link.reason);
        if (link.state == link_state::down) break;
    }
    EXPECT_EQ(link.state, link_state::down);
    EXPECT_EQ(link.reason, "the router accepts connections and does not answer");
    EXPECT_EQ(reasons.back(), link.reason);
}

TEST_F(LinkReader, SaysWhatTheRouterHasNotTold)
{
    router_has(2, -1);
    router_accepts_connections();
    for (int i = 0; i < 40; ++i)
        pass();
    EXPECT_EQ(link.state, link_state::reading);
    EXPECT_EQ(link.reason, "the router has not told its destinations");
}

TEST_F(LinkReader, IsNotReadyWithoutSources)
{
    router_has(0, 3);
    router_accepts_connections();
    for (int i = 0; i < 40; ++i)
        pass();
    EXPECT_EQ(link.state, link_state::reading);
    EXPECT_EQ(link.reason, "the router has not told its sources");
}

TEST_F(LinkReader, SaysThatTheRouterClosed)
{
    router_has(2, 3);
    router_accepts_connections();
    pass_until(link_state::ready);
    on_connect = nullptr;
    router_closes();
    pass_until(link_state::down);
    EXPECT_EQ(link.reason, "the router closed the connection");
}

TEST_F(LinkReader, IsReadyAgainOnlyWithTheNamesOfTheNewConnection)
{
    router_has(2, 3);
    router_accepts_connections();
    pass_until(link_state::ready);
    router_closes();
    pass_until(link_state::down);
    states.clear();
    pass_until(link_state::ready);
    EXPECT_THAT(states, testing::ElementsAre(link_state::reading, link_state::ready));
}

TEST_F(LinkReader, SaysWhyItCannotConnectAndStaysDownBetweenAttempts)
{
    on_connect = [](int, const sockaddr_in&) {
        errno = EHOSTUNREACH;
        return -1;
    };
    pass();
    EXPECT_EQ(link.state, link_state::down);
    EXPECT_EQ(link.reason, "cannot connect to 10.0.0.5:4711: No route to host");
    EXPECT_FALSE(read_link(link, link_line{link_event::connecting, ""}));
    EXPECT_EQ(link.state, link_state::down);
}

TEST_F(LinkReader, SaysThatAnAddressIsNone)
{
    router_ip_address = "router";
    link = start_of_link(settings("router"));
    pass();
    EXPECT_EQ(link.state, link_state::down);
    EXPECT_EQ(link.reason, "router:4711 is no IPv4 address");
}

TEST_F(LinkReader, HasWordsForEveryCause)
{
    struct cause {
        link_line line;
        bool connected;
        bool answered;
        const char* reason;
    };
    for (const cause& each :
         {cause{{link_event::connect_failed, "No route"},
                false,
                false,
                "cannot connect to 10.0.0.5:4711: No route"},
          cause{{link_event::dropped, ""}, true, false, "the router closed the connection"},
          cause{{link_event::broken, "Broken pipe"},
                true,
                true,
                "the connection failed: Broken pipe"},
          cause{{link_event::silent, ""}, false, false, "10.0.0.5:4711 did not answer for 20 s"},
          cause{{link_event::silent, ""},
                true,
                false,
                "the router accepts connections and does not answer"},
          cause{{link_event::silent, ""}, true, true, "the router said nothing for 20 s"},
          cause{{link_event::unanswered, ""},
                true,
                false,
                "the router accepts connections and does not answer"},
          cause{{link_event::unanswered, ""}, true, true, "the router did not answer a request"},
          cause{{link_event::unable_to_send, ""}, true, true, "a request could not be sent"},
          cause{{link_event::closed, ""}, true, true, "the connection has been closed"}}) {
        link_reader read = link;
        read.connected = each.connected;
        read.answered = each.answered;
        read_link(read, each.line);
        if (each.line.what != link_event::closed)
            read_link(read, link_line{link_event::closed, ""});
        EXPECT_EQ(read.state, link_state::down);
        EXPECT_EQ(read.reason, each.reason);
    }
}

TEST_F(LinkReader, LeavesTheSystemWithoutSocketsToTheReason)
{
    read_link(link, link_line{link_event::no_socket, ""});
    EXPECT_EQ(link.state, link_state::down);
    EXPECT_EQ(link.reason, "the system has no socket left for a connection");
}

// A request that was given up after the connection had gone.
TEST_F(LinkReader, ForgetsACauseThatNoCloseFollowed)
{
    read_link(link, link_line{link_event::unanswered, ""});
    read_link(link, link_line{link_event::connecting, ""});
    read_link(link, link_line{link_event::closed, ""});
    EXPECT_EQ(link.reason, "the connection has been closed");
}

TEST_F(LinkReader, TakesNoEndOfDiscoveryWithoutAConnection)
{
    read_link(link, link_line{link_event::names_complete, ""});
    read_link(link, index_range{.inputs = true, .first = 1, .last = 2});
    EXPECT_EQ(link.state, link_state::connecting);
    EXPECT_FALSE(link.discovery_ended);
}
