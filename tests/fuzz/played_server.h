// The control server without sockets, processes and disk, with two people and two routers, the
// first of which is ready. Whoever asks has signed in as Ana, who administers, as Ben, who operates
// r1 alone, or not at all. The hash of a password is SECRET and the password.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "server/web/serving.h"

constexpr std::string_view SECRET = "hash of ";

enum class asker { ana, ben, nobody };

struct played_server {
    web::server server;
    desk::moment now{std::chrono::seconds(1000), std::chrono::hours(500'000)};
    std::map<asker, std::string> secrets; // of their sessions
    web::request_id requests = 0;
    web::stream_id stream = 0; // the last that was opened
    std::map<web::request_id, bool> answered;
};

// Fills in one that is new; what it sends keeps pointing to it.
void begin(played_server& played);

// A line "METHOD TARGET", lines of headers, an empty line, the body. A target that cannot be read
// asks nothing.
void ask(played_server& played, asker who, const std::string& text);

void pass(played_server& played);
void wait(played_server& played, desk::monotonic time);
