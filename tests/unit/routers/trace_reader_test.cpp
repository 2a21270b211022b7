#include <gmock/gmock.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>
#include <sstream>

#include "server/desk/start.h"
#include "server/routers/trace_reader.h"
#include "support/frames.h"

using namespace routers;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
std::string text(const trace_step& step)
{
    if (const auto* take = std::get_if<take_sent>(&step))
        return "take " + std::to_string(take->destination) + " " + std::to_string(take->source);
    if (const auto* answer = std::get_if<take_answered>(&step))
        return answer->refusal.empty() ? "done" : "refused " + answer->refusal;
    if (std::holds_alternative<take_unanswered>(step)) return "never answered";
    if (const auto* query = std::get_if<query_sent>(&step))
        return "query " + std::to_string(query->destination);
    if (const auto* query = std::get_if<query_unanswered>(&step))
        return "no answer " + std::to_string(query->destination) +
               (query->passed_over ? " yet" : "");
    const auto& route = std::get<route_told>(step);
    return "route " + std::to_string(route.destination) + " " + std::to_string(route.source);
}

// "> TI 1 2" sent; "< ER 05 TI", "< ACK", "< NAK 0005" received; "< NQ+ S" goes on.
diagnostic frame_of(const std::string& line)
{
    std::istringstream words(line.substr(2));
    std::string mnemonic;
    words >> mnemonic;
    if (mnemonic == "ACK") return read_diagnostic("<DBG>Router: ACK");
    std::vector<std::string> parameters;
    for (std::string word; words >> word;)
        parameters.push_back(word);
    if (mnemonic == "NAK") return read_diagnostic("<DBG>Router: NAK " + parameters.at(0));
    const std::string whole =
        frame(body(mnemonic.substr(0, 2), parameters, mnemonic.size() > 2 ? '1' : '0'));
    return read_diagnostic(line[0] == '>'
                               ? "<DBG>Send to router: " + whole
                               : "<DBG>Router: MSG " + whole.substr(1, whole.size() - 2));
}

// A router whose indexes begin at 1, and what its traffic means.
struct played_trace {
    trace_reader trace;

    played_trace()
    {
        trace.input_base = 1;
        trace.output_base = 1;
    }

    std::vector<std::string> play(const std::vector<std::string>& lines)
    {
        std::vector<trace_step> steps;
        for (const std::string& line : lines)
            read_trace(trace, {}, frame_of(line), steps);
        return texts(steps);
    }

    static std::vector<std::string> texts(const std::vector<trace_step>& steps)
    {
        std::vector<std::string> all;
        all.reserve(steps.size());
        for (const trace_step& step : steps)
            all.push_back(text(step));
        return all;
    }

    std::vector<std::string> told(const diagnostic& line)
    {
        std::vector<trace_step> steps;
        read_trace(trace, {}, line, steps);
        return texts(steps);
    }
};

struct trace_case {
    const char* what;
    std::vector<std::string> frames;
    std::vector<std::string> steps;
};

