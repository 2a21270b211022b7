#include "server/web/keyed.h"
#include "unit/web/server_test.h"

using namespace web;
using namespace web_test;

namespace {
struct Keyed : ServerTest {
    web::request request;
    web::route route{method::put, "/x", desk::right::operate, "route"};
    int times = 0; // carried out
    bool ended = false;

    Keyed()
    {
        request.method = method::put;
        request.headers["idempotency-key"] = "k1";
    }

    answer call(const std::function<answer()>& carry_out)
    {
        return call_once(server, {request, {}, engineer, now, {}}, route, carry_out);
    }

    answer call()
    {
        return call([this] {
            ++times;
            return answer(response{200, "", "did it", {}});
        });
    }

    // Its answer comes when it has ended.
    answer call_later()
    {
        return call([this] {
            ++times;
            answer awaited;
            awaited.until = now.steady + std::chrono::seconds(2);
            awaited.later = [this](web::server&, const desk::moment&) -> std::optional<response> {
                if (!ended) return std::nullopt;
                return response{200, "", "ended", {}};
            };
            return awaited;
        });
    }
};
} // namespace

TEST_F(Keyed, AreCarriedOutOnce)
{
    EXPECT_EQ(call().response.body, "did it");
    const answer again = call();
    EXPECT_EQ(again.response.body, "did it");
    EXPECT_EQ(header_of(again.response, "Idempotency-Replayed"), "true");
    EXPECT_EQ(times, 1);
    request.body = "{}";
    EXPECT_EQ(json_of(call().response)["code"], "idempotencyKeyReused");
    EXPECT_EQ(times, 1);
}

TEST_F(Keyed, AreKeptAsUnderWayBeforeTheyAreCarriedOut)
{
    call([this] {
        EXPECT_EQ(server.journal.records.size(), 1);
        return answer(response{200, "", "did it", {}});
    });
    EXPECT_EQ(server.journal.records.size(), 1);
    EXPECT_EQ(server.first_answers.notes.size(), 1) << "behind what it has done";
}

TEST_F(Keyed, GiveARoutesFirstAnswerAgain)
{
    add_router("r1");
    headers = {{"idempotency-key", "k2"}};
    const std::string target = "/api/v1/routers/r1/destinations/4/route";
    const response first = ask(method::put, target, R"({"source": 2})");
    carries_out("r1", 4, 2);
    const response again = ask(method::put, target, R"({"source": 2})");
    EXPECT_EQ(again.body, first.body);
    EXPECT_EQ(header_of(again, "Idempotency-Replayed"), "true");
    EXPECT_EQ(server.desk.house.batches.size(), 1);
    const response other = ask(method::put, target, R"({"source": 3})");
    EXPECT_EQ(other.status, 422);
    EXPECT_EQ(json_of(other)["code"], "idempotencyKeyReused");
}

TEST_F(Keyed, AreCarriedOutEachTimeWithoutAKey)
{
    request.headers.clear();
    call();
    call();
    EXPECT_EQ(times, 2);
}

TEST_F(Keyed, AreCarriedOutEachTimeWhereSecretsPass)
{
    route.name = "addToken";
    call();
    call();
    EXPECT_EQ(times, 2);
    EXPECT_TRUE(server.first_answers.of.empty());
}

TEST_F(Keyed, AreRefusedWithAKeyThatIsNone)
{
    request.headers["idempotency-key"] = "a b";
    EXPECT_EQ(json_of(call().response)["code"], "badValue");
    EXPECT_EQ(times, 0);
}

TEST_F(Keyed, WaitForTheFirstThatIsUnderWay)
{
    const answer first = call_later();
    EXPECT_TRUE(first.remembered) << "also when its client goes";
    const answer second = call_later();
    ASSERT_TRUE(second.later);
    EXPECT_EQ(times, 1);
    EXPECT_FALSE(first.later(server, now));
    EXPECT_FALSE(second.later(server, now));
    ended = true;
    EXPECT_EQ(first.later(server, now)->body, "ended");
    EXPECT_EQ(second.later(server, now)->body, "ended");
    EXPECT_EQ(call_later().response.body, "ended");
    EXPECT_EQ(times, 1);
}

TEST_F(Keyed, AwaitNoAnswerForEver)
{
    call_later();
    const answer second = call_later();
    now.steady = second.until;
    EXPECT_EQ(json_of(*second.later(server, now))["code"], "outcomeUnknown");
}

TEST_F(Keyed, RememberThatItWentWrong)
{
    EXPECT_THROW(call([]() -> answer { throw std::runtime_error("no"); }), std::runtime_error);
    EXPECT_EQ(call().response.status, 500);
    EXPECT_EQ(times, 0);
}
