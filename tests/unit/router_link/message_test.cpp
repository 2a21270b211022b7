#include <gtest/gtest.h>

#include "router_link/message.h"
#include "support/message_fields.h"

using namespace std::string_literals;

namespace {
// The longest parameter that fits behind the header and one TAB: 6 bytes before it, 8 kept free
// behind it, up to index 1023.
constexpr std::size_t LONGEST_PARAMETER = 1009;

std::string encoded(const router_message& message)
{
    std::string frame;
    EXPECT_TRUE(encode_router_message(message, frame));
    return frame;
}

bool fits(const router_message& message)
{
    std::string frame;
    return encode_router_message(message, frame);
}

router_message nak_with(std::int32_t code)
{
    router_message message;
    message.nak = true;
    message.nakerr = code;
    return message;
}

router_message request_with_empty_parameters(std::size_t count)
{
    router_message message = make_request("QD");
    message.parameters.resize(count);
    return message;
}
} // namespace

TEST(RouterMessage, IsClearByDefault)
{
    const message_fields clear = {0, '0', {}, {}, false, false, false, false, -1, ""};
    EXPECT_EQ(fields(router_message{}), clear);
}

TEST(RouterMessage, ClearForgetsEveryField)
{
    router_message message;
    message.protocol = 'N';
    message.seq = '1';
    message.request = {'Q', 'D', 'X'};
    message.parameters = {"a", "b"};
    message.ok = message.ack = message.nak = message.err = true;
    message.nakerr = 5;
    message.raw = "N0QDED";
    router_message_clear(message);
    EXPECT_EQ(fields(message), fields(router_message{}));
}

TEST(RouterMessage, RequestCarriesProtocolMnemonicAndParameters)
{
    const message_fields expected = {'N',   '0',   {'B', 'K', 0}, {"f", "14"}, false,
                                     false, false, false,         -1,          ""};
    EXPECT_EQ(fields(make_request("BK", {"f", "14"})), expected);
}

TEST(RouterMessageEncoding, NeedsEightBytesWithoutParameters)
{
    EXPECT_EQ(encoded(make_request("QD")), "\x01N0QDED\x04");
}

TEST(RouterMessageEncoding, MatchesThePublishedTakeOfSource12ToDestination15)
{
    const std::string frame = "\x01\x4E\x30\x54\x49\x09\x30\x30\x30\x46\x09\x30\x30\x30\x43"
                              "\x32\x41\x04";
    EXPECT_EQ(encoded(make_request("TI", {"000F", "000C"})), frame);
}

TEST(RouterMessageEncoding, PutsTheHeaderInOrder)
{
    router_message message = make_request("ab");
    message.protocol = 'X';
    message.seq = '7';
    EXPECT_EQ(encoded(message), "\x01X7abAE\x04");
}

TEST(RouterMessageEncoding, WritesAnEmptyParameterAsTwoAdjacentTabs)
{
    EXPECT_EQ(encoded(make_request("QD", {"a", "", "b"})), "\x01N0QD\ta\t\tb0F\x04");
}

TEST(RouterMessageEncoding, PutsATabBeforeAnEmptyFirstOrLastParameter)
{
    EXPECT_EQ(encoded(make_request("QD", {""})), "\x01N0QD\tE4\x04");
    EXPECT_EQ(encoded(make_request("QD", {"a", ""})), "\x01N0QD\ta\t7A\x04");
}

TEST(RouterMessageEncoding, WritesChecksumZeroAsTwoDigits)
{
    EXPECT_EQ(encoded(make_request("QD", {"rr"})), "\x01N0QD\trr00\x04");
}

TEST(RouterMessageEncoding, AddsBytesAbove127AsUnsigned)
{
    EXPECT_EQ(encoded(make_request("QD", {"\xFF\x80"})), "\x01N0QD\t\xFF\x80"
                                                         "65\x04");
    EXPECT_EQ(router_checksum("\xFF\x80"), 0x81);
    EXPECT_EQ(router_checksum(""), 0);
}

TEST(RouterMessageEncoding, WritesAnAckAsItsByteAlone)
{
    router_message message = make_request("QD", {"a"});
    message.ack = true;
    message.nak = true;
    EXPECT_EQ(encoded(message), "\x06");
}

TEST(RouterMessageEncoding, GivesANakFourDigits)
{
    EXPECT_EQ(encoded(nak_with(0x1A2B)), "\x15"
                                         "1A2B\x04");
    EXPECT_EQ(encoded(nak_with(-1)), "\x15"
                                     "FFFF\x04");
    EXPECT_EQ(encoded(nak_with(0)), "\x15"
                                    "0000\x04");
    EXPECT_EQ(encoded(nak_with(0x51A2B)), "\x15"
                                          "1A2B\x04");
}

TEST(RouterMessageEncoding, LeavesANaksParametersOut)
{
    router_message message = make_request("QD", {"a"});
    message.nak = true;
    EXPECT_EQ(encoded(message), "\x15"
                                "FFFF\x04");
}