const std::vector<trace_case> CASES = {
    {"positions are indexes less the base",
     {"> TI 10 1", "> QI 10 0", "< IQ 10 0 N N 1"},
     {"take 15 0", "query 15", "never answered", "route 15 0"}},
    {"one less than the base is no source",
     {"> TI 1 0", "< IQ 1 0 N N 0"},
     {"take 0 -1", "route 0 -1"}},
    {"a source that can be no position is unknown", {"< IQ 1 0 N N 7FF"}, {"route 0 -2"}},
    {"a destination that can be no position is nobody's", {"< IQ 0 0 N N 1", "> QI 0 0"}, {}},
    {"a route needs its source", {"< IQ 1 0 N N"}, {}},
    {"confirmed takes are answered in order",
     {"> BK E ON", "< ER 00 BK", "> TI 1 2", "> QI 1 0", "> TI 2 3", "> QI 2 0", "< ER 00 TI",
      "< IQ 1 0 N N 2", "< ER 05 TI", "< IQ 2 0 N N 1"},
     {"take 0 1", "query 0", "take 1 2", "query 1", "done", "route 0 1", "refused ER 05",
      "route 1 0"}},
    {"an unasked route answers no take that will be confirmed",
     {"> BK E ON", "< ER 00 BK", "> TI 1 2", "> QI 1 0", "< IQ 1 0 N N 9", "< ER 05 TI"},
     {"take 0 1", "query 0", "route 0 8", "refused ER 05"}},
    {"where takes are not confirmed, the answer to a later query says that they will not be",
     {"> TI 1 2", "> QI 1 0", "> TI 2 3", "< IQ 1 0 N N 2", "< ER 05 TI"},
     {"take 0 1", "query 0", "take 1 2", "never answered", "route 0 1", "refused ER 05"}},
    {"a NAK answers the oldest request",
     {"> TI 1 2", "> QI 1 0", "< NAK 0005", "< IQ 1 0 N N 1"},
     {"take 0 1", "query 0", "refused NAK 0005", "route 0 0"}},
    {"a NAK refuses no take whose source is shown in answer to a query after it",
     {"> BK A", "< ER 00 BK", "> TI 1 2", "> QI 1 0", "< IQ 1 0 N N 2", "> TI 2 3", "< NAK 0001"},
     {"take 0 1", "query 0", "route 0 1", "take 1 2", "never answered", "refused NAK 0001"}},
    {"nor does an error",
     {"> BK A", "< ER 00 BK", "> TI 1 2", "> QI 1 0", "< IQ 1 0 N N 2", "> TI 2 3", "< ER 01 TI"},
     {"take 0 1", "query 0", "route 0 1", "take 1 2", "never answered", "refused ER 01"}},
    {"such a take may still be acknowledged",
     {"> BK A", "< ER 00 BK", "> TI 1 2", "> QI 1 0", "< IQ 1 0 N N 2", "< NAK 0001", "< ER 00 TI"},
     {"take 0 1", "query 0", "route 0 1", "done"}},
    {"what is shown before the query after it, or is another source, tells nothing of a take",
     {"> BK A", "< ER 00 BK", "> QI 1 0", "> TI 1 2", "> QI 1 0", "< IQ 1 0 N N 2",
      "< IQ 1 0 N N 3", "< NAK 0001"},
     {"query 0", "take 0 1", "query 0", "route 0 1", "route 0 2", "refused NAK 0001"}},
    {"nor is what another destination shows",
     {"> BK A", "< ER 00 BK", "> TI 1 2", "> QI 2 0", "< IQ 2 0 N N 2", "< NAK 0001"},
     {"take 0 1", "query 1", "route 1 1", "refused NAK 0001"}},
    {"a NAK of a query is none of the take before it, whose answer is lost",
     {"> BK A", "< ER 00 BK", "> TI 1 2", "> QI 1 0", "< NAK 0001", "> BK F", "< KB F 0"},
     {"take 0 1", "query 0", "never answered", "no answer 0 yet"}},
    {"as many NAKs as requests refuse them all",
     {"> TI 1 2", "> QI 1 0", "< NAK 0001", "> QI 2 0", "< NAK 0002", "< IQ 2 0 N N 1"},
     {"take 0 1", "query 0", "query 1", "refused NAK 0001", "no answer 0", "route 1 0"}},
    {"the answer to the next request tells whose a NAK was",
     {"> BK A", "< ER 00 BK", "> TI 1 2", "> TI 2 2", "< NAK 0001", "< ER 00 TI", "> TI 3 2",
      "> TI 4 2", "< NAK 0002", "< ER 00"},
     {"take 0 1", "take 1 1", "refused NAK 0001", "done", "take 2 1", "take 3 1",
      "refused NAK 0002", "done"}},
    {"so does an ACK",
     {"> TI 1 2", "> TI 2 2", "> TI 3 2", "< NAK 0001", "< ACK", "< NAK 0002"},
     {"take 0 1", "take 1 1", "take 2 1", "refused NAK 0001", "done", "refused NAK 0002"}},
    {"a NAK stays that of a take whose source is shown then, as another may have put it there",
     {"> BK A", "< ER 00 BK", "> TI 1 2", "> QI 1 0", "< NAK 0001", "< IQ 1 0 N N 2"},
     {"take 0 1", "query 0", "refused NAK 0001", "route 0 1"}},
    {"a route answers no query that was refused",
     {"> QI 1 0", "> QI 1 0", "< NAK 0001", "< IQ 1 0 N N 2"},
     {"query 0", "query 0", "no answer 0", "route 0 1"}},
    {"a code of 0 is one", {"> TI 1 2", "< NAK 0000"}, {"take 0 1", "refused NAK 0000"}},
    {"a NAK for a query is none for the take after it",
     {"> QI 1 0", "> TI 1 2", "< NAK 5", "< ACK"},
     {"query 0", "take 0 1", "no answer 0", "done"}},
    {"a refused query has no answer",
     {"> QI 1 0", "> TI 2 2", "< ER 07 QI", "< ER 03 TI"},
     {"query 0", "take 1 1", "no answer 0", "refused ER 03"}},
    {"an error without a code is a refusal, of the oldest request where it names none",
     {"> TI 1 2", "< ER"},
     {"take 0 1", "refused ER"}},
    {"an error about another request refuses no take",
     {"> QD", "> TI 1 2", "< ER 00 QD", "< ER 09 QN"},
     {"take 0 1"}},
    {"an ACK confirms the oldest take",
     {"> TI 1 2", "> TI 2 2", "< ACK", "< NAK 0001"},
     {"take 0 1", "take 1 1", "done", "refused NAK 0001"}},
    {"an ACK confirms requests without an answer",
     {"> BK D", "> BK", "> TI 1 2", "< ACK", "< ACK", "< NAK 0001"},
     {"take 0 1", "refused NAK 0001"}},
    {"an ACK before an answer is none for the take after it",
     {"> BK F", "> TI 1 2", "< ACK", "< KB F 0", "< NAK 0001"},
     {"take 0 1", "refused NAK 0001"}},
    {"an ACK beside confirmations is none",
     {"> BK A", "< ER 00 BK", "> TI 1 2", "< ACK", "< ER 04 TI"},
     {"take 0 1", "refused ER 04"}},
    {"an answer tells that requests before it will have none",
     {"> TI 1 2", "> QI 1 0", "> BK F", "< KB F 0", "< NAK 0001"},
     {"take 0 1", "query 0", "never answered", "no answer 0 yet"}},
    {"names answer their query when the last have come",
     {"> TI 1 2", "> QN IS", "> QN ID", "< NQ+ D 0", "< NQ+ S 0", "< NQ D 0", "< NQ S 0"},
     {"take 0 1", "never answered"}},
    {"changed destinations answer their query when the last have come",
     {"> TI 1 2", "> QD", "< DQ+ A 1", "< DQ B 1"},
     {"take 0 1", "never answered"}},
    {"an answer to nothing changes nothing",
     {"> TI 1 2", "< KB N x", "< NQ L 0", "< DQ A 1", "< NAK 0001"},
     {"take 0 1", "refused NAK 0001"}},
};
} // namespace

