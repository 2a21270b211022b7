#include <gmock/gmock.h>
#include <poll.h>

#include "server/accounts/password_worker.h"
#include "server/accounts/secrets.h"

using namespace accounts;

TEST(PasswordWorker, AnswersInOrder)
{
    begin_secrets();
    password_worker worker;
    std::string error;
    ASSERT_TRUE(start_worker(worker, error)) << error;
    const std::string hash = hash_password("right");
    EXPECT_TRUE(ask(worker, {1, "new", true, ""}));
    EXPECT_TRUE(ask(worker, {2, "right", false, hash}));
    EXPECT_TRUE(ask(worker, {3, "wrong", false, hash}));
    std::vector<password_result> results;
    while (results.size() < 3) {
        pollfd ready{worker.ready.number, POLLIN, 0};
        ASSERT_EQ(poll(&ready, 1, 60'000), 1);
        for (password_result& each : take_results(worker))
            results.push_back(std::move(each));
    }
    EXPECT_EQ(results[0].number, 1U);
    EXPECT_TRUE(password_matches(results[0].hash, "new"));
    EXPECT_EQ(results[1].number, 2U);
    EXPECT_TRUE(results[1].matches);
    EXPECT_EQ(results[2].number, 3U);
    EXPECT_FALSE(results[2].matches);
    pollfd ready{worker.ready.number, POLLIN, 0};
    EXPECT_EQ(poll(&ready, 1, 0), 0);
    stop_worker(worker);
}

TEST(PasswordWorker, RefusesWhatItCannotDoSoon)
{
    begin_secrets();
    password_worker worker; // without its thread: nothing is taken from the queue
    for (std::size_t i = 0; i < PASSWORDS_WAITING; ++i)
        EXPECT_TRUE(ask(worker, {i, "x", false, ""}));
    EXPECT_FALSE(ask(worker, {0, "x", false, ""}));
    stop_worker(worker);
}

TEST(PasswordWorker, EndsWithQuestionsWaiting)
{
    begin_secrets();
    password_worker worker;
    std::string error;
    ASSERT_TRUE(start_worker(worker, error)) << error;
    for (std::size_t i = 0; i < PASSWORDS_WAITING; ++i)
        ask(worker, {i, "x", false, ""});
    stop_worker(worker);
    EXPECT_LT(take_results(worker).size(), PASSWORDS_WAITING);
}