TEST(RouterMessageEncoding, KeepsEightBytesFreeBehindAParameter)
{
    const std::string longest(LONGEST_PARAMETER, 'x');
    const std::string frame = encoded(make_request("QD", {longest}));
    EXPECT_EQ(frame.size(), 6 + LONGEST_PARAMETER + 3);
    EXPECT_EQ(frame.substr(0, 6) + frame.substr(6 + LONGEST_PARAMETER), "\x01N0QD\tEC\x04");
    EXPECT_FALSE(fits(make_request("QD", {longest + "x"})));
    EXPECT_FALSE(fits(make_request("QD", {std::string(100'000, 'x')})));
}

TEST(RouterMessageEncoding, CountsEarlierParametersAgainstTheLimit)
{
    const std::string first(500, 'x');
    EXPECT_TRUE(fits(make_request("QD", {first, std::string(508, 'y')})));
    EXPECT_FALSE(fits(make_request("QD", {first, std::string(509, 'y')})));
}

TEST(RouterMessageEncoding, AsksNoMarginOfAnEmptyParameter)
{
    const std::string longest(LONGEST_PARAMETER, 'x');
    EXPECT_EQ(encoded(make_request("QD", {longest, ""})).size(), 7 + LONGEST_PARAMETER + 3);
    EXPECT_FALSE(fits(make_request("QD", {longest, "x"})));
}

TEST(RouterMessageEncoding, LeavesTheFrameAloneWhenTheMessageDoesNotFit)
{
    std::string frame = "earlier";
    EXPECT_FALSE(encode_router_message(make_request("QD", {std::string(1010, 'x')}), frame));
    EXPECT_EQ(frame, "earlier");
}

TEST(RouterMessageEncoding, AcceptsAThousandEmptyParameters)
{
    // 0x113 of the header and 9 a TAB: 0x243B.
    EXPECT_EQ(encoded(request_with_empty_parameters(1000)),
              "\x01N0QD" + std::string(1000, '\t') + "C5\x04");
}

TEST(RouterMessageEncoding, UsesTheBufferToItsLastPosition)
{
    EXPECT_EQ(encoded(request_with_empty_parameters(1015)).size(), 1023);
}

TEST(RouterMessageEncodingDeathTest, AbortsBeforeItOverrunsTheBuffer)
{
    EXPECT_DEATH(fits(request_with_empty_parameters(1016)), "`w <= f' failed");
    EXPECT_DEATH(fits(request_with_empty_parameters(1100)), "`w <= f' failed");
}

TEST(RouterMessageEncoding, EndsTheFrameAtItsFirstNul)
{
    EXPECT_EQ(encoded(router_message{}), "\x01");
    EXPECT_EQ(encoded(make_request("QD", {"a\0b"s, "c"})), "\x01N0QD\ta");
    router_message no_seq = make_request("QD");
    no_seq.seq = '\0';
    EXPECT_EQ(encoded(no_seq), "\x01N");
}

TEST(RouterMessageText, ShowsEveryCombinationOfFlags)
{
    const char* const flag_texts[] = {"[OK] ", "[ACK] ", "[NAK] ", "[ERR] "};
    for (unsigned flags = 0; flags < 16; ++flags) {
        router_message message = make_request("QD");
        message.ok = (flags & 1) != 0;
        message.ack = (flags & 2) != 0;
        message.nak = (flags & 4) != 0;
        message.err = (flags & 8) != 0;
        std::string expected;
        for (unsigned i = 0; i < 4; ++i)
            if ((flags >> i & 1) != 0) expected += flag_texts[i];
        EXPECT_EQ(router_message_text(message), expected + "request=QD protocol=N seq=0 ");
    }
}

TEST(RouterMessageText, ShowsTheErrorCodeInFourLowerCaseDigits)
{
    const std::string header = "[NAK] request= protocol=\0 seq=0 "s;
    EXPECT_EQ(router_message_text(nak_with(-1)), header);
    EXPECT_EQ(router_message_text(nak_with(0)), header + "nakerr=0000 ");
    EXPECT_EQ(router_message_text(nak_with(0x1A2B)), header + "nakerr=1a2b ");
    EXPECT_EQ(router_message_text(nak_with(0x7FFFFFFF)), header + "nakerr=7fffffff ");
    EXPECT_EQ(router_message_text(nak_with(-2147483647 - 1)), header);
}

TEST(RouterMessageText, JoinsTheParametersWithCommas)
{
    EXPECT_EQ(router_message_text(make_request("TI", {"F"})),
              "request=TI protocol=N seq=0 param=F");
    EXPECT_EQ(router_message_text(make_request("TI", {"", "a", "", "b"})),
              "request=TI protocol=N seq=0 param=,a,,b");
}

TEST(RouterMessageText, PutsTheErrorCodeBeforeTheParameters)
{
    router_message message = make_request("ER", {"05", "QD"});
    message.seq = '2';
    message.err = true;
    message.nakerr = 5;
    EXPECT_EQ(router_message_text(message),
              "[ERR] request=ER protocol=N seq=2 nakerr=0005 param=05,QD");
}