TEST(TraceReader, KnowsWhatTrafficMeans)
{
    for (const trace_case& each : CASES)
        EXPECT_EQ(played_trace().play(each.frames), each.steps) << each.what;
}

TEST(TraceReader, CountsNamesUnfinishedUntilTheLast)
{
    played_trace played;
    EXPECT_THAT(played.play({"> TI 1 2", "> QN IS", "< NQ+ S 0"}), ElementsAre("take 0 1"));
    EXPECT_THAT(played.play({"> QD", "< DQ+ A 1"}), IsEmpty());
    EXPECT_THAT(played.play({"< DQ A 1"}), ElementsAre("never answered"));
}

TEST(TraceReader, LearnsTheBasesFromTheBackend)
{
    played_trace played;
    played.told(index_range{.inputs = true, .first = 16, .last = 31});
    played.told(index_range{.inputs = false, .first = 0, .last = 15});
    EXPECT_THAT(played.play({"> TI 2 12", "< IQ 2 0 N N 11", "> TI 2 F"}),
                ElementsAre("take 2 2", "route 2 1", "take 2 -1"));
}

TEST(TraceReader, FindsADisconnectionAtTheBaseOfNought)
{
    played_trace played;
    played.trace.input_base = 0;
    EXPECT_THAT(played.play({"> TI 1 FFFFFFFF", "< IQ 1 0 N N FFFFFFFF"}),
                ElementsAre("take 0 -1", "route 0 -1"));
}

TEST(TraceReader, ForgetsRequestsWithTheConnection)
{
    for (const link_event event : {link_event::closed, link_event::connected}) {
        played_trace played;
        played.play({"> BK", "< ER 00 BK", "> TI 1 2", "> QI 1 0"});
        EXPECT_THAT(played.told(link_line{event, ""}),
                    ElementsAre("never answered", "no answer 0"));
        EXPECT_FALSE(played.trace.confirms);
        EXPECT_THAT(played.play({"< NAK 0005"}), IsEmpty());
    }
}

