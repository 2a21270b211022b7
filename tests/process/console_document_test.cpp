// Every example of docs/console.md, played on a simulated router: it must show what stands there,
// but for times.
#include <fstream>
#include <regex>

#include "support/console_process.h"

namespace {
class ConsoleDocument : public ConsoleProcess {
  protected:
    std::string typed;    // the commands of the blocks of one kind, a line each
    std::string expected; // what stands behind them

    // Commands are what stands behind this prompt.
    void read_blocks(const std::string& kind, const std::string& prompt)
    {
        std::ifstream file(PROJECT_DIRECTORY "/docs/console.md");
        bool inside = false;
        for (std::string line; std::getline(file, line);) {
            if (line.starts_with("```"))
                inside = line == "```" + kind;
            else if (inside && line.starts_with(prompt))
                typed += line.substr(prompt.size()) + "\n";
            else if (inside)
                expected += line + "\n";
        }
        ASSERT_NE(typed, "");
    }

    int play(const std::vector<std::string>& words)
    {
        descriptor_pair input = pipe_to_child();
        descriptor_pair printed = pipe_from_child();
        start_child(console, words,
                    {input.childs.number, printed.childs.number, printed.childs.number});
        input.childs.reset();
        printed.childs.reset();
        write_all(input.ours.number, typed);
        input.ours.reset();
        return status_after(printed.ours.number);
    }
};

// What is told of the link depends on when it is looked at.
std::string without_times(const std::string& text)
{
    static const std::regex LINK("[0-9:]{8} main(:| is) [^\n]*\n");
    static const std::regex TIME_OF_DAY("[0-9]{2}:[0-9]{2}:[0-9]{2}");
    static const std::regex DATE("[0-9]{4}-[0-9]{2}-[0-9]{2}");
    static const std::regex DURATION(" [0-9.]+ m?s\\b");
    const std::string timeless =
        std::regex_replace(std::regex_replace(text, LINK, ""), TIME_OF_DAY, "TIME");
    return std::regex_replace(std::regex_replace(timeless, DATE, "DATE"), DURATION, " DURATION");
}

void replace_all(std::string& text, const std::string& from, const std::string& to)
{
    for (std::size_t at = text.find(from); at < text.size(); at = text.find(from, at + to.size()))
        text.replace(at, from.size(), to);
}
} // namespace

TEST_F(ConsoleDocument, ShowsWhatTheConsoleSays)
{
    start_simulator();
    read_blocks("console", "main> ");
    EXPECT_EQ(play({built_program("router_console"), "--person", "anna", "--wait-ready", "200",
                    "--router", simulator_as("main")}),
              2)
        << "the locked destination";
    EXPECT_EQ(without_times(output), without_times(expected));
}

TEST_F(ConsoleDocument, ShowsWhatASingleCommandSays)
{
    start_simulator();
    read_blocks("sh", "$ ");
    replace_all(typed, "router_console", built_program("router_console"));
    replace_all(typed, "10.0.0.5", "127.0.0.1:" + simulator_port);
    replace_all(expected, "10.0.0.5:12345", "127.0.0.1:" + simulator_port);
    EXPECT_EQ(play({"sh"}), 0);
    EXPECT_EQ(without_times(output), without_times(expected));
}
