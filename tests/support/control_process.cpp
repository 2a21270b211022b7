#include "support/control_process.h"

#include <csignal>

using common::error_output;

void ControlProcess::start(std::vector<std::string> options)
{
    std::vector<std::string> words = launcher;
    words.insert(words.end(), {built_program("router_control"), "--port", "0"});
    words.insert(words.end(), options.begin(), options.end());
    std::string error;
    pipes = {};
    printed.clear();
    address.clear();
    ASSERT_TRUE(common::start_on_pipes(server, pipes, words, error_output::inherited, error))
        << error;
    constexpr std::string_view IS_AT = "Router control is at ";
    std::size_t begin = std::string::npos;
    // The whole of what it says at its start comes by one write.
    while (begin == std::string::npos || printed.find('\n', begin) == std::string::npos) {
        if (common::read_some(pipes.output.number, printed) == common::read_outcome::ended) return;
        begin = printed.find(IS_AT);
    }
    begin += IS_AT.size();
    address = printed.substr(begin, printed.find("/\n", begin) - begin);
}

int ControlProcess::end(int signal)
{
    kill(server.process, signal);
    return end_by_itself();
}

int ControlProcess::end_by_itself()
{
    common::read_to_end(pipes.output.number, printed);
    return common::status_at_end(server);
}

int ControlProcess::run(const std::vector<std::string>& words)
{
    child_process program;
    common::child_pipes its;
    std::string error;
    if (!common::start_on_pipes(program, its, words, error_output::piped, error)) {
        ADD_FAILURE() << error;
        return -1;
    }
    its.input.reset();
    output.clear();
    common::read_to_end(its.output.number, output);
    common::read_to_end(its.errors.number, output);
    return common::status_at_end(program);
}

std::string ControlProcess::ask(const std::string& path, const std::vector<std::string>& words)
{
    std::vector<std::string> all = {"curl", "--silent", "--show-error"};
    all.insert(all.end(), words.begin(), words.end());
    all.push_back(address + path);
    EXPECT_EQ(run(all), 0) << output;
    return output;
}

std::string ControlProcess::change(const std::string& method, const std::string& path,
                                   const std::string& body)
{
    return ask(path,
               {"--request", method, "--header", "Content-Type: application/json", "--data", body});
}
