#include "server/web/keyed.h"

#include <algorithm>
#include <array>
#include <utility>

namespace web {

namespace {
constexpr std::chrono::seconds LONGEST_FIRST{75}; // a first answer is held for less

// Passwords and secrets pass there, or nothing is changed.
constexpr auto WITHOUT_KEYS = std::to_array<std::string_view>(
    {"makeFirstAdministrator", "signIn", "signOut", "addPerson", "setPerson", "changePassword",
     "addToken", "dryRunStage", "dryRunSalvo"});

answer again(server& server, const call& call, const std::string& person, const std::string& key)
{
    if (auto known = answer_again(server.first_answers, person, key)) return *known;
    answer awaited;
    awaited.until = call.now.steady + LONGEST_FIRST;
    awaited.later = [person, key, until = awaited.until](
                        web::server& then, const desk::moment& now) -> std::optional<response> {
        auto given = answer_again(then.first_answers, person, key);
        if (!given && now.steady >= until)
            given = problem_response({"outcomeUnknown", "The first request has no answer yet."});
        return given;
    };
    return awaited;
}

// Called now; its answer is remembered when there is one.
answer first(server& server, const std::string& person, const std::string& key,
             const std::function<answer()>& carry_out)
{
    keep_answers(server); // a server that dies now knows that it does not know
    answer given;
    try {
        given = carry_out();
    } catch (const std::exception&) {
        remember_answer(server.first_answers, person, key,
                        problem_response({"internalError", "Something went wrong here."}));
        throw;
    }
    if (!given.later) {
        remember_answer(server.first_answers, person, key, given.response);
        return given;
    }
    given.remembered = true;
    given.later = [person, key, later = std::move(given.later)](web::server& then,
                                                                const desk::moment& now) {
        auto response = later(then, now);
        if (response) remember_answer(then.first_answers, person, key, *response);
        return response;
    };
    return given;
}
} // namespace

void keep_answers(server& server)
{
    for (journal::note& each : std::exchange(server.first_answers.notes, {}))
        server.given = journal::keep(server.journal, std::move(each));
}

bool takes_keys(const route& route)
{
    return std::find(WITHOUT_KEYS.begin(), WITHOUT_KEYS.end(), route.name) == WITHOUT_KEYS.end();
}

answer call_once(server& server, const call& call, const route& route,
                 const std::function<answer()>& carry_out)
{
    const std::string* const key = find_header(call.request, "idempotency-key");
    if (key == nullptr || !takes_keys(route)) return carry_out();
    if (!is_key(*key))
        return problem{"badValue", "An Idempotency-Key has 1 to 64 letters, digits and signs."};
    const std::string person = call.actor.person;
    switch (begin_keyed(server.first_answers, call.now.utc, person, *key, call.request)) {
    case repetition::other_request:
        return problem{"idempotencyKeyReused", "This Idempotency-Key came with another request."};
    case repetition::repeated:
        return again(server, call, person, *key);
    case repetition::first:
        break;
    }
    return first(server, person, *key, carry_out);
}

} // namespace web
