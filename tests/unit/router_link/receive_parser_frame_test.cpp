// What a complete frame becomes: checksum, header, parameters, error replies.
#include "router_link/receive_parser.h"
#include "support/backend_test.h"
#include "support/message_fields.h"

using Parameters = std::vector<std::string>;
using Messages = std::vector<message_fields>;

namespace {
class ReceivedFrame : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        last_router_activity = 1;
    }

    // The messages that a frame with these bytes between start and end becomes.
    Messages become(const std::string& raw)
    {
        router_rx_queue.clear();
        diagnostics();
        parse_router_bytes("\x01" + raw + "\x04");
        return all_fields(router_rx_queue);
    }

    // The parameters of a frame with this body and the right checksum.
    Parameters parameters_of(const std::string& body)
    {
        const Messages messages = become(frame(body).substr(1, body.size() + 2));
        return messages.empty() ? Parameters{"no message"} : std::get<3>(messages[0]);
    }
};

message_fields good(char protocol, char seq, std::array<char, 3> request,
                    const Parameters& parameters, const std::string& raw)
{
    return {protocol, seq, request, parameters, true, false, false, false, -1, raw};
}

message_fields error_reply(std::int32_t code, const Parameters& parameters, const std::string& raw)
{
    const bool good = code == 0;
    return {'N', '0', {'E', 'R', 0}, parameters, good, false, false, !good, code, raw};
}
} // namespace

TEST_F(ReceivedFrame, NeedsAChecksum)
{
    EXPECT_EQ(become(""), Messages{});
    EXPECT_EQ(diagnostics(), "<DBG>Router: MSG \n<DBG>Message rejected, no checksum field\n");
    EXPECT_EQ(become("A"), Messages{});
    EXPECT_EQ(diagnostics(), "<DBG>Router: MSG A\n<DBG>Message rejected, no checksum field\n");
    EXPECT_EQ(last_router_activity, FAKE_START_US);
    EXPECT_EQ(parse_state, ParseState::Idle);
    EXPECT_EQ(fields(incoming_message), fields(router_message{}));
}

TEST_F(ReceivedFrame, ShowsItsChecksumInTheHeaderWhenShort)
{
    become("N0QDED"); // leaves nothing of its mnemonic behind
    EXPECT_EQ(become("00"), Messages{good('0', '0', {}, {}, "00")});
    EXPECT_EQ(become("ABF"), Messages{good('A', 'B', {'F', 0, 0}, {}, "ABF")});
    EXPECT_EQ(become("AB7D"), Messages{good('A', 'B', {'7', 'D', 0}, {}, "AB7D")});
    EXPECT_EQ(become("ABC3A"), Messages{good('A', 'B', {'C', '3', 0}, {}, "ABC3A")});
    EXPECT_EQ(become("ABCDF6"), Messages{good('A', 'B', {'C', 'D', 0}, {}, "ABCDF6")});
}

TEST_F(ReceivedFrame, MayBeAnErrorReplyByItsChecksumCharacters)
{
    const std::string raw = "\x10\x10"
                            "ER";
    EXPECT_EQ(become(raw),
              (Messages{{'\x10', '\x10', {'E', 'R', 0}, {}, false, false, false, true, -1, raw}}));
}

TEST_F(ReceivedFrame, MayWriteItsChecksumInEitherCase)
{
    EXPECT_EQ(become("N0QDed"), Messages{good('N', '0', {'Q', 'D', 0}, {}, "N0QDed")});
    EXPECT_EQ(become("N0QDeD"), Messages{good('N', '0', {'Q', 'D', 0}, {}, "N0QDeD")});
}

TEST_F(ReceivedFrame, WithAWrongChecksumIsDroppedAndStillASignOfLife)
{
    EXPECT_EQ(become("N0QDEC"), Messages{});
    EXPECT_EQ(diagnostics(), "<DBG>Router: MSG N0QDEC\n"
                             "<DBG>Message rejected, invalid checksum (want=ec got=ed)\n");
    EXPECT_EQ(last_router_activity, FAKE_START_US);
    EXPECT_EQ(parse_state, ParseState::Idle);
    EXPECT_EQ(fields(incoming_message), fields(router_message{}));
}

TEST_F(ReceivedFrame, ReadsTheHighChecksumDigitFirst)
{
    EXPECT_EQ(become("N0QDDE"), Messages{});
    EXPECT_EQ(diagnostics(), "<DBG>Router: MSG N0QDDE\n"
                             "<DBG>Message rejected, invalid checksum (want=de got=ed)\n");
}

TEST_F(ReceivedFrame, CountsAChecksumCharacterThatIsNoDigitAsZero)
{
    EXPECT_EQ(become("N0QD\trrzG"), Messages{good('N', '0', {'Q', 'D', 0}, {"rr"}, "N0QD\trrzG")});
    EXPECT_EQ(become("N0QD/d"), Messages{});
    EXPECT_EQ(diagnostics(), "<DBG>Router: MSG N0QD/d\n"
                             "<DBG>Message rejected, invalid checksum (want=0d got=ed)\n");
    EXPECT_EQ(become("N0QDe`"), Messages{});
    EXPECT_EQ(diagnostics(), "<DBG>Router: MSG N0QDe`\n"
                             "<DBG>Message rejected, invalid checksum (want=e0 got=ed)\n");
}

