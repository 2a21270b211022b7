#include "unit/web/server_test.h"

using namespace web;
using namespace web_test;
using namespace std::chrono_literals;

namespace {
constexpr const char* NO_SUCH_OPERATION =
    R"({"type":"/problems/no-such-batch","title":"No such operation","status":404,)"
    R"("code":"noSuchBatch","detail":"this batch is not known any more"})";

struct Operations : ServerTest {
    desk::ulid asked; // the journal, last

    Operations()
    {
        add_router("r1");
    }

    // Destination 4, until it is confirmed. Returns the operation's address.
    std::string routed(int source)
    {
        const response taken = ask(method::put, "/api/v1/routers/r1/destinations/4/route",
                                   R"({"source":)" + std::to_string(source) + "}");
        carries_out("r1", 4, source);
        return header_of(taken, "Location");
    }

    // What is answered when the journal says this of it.
    response remembered(const std::string& operation, journal::answer said)
    {
        const request_id id = send(method::get, operation);
        EXPECT_FALSE(answers.contains(id)) << answers[id].body;
        said.number = server.journal.questions.back().first;
        asked = std::get<desk::ulid>(server.journal.questions.back().second);
        server.journal.news.answers = {said};
        pass();
        return answers[id];
    }

    // The answer comes when destination 4 shows the source.
    json waited(const std::string& target, const std::string& body, int source)
    {
        const request_id id = send(method::post, target, body);
        EXPECT_FALSE(answers.contains(id)) << answers[id].body;
        carries_out("r1", 4, source);
        EXPECT_EQ(answers[id].status, 200) << answers[id].body;
        return json_of(answers[id]);
    }
};
} // namespace

TEST_F(Operations, TellWhatBecameOfThem)
{
    const std::string operation = routed(6);
    const json told = json_of(ask(method::get, operation));
    EXPECT_EQ(told["state"], "ended");
    EXPECT_EQ(told["counts"], json::parse(R"({"confirmed":1})"));
    EXPECT_EQ(ask(method::get, "/api/v1/operations/x").body, NO_SUCH_OPERATION);
}

TEST_F(Operations, AreToldByTheJournalWhenTheDeskHasForgottenThem)
{
    const std::string operation = routed(6);
    const response told = ask(method::get, operation);
    const auto [id, batch] = *server.desk.house.batches.begin();
    server.desk.house.batches.clear();
    EXPECT_EQ(remembered(operation, {0, {}, "", batch}).body, told.body);
    EXPECT_EQ(asked, id);
    EXPECT_EQ(remembered(operation, {0, {}, "", {}}).body, NO_SUCH_OPERATION);
    EXPECT_EQ(json_of(remembered(operation, {0, {}, "disk broken", {}}))["detail"],
              "The history cannot be read: disk broken.");
}

TEST_F(Operations, AreNotWaitedForWhenTheJournalTakesLong)
{
    const request_id id = send(method::get, "/api/v1/operations/01J00000000000000000000000");
    wait(1999ms);
    EXPECT_FALSE(answers.contains(id));
    wait(1ms);
    EXPECT_EQ(answers[id].status, 503);
    EXPECT_EQ(json_of(answers[id])["code"], "overloaded");
}

TEST_F(Operations, AreWaitedFor)
{
    const response taken =
        ask(method::put, "/api/v1/routers/r1/destinations/4/route", R"({"source":6})");
    const std::string operation = header_of(taken, "Location");
    EXPECT_EQ(json_of(ask(method::get, operation))["state"], "open");
    const request_id id = send(method::get, operation + "?wait=2000");
    EXPECT_FALSE(answers.contains(id));
    carries_out("r1", 4, 6);
    EXPECT_EQ(json_of(answers[id])["state"], "ended");
}

TEST_F(Operations, AreToldAsFarAsTheyAreWhenTheServerEnds)
{
    const request_id taken =
        send(method::put, "/api/v1/routers/r1/destinations/4/route?wait=9000", R"({"source":6})");
    EXPECT_FALSE(answers.contains(taken));
    end_waits(server, now);
    EXPECT_EQ(answers[taken].status, 202);
    EXPECT_EQ(json_of(answers[taken])["state"], "open");
    EXPECT_TRUE(server.waiting.empty());
}

