#include "server/accounts/kept_accounts.h"
#include "server/desk/salvos.h"
#include "server/journal/entry_tables.h"
#include "server/web/history_export.h"
#include "unit/web/account_requests.h"

using namespace web;
using namespace web_test;

namespace {
// The test plays the journal.
struct History : AccountRequests {
    std::vector<journal::history_row> rows; // newest first
    std::vector<journal::history_question> asked;

    History()
    {
        as("ana");
        add_router("r1");
        add_router("r2");
        server.accounts.people["ben"].may = {desk::right::view, {{"r2", desk::right::none}}, {}};
    }

    journal::history_row& add(const std::string& kind)
    {
        journal::history_row row;
        const auto age = static_cast<std::int64_t>(rows.size());
        row.place = {now.utc - desk::wall(age), 1000 - age};
        row.kind = kind;
        rows.push_back(row);
        return rows.back();
    }

    void add_wish(const std::string& kind, const std::string& router, int destination, int source,
                  const std::string& outcome = "confirmed")
    {
        journal::history_row& row = add(kind);
        row.person = "ben";
        row.origin = "panel";
        row.router = router;
        row.destination = destination;
        row.was = 7;
        row.source = source;
        row.batch = "01KAN25V4C1F9Y6D2T7Z0H5MWR";
        row.wish = 0;
        row.outcome = outcome;
        row.sent_after = std::chrono::microseconds(800);
        row.answered_after = std::chrono::microseconds(1400);
        row.ended_after = std::chrono::milliseconds(2);
    }

    // Answers each question with so many rows.
    void answer(std::size_t at_once = 1000)
    {
        while (!server.journal.questions.empty()) {
            const auto& [number, of_history] = server.journal.questions.front();
            const auto question = std::get<journal::history_question>(of_history);
            journal::answer given{number, {}, ""};
            server.journal.questions.pop_front();
            asked.push_back(question);
            for (const journal::history_row& row : rows) {
                if (question.after && std::pair(row.place.at, row.place.id) >=
                                          std::pair(question.after->at, question.after->id))
                    continue;
                if (given.page.rows.size() == std::min(at_once, question.most)) {
                    given.page.next = given.page.rows.back().place;
                    break;
                }
                given.page.rows.push_back(row);
            }
            server.journal.news.answers.push_back(given);
            pass();
        }
    }

    response ask_history(const std::string& query = "", std::size_t at_once = 1000)
    {
        const request_id id = send(method::get, "/api/v1/history" + query);
        answer(at_once);
        return answers[id];
    }

    // What the entries are about, oldest last.
    std::string whys(const response& response)
    {
        std::string text;
        const plain list = json_of(response)["entries"];
        for (const plain& each : list)
            text += (text.empty() ? "" : " ") + each["why"].get<std::string>();
        return text;
    }
};
} // namespace

TEST_F(History, TellsOfWishes)
{
    add_wish("redo", "r1", 4, 3);
    const plain entry = json_of(ask_history())["entries"][0];
    EXPECT_EQ(entry, (plain{{"id", desk::text_of(desk::ulid{
                                       static_cast<std::uint64_t>(now.utc.count()) << 16U, 1000})},
                            {"time", time_text(now.utc)},
                            {"why", "redo"},
                            {"person", {{"id", "ben"}, {"name", "Ben L."}}},
                            {"origin", "panel"},
                            {"router", "r1"},
                            {"destination", 4},
                            {"destinationName", "DST 5"},
                            {"was", 7},
                            {"wasName", "SRC 8"},
                            {"source", 3},
                            {"sourceName", "SRC 4"},
                            {"operation", "01KAN25V4C1F9Y6D2T7Z0H5MWR"},
                            {"row", 0},
                            {"outcome", "confirmed"},
                            {"sentMs", 0.8},
                            {"answeredMs", 1.4},
                            {"endedMs", 2.0},
                            {"latencyMs", 2.0}}));
}

