#include "unit/web/server_test.h"

using namespace web;
using namespace web_test;

namespace {
struct Remembered : ServerTest {
    int asked = 0;

    void await(request_id id, bool remembered)
    {
        auto waiting = std::make_unique<waiting_answer>();
        waiting->answer.remembered = remembered;
        waiting->answer.later = [this](web::server&,
                                       const desk::moment&) -> std::optional<response> {
            ++asked;
            return response{};
        };
        server.waiting.emplace(id, std::move(waiting));
    }
};

struct Loss : ServerTest {
    std::size_t given()
    {
        const std::size_t count = server.journal.records.size();
        server.journal.records.clear();
        return count;
    }
};
} // namespace

TEST_F(Remembered, AnswersAreAwaitedWithoutTheirClient)
{
    await(7, true);
    await(8, false);
    drop_request(server, now, 7);
    drop_request(server, now, 8);
    pass();
    EXPECT_EQ(asked, 1);
    EXPECT_TRUE(answers.empty()) << "nobody is there to be told";
    EXPECT_TRUE(server.waiting.empty());
}

TEST_F(Loss, IsMadeGoodWhenTheJournalKeepsAgain)
{
    pass();
    given();
    server.journal.news.health.lost = 3;
    server.journal.news.health.failure = "disk I/O error";
    pass();
    EXPECT_EQ(given(), 0);
    server.journal.news.health.failure = "";
    pass();
    ASSERT_EQ(server.journal.records.size(), 2);
    EXPECT_TRUE(std::holds_alternative<journal::whole_house>(server.journal.records[0].what));
    EXPECT_EQ(given(), 2);
    EXPECT_EQ(server.log.lines.back().text, "3 entries of the history are lost.");
    pass();
    EXPECT_EQ(given(), 0) << "once";
}

TEST_F(Loss, OfNothingThatAccountsAndAnswersTell)
{
    pass();
    given();
    tell(server.accounts, now, engineer, accounts::event::kind::sign_in_failed, "");
    server.first_answers.notes.resize(1);
    pass();
    EXPECT_EQ(given(), 2) << "both are given to the journal";
    EXPECT_TRUE(server.accounts.events.empty());
}
