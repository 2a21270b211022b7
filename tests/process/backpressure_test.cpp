// A router that does not take what it is sent, with little room in its socket: what the backend has
// to say goes out in pieces, and must arrive whole.
#include <gmock/gmock.h>

#include "support/process_test.h"

using testing::HasSubstr;
using testing::Not;

namespace {
class Backpressure : public ProcessTest {
  protected:
    long simulator_lines(const std::string& ending) const
    {
        return std::count_if(simulator.lines.begin(), simulator.lines.end(),
                             [&](const auto& line) { return line.ends_with(ending); });
    }
};
} // namespace

TEST_F(Backpressure, NoFrameIsTorn)
{
    const std::string scenario = directory.file(
        "scenario.json", R"({"steps": [{"name": "it", "fault": "stop reading", "for": 0.5}]})");
    start_simulator({"--sources", "8", "--destinations", "256", "--destination-base", "1",
                     "--receive-buffer", "2048", "--trace", "--scenario", scenario});
    start_on_simulator(backend);
    const std::string last_query = " > QI \"100\" \"0\"";
    ASSERT_TRUE(until([&] { return simulator_lines(last_query) == 1; }));
    write_all(simulator.input.number, "do it\n");
    ASSERT_TRUE(until([this] { return simulator_lines(" stop reading client=1") == 1; }));
    const int reports = 100;
    for (int id = 1; id <= reports; ++id)
        say("*COMMAND=report\n*TYPE=command\nwhat=outputs\n*ID=" + std::to_string(id));
    EXPECT_TRUE(until([&] { return simulator_lines(last_query) == 1 + reports; }));
    for (const char* output : {"1", "10", "FF"})
        EXPECT_EQ(simulator_lines(std::string(" > QI \"") + output + "\" \"0\""), 1 + reports);
    for (const std::string& line : simulator.lines)
        EXPECT_THAT(line, Not(HasSubstr("bad frame")));
}
