#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include "router_simulator/wire/frames.h"
#include "support/backend_test.h"

using namespace router_simulator;
using testing::ElementsAre;

namespace {
// What came of the bytes, a line each: the request's parts, or what was wrong.
std::vector<std::string> outcomes(const std::vector<parsed_frame>& frames)
{
    std::vector<std::string> lines;
    for (const parsed_frame& each : frames) {
        std::string line = error_text(each.error);
        if (each.error == frame_error::none) {
            line = std::string{each.request.protocol, each.request.seq};
            line += mnemonic_of(each.request);
        }
        for (const std::string& parameter : each.request.parameters)
            line += "|" + parameter;
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> outcomes_of(std::string_view bytes)
{
    request_parser parser;
    return outcomes(parse_requests(parser, bytes));
}
} // namespace

TEST(SimulatorParser, ReadsThePublishedTake)
{
    EXPECT_THAT(outcomes_of("\x01\x4E\x30\x54\x49\x09\x30\x30\x30\x46\x09\x30\x30\x30\x43\x32\x41"
                            "\x04"),
                ElementsAre("N0TI|000F|000C"));
}

TEST(SimulatorParser, ReadsRequestWithoutParameters)
{
    EXPECT_THAT(outcomes_of("\x01N0QDED\x04"), ElementsAre("N0QD"));
}

TEST(SimulatorParser, AcceptsChecksumDigitsOfEitherCase)
{
    EXPECT_THAT(outcomes_of("\x01N0QDed\x04"), ElementsAre("N0QD"));
}

TEST(SimulatorParser, KeepsEmptyParameters)
{
    EXPECT_THAT(outcomes_of(frame("N0QD\ta\t\tb")), ElementsAre("N0QD|a||b"));
}

TEST(SimulatorParser, RejectsWrongChecksum)
{
    EXPECT_THAT(outcomes_of("\x01N0QDEE\x04"), ElementsAre("bad checksum"));
}

TEST(SimulatorParser, RejectsChecksumThatIsNoNumber)
{
    EXPECT_THAT(outcomes_of("\x01N0QDxx\x04"), ElementsAre("bad checksum"));
}

TEST(SimulatorParser, RejectsFrameWithoutRoomForHeaderAndChecksum)
{
    EXPECT_THAT(outcomes_of(frame("N0Q") + "\x01\x04"), ElementsAre("too short", "too short"));
}

TEST(SimulatorParser, RejectsHeaderThatIsNotFourBytes)
{
    EXPECT_THAT(outcomes_of(frame("N0QDX\ta") + frame("N0Q\tab")),
                ElementsAre("bad header", "bad header"));
}

TEST(SimulatorParser, RejectsNulAndPassesOverTheRestOfTheFrame)
{
    const std::string bytes = std::string("\x01N0Q\0DED\x04", 9) + "\x01N0QDED\x04";
    EXPECT_THAT(outcomes_of(bytes), ElementsAre("holds a NUL", "N0QD"));
}

TEST(SimulatorParser, StartsAnewAtEveryStartByte)
{
    EXPECT_THAT(outcomes_of("\x01N0TI\t\x01N0QDED\x04"),
                ElementsAre("cut short by the next frame", "N0QD"));
}

TEST(SimulatorParser, PassesOverWhatIsBetweenFrames)
{
    EXPECT_THAT(outcomes_of("\x06noise\x04\x01N0QDED\x04\x15"
                            "0001\x04\x01N0QDED\x04"),
                ElementsAre("N0QD", "N0QD"));
}

TEST(SimulatorParser, AcceptsTheLongestFrame)
{
    const std::string content = "N0QD\t" + std::string(MAX_FRAME_CONTENT - 7, 'x');
    EXPECT_THAT(outcomes_of(frame(content)), ElementsAre("N0QD|" + content.substr(5)));
}

TEST(SimulatorParser, RejectsLongerFrameOnce)
{
    const std::string content = "N0QD\t" + std::string(MAX_FRAME_CONTENT - 6, 'x');
    EXPECT_THAT(outcomes_of(frame(content) + frame("N0QD")), ElementsAre("too long", "N0QD"));
}

TEST(SimulatorParser, HandsTheBytesOfARejectedFrameBack)
{
    request_parser parser;
    const std::vector<parsed_frame> frames = parse_requests(parser, "\x01N0QDEE\x04");
    ASSERT_EQ(frames.size(), 1U);
    EXPECT_EQ(frames[0].content, "N0QDEE");
}

namespace {
// Control bytes and the bytes of a request come often, so that frames begin and end.
rc::Gen<std::string> likely_bytes()
{
    return rc::gen::container<std::string>(
        rc::gen::oneOf(rc::gen::elementOf(std::string("\x01\x01\x04\x04\x06\x09\x15\0N0QDED", 14)),
                       rc::gen::arbitrary<char>()));
}
} // namespace

RC_GTEST_PROP(SimulatorParser, FindsTheSameInWhateverPiecesBytesCome, ())
{
    const std::string bytes = *likely_bytes();
    request_parser whole;
    request_parser pieces;
    const std::vector<std::string> expected = outcomes(parse_requests(whole, bytes));
    std::vector<std::string> found;
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t length = *rc::gen::inRange<std::size_t>(1, 8);
        const auto some = outcomes(parse_requests(pieces, bytes.substr(at, length)));
        found.insert(found.end(), some.begin(), some.end());
        at += length;
    }
    RC_ASSERT(found == expected);
    RC_ASSERT(pieces.in_frame == whole.in_frame);
    RC_ASSERT(pieces.content == whole.content);
}

RC_GTEST_PROP(SimulatorParser, FindsEveryGoodFrameBehindAnyBytes, (const std::string& noise))
{
    request_parser parser;
    parse_requests(parser, noise);
    const std::vector<std::string> found = outcomes(parse_requests(parser, "\x01N0QDED\x04"));
    RC_ASSERT(!found.empty());
    RC_ASSERT(found.back() == "N0QD");
}

TEST(SimulatorParser, HoldsNoMoreThanOneFrame)
{
    request_parser parser;
    parse_requests(parser, "\x01" + std::string(1'000'000, 'x'));
    EXPECT_EQ(parser.content, "");
    parse_requests(parser, "\x01" + std::string(MAX_FRAME_CONTENT, 'x'));
    EXPECT_EQ(parser.content.size(), MAX_FRAME_CONTENT);
}
