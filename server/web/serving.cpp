#include "server/web/serving.h"

#include <algorithm>
#include <array>
#include <poll.h>

#include "server/accounts/kept_accounts.h"
#include "server/accounts/sessions.h"
#include "server/web/dispatch.h"
#include "server/web/history_export.h"
#include "server/web/keyed.h"
#include "server/web/live_pass.h"
#include "server/web/page.h"
#include "server/web/passwords.h"
#include "server/web/route_texts.h"

namespace web {

namespace {
// They take away what somebody could do.
constexpr auto REVOCATIONS = std::to_array<std::string_view>(
    {"signOut", "setPerson", "removePerson", "changePassword", "removeToken"});

void give_to_journal(server& server)
{
    count_entries(server.metrics, server.desk.house, server.desk.entries);
    if (!server.desk.entries.empty())
        server.given = journal::keep(server.journal, std::exchange(server.desk.entries, {}));
    for (journal::note& note : accounts::take_notes(server.accounts))
        server.given = journal::keep(server.journal, std::move(note));
    keep_answers(server);
}

// What holds, whole, when the journal keeps again and has lost some of what led there.
void make_good(server& server, const desk::moment& now)
{
    const journal::keeper_health& health = server.journal_health;
    if (!health.failure.empty() || health.lost == server.made_good) return;
    log_line(server.log, now.utc, log_level::error,
             std::to_string(health.lost - server.made_good) + " entries of the history are lost.");
    server.made_good = health.lost;
    give_to_journal(server);
    journal::keep(server.journal, journal::whole_house{server.desk.house});
    server.given = journal::keep(server.journal, accounts::whole_note(server.accounts));
}

// All that there is by now is kept before this is told.
void await_journal(server& server, const desk::moment& now, waiting_answer& waiting)
{
    give_to_journal(server);
    if (!waiting.changes) return;
    waiting.kept_to = server.given;
    waiting.kept_by = now.steady + LONGEST_KEEPING;
}

bool is_kept(const server& server, const waiting_answer& waiting, const desk::moment& now)
{
    return server.kept >= waiting.kept_to || !server.journal_health.failure.empty() ||
           now.steady >= waiting.kept_by;
}

// That a restart now would forget what this tells. Whoever shuts somebody out must see it.
void tell_unkept(const server& server, waiting_answer& waiting)
{
    if (server.kept >= waiting.kept_to) return;
    response& given = waiting.answer.response;
    const bool revokes = std::find(REVOCATIONS.begin(), REVOCATIONS.end(), waiting.answer.route) !=
                         REVOCATIONS.end();
    if (!revokes || given.status >= 300) {
        given.headers.emplace_back("Journal-Kept", "false");
        return;
    }
    response told = problem_response(
        {"journalFailing",
         "This holds now, but is not kept yet: a restart of the server before that undoes it."});
    std::copy_if(given.headers.begin(), given.headers.end(), std::back_inserter(told.headers),
                 [](const auto& header) { return header.first == "Set-Cookie"; });
    given = std::move(told);
}

void give(server& server, const desk::moment& now, request_id id, waiting_answer&& waiting)
{
    tell_unkept(server, waiting);
    answer& answer = waiting.answer;
    const int status = answer.subprotocol.empty() ? answer.response.status : 101;
    ++server.metrics.requests[{std::string(answer.route), status}];
    observe(server.metrics.http, HTTP_BOUNDS, now.steady - waiting.begun);
    add_security_headers(answer.response, server.settings.secure);
    if (!answer.opened) {
        server.clients.answer(id, std::move(answer.response));
        return;
    }
    const stream_id stream = answer.subprotocol.empty()
                                 ? server.clients.open_body(id, std::move(answer.response))
                                 : server.clients.open_websocket(id, answer.subprotocol);
    server.streams[stream] = answer.opened(server, now, stream);
}

void tell_journal_health(server& server, const desk::moment& now,
                         const journal::keeper_health& health)
{
    const journal::keeper_health& before = server.journal_health;
    if (health.refused > before.refused)
        log_line(server.log, now.utc, log_level::error,
                 "The database refuses an entry of the history: " + health.refusal + ".");
    if (health.failure == before.failure) return;
    if (health.failure.empty())
        log_line(server.log, now.utc, log_level::note, "The history is written again.");
    else
        log_line(server.log, now.utc, log_level::error,
                 "The history cannot be written: " + health.failure + ".");
}

void take_results(server& server, const desk::moment& now)
{
    for (accounts::password_result& result : accounts::take_results(server.passwords))
        server.password_results.emplace(result.number, std::move(result));
    journal::results news = journal::take_results(server.journal);
    server.kept = std::max(server.kept, news.kept);
    if (server.journal_health.failure.empty() && !news.health.failure.empty())
        ++server.metrics.journal_failures;
    tell_journal_health(server, now, news.health);
    server.journal_health = std::move(news.health);
    make_good(server, now);
    for (journal::answer& answer : news.answers)
        server.history_answers.emplace(answer.number, std::move(answer));
}

// Asks at this time for what is waited for. What becomes known with an answer may have changed
// something, which is to be kept as well.
void ask_at(server& server, const desk::moment& now, const desk::moment& time,
            waiting_answer& waiting)
{
    if (!waiting.answer.later) return;
    auto response = waiting.answer.later(server, time);
    if (!response) return;
    waiting.answer.response = std::move(*response);
    waiting.answer.later = nullptr;
    waiting.answer.abandoned = nullptr;
    await_journal(server, now, waiting);
}

// Answers what can be answered.
void answer_waiting(server& server, const desk::moment& now)
{
    for (auto it = server.waiting.begin(); it != server.waiting.end();) {
        waiting_answer& waiting = *it->second;
        ask_at(server, now, now, waiting);
        if (waiting.answer.later || !is_kept(server, waiting, now)) {
            ++it;
            continue;
        }
        const request_id id = it->first;
        const bool gone = waiting.gone;
        waiting_answer ready = std::move(waiting);
        it = server.waiting.erase(it);
        if (!gone) give(server, now, id, std::move(ready));
    }
}

void end_old_sessions(server& server, const desk::moment& now)
{
    constexpr std::chrono::minutes BETWEEN{10};
    if (now.steady - server.sessions_ended < BETWEEN) return;
    server.sessions_ended = now.steady;
    accounts::end_old_sessions(server.accounts, now);
}

void serve_backends(server& server, const desk::moment& now)
{
    std::vector<pollfd> polled;
    routers::add_poll_descriptors(server.routers, polled);
    poll(polled.data(), polled.size(), 0);
    routers::serve_routers(server.routers, server.desk, now, polled);
}
} // namespace

void take_request(server& server, const desk::moment& now, request_id id, const request& request)
{
    auto waiting = std::make_unique<waiting_answer>();
    waiting->answer = handle(server, now, request);
    // A take is sent before the journal's thread is woken for it, and whatever else this turn has.
    if (!server.desk.orders.empty()) routers::serve_routers(server.routers, server.desk, now);
    waiting->begun = now.steady;
    waiting->changes = changes_something(request.method) || waiting->answer.changes;
    await_journal(server, now, *waiting);
    if (waiting->answer.later || !is_kept(server, *waiting, now))
        server.waiting.emplace(id, std::move(waiting));
    else
        give(server, now, id, std::move(*waiting));
}

void drop_request(server& server, const desk::moment& now, request_id id)
{
    const auto found = server.waiting.find(id);
    if (found == server.waiting.end()) return;
    if (found->second->answer.remembered) {
        found->second->gone = true;
        return;
    }
    const std::unique_ptr<waiting_answer> gone = std::move(found->second);
    server.waiting.erase(found);
    if (gone->answer.abandoned) gone->answer.abandoned(server, now);
}

void hear_stream(server& server, const desk::moment& now, stream_id id, const std::string& text)
{
    const auto found = server.streams.find(id);
    if (found != server.streams.end() && found->second.heard)
        found->second.heard(server, now, id, text);
}

void drain_stream(server& server, const desk::moment& now, stream_id id)
{
    const auto found = server.streams.find(id);
    if (found != server.streams.end() && found->second.drained)
        found->second.drained(server, now, id);
}

void drop_stream(server& server, const desk::moment& now, stream_id id)
{
    const auto found = server.streams.find(id);
    if (found == server.streams.end()) return;
    const stream_owner owner = std::move(found->second);
    server.streams.erase(found);
    if (owner.gone) owner.gone(server, now, id);
}

void end_waits(server& server, const desk::moment& now)
{
    for (const auto& [id, waiting] : server.waiting) {
        const desk::moment end{std::max(now.steady, waiting->answer.until), now.utc};
        ask_at(server, now, end, *waiting);
    }
    answer_waiting(server, now);
}

void end_streams(server& server, const desk::moment& now)
{
    constexpr int GOING_AWAY = 1001;
    for (auto& [id, owner] : std::exchange(server.streams, {})) {
        server.clients.close(id, GOING_AWAY, "the server ends");
        if (owner.gone) owner.gone(server, now, id);
    }
}

void pass(server& server, const desk::moment& now)
{
    take_results(server, now);
    end_old_sessions(server, now);
    ask_due_passwords(server, now);
    serve_backends(server, now);
    give_to_journal(server);
    tell_followers(server, now);
    answer_waiting(server, now);
    serve_exports(server);
    server.password_results.clear();
    server.history_answers.clear();
}

std::optional<desk::monotonic> next_due(const server& server, const desk::moment& now)
{
    std::optional<desk::monotonic> due = routers::next_due(server.routers, server.desk, now);
    const auto also = [&](desk::monotonic at) {
        due = due ? std::min(*due, at) : at;
    };
    if (const auto passwords = passwords_due(server, now)) also(*passwords);
    if (const auto live = next_due(server.live)) also(*live);
    if (server.journal_health.waiting > 0) also(now.steady + LONGEST_KEEPING); // is it kept?
    for (const auto& [id, waiting] : server.waiting)
        also(waiting->answer.later ? waiting->answer.until : waiting->kept_by);
    return due;
}

} // namespace web