TEST_F(ReceivedFrame, ShowsASmallChecksumInTwoDigits)
{
    EXPECT_EQ(become("N0QD\ta\t\tbF0"), Messages{});
    EXPECT_EQ(diagnostics(), "<DBG>Router: MSG N0QD\ta\t\tbF0\n"
                             "<DBG>Message rejected, invalid checksum (want=f0 got=0f)\n");
}

TEST_F(ReceivedFrame, AddsBytesAbove127AsUnsigned)
{
    const std::string raw = "N0QD\t\xFF\x80"
                            "65";
    EXPECT_EQ(become(raw), Messages{good('N', '0', {'Q', 'D', 0}, {"\xFF\x80"}, raw)});
}

TEST_F(ReceivedFrame, SplitsItsParametersAtTabs)
{
    EXPECT_EQ(parameters_of("N0QD"), Parameters{});
    EXPECT_EQ(parameters_of("N0QD\ta"), Parameters{"a"});
    EXPECT_EQ(parameters_of("N0QD\ta\tb"), (Parameters{"a", "b"}));
    EXPECT_EQ(parameters_of("N0QD\ta\t\tb"), (Parameters{"a", "", "b"}));
    EXPECT_EQ(parameters_of("N0QD\t\ta"), (Parameters{"", "a"}));
}

TEST_F(ReceivedFrame, ReadsNoEmptyParameterFromATabBeforeTheChecksum)
{
    EXPECT_EQ(parameters_of("N0QD\t"), Parameters{});
    EXPECT_EQ(parameters_of("N0QD\ta\t"), Parameters{"a"});
    EXPECT_EQ(parameters_of("N0QD\t\t"), Parameters{""});
    EXPECT_EQ(parameters_of("N0QD\ta\t\t"), (Parameters{"a", ""}));
}

TEST_F(ReceivedFrame, IgnoresBytesBetweenHeaderAndFirstTab)
{
    EXPECT_EQ(parameters_of("N0QDxyz"), Parameters{});
    EXPECT_EQ(parameters_of("N0QDxyz\ta"), Parameters{"a"});
}

TEST_F(ReceivedFrame, DoesNotSplitItsHeaderAtTabs)
{
    EXPECT_EQ(become(frame("N0\t\t\ta").substr(1, 8)),
              Messages{good('N', '0', {'\t', '\t', 0}, {"a"}, frame("N0\t\t\ta").substr(1, 8))});
}

TEST_F(ReceivedFrame, DoesNotSplitItsChecksumAtTabs)
{
    EXPECT_EQ(become("N0QD\trr\t0"),
              Messages{good('N', '0', {'Q', 'D', 0}, {"rr"}, "N0QD\trr\t0")});
    EXPECT_EQ(become("UUV0\t"), Messages{good('U', 'U', {'V', '0', 0}, {}, "UUV0\t")});
}

TEST_F(ReceivedFrame, KeepsSeqAndProtocolAsTheyCame)
{
    EXPECT_EQ(become("X7abAE"), Messages{good('X', '7', {'a', 'b', 0}, {}, "X7abAE")});
}

TEST_F(ReceivedFrame, IsAGoodReplyWithErrorCodeZero)
{
    EXPECT_EQ(become("N0ER\t00\tQDE4"), Messages{error_reply(0, {"00", "QD"}, "N0ER\t00\tQDE4")});
}

TEST_F(ReceivedFrame, IsAnErrorWithAnErrorCode)
{
    EXPECT_EQ(become("N0ER\t057D"), Messages{error_reply(5, {"05"}, "N0ER\t057D")});
}

TEST_F(ReceivedFrame, IsAnErrorWithoutAnyCode)
{
    EXPECT_EQ(become("N0EREB"), Messages{error_reply(-1, {}, "N0EREB")});
    EXPECT_EQ(become("N0ER\tE2"), Messages{error_reply(-1, {}, "N0ER\tE2")});
}

TEST_F(ReceivedFrame, ReadsTheLeadingHexadecimalDigitsOfTheErrorCode)
{
    const std::pair<std::string, std::int32_t> codes[] = {
        {"1aBx2", 0x1AB}, {"zz", 0},        {" 5", 0},   {"-1", 0},    {"0x5", 0},
        {"FFFFFFFF", -1}, {"100000000", 0}, {"\t05", 0}, {"0\t05", 0}, {"80000000", INT32_MIN}};
    for (const auto& [text, code] : codes) {
        parameters_of("N0ER\t" + text);
        ASSERT_EQ(router_rx_queue.size(), 1U) << text;
        EXPECT_EQ(router_rx_queue.front().nakerr, code) << text;
        EXPECT_EQ(router_rx_queue.front().ok, code == 0) << text;
        EXPECT_EQ(router_rx_queue.front().err, code != 0) << text;
    }
}

TEST_F(ReceivedFrame, ReadsAnErrorCodeFromErrorRepliesAlone)
{
    EXPECT_EQ(become("N0EX\t0577"), Messages{good('N', '0', {'E', 'X', 0}, {"05"}, "N0EX\t0577")});
}

TEST_F(ReceivedFrame, LogsItsBytes)
{
    become("N0QD\ta\t\tb0F");
    EXPECT_EQ(diagnostics(), "<DBG>Router: MSG N0QD\ta\t\tb0F\n");
}
