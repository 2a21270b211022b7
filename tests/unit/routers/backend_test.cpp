// What a backend says, told to the desk.
#include "unit/routers/backend_run.h"

using namespace routers;
using desk::link_state;

namespace {
const std::string ACCEPTS_LATER = "while [ ! -e \"$2.go\" ]; do sleep 0.01; done\n" +
                                  says("<DBG>Accepting route change output=0 input=1") +
                                  says("<NOTE>Accepted") + IS_DEAF;

auto has_accepted(const backend& backend)
{
    return [&backend] {
        return backend.log.back().text == "Accepted";
    };
}
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
    EXPECT_EQ(main.info.identity.model, "TX4");
    EXPECT_EQ(main.log.front().text, "Connection sucessful.");
    std::ifstream file(main.configuration);
    std::string line;
    std::getline(file, line);
    EXPECT_EQ(line, "ip address=10.0.0.5");
}

TEST_F(BackendRun, CountsNoMoreThanIsNamed)
{
    run(becomes_ready() + reports("*COMMAND=inputs\n*TYPE=message\ni2.name=CAM 3") + LISTENS);
    ASSERT_TRUE(serve_until([this] { return live().inputs == 3; }));
    EXPECT_EQ(live().outputs, 2);
}

TEST_F(BackendRun, CountsOnlyWhatABackendHasNamedItself)
{
    const std::string info = reports("*COMMAND=info\n*TYPE=message\ninputs=1\noutputs=1");
    const auto shows = [](int source) {
        return reports("*COMMAND=outputs\n*TYPE=message\no1.input.all=" + std::to_string(source));
    };
    run("if [ -e \"$2.third\" ]; then\n" + info +
        reports("*COMMAND=outputs\n*TYPE=message\no0.name=MON A") + shows(3) + LISTENS + "fi\n" +
        "if [ -e \"$2.second\" ]; then\n>\"$2.third\"\n" + info +
        reports("*COMMAND=inputs\n*TYPE=message\ni0.name=CAM 1") + shows(2) + "exit\nfi\n" +
        ">\"$2.second\"\n" + becomes_ready());
    ASSERT_TRUE(serve_until([this] { return live().outputs == 2; }));
    for (const int source : {2, 3}) {
        ASSERT_TRUE(serve_until([&] { return desk::source_shown(live(), 1) == source; }));
        EXPECT_EQ(live().inputs, 2);
        EXPECT_EQ(live().outputs, 2);
    }
}

TEST_F(BackendRun, CountsNoMoreThanIsSet)
{
    run(becomes_ready() + reports("*COMMAND=info\n*TYPE=message\ninputs=1\noutputs=2") + LISTENS);
    ASSERT_TRUE(serve_until([this] { return live().inputs == 1; }));
    EXPECT_EQ(live().outputs, 2);
}

TEST_F(BackendRun, DoubtsAFactWhenTheRouterHasToldAnotherRoute)
{
    run(becomes_ready() + receives("N0IQ\t1\t0\tN\tN\t2") + LISTENS);
    ASSERT_TRUE(serve_until([this] { return main.trace.received == 1; }));
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    EXPECT_TRUE(desk::is_fresh(live(), 0));
    passed = REPORT_LIMIT;
    const std::string question = "*COMMAND=report\n*TYPE=command\nwhat=outputs\n\n";
    ASSERT_TRUE(serve_until([&] { return heard() == question; }));
    EXPECT_EQ(main.asked, 1U);
    EXPECT_FALSE(desk::is_fresh(live(), 0));
    EXPECT_EQ(desk::source_shown(live(), 0), 0);
    EXPECT_TRUE(desk::is_fresh(live(), 1));
}