TEST(TraceReader, KeepsRequestsWhileTheConnectionStands)
{
    played_trace played;
    played.play({"> TI 1 2"});
    EXPECT_THAT(played.told(link_line{link_event::names_complete, ""}), IsEmpty());
    EXPECT_THAT(played.told(text_line{}), IsEmpty());
    EXPECT_THAT(played.told(route_accepted{}), IsEmpty());
    EXPECT_THAT(played.play({"< NAK 0005"}), ElementsAre("refused NAK 0005"));
}

TEST(TraceReader, BeginsAnewWithTheBackend)
{
    played_trace played;
    played.play({"> TI 1 2"});
    end_trace(played.trace);
    EXPECT_EQ(played.trace.frames.size(), 1U);
    EXPECT_THAT(played.play({"> TI 1 2", "< NAK 0005", "< NAK 0005"}),
                ElementsAre("take 1 2", "refused NAK 0005"));
}

TEST(TraceReader, BoundsTheRequestsUnanswered)
{
    played_trace played;
    played.play(std::vector<std::string>(REQUESTS_UNANSWERED, "> TI 1 2"));
    EXPECT_THAT(played.play({"> TI 2 3"}), ElementsAre("never answered", "take 1 2"));
    EXPECT_EQ(played.trace.unanswered.size(), REQUESTS_UNANSWERED);
}

TEST(TraceReader, KeepsTheLastFrames)
{
    played_trace played;
    played.play(std::vector<std::string>(FRAMES_KEPT, "> TI 1 2"));
    played.play({"< ACK"});
    EXPECT_EQ(played.trace.frames.size(), FRAMES_KEPT);
    EXPECT_EQ(played.trace.frames.back().meaning, meaning::confirmation);
    EXPECT_EQ(played.trace.sent, FRAMES_KEPT);
    EXPECT_EQ(played.trace.received, 1U);
}

TEST(TraceReader, BoundsTheBytesOfTheFrames)
{
    played_trace played;
    constexpr std::size_t FRAMES = 128;
    constexpr std::size_t FRAME_BYTES = FRAME_BYTES_KEPT / FRAMES;
    const std::string line = "< KB " + std::string(FRAME_BYTES - frame("N0KB\t").size() + 2, 'x');
    played.play(std::vector<std::string>(FRAMES, line));
    EXPECT_EQ(played.trace.frames.front().raw.size(), FRAME_BYTES);
    EXPECT_EQ(played.trace.frames.size(), FRAMES);
    EXPECT_EQ(played.trace.frame_bytes, FRAME_BYTES_KEPT);
    played.play({"> TI 1 2"});
    EXPECT_EQ(played.trace.frames.size(), FRAMES);
    EXPECT_EQ(played.trace.frame_bytes,
              FRAME_BYTES_KEPT - FRAME_BYTES + played.trace.frames.back().raw.size());
}

TEST(TraceReader, KeepsTimeAndDirection)
{
    played_trace played;
    std::vector<trace_step> steps;
    read_trace(played.trace, {.steady = desk::monotonic(5), .utc = desk::wall(7)},
               frame_of("< IQ 2 0 N N 3"), steps);
    const traced_frame& frame = played.trace.frames.back();
    EXPECT_EQ(frame.at.steady, desk::monotonic(5));
    EXPECT_EQ(frame.at.utc, desk::wall(7));
    EXPECT_EQ(frame.way, direction::received);
    EXPECT_EQ(frame.raw.substr(0, 6), "N0IQ\t2");
}

TEST(TraceReader, TellsTheDeskEachStep)
{
    desk::desk_state desk = desk::make_desk(1);
    desk.house.routers["main"].settings.id = "main";
    const auto& live = desk.live["main"];
    played_trace played;
    std::vector<trace_step> steps;
    const auto tell = [&](const char* line) {
        steps.clear();
        read_trace(played.trace, {}, frame_of(line), steps);
        tell_desk(desk, {}, "main", steps);
    };
    for (const char* line : {"> BK", "< ER 00 BK", "> TI 1 2", "> QI 1 0", "> TI 2 2", "> QI 2 0"})
        tell(line);
    EXPECT_EQ(live.takes_unanswered.size(), 2U);
    EXPECT_EQ(live.queries_under_way.size(), 2U);
    tell("< ER 00 TI");
    EXPECT_EQ(live.takes_unanswered.size(), 1U);
    tell("< IQ 1 0 N N 2");
    EXPECT_EQ(live.queries_under_way.size(), 1U);
    tell("< ER 00 TI");
    tell("< ER 03 QI");
    EXPECT_TRUE(live.takes_unanswered.empty());
    EXPECT_TRUE(live.queries_under_way.empty());
}

