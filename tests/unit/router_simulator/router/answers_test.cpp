#include <gmock/gmock.h>
#include <rapidcheck/gtest.h>

#include "common/numbers.h"
#include "router_simulator/router/answers.h"
#include "router_simulator/router/names.h"
#include "router_simulator/wire/frames.h"
#include "support/backend_test.h"
#include "unit/router_simulator/router/asking.h"

using namespace router_simulator;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
class SimulatorAnswers : public testing::Test {
  protected:
    Texts asked(const char* mnemonic, const std::vector<std::string>& parameters = {})
    {
        return ask(router, 1, mnemonic, parameters);
    }

    simulated_router router = router_with_two_clients(
        {.sources = 4, .destinations = 3, .levels = 2, .source_base = 0, .destination_base = 0});
};

// The bytes that the router sends for the bytes of one frame.
std::string bytes_for(simulated_router& router, std::string_view request)
{
    request_parser parser;
    std::string bytes;
    for (const parsed_frame& each : parse_requests(parser, request))
        for (const auto& [client, message] : answer_request(router, 1, each.request)) {
            std::string encoded;
            EXPECT_TRUE(encode_router_message(message, encoded));
            bytes += encoded;
        }
    return bytes;
}
} // namespace

TEST_F(SimulatorAnswers, AnswersThePublishedTakeByteForByte)
{
    router = router_with_two_clients(
        {.sources = 16, .destinations = 16, .source_base = 0, .destination_base = 0});
    router.clients[1].confirms_commands = true;
    EXPECT_EQ(bytes_for(router, "\x01\x4E\x30\x54\x49\x09\x30\x30\x30\x46\x09\x30\x30\x30\x43\x32"
                                "\x41\x04"),
              "\x01\x4E\x30\x45\x52\x09\x30\x30\x09\x54\x49\x44\x43\x04");
    EXPECT_EQ(bytes_for(router, "\x01\x4E\x30\x51\x49\x09\x30\x30\x30\x46\x09\x30\x44\x30\x04"),
              "\x01\x4E\x30\x49\x51\x09\x30\x30\x30\x46\x09\x30\x09\x4E\x09\x4E\x09\x30\x30\x30"
              "\x43\x34\x36\x04");
}

TEST_F(SimulatorAnswers, AnswersNameQueryByteForByte)
{
    router = router_with_two_clients(
        {.sources = 2, .source_base = 0, .destination_base = 0, .entries_per_answer = 1});
    EXPECT_EQ(bytes_for(router, "\x01\x4E\x30\x51\x4E\x09\x49\x53\x33\x45\x04"),
              "\x01\x4E\x31\x4E\x51\x09\x53\x09\x31\x09\x43\x41\x4D\x20\x31\x09\x30\x30\x30\x30"
              "\x09\x30\x09\x30\x45\x36\x04"
              "\x01\x4E\x30\x4E\x51\x09\x53\x09\x31\x09\x43\x41\x4D\x20\x32\x09\x30\x30\x30\x31"
              "\x09\x30\x09\x30\x45\x35\x04");
}

TEST_F(SimulatorAnswers, TellsWhatItIs)
{
    router.options.model = "Box";
    router.options.revision = "r7";
    router.options.title = "Title 1.2";
    EXPECT_THAT(asked("BK", {"N"}), ElementsAre("1:0KB|N|Box"));
    EXPECT_THAT(asked("BK", {"R"}), ElementsAre("1:0KB|R|r7"));
    EXPECT_THAT(asked("BK", {"T"}), ElementsAre("1:0KB|T|Title 1.2"));
}

TEST_F(SimulatorAnswers, ConfirmsNoCommandUnlessAsked)
{
    EXPECT_THAT(asked("BK"), IsEmpty());
    EXPECT_THAT(asked("BK", {"I", "15"}), IsEmpty());
    EXPECT_THAT(asked("BK", {"f", "14"}), IsEmpty());
    EXPECT_THAT(asked("BK", {"D"}), IsEmpty());
    EXPECT_THAT(asked("BK", {"A"}), IsEmpty());
    EXPECT_THAT(asked("TI", {"0", "1"}), IsEmpty());
}

