// The bytes between and inside frames: what starts, ends, breaks and skips a frame.
#include "router_link/receive_parser.h"
#include "support/backend_test.h"
#include "support/message_fields.h"

using namespace std::string_literals;

namespace {
class ReceiveParser : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        last_router_activity = 1;
    }

    std::vector<message_fields> queued()
    {
        return all_fields(router_rx_queue);
    }
};

using Messages = std::vector<message_fields>;

const message_fields ACK_MESSAGE = {0, '0', {}, {}, true, true, false, false, -1, ""};
const message_fields QD_MESSAGE = {'N',   '0',   {'Q', 'D', 0}, {}, true,
                                   false, false, false,         -1, "N0QDED"};
const std::string QD_FRAME = "\x01N0QDED\x04";

message_fields nak_message(std::int32_t code, const std::string& raw)
{
    return {0, '0', {}, {}, false, false, true, false, code, raw};
}
} // namespace

TEST_F(ReceiveParser, DeliversAFrame)
{
    parse_router_bytes(QD_FRAME);
    EXPECT_EQ(queued(), Messages{QD_MESSAGE});
    EXPECT_EQ(diagnostics(), "<DBG>Router: MSG N0QDED\n");
    EXPECT_EQ(last_router_activity, FAKE_START_US);
    EXPECT_EQ(parse_state, ParseState::Idle);
    EXPECT_EQ(fields(incoming_message), fields(router_message{}));
}

TEST_F(ReceiveParser, DeliversAFrameOnceItsEndHasCome)
{
    parse_router_bytes("\x01N0QDE");
    EXPECT_EQ(queued(), Messages{});
    EXPECT_EQ(diagnostics(), "");
    EXPECT_EQ(last_router_activity, 1U);
    EXPECT_EQ(incoming_message.raw, "N0QDE");
    parse_router_bytes("D\x04");
    EXPECT_EQ(queued(), Messages{QD_MESSAGE});
}

TEST_F(ReceiveParser, LogsEachUnexpectedByteWhileIdle)
{
    parse_router_bytes("a\x04\xFF\t\0"s);
    EXPECT_EQ(diagnostics(), "Discarding unexpected byte 61\n"
                             "Discarding unexpected byte 04\n"
                             "Discarding unexpected byte ff\n"
                             "Discarding unexpected byte 09\n"
                             "Discarding unexpected byte 00\n");
    EXPECT_EQ(queued(), Messages{});
    EXPECT_EQ(last_router_activity, 1U);
    parse_router_bytes(QD_FRAME);
    EXPECT_EQ(queued(), Messages{QD_MESSAGE});
}

TEST_F(ReceiveParser, ReadsAnAckAtItsSingleByte)
{
    parse_router_bytes("\x06");
    EXPECT_EQ(queued(), Messages{ACK_MESSAGE});
    EXPECT_EQ(diagnostics(), "<DBG>Router: ACK\n");
    EXPECT_EQ(last_router_activity, FAKE_START_US);
    EXPECT_EQ(parse_state, ParseState::Idle);
    EXPECT_EQ(fields(incoming_message), fields(router_message{}));
}

TEST_F(ReceiveParser, KeepsTheOrderOfAnAckAndAFrame)
{
    parse_router_bytes("\x06" + QD_FRAME + "\x06");
    EXPECT_EQ(queued(), (Messages{ACK_MESSAGE, QD_MESSAGE, ACK_MESSAGE}));
}

TEST_F(ReceiveParser, DeliversANakWithItsCode)
{
    parse_router_bytes("\x15"
                       "1A2B\x04");
    EXPECT_EQ(queued(), Messages{nak_message(0x1A2B, "1A2B")});
    EXPECT_EQ(diagnostics(), "<DBG>Router: NAK 1A2B\n");
    EXPECT_EQ(last_router_activity, FAKE_START_US);
}