TEST_F(History, TellsOfEverythingElse)
{
    journal::history_row& outside = add(std::string(journal::OUTSIDE_CHANGE));
    outside.router = "r1";
    outside.destination = 1;
    outside.source = desk::NO_SOURCE;
    outside.was = desk::UNKNOWN_SOURCE;
    journal::history_row& broken = add("lockBroken");
    broken.person = "ana";
    broken.router = "r1";
    broken.destination = 1;
    broken.data = R"({"owner": "ben", "reason": "wrong studio"})";
    add("lockSet").data = R"({"mode": "protect", "reason": "live"})";
    journal::history_row& signed_in = add(accounts::SIGNED_IN);
    signed_in.person = "ben";
    signed_in.origin = "10.20.4.17";
    add("routerSet").data = R"({"name": "OB VAN", "address": "10.0.0.1", "port": 7})";
    add("ofTomorrow").data = "[";
    const plain entries = json_of(ask_history())["entries"];
    ASSERT_EQ(entries.size(), 6U);
    EXPECT_EQ(entries[0]["why"], "outside");
    EXPECT_FALSE(entries[0].contains("person"));
    EXPECT_TRUE(entries[0]["source"].is_null());
    EXPECT_FALSE(entries[0].contains("was"));
    EXPECT_EQ(entries[1]["why"], "force");
    EXPECT_EQ(entries[1]["of"], plain::parse(R"({"id": "ben", "name": "Ben L."})"));
    EXPECT_EQ(entries[1]["text"], "wrong studio");
    EXPECT_EQ(entries[2]["why"], "protect");
    EXPECT_EQ(entries[3]["why"], "signIn");
    EXPECT_EQ(entries[3]["origin"], "panel");
    EXPECT_EQ(entries[3]["text"], "from 10.20.4.17");
    EXPECT_EQ(entries[4]["text"], "router OB VAN at 10.0.0.1:7");
    EXPECT_EQ(entries[5]["why"], "setting");
}

TEST_F(History, GathersPagesFromPieces)
{
    for (int i = 0; i < 7; ++i)
        add_wish(i % 2 == 0 ? "take" : "undo", "r1", i, i);
    const response first = ask_history("?why=take,salvo&limit=3", 2);
    EXPECT_EQ(whys(first), "take take take");
    EXPECT_EQ(asked.size(), 3U);
    const std::string next = json_of(first)["next"];
    const response second = ask_history("?why=take,salvo&limit=3&cursor=" + next, 2);
    EXPECT_EQ(json_of(second)["entries"].size(), 1U);
    EXPECT_EQ(json_of(second)["entries"][0]["destination"], 6);
    EXPECT_FALSE(json_of(second).contains("next"));
    const response whole = ask_history("?limit=7", 1000);
    EXPECT_EQ(json_of(whole)["entries"].size(), 7U);
    EXPECT_FALSE(json_of(whole).contains("next")) << "there is nothing older";
}

TEST_F(History, TellsOfFewRowsAtOnceThoughAPageOrAFileHasMany)
{
    for (int i = 0; i < 250; ++i)
        add_wish("take", "r1", 1, 1);
    EXPECT_EQ(json_of(ask_history("?limit=1000"))["entries"].size(), 250U);
    EXPECT_EQ(json_of(ask_history("?limit=7"))["entries"].size(), 7U);
    const stream_id file = send(method::get, "/api/v1/history.csv");
    while (!closed.contains(file)) {
        drain_stream(server, now, file);
        answer();
    }
    EXPECT_GE(asked.size(), 7U);
    for (const journal::history_question& each : asked)
        EXPECT_LE(each.most, 100U);
}