TEST_F(SimulatorAnswers, ConfirmsCommandsOnceAsked)
{
    EXPECT_THAT(asked("BK", {"E", "ON"}), ElementsAre("1:0ER|00|BK"));
    EXPECT_THAT(asked("BK"), ElementsAre("1:0ER|00|BK"));
    EXPECT_THAT(asked("BK", {"I", "15"}), ElementsAre("1:0ER|00|BK"));
    EXPECT_THAT(asked("BK", {"f", "14"}), ElementsAre("1:0ER|00|BK"));
    EXPECT_THAT(asked("BK", {"D"}), ElementsAre("1:0ER|00|BK"));
    EXPECT_THAT(asked("BK", {"A"}), ElementsAre("1:0ER|00|BK"));
    EXPECT_THAT(asked("TI", {"0", "1"}), ElementsAre("1:0ER|00|TI"));
}

TEST_F(SimulatorAnswers, StopsConfirmingWhenAsked)
{
    asked("BK", {"E", "ON"});
    EXPECT_THAT(asked("BK", {"E", "OFF"}), IsEmpty());
    EXPECT_THAT(asked("BK"), IsEmpty());
}

TEST_F(SimulatorAnswers, ConfirmsToTheClientThatAskedOnly)
{
    asked("BK", {"E", "ON"});
    EXPECT_THAT(ask(router, 2, "BK"), IsEmpty());
}

TEST_F(SimulatorAnswers, RefusesWhatItDoesNotKnow)
{
    EXPECT_THAT(asked("ZZ", {"1"}), ElementsAre("1:0ER|01|ZZ"));
    EXPECT_THAT(asked("QD", {"1"}), ElementsAre("1:0ER|01|QD"));
}

TEST_F(SimulatorAnswers, RefusesWrongParameters)
{
    for (const std::vector<std::string>& parameters : std::vector<std::vector<std::string>>{
             {"Z"}, {"E"}, {"E", "on"}, {"E", "ON", ""}, {"f"}, {"f", ""}, {"f", "1G"}})
        EXPECT_THAT(asked("BK", parameters), ElementsAre("1:0ER|02|BK"));
    for (const std::vector<std::string>& parameters :
         std::vector<std::vector<std::string>>{{}, {"S"}, {"L", "1"}, {"is"}})
        EXPECT_THAT(asked("QN", parameters), ElementsAre("1:0ER|02|QN"));
}

TEST_F(SimulatorAnswers, RefusesAnotherProtocol)
{
    EXPECT_EQ(bytes_for(router, frame("X0QD")), frame("N0ER\t01\tQD"));
}

TEST_F(SimulatorAnswers, ListsLevelsInThrees)
{
    EXPECT_THAT(asked("QN", {"L"}), ElementsAre("1:0NQ|L|2|VIDEO|0|0|AUDIO 1|1|0"));
}

TEST_F(SimulatorAnswers, ListsSourcesInFours)
{
    router.sources.base = 16;
    EXPECT_THAT(
        asked("QN", {"IS"}),
        ElementsAre("1:0NQ|S|4|CAM 1|0010|0|0|CAM 2|0011|0|0|CAM 3|0012|0|0|CAM 4|0013|0|0"));
}

TEST_F(SimulatorAnswers, ListsDestinationsInFours)
{
    router.destinations.base = 1;
    EXPECT_THAT(asked("QN", {"ID"}),
                ElementsAre("1:0NQ|D|3|MON A|0001|0|0|MON B|0002|0|0|MON C|0003|0|0"));
}

TEST_F(SimulatorAnswers, ListsNothingInOneMessage)
{
    router = router_with_two_clients(
        {.sources = 0, .destinations = 0, .levels = 0, .source_base = 0, .destination_base = 0});
    EXPECT_THAT(asked("QN", {"L"}), ElementsAre("1:0NQ|L|0"));
    EXPECT_THAT(asked("QN", {"IS"}), ElementsAre("1:0NQ|S|0"));
    EXPECT_THAT(asked("QN", {"ID"}), ElementsAre("1:0NQ|D|0"));
}

