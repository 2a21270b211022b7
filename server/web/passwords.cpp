#include "server/web/passwords.h"

namespace web {

namespace {
std::uint64_t ask_at(server& server, const desk::moment& now, desk::monotonic at,
                     accounts::password_question question)
{
    question.number = ++server.passwords_asked;
    server.passwords_later.emplace(at, std::move(question));
    ask_due_passwords(server, now);
    return server.passwords_asked;
}
} // namespace

void ask_due_passwords(server& server, const desk::moment& now)
{
    while (!server.passwords_later.empty()) {
        const auto first = server.passwords_later.begin();
        if (first->first > now.steady || !accounts::ask(server.passwords, first->second)) return;
        server.passwords_later.erase(first);
    }
}

std::optional<desk::monotonic> passwords_due(const server& server, const desk::moment& now)
{
    // For those after their time the worker has no room, and tells when it has.
    const auto next = server.passwords_later.upper_bound(now.steady);
    if (next == server.passwords_later.end()) return std::nullopt;
    return next->first;
}

std::optional<password_check> begin_check(server& server, const desk::moment& now,
                                          const std::string& account, const std::string& address,
                                          const std::string& password)
{
    const auto wait = accounts::begin_attempt(server.attempts, now.steady, account, address);
    if (!wait) return std::nullopt;
    const accounts::person* const person = accounts::find_person(server.accounts, account);
    password_check check{account, address, person == nullptr ? "" : person->password};
    check.question = ask_at(server, now, now.steady + *wait, {0, password, false, check.hash});
    return check;
}

answer too_many_attempts()
{
    answer refused(problem{"tooManyAttempts", "Too many attempts. Try again in 1 second."});
    refused.response.headers.emplace_back("Retry-After", "1");
    return refused;
}

std::optional<bool> is_right(server& server, const desk::moment& now, const password_check& check)
{
    const auto result = server.password_results.find(check.question);
    if (result == server.password_results.end()) return std::nullopt;
    const accounts::person* const person = accounts::find_person(server.accounts, check.account);
    // Meanwhile the password may have become another one.
    const bool right = result->second.matches && person != nullptr && !person->disabled &&
                       person->password == check.hash;
    accounts::end_attempt(server.attempts, now.steady, check.account, check.address, right);
    return right;
}

void drop_check(server& server, const desk::moment& now, const password_check& check)
{
    std::erase_if(server.passwords_later,
                  [&](const auto& each) { return each.second.number == check.question; });
    accounts::end_attempt(server.attempts, now.steady, check.account, check.address, false);
}

std::uint64_t ask_hash(server& server, const desk::moment& now, const std::string& password)
{
    return ask_at(server, now, now.steady, {0, password, true, ""});
}

std::optional<std::string> find_hash(const server& server, std::uint64_t question)
{
    const auto result = server.password_results.find(question);
    if (result == server.password_results.end()) return std::nullopt;
    return result->second.hash;
}

problem password_overload()
{
    return {"overloaded", "Too many passwords are being checked. Try again."};
}

answer
after_hashing(server& server, const call& call, const std::string& password,
              std::function<response(web::server&, const desk::moment&, const std::string&)> then)
{
    answer held;
    held.until = call.now.steady + LONGEST_PASSWORD_CHECK;
    held.acts_later = true;
    held.later = [question = ask_hash(server, call.now, password), until = held.until,
                  then = std::move(then)](web::server& those,
                                          const desk::moment& now) -> std::optional<response> {
        const std::optional<std::string> hash = find_hash(those, question);
        if (!hash && now.steady < until) return std::nullopt;
        if (!hash || hash->empty()) return problem_response(password_overload());
        return then(those, now, *hash);
    };
    return held;
}

} // namespace web
