// A server that answers what a test says, and clients made of plain sockets, on one thread: the
// loop runs until what is waited for has happened.
#pragma once

#include <functional>
#include <gmock/gmock.h>
#include <list>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "server/web/loop.h"
#include "server/web/transport.h"
#include "tools/common/descriptors.h"

// A client's end of a connection.
struct test_client {
    common::owned_descriptor socket;
    std::string got;    // so far
    bool ended = false; // by the server
    bool reset = false; // not in order

    void send(const std::string& bytes);
    void end_sending(); // goes on reading
    void end_by_reset();
};

class TransportTest : public testing::Test {
  protected:
    web::loop loop;
    web::transport_limits limits;
    std::optional<web::transport> served;
    std::string host; // where it listens
    int port = 0;
    std::list<test_client> clients;

    // What the hooks were called with.
    std::map<web::request_id, web::request> requests;
    std::vector<web::request_id> gone;
    std::vector<std::string> messages;
    std::vector<web::stream_id> drained;
    std::vector<web::stream_id> streams_gone;

    // Answers at once: "GET /a/b?c=d body"; a test may take its place.
    std::function<void(web::request_id, const web::request&)> on_request;

    TransportTest();

    // With these limits, on a free port of this machine's address.
    void start(const web::tls_files* tls = nullptr, const std::string& address = "127.0.0.1");
    test_client& connect();                         // from `host`
    test_client& connect(const std::string& bytes); // and sends them

    // Runs the loop until it holds. Fails the test after a long time.
    void until(const std::string& what, const std::function<bool()>& holds);
    void until_ended(test_client& client);
    void until_got(test_client& client, const std::string& text);
    // Some turns of the loop, for what must not happen.
    void turns(int count = 20);

    // All that a client gets that sends this, until the server ends the connection.
    std::string answers(const std::string& bytes);
};

// "HTTP/1.1 200 OK" of an answer.
std::string status_line(const std::string& answer);
// Without the head of the only or last answer.
std::string body_of(const std::string& answer);
// The problem's code and status, "400 malformedRequest"; "" for what is no problem.
std::string problem_of(const std::string& answer);
