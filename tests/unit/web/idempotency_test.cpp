#include <gmock/gmock.h>
#include <random>

#include "server/web/idempotency.h"
#include "server/web/problem.h"
#include "unit/journal/journal_test.h"

using namespace web;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pair;

namespace {
request put(const std::string& body)
{
    request made;
    made.method = method::put;
    made.path = {"api", "v1", "salvos"};
    made.body = body;
    return made;
}

response answered(const std::string& body)
{
    return {200, "application/json", body, {{"ETag", "\"7\""}}};
}

struct IdempotencyTest : testing::Test {
    first_answers answers;
    desk::wall now = journal::NOW;
    journal::tables tables;

    repetition begin(const std::string& person, const std::string& key, const std::string& body)
    {
        return begin_keyed(answers, now, person, key, put(body));
    }

    void carry_out(const std::string& person, const std::string& key, const std::string& body)
    {
        ASSERT_EQ(begin(person, key, body), repetition::first);
        remember_answer(answers, person, key, answered("did " + body));
    }

    std::string body_again(const std::string& person, const std::string& key)
    {
        const auto again = answer_again(answers, person, key);
        return again ? again->body : "under way";
    }

    void keep_notes()
    {
        SQLite::Transaction transaction(*tables.opened.file);
        for (const journal::note& each : answers.notes)
            keep_note(tables.store, each);
        transaction.commit();
        answers.notes.clear();
    }

    void restart()
    {
        keep_notes();
        answers = kept_answers(tables.store, now);
    }

    std::string complaint(const std::string& key, const std::string& value)
    {
        set(tables.store, key, value);
        std::string text;
        try {
            kept_answers(tables.store, now);
        } catch (const journal::misfit& thrown) {
            text = thrown.what();
        }
        remove(tables.store, key);
        return text;
    }
};
} // namespace

TEST_F(IdempotencyTest, GivesTheFirstAnswerAgain)
{
    EXPECT_EQ(begin("ana", "k1", "a"), repetition::first);
    EXPECT_EQ(begin("ana", "k1", "a"), repetition::repeated);
    EXPECT_EQ(body_again("ana", "k1"), "under way");
    remember_answer(answers, "ana", "k1", answered("done"));
    EXPECT_EQ(begin("ana", "k1", "a"), repetition::repeated);
    const auto again = answer_again(answers, "ana", "k1");
    ASSERT_TRUE(again);
    EXPECT_EQ(again->status, 200);
    EXPECT_EQ(again->body, "done");
    EXPECT_THAT(again->headers,
                ElementsAre(Pair("ETag", "\"7\""), Pair("Idempotency-Replayed", "true")));
}

TEST_F(IdempotencyTest, KnowsKeysByPerson)
{
    carry_out("ana", "k1", "a");
    EXPECT_EQ(begin("ben", "k1", "b"), repetition::first);
    EXPECT_EQ(begin("ana", "k2", "b"), repetition::first);
    EXPECT_EQ(body_again("ana", "k1"), "did a");
}

TEST_F(IdempotencyTest, RefusesAKeyOfAnotherRequest)
{
    const auto with = [](auto change) {
        request other = put("a");
        other.query = {{"wait", "20"}};
        change(other);
        return other;
    };
    EXPECT_EQ(begin_keyed(answers, now, "ana", "k1", with([](request&) {})), repetition::first);
    EXPECT_EQ(begin_keyed(answers, now, "ana", "k1", with([](request& same) {
                              same.headers["user-agent"] = "another";
                              same.address = "10.0.0.7";
                          })),
              repetition::repeated);
    for (const request& other :
         {with([](request& one) { one.method = method::post; }), with([](request& one) {
              one.path = {"api", "v1", "salvo"};
          }),
          with([](request& one) {
              one.path = {"api", "v1/salvos"};
          }),
          with([](request& one) { one.path.emplace_back("a"); }),
          with([](request& one) { one.query[0].second = "2"; }), with([](request& one) {
              one.query[0] = {"wait2", "0"};
          }),
          with([](request& one) { one.query.clear(); }), with([](request& one) { one.body = "b"; }),
          with([](request& one) { one.body.clear(); })})
        EXPECT_EQ(begin_keyed(answers, now, "ana", "k1", other), repetition::other_request);
}

