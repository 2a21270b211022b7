#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include "soak/summary.h"

using namespace soak;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

namespace {
class Summary : public testing::Test {
  protected:
    ledgers books;
    std::vector<cost_sample> samples;
    std::vector<double> reconnections;

    void SetUp() override
    {
        books.replies.sent = 12;
        books.replies.replied = 11;
        books.replies.longest_wait_us = 34'000;
        books.events["reset"] = 3;
        books.complaints["<ERR>Timeout receiving message"] = 2;
        for (int i = 0; i < 700; ++i)
            samples.push_back(
                {static_cast<double>(i), {.pss_kib = 900, .heap_kib = 100, .descriptors = 6}});
    }
    soak_result result() const
    {
        return {.books = books,
                .samples = samples,
                .reconnections = reconnections,
                .seconds = 700,
                .seed = 4};
    }
};
} // namespace

TEST_F(Summary, SaysWhatWasCounted)
{
    const std::string text = summary_text(result());
    EXPECT_THAT(text, HasSubstr("Seed 4, 700 s\n"));
    EXPECT_THAT(text, HasSubstr("\ncommands sent                                12\n"
                                "replied, each once                           11\n"));
    EXPECT_THAT(text, HasSubstr("\nlongest wait for a reply, ms                 34\n"));
    EXPECT_THAT(text, HasSubstr("\ntimes  what the router did\n    3  reset\n"));
    EXPECT_THAT(text, HasSubstr("\n    2  <ERR>Timeout receiving message\n"));
}

TEST_F(Summary, VerdictSaysWhatWasJudged)
{
    books.reports.judged = 5;
    books.proofs.takes = 2;
    books.proofs.queries = 3;
    books.proofs.floods = 1;
    books.proofs.port_changes = 1;
    books.link.connections = 3;
    EXPECT_THAT(summary_text(result()),
                EndsWith("\nJudged: 11 replies, 5 reports, 2 takes, 3 queries, 1 flood, 1 port "
                         "change, 2 reconnections.\n"
                         "Growth: the heap has grown by 0 KiB, 512 KiB allowed.\n"
                         "Growth: PSS has grown by 0 KiB, 2048 KiB allowed.\n"
                         "Growth: the number of open descriptors has grown by 0, 1 allowed.\n"
                         "Nothing was lost, invented or late.\n"));
}

TEST_F(Summary, SaysWhatFailed)
{
    note_finding(books, "something is missing");
    note_finding(books, "");
    const std::string text = summary_text(result());
    EXPECT_THAT(text, HasSubstr(", 0 reconnections.\n"));
    EXPECT_THAT(text, EndsWith("\nFINDING: something is missing\n1 finding: FAILED\n"));
    EXPECT_THAT(text, Not(HasSubstr("Nothing was lost")));
}

TEST_F(Summary, KeepsTheFirstFindingsAndCountsAll)
{
    for (int i = 0; i < 60; ++i)
        note_finding(books, std::to_string(i));
    EXPECT_EQ(books.findings.size(), 50U);
    EXPECT_THAT(progress_line(result()), EndsWith(", 60 findings"));
}

TEST_F(Summary, ProgressIsOneLine)
{
    books.faults = 1;
    EXPECT_EQ(progress_line(result()),
              "   700 s  11 of 12 answered, longest wait 34 ms, 0 changes, 0 connections, PSS 900 "
              "heap 100 KiB, 6 descriptors, 1 fault, 0 findings");
}

TEST_F(Summary, JsonHoldsTheSame)
{
    books.complaints["\xff"] = 1;
    note_finding(books, "odd byte \xff");
    const auto json = nlohmann::json::parse(summary_json(result()));
    EXPECT_EQ(json["commands_sent"], 12);
    EXPECT_EQ(json["longest_wait_ms"], 34);
    EXPECT_EQ(json["events"]["reset"], 3);
    EXPECT_EQ(json["finding_count"], 1);
    EXPECT_EQ(json["heap"]["growth_kib"], 0);
    EXPECT_EQ(json["samples"].size(), 700U);
}

TEST_F(Summary, JsonHasALinePerSampleAndReconnection)
{
    samples.resize(2);
    reconnections = {1.5};
    EXPECT_THAT(summary_json(result()), EndsWith("\n  \"samples\": [\n"
                                                 "[0.0,900,100,6],\n"
                                                 "[1.0,900,100,6]\n"
                                                 "  ],\n"
                                                 "  \"reconnections\": [\n"
                                                 "[1.5]\n"
                                                 "  ]\n"
                                                 "}\n"));
    samples.clear();
    reconnections.clear();
    const auto json = nlohmann::json::parse(summary_json(result()));
    EXPECT_TRUE(json["samples"].empty());
    EXPECT_TRUE(json["reconnections"].empty());
}
