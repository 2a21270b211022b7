#include <gtest/gtest.h>

#include "server/web/log.h"

using namespace web;

TEST(Log, HasNoControls)
{
    const struct {
        const char* text;
        const char* line;
    } cases[] = {{"a\nb\x1b[2J\x7f", "a b [2J "},
                 {"Zürich \xf0\x9f\x98\x80", "Zürich \xf0\x9f\x98\x80"},
                 {"a\xc2\x80\xc2\x9b\xc2\x9f\xc2\xa0", "a   \xc2\xa0"},
                 {"\xd8\x9c|\xe2\x80\x8e|\xe2\x80\x8f", " | | "},
                 {"\xe2\x80\xa8|\xe2\x80\xae|\xe2\x80\xaf", " | |\xe2\x80\xaf"},
                 {"\xe2\x81\xa6|\xe2\x81\xa9", " | "},
                 {"a\x9b\xff", "a  "}};
    server_log log;
    for (const auto& each : cases) {
        log_line(log, {}, log_level::error, each.text);
        EXPECT_EQ(log.lines.back().text, each.line);
    }
}
