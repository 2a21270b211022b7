// The first answers to requests with an `Idempotency-Key`: for KEY_AGE the same key, from the same
// person with the same request, gets the first answer again instead of being carried out twice.
// They outlast the process, as keys of the journal's store:
//
//   answers/PERSON/KEY   when it came, the request's digest, the answer once there is one
//
// A request that was under way when the process ended is answered with `outcomeUnknown`.
//
// Beyond `most_bytes` the oldest of the person with the most bytes is forgotten: whoever sends the
// most is remembered for a shorter time, and nobody else notices.
#pragma once

#include <chrono>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "server/accounts/secrets.h"
#include "server/desk/moment.h"
#include "server/journal/record.h"
#include "server/journal/store.h"
#include "server/web/message.h"

namespace web {

constexpr std::chrono::hours KEY_AGE{24};
constexpr std::size_t LONGEST_KEY = 64;
constexpr std::size_t ANSWER_BYTES = 64U << 20U; // of all people, in memory
constexpr std::size_t BYTES_PER_KEY = 512;       // that count beside those of its texts
constexpr int FORGOTTEN_AT_ONCE = 16;            // of a person's too old ones, with each new one

struct first_answer {
    accounts::secret_hash request{}; // its digest
    desk::wall begun{};
    std::optional<response> given; // none: it is under way
    std::size_t bytes = 0;
    bool operator==(const first_answer&) const = default;
};

struct answers_of_person {
    std::map<std::string, first_answer, std::less<>> by_key;
    std::set<std::pair<desk::wall, std::string>> given; // by age
    std::size_t bytes = 0;
    bool operator==(const answers_of_person&) const = default;
};

struct first_answers {
    std::map<std::string, answers_of_person, std::less<>> of; // by person
    std::size_t bytes = 0;
    std::size_t most_bytes = ANSWER_BYTES;
    std::vector<journal::note> notes; // for the caller to keep, oldest first
};

enum class repetition {
    first,         // to be carried out: its answer is awaited from now on
    repeated,      // the first one's answer is to be given again
    other_request, // had this key before
};

// 1 to LONGEST_KEY characters of ASCII that can be seen.
bool is_key(std::string_view key);

repetition begin_keyed(first_answers& answers, desk::wall now, const std::string& person,
                       const std::string& key, const request& request);

// Of one that has begun. With a `Retry-After` nothing has been done, and it is forgotten.
void remember_answer(first_answers& answers, const std::string& person, const std::string& key,
                     const response& given);

// None while the first one is under way. One that has been forgotten meanwhile may be tried again.
std::optional<response> answer_again(const first_answers& answers, const std::string& person,
                                     const std::string& key);

// All of a person who goes, also those under way.
void forget_answers(first_answers& answers, const std::string& person);

// As they were kept; those that are too old are gone, which the notes tell. Throws journal::misfit
// when a key's value is wrong.
first_answers kept_answers(journal::store& store, desk::wall now);

} // namespace web