TEST_F(ReceiveParser, ReadsALeadingHexadecimalNakCode)
{
    parse_router_bytes("\x15\x04\x15xyz\x04\x15"
                       "00aFg1\x04\x15 1\x04\x15"
                       "0x1\x04");
    EXPECT_EQ(queued(),
              (Messages{nak_message(0, ""), nak_message(0, "xyz"), nak_message(0xAF, "00aFg1"),
                        nak_message(0, " 1"), nak_message(0, "0x1")}));
}

TEST_F(ReceiveParser, WrapsANakCodeOfTooManyDigits)
{
    parse_router_bytes("\x15"
                       "FFFFFFFF\x04\x15"
                       "123456789\x04");
    EXPECT_EQ(queued(),
              (Messages{nak_message(-1, "FFFFFFFF"), nak_message(0x23456789, "123456789")}));
}

TEST_F(ReceiveParser, ReadsStartBytesInsideAFrameAsOrdinary)
{
    const std::string inside = "N0QD\t\x01\x06\x15";
    parse_router_bytes(frame(inside));
    EXPECT_EQ(queued(), (Messages{{'N',
                                   '0',
                                   {'Q', 'D', 0},
                                   {"\x01\x06\x15"},
                                   true,
                                   false,
                                   false,
                                   false,
                                   -1,
                                   inside + "C8"}}));
    parse_router_bytes("\x15\x01\x06\x15\x04");
    EXPECT_EQ(queued().back(), nak_message(0, "\x01\x06\x15"));
}

TEST_F(ReceiveParser, LogsAFrameWithANulAndTheBytesBeforeIt)
{
    parse_router_bytes("\x01N0Q\0D"s);
    EXPECT_EQ(diagnostics(),
              "<DBG>Unexpected NUL in response from router switcher, ignoring response\n"
              "<DBG>Response: \x01N0Q\n");
    EXPECT_EQ(parse_state, ParseState::SkipToEnd);
    EXPECT_EQ(last_router_activity, 1U);
}

TEST_F(ReceiveParser, ShowsOnlyTheBytesOfTheReadThatHeldTheNul)
{
    parse_router_bytes("\x01N0");
    parse_router_bytes("QD\0x"s);
    EXPECT_EQ(diagnostics(),
              "<DBG>Unexpected NUL in response from router switcher, ignoring response\n"
              "<DBG>Response: QD\n");
}

TEST_F(ReceiveParser, ShowsTheReadUpToItsFirstNulEvenIfThatStoodElsewhere)
{
    parse_router_bytes("\x06\0\x01N0\0"s);
    EXPECT_EQ(diagnostics(),
              "<DBG>Router: ACK\n"
              "Discarding unexpected byte 00\n"
              "<DBG>Unexpected NUL in response from router switcher, ignoring response\n"
              "<DBG>Response: \x06\n");
}

TEST_F(ReceiveParser, ShowsTheFramesThatCameBeforeTheNulInTheSameRead)
{
    parse_router_bytes(QD_FRAME + "\x01N\0"s);
    EXPECT_EQ(diagnostics(),
              "<DBG>Router: MSG N0QDED\n"
              "<DBG>Unexpected NUL in response from router switcher, ignoring response\n"
              "<DBG>Response: \x01N0QDED\x04\x01N\n");
}

TEST_F(ReceiveParser, SkipsSilentlyToTheEndOfAFrameWithANul)
{
    parse_router_bytes("\x01N0\0"s);
    diagnostics();
    parse_router_bytes("abc\x01\x06\x15\0\xFF\x04"s);
    EXPECT_EQ(diagnostics(), "");
    EXPECT_EQ(queued(), Messages{});
    EXPECT_EQ(last_router_activity, 1U);
    EXPECT_EQ(parse_state, ParseState::Idle);
    EXPECT_EQ(fields(incoming_message), fields(router_message{}));
    parse_router_bytes(QD_FRAME);
    EXPECT_EQ(queued(), Messages{QD_MESSAGE});
}

