// The parent's side of the real program: records, diagnostics and the ways in which it ends.
#include <gmock/gmock.h>

#include "support/info_record.h"
#include "support/process_test.h"

using testing::ElementsAre;

namespace {
class Parent : public ProcessTest {
  protected:
    // Sends a piece and waits until the backend has read it, so that the next comes on its own.
    bool say_piece(const std::string& bytes)
    {
        send_bytes(backend, bytes);
        return until([this] { return bytes_unread(backend.pipes.input.number) == 0; });
    }
};
} // namespace

TEST_F(Parent, HearsInfoFirst)
{
    start("inputs=4\noutputs=3\n");
    ASSERT_TRUE(until([this] { return !backend.records.empty(); }));
    EXPECT_EQ(hear("info"), info_record(4, 3));
    EXPECT_THAT(backend.diagnostics, ElementsAre("<DBG>Changing number of inputs to 4",
                                                 "<DBG>Changing number of outputs to 3"));
}

TEST_F(Parent, HearsNothingElseUnasked)
{
    start("");
    say("*COMMAND=dance\n*TYPE=command");
    ASSERT_TRUE(until(
        [this] { return !backend.records.empty() && backend.records.back().command == "dance"; }));
    EXPECT_EQ(backend.records.size(), 2U);
}

TEST_F(Parent, RecordMayComeInPieces)
{
    start("");
    ASSERT_TRUE(say_piece("*COMMAND=da"));
    ASSERT_TRUE(say_piece("nce\n*TYPE=comm"));
    ASSERT_TRUE(say_piece("and\n"));
    ASSERT_TRUE(say_piece("*ID=7\n"));
    send_bytes(backend, "\n");
    EXPECT_EQ(hear("dance"),
              "*COMMAND=dance\n*ERROR=Unknown command dance\n*TYPE=reply\n*ID=7\n\n");
}

TEST_F(Parent, LinesMayEndWithCarriageReturns)
{
    start("");
    send_bytes(backend, "*COMMAND=dance\r\n*TYPE=command\r\n*ID=7\r\n\r\n");
    EXPECT_EQ(hear("dance"),
              "*COMMAND=dance\n*ERROR=Unknown command dance\n*TYPE=reply\n*ID=7\n\n");
}

TEST_F(Parent, EmptyLinesBeforeRecordAreNoRecord)
{
    start("");
    send_bytes(backend, "\n\n*ID=7\n\n*COMMAND=dance\n*TYPE=command\n\n");
    EXPECT_EQ(hear("dance"),
              "*COMMAND=dance\n*ERROR=Unknown command dance\n*TYPE=reply\n*ID=7\n\n");
}

TEST_F(Parent, EveryCommandIsAnswered)
{
    start("inputs=4\noutputs=3\n");
    say("*COMMAND=route output\n*TYPE=command\n*ID=1\nqueue=add\nto output=1\nfrom input=2");
    EXPECT_EQ(hear("route output"), "*COMMAND=route output\n*TYPE=reply\n*ID=1\n\n");
    say("*COMMAND=report\n*TYPE=command\n*ID=2\nwhat=outputs");
    EXPECT_EQ(hear_line("*ID=2"), "*TYPE=reply\n*ID=2\n\n");
    say("*COMMAND=report\n*TYPE=command\n*ID=3\nwhat=inputs");
    EXPECT_EQ(hear_line("*ID=3"), "*TYPE=reply\n*ID=3\n\n");
    say("*COMMAND=report\n*TYPE=command\n*ID=4\nwhat=weather");
    EXPECT_EQ(hear("report"), "*COMMAND=report\n*ERROR=I do not recognize what you are asking for\n"
                              "*TYPE=reply\n*ID=4\n\n");
    say("*COMMAND=sing\n*TYPE=message\n*ID=5");
    EXPECT_EQ(hear("sing"), "*COMMAND=sing\n*ERROR=Message sing ignored\n*TYPE=reply\n*ID=5\n\n");
}

TEST_F(Parent, SettingShowsInDiagnosticsAndInfo)
{
    start("outputs=3\n");
    ASSERT_NE(hear("info"), "");
    say("*COMMAND=set\n*TYPE=message\nname=inputs\nvalue=4");
    EXPECT_EQ(hear("info"), info_record(4, 3));
    EXPECT_TRUE(logs("<DBG>Changing number of inputs to 4"));
}

TEST_F(Parent, RecordBeforeEndOfInputIsAnswered)
{
    start("");
    say("*COMMAND=dance\n*TYPE=command\n*ID=7");
    end_input(backend);
    EXPECT_EQ(end(), "exited with status 0");
    EXPECT_NE(hear_line("*ID=7"), "");
}

TEST_F(Parent, RecordCutShortByEndOfInputIsDropped)
{
    start("");
    send_bytes(backend, "*COMMAND=dance\n*TYPE=command\n*ID=7\n");
    end_input(backend);
    EXPECT_EQ(end(), "exited with status 0");
    EXPECT_EQ(hear_line("*ID=7"), "");
}
