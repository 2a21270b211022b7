#include <gmock/gmock.h>
#include <nlohmann/json.hpp>
#include <sstream>

#include "soak/plot.h"
#include "soak/summary.h"

using namespace soak;
using testing::HasSubstr;
using testing::Not;

namespace {
class Summary : public testing::Test {
  protected:
    ledgers books;
    std::vector<cost_sample> samples;

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
        return {.books = books, .samples = samples, .seconds = 700, .seed = 4};
    }
};
} // namespace

TEST_F(Summary, SaysWhatWasCounted)
{
    const std::string text = summary_text(result());
    EXPECT_THAT(text, HasSubstr("Seed 4, 700 s\n  commands sent                               12\n"
                                "  replied, each once                          11\n"
                                "  longest wait for a reply, ms                34\n"));
    EXPECT_THAT(text, HasSubstr("What the router did:\n         3  reset\n"));
    EXPECT_THAT(text, HasSubstr("         2  <ERR>Timeout receiving message\n"));
    EXPECT_THAT(text, HasSubstr("\nNothing was lost, nothing grew.\n"));
}

TEST_F(Summary, SaysWhatFailed)
{
    note_finding(books, "something is missing");
    note_finding(books, "");
    const std::string text = summary_text(result());
    EXPECT_THAT(text, HasSubstr("\nFINDING: something is missing\n1 findings: FAILED\n"));
    EXPECT_THAT(text, Not(HasSubstr("Nothing was lost")));
}

TEST_F(Summary, KeepsTheFirstFindingsAndCountsAll)
{
    for (int i = 0; i < 60; ++i)
        note_finding(books, std::to_string(i));
    EXPECT_EQ(books.findings.size(), 50U);
    EXPECT_THAT(progress_line(result()), HasSubstr(", 60 findings"));
}

TEST_F(Summary, ProgressIsOneLine)
{
    EXPECT_EQ(progress_line(result()),
              "   700 s  11 of 12 answered, 0 changes, 0 connections, longest wait 34 ms, PSS 900 "
              "heap 100 KiB, 6 descriptors, 0 findings");
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
}

TEST_F(Summary, PlotShowsBothLinesAndReconnections)
{
    std::ostringstream plot;
    write_plot(plot, samples, {350});
    const std::string text = plot.str();
    EXPECT_THAT(text, HasSubstr("points=\"70.0,"));   // two lines from the left edge
    EXPECT_THAT(text, HasSubstr("880.0,79.0 \"/>"));  // PSS to the right one: 900 of 1000
    EXPECT_THAT(text, HasSubstr("880.0,311.0 \"/>")); // heap: 100 of 1000
    EXPECT_THAT(text, HasSubstr("<line stroke=\"#999\" x1=\"475.6\""));
    EXPECT_THAT(text, HasSubstr(">minutes</text>"));
    EXPECT_TRUE(text.ends_with("</svg>\n"));
}

TEST_F(Summary, PlotWithoutSamplesIsEmpty)
{
    std::ostringstream plot;
    write_plot(plot, {}, {});
    EXPECT_THAT(plot.str(), HasSubstr(">seconds</text>"));
}