TEST_F(ReceiveParser, SkipsANakWithANul)
{
    parse_router_bytes("\x15"
                       "12\0"
                       "34\x04"s +
                       QD_FRAME);
    EXPECT_EQ(queued(), Messages{QD_MESSAGE});
    EXPECT_EQ(diagnostics(),
              "<DBG>Unexpected NUL in response from router switcher, ignoring response\n"
              "<DBG>Response: \x15"
              "12\n"
              "<DBG>Router: MSG N0QDED\n");
}

namespace {
// A frame with this many bytes between start and end.
std::string frame_of_size(std::size_t raw_size)
{
    return frame("N0QD\t" + std::string(raw_size - 7, 'x'));
}
} // namespace

TEST_F(ReceiveParser, AcceptsFramesOfUpTo4096Bytes)
{
    for (const std::size_t size : {4095U, 4096U}) {
        parse_router_bytes(frame_of_size(size));
        ASSERT_EQ(router_rx_queue.size(), 1U);
        EXPECT_EQ(router_rx_queue.front().raw, frame_of_size(size).substr(1, size));
        EXPECT_EQ(router_rx_queue.front().parameters,
                  std::vector<std::string>{std::string(size - 7, 'x')});
        router_rx_queue.clear();
    }
    EXPECT_EQ(diagnostics().find("Over-long"), std::string::npos);
}

TEST_F(ReceiveParser, DropsAFrameAtItsByte4097)
{
    parse_router_bytes("\x01" + std::string(4096, 'x'));
    EXPECT_EQ(diagnostics(), "");
    parse_router_bytes("y");
    EXPECT_EQ(diagnostics(), "<WARN>Over-long rambling response from router switcher\n");
    EXPECT_EQ(parse_state, ParseState::Idle);
    EXPECT_EQ(fields(incoming_message), fields(router_message{}));
    EXPECT_EQ(last_router_activity, 1U);
}

TEST_F(ReceiveParser, DiscardsTheRestOfAnOverLongFrameByteByByte)
{
    parse_router_bytes("\x01" + std::string(4097, 'x') + "ED\x04" + QD_FRAME);
    EXPECT_EQ(diagnostics(), "<WARN>Over-long rambling response from router switcher\n"
                             "Discarding unexpected byte 45\n"
                             "Discarding unexpected byte 44\n"
                             "Discarding unexpected byte 04\n"
                             "<DBG>Router: MSG N0QDED\n");
    EXPECT_EQ(queued(), Messages{QD_MESSAGE});
}

TEST_F(ReceiveParser, StartsAFrameInTheRestOfAnOverLongOne)
{
    parse_router_bytes("\x15" + std::string(4097, 'x') + "\x06");
    EXPECT_EQ(diagnostics(), "<WARN>Over-long rambling response from router switcher\n"
                             "<DBG>Router: ACK\n");
    EXPECT_EQ(queued(), Messages{ACK_MESSAGE});
}

TEST_F(ReceiveParser, SeesANulBehindAFullFrame)
{
    parse_router_bytes("\x01" + std::string(4096, 'x'));
    parse_router_bytes("\0"s);
    EXPECT_EQ(diagnostics(),
              "<DBG>Unexpected NUL in response from router switcher, ignoring response\n"
              "<DBG>Response: \n");
}

TEST_F(ReceiveParser, ResetForgetsThePartialFrameAndKeepsTheQueue)
{
    parse_router_bytes("\x06\x01N0QD");
    reset_receive_parser();
    EXPECT_EQ(parse_state, ParseState::Idle);
    EXPECT_EQ(fields(incoming_message), fields(router_message{}));
    EXPECT_EQ(queued(), Messages{ACK_MESSAGE});
    parse_router_bytes("\x01N0\0"s);
    reset_receive_parser();
    parse_router_bytes(QD_FRAME);
    EXPECT_EQ(queued(), (Messages{ACK_MESSAGE, QD_MESSAGE}));
}
