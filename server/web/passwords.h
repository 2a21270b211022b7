// Passwords under way: each question goes to the worker at its time, and its result is looked for
// in later passes.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "server/web/call.h"
#include "server/web/server.h"

namespace web {

// How long a request waits for its password at most; then the answer is `overloaded`.
constexpr std::chrono::seconds LONGEST_PASSWORD_CHECK{30};

// In the pass: gives the worker what is due and finds room there.
void ask_due_passwords(server& server, const desk::moment& now);
std::optional<desk::monotonic> passwords_due(const server& server, const desk::moment& now);

struct password_check {
    std::string account;
    std::string address;
    std::string hash; // that it is checked against
    std::uint64_t question = 0;
};

// Against the account's password as it is now; the more attempts have failed, the later. That there
// is no such account shows in nothing. None when too many are under way, which is `too_many`.
std::optional<password_check> begin_check(server& server, const desk::moment& now,
                                          const std::string& account, const std::string& address,
                                          const std::string& password);
answer too_many_attempts();

// None when it is not known yet; else the check has ended.
std::optional<bool> is_right(server& server, const desk::moment& now, const password_check& check);
void drop_check(server& server, const desk::moment& now, const password_check& check);

std::uint64_t ask_hash(server& server, const desk::moment& now, const std::string& password);
// None when it is not known yet; empty when there was no memory for it.
std::optional<std::string> find_hash(const server& server, std::uint64_t question);

problem password_overload();

// Answers by `then` when the password has been hashed, if whoever asked may still do it.
answer
after_hashing(server& server, const call& call, const std::string& password,
              std::function<response(web::server&, const desk::moment&, const std::string&)> then);

} // namespace web