TEST_F(Operations, ArePutBack)
{
    const std::string operation = routed(6);
    const json would =
        json_of(ask(method::post, operation + "/rollback", R"({"rule":"rest","dryRun":true})"));
    EXPECT_EQ(would["rows"][0]["source"], 4);
    EXPECT_EQ(would["rows"][0]["was"], 6);
    EXPECT_EQ(would["rows"][0]["verdict"], "change");
    const json told =
        waited(operation + "/rollback?wait=2000", R"({"rule":"rest","reason":"wrong camera"})", 4);
    EXPECT_EQ(told["kind"], "rollback");
    EXPECT_EQ("/api/v1/operations/" + told["of"].get<std::string>(), operation);
    EXPECT_EQ(told["reason"], "wrong camera");
    const json refused = json_of(ask(method::post, operation + "/rollback", "{}"));
    EXPECT_EQ(refused["code"], "changedSince");
    EXPECT_EQ(refused["errors"][0]["pointer"], "/rows/0");
    EXPECT_EQ(
        ask(method::post, "/api/v1/operations/01J00000000000000000000000/rollback", "{}").status,
        404);
    EXPECT_EQ(ask(method::post, operation + "/rollback", R"({"rule":"some"})").status, 422);
}

TEST_F(Operations, AreUndoneAndRedone)
{
    EXPECT_EQ(ask(method::get, "/api/v1/undo").body, R"({"steps":0})");
    EXPECT_EQ(ask(method::post, "/api/v1/undo", "{}").body,
              R"({"type":"/problems/nothing-to-do","title":"Nothing to do","status":409,)"
              R"("code":"nothingToDo","detail":"there is nothing to undo"})");
    const std::string operation = routed(6);
    const json step = json_of(ask(method::get, "/api/v1/undo"));
    EXPECT_EQ(step["steps"], 1);
    EXPECT_EQ("/api/v1/operations/" + step["of"]["operation"].get<std::string>(), operation);
    EXPECT_EQ(step["of"]["kind"], "take");
    EXPECT_EQ(step["dryRun"]["rule"], "rest");
    EXPECT_EQ(step["dryRun"]["rows"][0]["source"], 4);
    EXPECT_EQ(json_of(ask(method::get, "/api/v1/undo?rule=all"))["dryRun"]["rule"], "all");
    EXPECT_EQ(ask(method::get, "/api/v1/undo?rule=some").status, 422);

    EXPECT_EQ(waited("/api/v1/undo?wait=2000", R"({"rule":"rest"})", 4)["kind"], "undo");
    EXPECT_EQ(ask(method::get, "/api/v1/undo").body, R"({"steps":0})");
    EXPECT_EQ(json_of(ask(method::get, "/api/v1/redo"))["of"]["kind"], "undo");
    EXPECT_EQ(waited("/api/v1/redo?wait=2000", R"({"rule":"rest"})", 6)["kind"], "redo");
    EXPECT_EQ(ask(method::get, "/api/v1/redo").body, R"({"steps":0})");
}

TEST_F(Operations, AreUndoneAndRedoneWhenTheyAreTheOneThatIsMeant)
{
    const std::string another = R"({"type":"/problems/changed-since","title":"Changed since",)"
                                R"("status":409,"code":"changedSince","detail":)"
                                R"("another operation of yours is the next one by now"})";
    routed(6);
    for (const auto& [step, source] : {std::pair<std::string, int>{"/api/v1/undo", 4},
                                       std::pair<std::string, int>{"/api/v1/redo", 6}}) {
        const json of = json_of(ask(method::get, step))["of"]["operation"];
        EXPECT_EQ(ask(method::post, step, R"({"of":"01KAN25KJ9Z4T7B1X6V0M3G8QC"})").body, another);
        EXPECT_EQ(ask(method::post, step, R"({"of":1})").status, 422);
        EXPECT_EQ(waited(step + "?wait=2000", json{{"of", of}}.dump(), source)["of"], of);
    }
    EXPECT_EQ(json_of(ask(method::post, "/api/v1/redo", R"({"of":"x"})"))["code"], "nothingToDo");
}

TEST_F(Operations, CannotBeUndoneAfterADay)
{
    routed(6);
    wait(24h);
    EXPECT_EQ(json_of(ask(method::get, "/api/v1/undo"))["steps"], 1);
    wait(1ms);
    EXPECT_EQ(ask(method::get, "/api/v1/undo").body, R"({"steps":0})");
}
