#include "control/commands.h"
#include "unit/session/played_session.h"

namespace {
// One command of every kind, what it is answered and, where requests may be sent and a change of
// output 1 is staged, what it sends to the router.
struct nested_command {
    const char* title;
    const char* said;
    const char* heard;
    Requests sent;
};

int handled_records;

void count_and_handle(ParentRecord& record)
{
    ++handled_records;
    handle_parent_record(record);
}

class SessionNestedCommand : public PlayedSession,
                             public testing::WithParamInterface<nested_command> {
  protected:
    // Says the command while the backend waits for the router inside `operation`, and expects its
    // answer before the operation has ended.
    void expect_answer_within(const std::function<void()>& operation)
    {
        std::string heard_within;
        at_us(fake_now_us + 200'000, [this] { parent_says(GetParam().said); });
        at_us(fake_now_us + 1'900'000, [&] { heard_within = parent_hears(); });
        operation();
        EXPECT_GE(heard_within.size(), std::string_view(GetParam().heard).size());
        EXPECT_EQ(heard_within.substr(0, std::string_view(GetParam().heard).size()),
                  GetParam().heard);
        EXPECT_EQ(active_record_handlers, 0);
    }

    // Says the command so that it is handed out inside `operation`, between the requests `before`
    // and `after` to a router that is ready for more.
    void expect_handling_between(Requests before, const Requests& after,
                                 const std::function<void()>& operation)
    {
        staged_route_changes = {{.input = 1, .output = 1}};
        handled_records = 0;
        set_parent_record_handler(count_and_handle);
        parent_says_at_dispatch(2, GetParam().said);
        operation();
        EXPECT_EQ(handled_records, 1);
        before.insert(before.end(), GetParam().sent.begin(), GetParam().sent.end());
        before.insert(before.end(), after.begin(), after.end());
        EXPECT_EQ(router_hears(), before);
        EXPECT_EQ(active_record_handlers, 0);
    }
};
} // namespace

TEST_P(SessionNestedCommand, IsAnsweredDuringDiscovery)
{
    at_us(FAKE_START_US, [] { router_rx_queue.clear(); });
    on_fake_wait = nullptr; // the router stays silent
    expect_answer_within([this] { run_passes(1); });
}

TEST_P(SessionNestedCommand, IsAnsweredDuringAStatusRequest)
{
    start_session();
    fake_now_us = next_status_request;
    on_fake_wait = nullptr;
    expect_answer_within([this] { run_passes(1); });
}

TEST_P(SessionNestedCommand, IsAnsweredDuringANameUpdate)
{
    start_session();
    router_answers("BK F", frame(body("KB", {"F", "10"})));
    fake_now_us = next_status_request;
    at_us(fake_now_us + 100'000, [] { on_fake_wait = nullptr; });
    expect_answer_within([this] { run_passes(1); });
}

TEST_P(SessionNestedCommand, IsAnsweredDuringABurst)
{
    start_session();
    pending_route_changes = {{.input = 0, .output = 0}};
    expect_handling_between({"TI 1 1"}, {"QI 1 0"}, send_route_changes);
    EXPECT_EQ(parent_hears(), GetParam().heard);
}

TEST_P(SessionNestedCommand, IsAnsweredDuringAnOutputQuery)
{
    start_session();
    ParentRecord query{.command = "report",
                       .error = "",
                       .type = "command",
                       .id = "outer",
                       .fields = {{"what", "outputs"}}};
    expect_handling_between({"QI 1 0"}, {"QI 2 0"}, [&query] { handle_parent_record(query); });
    EXPECT_EQ(parent_hears(), GetParam().heard + std::string("*TYPE=reply\n*ID=outer\n\n"));
}

namespace {
const nested_command NESTED_COMMANDS[] = {
    {"Set", "*TYPE=message\n*COMMAND=set\nname=inputs\nvalue=2", "", {}},
    {"UnknownMessage",
     "*TYPE=message\n*COMMAND=hello\n*ID=1",
     "*COMMAND=hello\n*ERROR=Message hello ignored\n*TYPE=reply\n*ID=1\n\n",
     {}},
    {"UnknownCommand",
     "*TYPE=command\n*COMMAND=jump\n*ID=1",
     "*COMMAND=jump\n*ERROR=Unknown command jump\n*TYPE=reply\n*ID=1\n\n",
     {}},
    {"ReportInputs",
     "*TYPE=command\n*COMMAND=report\n*ID=1\nwhat=inputs",
     "*TYPE=reply\n*ID=1\n\n",
     {}},
    {"ReportOutputs",
     "*TYPE=command\n*COMMAND=report\n*ID=1\nwhat=outputs",
     "*TYPE=reply\n*ID=1\n\n",
     {"QI 1 0", "QI 2 0"}},
    {"ReportUnknown",
     "*TYPE=command\n*COMMAND=report\n*ID=1",
     "*COMMAND=report\n*ERROR=I do not recognize what you are asking for\n*TYPE=reply\n*ID=1\n\n",
     {}},
    {"Add",
     "*TYPE=command\n*COMMAND=route output\n*ID=1\nqueue=add\nto output=0\nfrom input=1",
     "*COMMAND=route output\n*TYPE=reply\n*ID=1\n\n",
     {}},
    {"Discard",
     "*TYPE=command\n*COMMAND=route output\n*ID=1\nqueue=discard",
     "*COMMAND=route output\n*TYPE=reply\n*ID=1\n\n",
     {}},
    {"Flush",
     "*TYPE=command\n*COMMAND=route output\n*ID=1\nqueue=flush",
     "*COMMAND=route output\n*TYPE=reply\n*ID=1\n\n",
     {"TI 2 2", "QI 2 0"}},
    {"OtherType", "*TYPE=reply\n*COMMAND=report\n*ID=1\nwhat=inputs", "", {}},
};
} // namespace

INSTANTIATE_TEST_SUITE_P(EachKind, SessionNestedCommand, testing::ValuesIn(NESTED_COMMANDS),
                         [](const auto& tested) { return tested.param.title; });