TEST_F(History, Filters)
{
    add_wish("take", "r1", 4, 3);
    add_wish("undo", "r1", 4, 5, "timedOut");
    add_wish("take", "r2", 4, 3, "refused");
    rows.back().detail = "Studio in use";
    const std::map<std::string, std::string> found = {
        {"", "take undo take"},
        {"?why=undo", "undo"},
        {"?outcome=confirmed,refused", "take take"},
        {"?router=r1&source=5", "undo"},
        {"?router=r1&source=7", "take undo take"}, // from it; routers are the journal's to find
        {"?text=studio%20USE", "take"},
        {"?text=src+6", "undo"},
        {"?text=ben+src+4+nothing", ""}};
    for (const auto& [query, expected] : found)
        EXPECT_EQ(whys(ask_history(query)), expected) << query;
    ask_history("?from=2026-11-22T14:00:00Z&to=2026-11-22T15:00:00.5Z&person=ben&router=r1"
                "&destination=4&why=take&outcome=confirmed&operation=01KAN25V4C1F9Y6D2T7Z0H5MWR");
    const journal::history_filter& filter = asked.back().filter;
    EXPECT_EQ(time_text(filter.from.value()), "2026-11-22T14:00:00.000Z");
    EXPECT_EQ(time_text(filter.until.value()), "2026-11-22T15:00:00.500Z");
    EXPECT_EQ(filter.person, "ben");
    EXPECT_EQ(filter.router, "r1");
    EXPECT_EQ(filter.destination, 4);
    EXPECT_EQ(filter.kind, "take");
    EXPECT_EQ(filter.outcome, "confirmed");
    EXPECT_EQ(filter.batch, "01KAN25V4C1F9Y6D2T7Z0H5MWR");
}

TEST_F(History, RefusesFiltersThatCannotBe)
{
    for (const char* const query :
         {"?destination=4", "?source=4", "?why=such", "?outcome=good", "?from=noon", "?limit=0",
          "?limit=1001", "?cursor=7", "?cursor=-1.7", "?router=r1&destination=x"})
        EXPECT_EQ(ask(method::get, std::string("/api/v1/history") + query).status, 422) << query;
}

TEST_F(History, LeavesOutWhatAPersonMayNotSee)
{
    add_wish("take", "r1", 1, 1);
    add_wish("undo", "r2", 1, 1);
    add(accounts::SIGNED_IN);
    add(accounts::PERSON_SET);
    add("salvoSaved");
    EXPECT_EQ(whys(ask_history()), "take undo signIn people setting");
    as("ben");
    EXPECT_EQ(whys(ask_history()), "take setting");
}

TEST_F(History, LeavesOutSalvosThatAPersonMayNotSee)
{
    const auto saved = [&](const std::string& name, const std::string& router) {
        desk::wanted_salvo wanted;
        wanted.name = name;
        wanted.rows = {{router, 1, 5}};
        return desk::text_of(desk::add_salvo(server.desk, now, engineer, wanted).id);
    };
    const std::string covert = saved("Covert", "r2");
    const std::string open = saved("Open", "r1");
    for (const std::string& id : {covert, open})
        for (const std::string_view kind : {journal::SALVO_SAVED, journal::SALVO_DELETED}) {
            journal::history_row& row = add(std::string(kind));
            row.salvo = id;
            row.data = R"({"name":"of )" + id + "\"}";
        }
    add_wish("salvo", "r1", 1, 5);
    rows.back().salvo = covert;
    rows.back().salvo_version = 1;
    as("ben");
    const response told = ask_history();
    EXPECT_EQ(whys(told), "setting setting salvo");
    EXPECT_EQ(json_of(told)["entries"][2]["salvo"],
              (plain{{"id", covert}, {"name", covert}, {"version", 1}}));
    as("ana");
    EXPECT_EQ(json_of(ask_history())["entries"][4]["salvo"]["name"], "Covert");
}

TEST_F(History, GivesAShortPageWhenItTakesLong)
{
    for (int i = 0; i < 4; ++i)
        add_wish("undo", "r1", i, i);
    const request_id id = send(method::get, "/api/v1/history?why=take,salvo");
    const auto [number, question] = server.journal.questions.front();
    server.journal.questions.clear();
    server.journal.news.answers = {{number, {{rows[0]}, rows[1].place}, ""}};
    pass();
    EXPECT_FALSE(answers.contains(id));
    wait(std::chrono::seconds(2));
    EXPECT_EQ(json_of(answers[id])["entries"].size(), 0U);
    server.journal.questions.clear();
    const std::string next = json_of(answers[id])["next"];
    ask_history("?cursor=" + next);
    EXPECT_EQ(asked.front().after, rows[1].place);
}