TEST_F(SimulatorAnswers, SplitsNamesWithOnesUpToTheLast)
{
    router.options.entries_per_answer = 1;
    EXPECT_THAT(asked("QN", {"ID"}),
                ElementsAre("1:1NQ|D|1|MON A|0000|0|0", "1:1NQ|D|1|MON B|0001|0|0",
                            "1:0NQ|D|1|MON C|0002|0|0"));
}

TEST_F(SimulatorAnswers, SplitsNamesCountingUpToTheLast)
{
    router = router_with_two_clients({.sources = 12,
                                      .source_base = 0,
                                      .destination_base = 0,
                                      .entries_per_answer = 1,
                                      .sequence = sequence_style::counting});
    std::string sequence;
    for (const std::string& text : asked("QN", {"IS"}))
        sequence += text[2];
    EXPECT_EQ(sequence, "123456789120");
}

TEST_F(SimulatorAnswers, FillsTheLastAnswerWithWhatIsLeft)
{
    router.options.entries_per_answer = 3;
    EXPECT_THAT(asked("QN", {"IS"}),
                ElementsAre("1:1NQ|S|3|CAM 1|0000|0|0|CAM 2|0001|0|0|CAM 3|0002|0|0",
                            "1:0NQ|S|1|CAM 4|0003|0|0"));
}

TEST_F(SimulatorAnswers, KeepsAnswersWithinAFrameWhateverTheNames)
{
    router = router_with_two_clients(
        {.sources = 1024, .source_base = 0, .destination_base = 0, .entries_per_answer = 1024});
    for (std::size_t i = 0; i < 1024; ++i)
        router.sources.names[i] = std::string(1 + i % MAX_NAME_LENGTH, 'x');
    parsed_frame query;
    query.request = make_request("QN", {"IS"});
    std::size_t listed = 0;
    for (const auto& [client, message] : answer_request(router, 1, query.request)) {
        std::string encoded;
        ASSERT_TRUE(encode_router_message(message, encoded));
        const std::size_t entries = (message.parameters.size() - 2) / 4;
        EXPECT_EQ(hex_number(message.parameters[1]), entries);
        listed += entries;
    }
    EXPECT_EQ(listed, 1024U);
}

TEST_F(SimulatorAnswers, TellsEachClientOfNewNamesUntilItClearsTheFlag)
{
    EXPECT_THAT(asked("BK", {"F"}), ElementsAre("1:0KB|F|0"));
    rename_source(router, 0, "NEW");
    EXPECT_THAT(asked("BK", {"F"}), ElementsAre("1:0KB|F|10"));
    rename_destination(router, 0, "NEW");
    EXPECT_THAT(asked("BK", {"F"}), ElementsAre("1:0KB|F|14"));
    asked("BK", {"f", "10"});
    EXPECT_THAT(asked("BK", {"F"}), ElementsAre("1:0KB|F|4"));
    EXPECT_THAT(ask(router, 2, "BK", {"F"}), ElementsAre("2:0KB|F|14"));
}

// Anything that parses is answered by messages that can be sent.
RC_GTEST_PROP(SimulatorAnswerProperties, AnswersWhateverComes, ())
{
    const auto word = rc::gen::oneOf(
        rc::gen::elementOf(std::vector<std::string>{"N", "F", "f", "E", "ON", "D", "IS", "0", "3"}),
        rc::gen::container<std::string>(rc::gen::inRange('\x10', '\x7F')));
    const auto mnemonic = *rc::gen::elementOf(
        std::vector<std::string>{"BK", "QN", "QD", "QI", "TI", "ER", "\t\t", "a b"});
    std::string content = "N0" + mnemonic;
    for (const std::string& parameter : *rc::gen::container<std::vector<std::string>>(word))
        content += "\t" + parameter;
    simulated_router router =
        router_with_two_clients({.source_base = 0, .destination_base = 0, .announce = true});
    request_parser parser;
    for (const parsed_frame& each : parse_requests(parser, frame(content))) {
        if (each.error != frame_error::none) continue;
        for (const auto& [client, message] : answer_request(router, 1, each.request)) {
            std::string encoded;
            RC_ASSERT(encode_router_message(message, encoded));
        }
    }
}
