// The control server as a program, asked by curl.
#pragma once

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "support/child_process.h"
#include "support/temporary_directory.h"

class ControlProcess : public testing::Test {
  protected:
    temporary_directory directory;
    std::string data = (directory.path / "data").string();
    std::vector<std::string> launcher; // words before the server's own: "env", "LC_ALL=C"
    child_process server;
    common::child_pipes pipes;
    std::string printed; // until it could be asked
    std::string address; // "http://127.0.0.1:40123"; empty when it did not start

    // On a free port. Waits until it says where it is, or ends.
    void start(std::vector<std::string> options);
    void start_on_data()
    {
        start({"--data", data});
    }

    // Its status, and what it printed since its start on both streams.
    int end(int signal);
    int end_by_itself();

    // What curl prints with these words behind its own. The address is the server's, with the path.
    std::string ask(const std::string& path, const std::vector<std::string>& words = {});
    std::string change(const std::string& method, const std::string& path, const std::string& body);

    // Runs a program to its end; what it prints on both streams is in `output`.
    int run(const std::vector<std::string>& words);
    std::string output;
};