TEST_F(IdempotencyTest, RemembersForADay)
{
    carry_out("ana", "k1", "a");
    now += KEY_AGE - std::chrono::milliseconds(1);
    EXPECT_EQ(begin("ana", "k1", "a"), repetition::repeated);
    now += std::chrono::milliseconds(1);
    EXPECT_EQ(begin("ana", "k1", "b"), repetition::first);
}

TEST_F(IdempotencyTest, WaitsForTheFirstHoweverLong)
{
    EXPECT_EQ(begin("ana", "k1", "a"), repetition::first);
    now += KEY_AGE;
    EXPECT_EQ(begin("ana", "k1", "a"), repetition::repeated);
}

TEST_F(IdempotencyTest, ForgetsWhatMayBeTriedAgain)
{
    EXPECT_EQ(begin("ana", "k1", "a"), repetition::first);
    remember_answer(answers, "ana", "k1", {503, "", "", {{"Retry-After", "1"}}});
    EXPECT_EQ(answers.bytes, 0);
    const auto again = answer_again(answers, "ana", "k1");
    ASSERT_TRUE(again) << "whoever waits for it is told";
    EXPECT_EQ(again->status, 503);
    EXPECT_EQ(again->headers.back().first, "Retry-After");
    restart();
    EXPECT_EQ(begin("ana", "k1", "a"), repetition::first);
}

TEST_F(IdempotencyTest, ForgetsTooOldOnesInSmallPieces)
{
    for (int i = 0; i < 2 * FORGOTTEN_AT_ONCE; ++i)
        carry_out("ana", "k" + std::to_string(i), "a");
    carry_out("ben", "k", "b");
    now += KEY_AGE;
    carry_out("ana", "new", "a");
    EXPECT_EQ(answers.of.at("ana").by_key.size(), FORGOTTEN_AT_ONCE + 1);
    carry_out("ana", "newer", "a");
    EXPECT_EQ(answers.of.at("ana").by_key.size(), 2);
    EXPECT_EQ(answers.of.at("ben").by_key.size(), 1);
    restart();
    EXPECT_EQ(answers.of.at("ana").by_key.size(), 2);
    EXPECT_FALSE(answers.of.contains("ben"));
    keep_notes();
    EXPECT_THAT(list(tables.store, "answers/ben/"), IsEmpty());
}

TEST_F(IdempotencyTest, ForgetsTheOldestOfWhoHasTheMost)
{
    constexpr std::size_t LARGE = 10'000;
    answers.most_bytes = 64 * LARGE;
    carry_out("ben", "k", "b");
    EXPECT_EQ(begin("ana", "open", "a"), repetition::first);
    for (int i = 0; i < 70; ++i) {
        now += std::chrono::milliseconds(1);
        carry_out("ana", "k" + std::to_string(i), std::string(LARGE, 'a'));
    }
    EXPECT_LE(answers.bytes, answers.most_bytes);
    EXPECT_GT(answers.bytes, answers.most_bytes - 2 * LARGE);
    EXPECT_EQ(body_again("ben", "k"), "did b");
    EXPECT_EQ(body_again("ana", "open"), "under way");
    EXPECT_EQ(body_again("ana", "k69").size(), LARGE + 4);
    EXPECT_EQ(begin("ana", "k0", "a"), repetition::first) << "the oldest has been forgotten";
    const std::size_t kept = answers.of.at("ana").by_key.size();
    restart();
    EXPECT_EQ(answers.of.at("ana").by_key.size(), kept);
}

TEST_F(IdempotencyTest, CountsItsBytes)
{
    carry_out("ana", "k1", "a");
    EXPECT_EQ(answers.bytes,
              BYTES_PER_KEY + std::string("anak1application/jsondid aETag\"7\"").size());
    now += KEY_AGE;
    EXPECT_EQ(begin("ana", "k1", "a"), repetition::first);
    EXPECT_EQ(answers.bytes, BYTES_PER_KEY + std::string("anak1").size());
}

