#include <gtest/gtest.h>

#include "router_simulator/wire/trace.h"

using namespace router_simulator;

TEST(SimulatorTrace, ShowsAMessageWithItsParametersQuoted)
{
    EXPECT_EQ(readable_message(make_request("TI", {"000F", "", "A B"})),
              "TI \"000F\" \"\" \"A B\"");
}

TEST(SimulatorTrace, ShowsThatAReplyGoesOn)
{
    router_message message = make_request("NQ", {"S"});
    message.seq = '1';
    EXPECT_EQ(readable_message(message), "NQ seq=1 \"S\"");
}

TEST(SimulatorTrace, ShowsARejection)
{
    router_message message;
    message.nak = true;
    message.nakerr = 1;
    EXPECT_EQ(readable_message(message), "NAK 1");
}

TEST(SimulatorTrace, ShowsBytesThatDoNotPrint)
{
    router_message message = make_request("Q\x02", {"\xC3\xB6"});
    message.protocol = '\x7F';
    EXPECT_EQ(readable_message(message), "\\x7F Q\\x02 \"\\xC3\\xB6\"");
}

TEST(SimulatorTrace, ShowsWhatIsWrongWithAFrame)
{
    parsed_frame frame;
    frame.error = frame_error::bad_checksum;
    frame.content = "N0QD\t00";
    EXPECT_EQ(readable_frame(frame), "bad frame, bad checksum: \"N0QD\\x0900\"");
}
