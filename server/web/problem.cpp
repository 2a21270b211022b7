#include "server/web/problem.h"

#include <algorithm>
#include <array>
#include <nlohmann/json.hpp>

namespace web {

namespace {
constexpr std::size_t LONGEST_TOLD = 1000; // bytes of a text; what follows is left out

struct problem_kind {
    std::string_view code;
    int status = 0;
    std::string_view title;
};

constexpr auto KINDS = std::to_array<problem_kind>({
    {"malformedRequest", 400, "Not to be understood"},
    {"malformedJson", 400, "No JSON"},
    {"notSignedIn", 401, "Not signed in"},
    {"wrongPassword", 401, "Wrong password"},
    {"noRight", 403, "Not allowed"},
    {"foreignOrigin", 403, "From another site"},
    {"simpleFormOff", 403, "Switched off"},
    {"notFound", 404, "No such address"},
    {"noSuchRouter", 404, "No such router"},
    {"noSuchDestination", 404, "No such destination"},
    {"noSuchSource", 404, "No such source"},
    {"noSuchSalvo", 404, "No such salvo"},
    {"noSuchVersion", 404, "No such version"},
    {"noSuchBatch", 404, "No such operation"},
    {"noSuchGroup", 404, "No such group"},
    {"noSuchLock", 404, "Not locked"},
    {"noSuchPerson", 404, "No such person"},
    {"noSuchToken", 404, "No such token"},
    {"noSuchTopic", 404, "No such topic"},
    {"methodNotAllowed", 405, "No such method here"},
    {"tooSlow", 408, "Too slow"},
    {"destinationLocked", 409, "Locked"},
    {"destinationProtected", 409, "Protected"},
    {"changedSince", 409, "Changed since"},
    {"factUnknown", 409, "Not known what it shows"},
    {"notConfirmed", 409, "Not confirmed"},
    {"blockedByOtherRow", 409, "Blocked by another row"},
    {"tooLate", 409, "Too late"},
    {"nothingToDo", 409, "Nothing to do"},
    {"notFirst", 409, "There are people already"},
    {"lastAdministrator", 409, "The last administrator"},
    {"nameTaken", 409, "There is one already"},
    {"nameNotUnique", 409, "Several of this name"},
    {"notSimulated", 409, "A real router"},
    {"notDeleted", 409, "Not deleted"},
    {"superseded", 409, "Superseded"},
    {"changedMeanwhile", 412, "Changed meanwhile"},
    {"bodyTooLarge", 413, "Body too large"},
    {"addressTooLong", 414, "Address too long"},
    {"unsupportedMediaType", 415, "Not JSON"},
    {"badValue", 422, "A value cannot be"},
    {"duplicateDestination", 422, "A destination twice"},
    {"idempotencyKeyReused", 422, "Key used before"},
    {"upgradeRequired", 426, "For WebSockets"},
    {"tooManyAtOnce", 429, "Too many at once"},
    {"tooManyAttempts", 429, "Too many attempts"},
    {"tooManyRequests", 429, "Too many requests"},
    {"headersTooLarge", 431, "Headers too large"},
    {"internalError", 500, "Our mistake"},
    {"contradicted", 502, "The router shows something else"},
    {"refused", 502, "The router refuses"},
    {"outcomeUnknown", 502, "Not known what became of it"},
    {"linkNotReady", 503, "Link not ready"},
    {"linkLost", 503, "Link lost"},
    {"backendEnded", 503, "Link lost"},
    {"notSentInTime", 503, "Not sent in time"},
    {"stopping", 503, "The server is ending"},
    {"overloaded", 503, "Too busy"},
    {"journalFailing", 503, "Cannot be kept"},
    {"timedOut", 504, "Timed out"},
});
constexpr problem_kind UNKNOWN = {"", 500, "Our mistake"};

const problem_kind& kind_of(std::string_view code)
{
    const auto* const found = std::find_if(
        KINDS.begin(), KINDS.end(), [&](const problem_kind& each) { return each.code == code; });
    return found == KINDS.end() ? UNKNOWN : *found;
}

// "noSuchRouter" becomes "/problems/no-such-router".
std::string type_of(std::string_view code)
{
    std::string type = "/problems/";
    for (const char letter : code) {
        const bool capital = letter >= 'A' && letter <= 'Z';
        if (capital) type += '-';
        type += capital ? static_cast<char>(letter - 'A' + 'a') : letter;
    }
    return type;
}

// A text that repeats what was asked with is as long as that, three times in one problem.
std::string bounded(const std::string& text)
{
    return text.size() <= LONGEST_TOLD ? text : text.substr(0, LONGEST_TOLD) + "...";
}
} // namespace

int status_of(std::string_view code)
{
    return kind_of(code).status;
}

response problem_response(const problem& problem)
{
    const problem_kind& kind = kind_of(problem.code);
    const int status = problem.status == 0 ? kind.status : problem.status;
    nlohmann::ordered_json body = {{"type", type_of(problem.code)},
                                   {"title", kind.title},
                                   {"status", status},
                                   {"code", problem.code},
                                   {"detail", bounded(problem.detail)}};
    if (!problem.router.empty()) body["router"] = problem.router;
    if (problem.destination) body["destination"] = *problem.destination;
    if (!problem.locked_by.empty())
        body["lockedBy"] = {{"id", problem.locked_by}, {"name", problem.locked_by_name}};
    if (!problem.operation.empty()) body["operation"] = problem.operation;
    for (std::size_t i = 0; i < std::min(problem.errors.size(), ERRORS_TOLD); ++i) {
        const problem_at& each = problem.errors[i];
        body["errors"].push_back({{"pointer", bounded(each.pointer)},
                                  {"code", each.code},
                                  {"detail", bounded(each.detail)}});
    }
    constexpr auto REPLACE = nlohmann::ordered_json::error_handler_t::replace; // what is no UTF-8
    return {status, "application/problem+json", body.dump(-1, ' ', false, REPLACE), {}};
}

} // namespace web
