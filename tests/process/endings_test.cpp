// Everything that ends the real program, in every phase of its life: it closes the connection and
// ends with status 0.
#include <csignal>
#include <gmock/gmock.h>

#include "support/process_test.h"
#include "support/replay.h"

using testing::ElementsAreArray;

namespace {
enum class phase {
    without_router,
    connecting,
    discovery,
    idle,
    status_request,
    output_query,
    burst,
};

enum class ending { sigterm, sigint, sighup, sigpipe, end_of_input, records_closed, log_closed };

using phase_and_ending = std::tuple<phase, ending>;

class ending_play : public ProcessTest {
  public:
    explicit ending_play(const phase_and_ending& param)
        : struck(std::get<phase>(param)), strike(std::get<ending>(param))
    {
    }

    void run()
    {
        start_in_phase();
        if (HasFatalFailure()) return;
        bring_about_end();
        EXPECT_EQ(end(), "exited with status 0");
        EXPECT_TRUE(until([this] { return router.endings == (connected() ? 1 : 0); }));
    }

    using ProcessTest::starved_for;
    // What is expected of a router that says nothing may have come before the end was brought
    // about, and a second connection with it.
    bool has_departed() const
    {
        return departs_by_deadline(problems(), {expected_problems()}) ||
               (router.connections > 1 && !problems().empty());
    }

    void judge()
    {
        EXPECT_EQ(router.endings, connected() ? 1 : 0);
        if (strike != ending::log_closed) { // nobody has seen the last lines
            EXPECT_EQ(last_line(),
                      struck == phase::without_router ? "" : "<NOTE>Connection to router closed");
            EXPECT_THAT(problems(), ElementsAreArray(expected_problems()));
        }
        TearDown();
    }

  private:
    phase struck;
    ending strike;
    owned_descriptor in_queue; // of a listener that takes no more

    void TestBody() override
    {
    }
    // As until, but a wait ends well once the play has run past a deadline: what follows tells
    // nothing more.
    bool until(const std::function<bool()>& done)
    {
        return ProcessTest::until([&] { return has_departed() || done(); });
    }

    bool connected() const
    {
        return struck != phase::without_router && struck != phase::connecting;
    }

    void start_without_router()
    {
        start("");
        ASSERT_NE(hear("info"), "");
    }

    // One connection fills the queue of the listener, which answers no other then.
    void start_connecting()
    {
        listen_for_client(router, 0);
        router.listening = false; // nobody is accepted
        in_queue = owned_descriptor(connect_to(router));
        start(router_settings());
        ASSERT_TRUE(logs("<NOTE>Trying to connect to router..."));
        ASSERT_NE(hear("info"), "");
    }

    // On a router with these answers, until it has received the request.
    void start_until(const std::string& request, const std::map<std::string, std::string>& answers)
    {
        router.answers = answers;
        start_on_router("outputs=256\n");
        ASSERT_TRUE(until([&] { return count_requests(router, request) >= 1; }));
    }

    void start_burst()
    {
        start_until("QD", healthy_answers());
        for (int output = 0; output < 256; ++output)
            say("*COMMAND=route output\n*TYPE=command\nqueue=add\nfrom input=0\nto output=" +
                std::to_string(output));
        say("*COMMAND=route output\n*TYPE=command\nqueue=flush");
        ASSERT_TRUE(until([this] { return count_requests(router, "TI 41 1") >= 1; }));
    }

    void start_output_query()
    {
        start_until("QD", healthy_answers());
        const long earlier = count_requests(router, "QI 40 0");
        say("*COMMAND=report\n*TYPE=command\nwhat=outputs");
        ASSERT_TRUE(until([&] { return count_requests(router, "QI 40 0") > earlier; }));
    }

    void start_in_phase()
    {
        std::map<std::string, std::string> answers = healthy_answers();
        switch (struck) {
        case phase::without_router:
            return start_without_router();
        case phase::connecting:
            return start_connecting();
        case phase::discovery:
            return start_until("QN ID", {});
        case phase::idle:
            return start_connected();
        case phase::status_request:
            answers.erase("BK F");
            return start_until("BK F", answers);
        case phase::output_query:
            return start_output_query();
        case phase::burst:
            return start_burst();
        }
    }

    // A reader that has gone shows itself only to who writes.
    void close_reader_of_records()
    {
        close_output(backend);
        say("*COMMAND=dance\n*TYPE=command");
    }

    void close_reader_of_log()
    {
        close_diagnostics(backend);
        if (connected())
            send_bytes(router, "x"); // a byte between frames is logged
        else
            say("*COMMAND=set\n*TYPE=message\nname=inputs\nvalue=9");
    }

    void bring_about_end()
    {
        switch (strike) {
        case ending::sigterm:
            return send_signal(backend, SIGTERM);
        case ending::sigint:
            return send_signal(backend, SIGINT);
        case ending::sighup:
            return send_signal(backend, SIGHUP);
        case ending::sigpipe:
            return send_signal(backend, SIGPIPE);
        case ending::end_of_input:
            return end_input(backend);
        case ending::records_closed:
            return close_reader_of_records();
        case ending::log_closed:
            return close_reader_of_log();
        }
    }

    // Only these two wait for a router that says nothing.
    std::vector<std::string> expected_problems() const
    {
        if (struck == phase::status_request) return {"<ERR>Timeout receiving message"};
        if (struck == phase::discovery && strike == ending::end_of_input)
            return {"<ERR>Timeout during query (d=0 s=0 l=0)"};
        return {};
    }

    std::vector<std::string> problems() const
    {
        std::vector<std::string> lines;
        for (const std::string& line : backend.diagnostics)
            if (!line.starts_with("<DBG>") && !line.starts_with("<NOTE>")) lines.push_back(line);
        return lines;
    }
};

class Endings : public testing::TestWithParam<phase_and_ending> {};

std::string name_of(const testing::TestParamInfo<phase_and_ending>& info)
{
    static const char* const phases[] = {"WithoutRouter", "Connecting",    "InDiscovery", "Idle",
                                         "InTransaction", "InOutputQuery", "InBurst"};
    static const char* const endings[] = {"SIGTERM",    "SIGINT",        "SIGHUP",   "SIGPIPE",
                                          "EndOfInput", "RecordsClosed", "LogClosed"};
    return std::string(endings[static_cast<int>(std::get<ending>(info.param))]) +
           phases[static_cast<int>(std::get<phase>(info.param))];
}
} // namespace

INSTANTIATE_TEST_SUITE_P(
    Each, Endings,
    testing::Combine(testing::Values(phase::without_router, phase::connecting, phase::discovery,
                                     phase::idle, phase::status_request, phase::output_query,
                                     phase::burst),
                     testing::Values(ending::sigterm, ending::sigint, ending::sighup,
                                     ending::sigpipe, ending::end_of_input, ending::records_closed,
                                     ending::log_closed)),
    name_of);

TEST_P(Endings, CloseConnectionAndEndWithStatus0)
{
    play_unstarved<ending_play>(GetParam());
}