TEST_F(History, SaysWhenItCannotBeRead)
{
    const request_id id = send(method::get, "/api/v1/history");
    server.journal.news.answers = {{server.journal.questions.front().first, {}, "disk broken"}};
    pass();
    EXPECT_EQ(answers[id].status, 503);
    EXPECT_EQ(json_of(answers[id])["code"], "journalFailing");
    server.journal.questions.clear();
    const request_id slow = send(method::get, "/api/v1/history");
    wait(std::chrono::seconds(2));
    EXPECT_EQ(json_of(answers[slow])["code"], "overloaded");
}

TEST_F(History, IsExportedPieceByPieceAsTheClientReads)
{
    for (int i = 0; i < 3; ++i)
        add_wish("take", "r1", i, 3);
    rows[1].detail = "=1+1, \"so\"";
    rows[2].source = desk::NO_SOURCE;
    const request_id id = send(method::get, "/api/v1/history.csv?router=r1");
    EXPECT_EQ(answers[id].type, "text/csv; charset=utf-8");
    EXPECT_THAT(
        header_of(answers[id], "Content-Disposition"),
        testing::MatchesRegex("attachment; filename=\"router-control-history-[0-9-]{10}.csv\""));
    EXPECT_TRUE(server.journal.questions.empty()) << "the head is not sent yet";
    const auto drain = [&] {
        server.streams[id].drained(server, now, id);
        answer(1);
    };
    drain();
    EXPECT_EQ(asked.size(), 1U) << "and no further piece before the client has this one";
    drain();
    drain();
    EXPECT_EQ(streams[id].size(), 4U);
    std::string file;
    for (const std::string& part : streams[id])
        file += part;
    const std::string time[] = {time_text(now.utc), time_text(now.utc - desk::wall(1)),
                                time_text(now.utc - desk::wall(2))};
    EXPECT_EQ(file, "time,person,router,destination,destinationName,was,wasName,source,sourceName,"
                    "why,outcome,latencyMs,detail,operation,row,origin,text\r\n" +
                        time[0] +
                        ",Ben L.,r1,0,DST 1,7,SRC 8,3,SRC 4,take,confirmed,2.0,,"
                        "01KAN25V4C1F9Y6D2T7Z0H5MWR,0,panel,\r\n" +
                        time[1] +
                        ",Ben L.,r1,1,DST 2,7,SRC 8,3,SRC 4,take,confirmed,2.0,"
                        "\"'=1+1, \"\"so\"\"\",01KAN25V4C1F9Y6D2T7Z0H5MWR,0,panel,\r\n" +
                        time[2] +
                        ",Ben L.,r1,2,DST 3,7,SRC 8,,no source,take,confirmed,2.0,,"
                        "01KAN25V4C1F9Y6D2T7Z0H5MWR,0,panel,\r\n");
    EXPECT_EQ(closed.at(id), 0);
    EXPECT_TRUE(server.exports.empty());
    EXPECT_TRUE(server.streams.empty());
}

TEST_F(History, IsExportedAsJson)
{
    for (int i = 0; i < 3; ++i)
        add_wish(i == 1 ? "undo" : "take", "r1", i, 3);
    const request_id id = send(method::get, "/api/v1/history.json?why=take,salvo");
    for (int i = 0; i < 3; ++i)
        if (!closed.contains(id)) {
            server.streams[id].drained(server, now, id);
            answer(1);
        }
    std::string file;
    for (const std::string& part : streams[id])
        file += part;
    EXPECT_EQ(plain::parse(file)["entries"].size(), 2U);
    EXPECT_EQ(closed.at(id), 0);
}

TEST_F(History, IsCutOffWhenTheRestCannotBeRead)
{
    const request_id id = send(method::get, "/api/v1/history.json");
    server.streams[id].drained(server, now, id);
    server.journal.news.answers = {{server.journal.questions.front().first, {}, "disk broken"}};
    pass();
    EXPECT_EQ(closed.at(id), 1011);
    const request_id gone = send(method::get, "/api/v1/history.json");
    EXPECT_EQ(server.exports.size(), 1U);
    server.streams[gone].gone(server, now, gone);
    EXPECT_TRUE(server.exports.empty());
}
