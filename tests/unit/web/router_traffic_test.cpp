#include "unit/web/server_test.h"

using namespace web;
using namespace web_test;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {
const std::string TRACE = "/api/v1/routers/r1/trace";
const std::string LOG = "/api/v1/routers/r1/log";

struct RouterTraffic : ServerTest {
    RouterTraffic()
    {
        add_router("r1", 8, 8);
    }

    void passes(routers::traced_frame frame)
    {
        routers::trace_reader& trace = server.routers.backends["r1"].trace;
        ++(frame.way == routers::direction::sent ? trace.sent : trace.received);
        frame.at = now;
        trace.frames.push_back(std::move(frame));
    }

    void says(routers::level level, const std::string& text)
    {
        server.routers.backends["r1"].log.push_back({now, level, text});
    }

    std::vector<int> numbers(const std::string& query)
    {
        std::vector<int> found;
        const json trace = json_of(ask(method::get, TRACE + query));
        for (const json& frame : trace["frames"])
            found.push_back(frame["number"]);
        return found;
    }

    std::vector<std::string> lines(const std::string& query)
    {
        std::vector<std::string> found;
        const json log = json_of(ask(method::get, LOG + query));
        for (const json& line : log["lines"])
            found.push_back(line["level"].get<std::string>() + " " +
                            line["text"].get<std::string>());
        return found;
    }
};

routers::traced_frame frame_of(routers::meaning meaning, int destination = 0, int source = 0)
{
    routers::traced_frame frame;
    frame.meaning = meaning;
    frame.destination = destination;
    frame.source = source;
    return frame;
}
} // namespace

TEST_F(RouterTraffic, IsNothingBeforeTheProcessRuns)
{
    EXPECT_EQ(ask(method::get, TRACE).body, R"({"router":"r1","sent":0,"received":0,"frames":[]})");
    EXPECT_EQ(ask(method::get, LOG).body, R"({"forgotten":0,"lines":[]})");
    EXPECT_EQ(ask(method::get, "/api/v1/routers/r9/trace").status, 404);
    EXPECT_EQ(ask(method::get, "/api/v1/routers/r9/log").status, 404);
}

TEST_F(RouterTraffic, IsToldInWords)
{
    using routers::meaning;
    routers::traced_frame take = frame_of(meaning::take, 1, 2);
    take.raw = "N0TI\t2\t3\xe9";
    passes(take);
    routers::traced_frame none = frame_of(meaning::route, 1, desk::NO_SOURCE);
    none.way = routers::direction::received;
    passes(none);
    routers::traced_frame refusal = frame_of(meaning::refusal);
    refusal.way = routers::direction::received;
    refusal.nak = true;
    refusal.code = 5;
    passes(refusal);
    passes(frame_of(meaning::route, 1, desk::UNKNOWN_SOURCE));
    const json trace = json_of(ask(method::get, TRACE));
    EXPECT_EQ(trace["sent"], 2);
    EXPECT_EQ(trace["received"], 2);
    const json& frames = trace["frames"];
    EXPECT_EQ(frames[0].dump(),
              R"({"number":1,"time":"2025-12-18T00:00:00.000Z","direction":"sent",)"
              R"("meaning":"take","destination":1,"destinationName":"DST 2","source":2,)"
              R"("sourceName":"SRC 3","text":"take DST 2 <- SRC 3","raw":"N0TI\t2\t3é"})");
    EXPECT_EQ(frames[1].dump(),
              R"({"number":2,"time":"2025-12-18T00:00:00.000Z","direction":"received",)"
              R"("meaning":"route","destination":1,"destinationName":"DST 2","source":null,)"
              R"("text":"DST 2 shows no source","raw":""})");
    EXPECT_EQ(frames[2].dump(),
              R"({"number":3,"time":"2025-12-18T00:00:00.000Z","direction":"received",)"
              R"("meaning":"refusal","code":5,"text":"refused: NAK 0005","raw":""})");
    EXPECT_FALSE(frames[3].contains("source"));
}

TEST_F(RouterTraffic, IsTheNewestOfWhatIsAskedFor)
{
    using routers::meaning;
    server.routers.backends["r1"].trace.sent = 10; // forgotten since
    passes(frame_of(meaning::take, 1, 2));
    passes(frame_of(meaning::confirmation));
    passes(frame_of(meaning::query, 1));
    passes(frame_of(meaning::query, 0));
    EXPECT_THAT(numbers(""), ElementsAre(11, 12, 13, 14));
    EXPECT_THAT(numbers("?limit=2"), ElementsAre(13, 14));
    EXPECT_THAT(numbers("?after=12"), ElementsAre(13, 14));
    EXPECT_THAT(numbers("?after=14"), IsEmpty());
    EXPECT_THAT(numbers("?destination=1"), ElementsAre(11, 13));
    EXPECT_THAT(numbers("?destination=1&limit=1"), ElementsAre(13));
    EXPECT_THAT(numbers("?destination=0"), ElementsAre(14));
    for (const char* const query : {"?limit=0", "?limit=1001", "?after=-1", "?destination=x"})
        EXPECT_EQ(ask(method::get, TRACE + query).status, 422) << query;
}

TEST_F(RouterTraffic, IsLoggedByLevel)
{
    using routers::level;
    says(level::none, "hello");
    says(level::note, "connected");
    says(level::warning, "slow");
    says(level::error, "gone");
    says(level::debug, "detail");
    server.routers.backends["r1"].forgotten = 3;
    EXPECT_EQ(json_of(ask(method::get, LOG))["forgotten"], 3);
    EXPECT_EQ(json_of(ask(method::get, LOG))["lines"][0]["time"], "2025-12-18T00:00:00.000Z");
    EXPECT_THAT(lines(""), ElementsAre("note hello", "note connected", "warning slow", "error gone",
                                       "debug detail"));
    EXPECT_THAT(lines("?level=note"),
                ElementsAre("note hello", "note connected", "warning slow", "error gone"));
    EXPECT_THAT(lines("?level=warning"), ElementsAre("warning slow", "error gone"));
    EXPECT_THAT(lines("?level=error"), ElementsAre("error gone"));
    EXPECT_EQ(ask(method::get, LOG + "?level=loud").status, 422);
}