TEST_F(IdempotencyTest, IsTheSameAfterAnyHistory)
{
    const std::uint64_t seed = std::random_device{}();
    std::mt19937_64 chance(seed);
    std::set<std::pair<std::string, std::string>> open;
    for (int i = 0; i < 2000; ++i) {
        now += std::chrono::milliseconds(chance() % 600'000);
        const std::string person = std::string(1, static_cast<char>('a' + chance() % 3));
        const std::string key = "/" + std::to_string(chance() % 40) + "/"; // a key may have any
        if (begin(person, key, "a") == repetition::first) open.insert({person, key});
        if (!open.empty() && chance() % 2 == 0) {
            remember_answer(answers, open.begin()->first, open.begin()->second,
                            {200,
                             "application/json",
                             "did \"a\" for ø",
                             {{chance() % 4 == 0 ? "Retry-After" : "ETag", "7"}}});
            open.erase(open.begin());
        }
    }
    for (const auto& [person, key] : open)
        remember_answer(answers, person, key, answered("done"));
    std::map<std::string, std::vector<std::string>> expected; // that are not too old
    for (const auto& [person, theirs] : answers.of)
        for (const auto& [key, answer] : theirs.by_key)
            if (now - answer.begun < KEY_AGE) expected[person].push_back(key + answer.given->body);
    const first_answers before = answers;
    restart();
    std::map<std::string, std::vector<std::string>> found;
    for (const auto& [person, theirs] : answers.of)
        for (const auto& [key, answer] : theirs.by_key) {
            found[person].push_back(key + answer.given->body);
            EXPECT_TRUE(answer == before.of.at(person).by_key.at(key));
        }
    EXPECT_EQ(found, expected) << "seed " << seed;
}

TEST_F(IdempotencyTest, SaysThatTheServerWasRestartedMeanwhile)
{
    EXPECT_EQ(begin("ana", "k1", "a"), repetition::first);
    restart();
    EXPECT_EQ(begin("ana", "k1", "a"), repetition::repeated) << "it is not carried out twice";
    EXPECT_EQ(begin("ana", "k1", "b"), repetition::other_request);
    EXPECT_THAT(body_again("ana", "k1"), HasSubstr("outcomeUnknown"));
    EXPECT_EQ(answer_again(answers, "ana", "k1")->status, status_of("outcomeUnknown"));
}

TEST_F(IdempotencyTest, TellsTheHistoryNothing)
{
    carry_out("ana", "k1", "a");
    ASSERT_EQ(answers.notes.size(), 2) << "one before it is carried out";
    for (const journal::note& each : answers.notes)
        EXPECT_EQ(each.kind, "");
}

TEST_F(IdempotencyTest, SaysWhichKeyIsWrong)
{
    const std::string digest = accounts::text_of(accounts::secret_hash{});
    EXPECT_EQ(complaint("answers/ana", "{}"), "answers/ana is no key of an answer");
    EXPECT_EQ(complaint("answers/ana/k", "{}"), "answers/ana/k has no \"begun\"");
    EXPECT_EQ(complaint("answers/ana/k", R"({"begun": 7, "request": "12"})"),
              "answers/ana/k.request is no digest");
    EXPECT_EQ(
        complaint("answers/ana/k", R"({"begun": 7, "request": ")" + digest + R"(", "status": 7})"),
        "answers/ana/k.status must be a whole number from 100 to 599");
    EXPECT_EQ(complaint("answers/ana/k", R"({"begun": 7, "request": ")" + digest +
                                             R"(", "status": 200, "type": "", "body": "",
                                                  "headers": [["ETag"]]})"),
              "answers/ana/k.headers[0] is no name and value");
}

TEST(IdempotencyKey, IsOfCharactersThatCanBeSeen)
{
    for (const std::string& key : {std::string("7d1c4a52-camera-7"), std::string("!"),
                                   std::string("~/"), std::string(LONGEST_KEY, 'k')})
        EXPECT_TRUE(is_key(key)) << key;
    for (const std::string& key : {std::string(), std::string("a b"), std::string("a\x7f"),
                                   std::string("\xc3\xb8"), std::string(LONGEST_KEY + 1, 'k')})
        EXPECT_FALSE(is_key(key)) << key;
}