TEST_F(BackendRun, DoubtsAFactWhenItsQueryHasNoAnswer)
{
    const std::string query = frame(body("QI", {"1", "1"}));
    run(becomes_ready() + says("<DBG>Send to router: " + query) + says("<DBG>Router: NAK 05") +
        LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    ASSERT_TRUE(serve_until([this] { return !main.untold.unanswered.empty(); }));
    EXPECT_TRUE(desk::is_fresh(live(), 0));
    passed = REPORT_LIMIT;
    ASSERT_TRUE(serve_until([&] { return heard().ends_with("what=outputs\n\n"); }));
    EXPECT_FALSE(desk::is_fresh(live(), 0));
    EXPECT_TRUE(desk::is_fresh(live(), 1));
}

TEST_F(BackendRun, AsksNothingWhenItsRouterShowsWhatNoBackendReports)
{
    run(becomes_ready() + receives("N0IQ\t1\t0\tN\tN\t0") + receives("N0IQ\t2\t0\tN\tN\t3") +
        receives("N0IQ\t3\t0\tN\tN\t2") + LISTENS);
    ASSERT_TRUE(serve_until([this] { return main.trace.received == 3; }));
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    passed = REPORT_LIMIT;
    ASSERT_TRUE(serve_until([this] { return !desk::is_fresh(live(), 1); }));
    EXPECT_EQ(desk::source_shown(live(), 0), desk::NO_SOURCE);
    EXPECT_TRUE(desk::is_fresh(live(), 0));
    EXPECT_EQ(main.asked, 0U);
}

TEST_F(BackendRun, AsksNothingWhileTheLinkIsNotReady)
{
    run(becomes_ready() + "while [ ! -e \"$2.go\" ]; do sleep 0.01; done\n" +
        says("<NOTE>Connection to router closed") + says("<NOTE>Connection sucessful.") +
        says("<DBG>Router finished returning levels, sources, destinations") +
        receives("N0IQ\t1\t0\tN\tN\t2") + LISTENS);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    folder.file("main.conf.go", "");
    ASSERT_TRUE(serve_until([this] { return main.trace.received == 1; }));
    EXPECT_FALSE(main.untold.routes.empty());
    passed = REPORT_LIMIT;
    serve_backend(main, desk, now());
    EXPECT_EQ(live().link, link_state::reading);
    EXPECT_TRUE(main.untold.routes.empty());
    EXPECT_EQ(main.asked, 0U);
}

TEST_F(BackendRun, AsksNothingOfABackendThatEnds)
{
    run("trap '' TERM\n" + becomes_ready() + receives("N0IQ\t1\t0\tN\tN\t2") + LISTENS);
    ASSERT_TRUE(serve_until([this] { return main.trace.received == 1; }));
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    stop_backend(main, now());
    passed = REPORT_LIMIT;
    serve_backend(main, desk, now());
    EXPECT_TRUE(main.untold.routes.empty());
    EXPECT_EQ(main.asked, 0U);
}

TEST_F(BackendRun, BelievesARecordThatBringsWhatTheRouterHasTold)
{
    run(becomes_ready() + receives("N0IQ\t1\t0\tN\tN\t2") +
        reports("*COMMAND=outputs\n*TYPE=message\no0.input.all=1") + LISTENS);
    ASSERT_TRUE(serve_until(
        [this] { return main.trace.received == 1 && desk::source_shown(live(), 0) == 1; }));
    EXPECT_TRUE(main.untold.routes.empty());
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    passed = 2 * REPORT_LIMIT;
    serve_backend(main, desk, now());
    EXPECT_TRUE(desk::is_fresh(live(), 0));
    EXPECT_EQ(main.asked, 0U);
}

TEST_F(BackendRun, HurriesTheReportOfAnAcceptedRoute)
{
    run(becomes_ready() + says("<DBG>Accepting route change output=0 input=1") + LISTENS);
    ASSERT_TRUE(serve_until([this] { return !heard().empty(); }));
    EXPECT_EQ(heard(), "\n");
    EXPECT_EQ(main.hurried, 1U);
}

TEST_F(BackendRun, HurriesNoBackendThatEnds)
{
    run("trap '' TERM\n" + becomes_ready() + ACCEPTS_LATER);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    stop_backend(main, now());
    folder.file("main.conf.go", "");
    ASSERT_TRUE(serve_until(has_accepted(main)));
    EXPECT_EQ(main.hurried, 0U);
}

TEST_F(BackendRun, HurriesNoBackendThatDoesNotRead)
{
    run(becomes_ready() + ACCEPTS_LATER);
    ASSERT_TRUE(serve_until(link_is(link_state::ready)));
    parent_link::send_bytes(main.process, std::string(1 << 20, '\n'));
    folder.file("main.conf.go", "");
    ASSERT_TRUE(serve_until(has_accepted(main)));
    EXPECT_EQ(main.hurried, 0U);
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

TEST_F(BackendRun, CanBeStoppedWhileItNeverStopsTalking)
{
    run(becomes_ready() + "exec yes '<NOTE>flood' >&2\n");
    ASSERT_TRUE(serve_until([this] { return main.forgotten > 0; }));
    EXPECT_EQ(main.log.size(), LOG_LINES);
    EXPECT_EQ(live().link, link_state::ready);
    stop_backend(main, now());
    EXPECT_TRUE(serve_until([this] { return !is_running(main); }));
}
