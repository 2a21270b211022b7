// The server between people and routers, as one record: what it knows, and what is under way. One
// thread alone works on it. Its owner (main.cpp) makes it, and calls `pass` after each turn of its
// loop (serving.h).
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "server/accounts/accounts.h"
#include "server/accounts/attempts.h"
#include "server/accounts/password_worker.h"
#include "server/desk/desk.h"
#include "server/journal/keeper.h"
#include "server/routers/routers.h"
#include "server/web/idempotency.h"
#include "server/web/kept_texts.h"
#include "server/web/live.h"
#include "server/web/log.h"
#include "server/web/message.h"
#include "server/web/metrics.h"

namespace web {

struct server;
struct waiting_answer;
struct history_export;

using request_id = std::uint64_t; // of a client's request, never used again

// The way to the clients, set by the server's owner. All of it returns at once.
struct client_side {
    std::function<void(request_id, response)> answer;
    std::function<stream_id(request_id, response)> open_body; // with this head
    std::function<stream_id(request_id, const std::string& subprotocol)> open_websocket;

    // A stream that has gone is passed over.
    std::function<void(stream_id, std::shared_ptr<const std::string>)> send;
    std::function<std::size_t(stream_id)> unsent_bytes;
    std::function<void(stream_id)> finish; // the body is whole
    std::function<void(stream_id, int code, const std::string& reason)> close;
};

// What a stream is for. Its functions may not end it themselves by these hooks.
struct stream_owner {
    std::function<void(server&, const desk::moment&, stream_id, const std::string& text)> heard;
    std::function<void(server&, const desk::moment&, stream_id)> drained; // all has been sent
    std::function<void(server&, const desk::moment&, stream_id)> gone;
};

// Those of a demonstration; set by its owner. Without them no router is simulated. Faults go by
// their words in the description.
struct simulated_routers {
    std::function<bool(const std::string& router)> has;
    // Begins one, which from now on can be connected to at 127.0.0.1. Its port; 0, with a sentence,
    // when it cannot be.
    std::function<int(const std::string& router, int sources, int destinations, std::string& error)>
        start;
    std::function<void(const std::string& router)> stop; // it has been removed
    std::function<std::set<std::string>(const std::string& router)> faults;
    std::function<void(const std::string& router, const std::set<std::string>& wanted)> set_faults;
};

// What browsers may call a listener, with the port when it is not the usual one: "localhost:8080".
// Empty: anything.
using host_names = std::set<std::string, std::less<>>;

struct server_settings {
    bool demonstration = false; // nobody signs in, nothing outlasts the process
    bool simple_form = false;   // routes by a single address
    bool secure = false;        // people reach it by TLS, here or at what stands in front
    host_names hosts;           // any is safe only where people sign in
    host_names metrics_hosts;   // of the metrics' own listener
};

struct server {
    server_settings settings;
    desk::ulid instance; // new at every start
    desk::moment started;

    desk::desk_state desk;
    routers::running_routers routers;
    accounts::accounts_state accounts;
    desk::monotonic sessions_ended{}; // those that are too old, for the last time
    accounts::attempts attempts;
    accounts::password_worker passwords;
    std::uint64_t passwords_asked = 0; // counts the questions
    // Questions to the worker that wait for their time, or for room with it.
    std::multimap<desk::monotonic, accounts::password_question> passwords_later;
    journal::keeper journal;
    journal::keeper_health journal_health;
    std::uint64_t made_good = 0; // how many lost records the journal has been given all for
    web::first_answers first_answers;
    std::uint64_t given = 0; // the number of the last record that the journal was given,
    std::uint64_t kept = 0;  // and of the last that it has kept

    // What has come since the last pass, by the question's number; each waiting answer looks for
    // its own, and then they are gone.
    std::map<std::uint64_t, accounts::password_result> password_results;
    std::map<std::uint64_t, journal::answer> history_answers;

    std::map<std::string, web::route_texts, std::less<>> route_texts; // by router

    std::map<request_id, std::unique_ptr<waiting_answer>> waiting; // serving.h
    std::map<stream_id, stream_owner> streams;
    client_side clients;
    live_state live;
    metrics_counters metrics;
    simulated_routers simulated;

    std::map<stream_id, std::shared_ptr<history_export>> exports; // history_export.h
    server_log log;

    // Of the link that makes the first administrator; empty: it has been used, or there was one.
    std::string first_code;
    bool stopping = false; // nothing new is taken
};

bool is_simulated(const server& server, const std::string& router);

} // namespace web