TEST(TraceReader, SaysInWordsWhatAFrameMeans)
{
    desk::desk_state desk = desk::make_desk(1);
    desk.house.routers["main"].settings.id = "main";
    desk.live["main"].source_names = {"CAM 1", "CAM 2"};
    desk.live["main"].destination_names = {"MON A"};
    const std::vector<std::pair<std::string, std::string>> words = {
        {"> TI 1 2", "take MON A <- CAM 2"},
        {"> TI 1 0", "take MON A <- no source"},
        {"> QI 1 0", "query MON A"},
        {"< IQ 1 0 N N 1", "MON A shows CAM 1"},
        {"< ACK", "ACK"},
        {"< ER 00 TI", "done: ER 00 TI"},
        {"< ER 05 TI", "refused: ER 05"},
        {"< NAK 0005", "refused: NAK 0005"},
        {"> BK I 15", "BK I 15"},
        {"< NQ S 1 \x1b[31m", "NQ S 1  [31m"},
    };
    for (const auto& [line, expected] : words) {
        played_trace played;
        played.play({line});
        EXPECT_EQ(text_of(played.trace.frames.back(), desk, "main"), expected);
    }
    played_trace played;
    played.told(read_diagnostic("<DBG>Router: MSG N0XX\tFF"));
    EXPECT_EQ(text_of(played.trace.frames.back(), desk, "main"), "not understood: N0XX FF");
    EXPECT_EQ(played.trace.received, 1U);
}

// What the desk counts must agree with what is counted here.
RC_GTEST_PROP(AnyTrace, AnswersEachTakeAndQueryOnce, (const std::vector<std::uint8_t>& choices))
{
    const std::vector<std::string> lines = {
        "> TI 1 2",       "> TI 2 1", "> QI 1 0",   "> QI 2 0",   "> QD",       "> BK F",
        "> QN IS",        "< ACK",    "< NAK 0005", "< ER 00 TI", "< ER 03 TI", "< ER 00 BK",
        "< IQ 1 0 N N 1", "< KB F 0", "< DQ A 1",   "< NQ S 0",   "< ER 03 QI", "< IQ 2 0 N N 2"};
    played_trace played;
    int takes = 0;
    int queries = 0;
    for (const std::uint8_t choice : choices) {
        for (const std::string& step : played.play({lines[choice % lines.size()]})) {
            if (step.starts_with("take")) ++takes;
            if (step == "done" || step == "never answered" || step.starts_with("refused")) --takes;
            if (step.starts_with("query")) ++queries;
            if (step.starts_with("no answer")) --queries;
            // The desk takes a route for the answer to the oldest query while there is one.
            if (step.starts_with("route") && queries > 0) --queries;
            RC_ASSERT(takes >= 0);
        }
    }
    const auto open_takes =
        std::count_if(played.trace.unanswered.begin(), played.trace.unanswered.end(),
                      [](const request_sent& request) { return request.mnemonic == "TI"; });
    RC_ASSERT(open_takes == takes);
}

RC_GTEST_PROP(AnyTrace, IsReadWithoutHarm, (const std::vector<std::string>& raws))
{
    trace_reader trace;
    std::vector<trace_step> steps;
    const desk::desk_state desk = desk::make_desk(1);
    for (const std::string& raw : raws) {
        std::string body = raw;
        body.erase(std::remove(body.begin(), body.end(), '\0'), body.end());
        const std::string whole = frame(body);
        for (const std::string& line : {"<DBG>Send to router: " + whole,
                                        "<DBG>Router: MSG " + whole.substr(1, whole.size() - 2),
                                        "<DBG>Router: NAK " + body}) {
            read_trace(trace, {}, read_diagnostic(line), steps);
            text_of(trace.frames.back(), desk, "none");
        }
    }
    for (const trace_step& step : steps)
        if (const auto* route = std::get_if<route_told>(&step)) RC_ASSERT(route->destination >= 0);
}
