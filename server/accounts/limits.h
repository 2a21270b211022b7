// Every bound of the accounts, and what happens beyond it.
#pragma once

#include <chrono>
#include <cstddef>

namespace accounts {

constexpr std::size_t PEOPLE = 1000;            // one more is refused
constexpr std::size_t PERSON_ID_LENGTH = 64;    // a longer one is refused
constexpr std::size_t TOKENS = 1000;            // one more is refused
constexpr std::size_t SETTINGS_LENGTH = 65536;  // bytes of a person's settings; more are refused
constexpr std::size_t SESSIONS_PER_PERSON = 50; // the longest idle ends
constexpr std::size_t SHORTEST_PASSWORD = 8;    // bytes; a shorter one is refused
constexpr std::size_t LONGEST_PASSWORD = 1024;  // bytes; a longer one is refused

constexpr std::chrono::hours SESSION_IDLE{12};          // a session that idle has ended
constexpr std::chrono::hours SESSION_LIFE{24 * 30};     // and so has one that old
constexpr std::chrono::minutes SESSION_USE_KEPT{10};    // a use is told so long after the last told
constexpr std::size_t FAILURES_WITHOUT_WAIT = 3;        // of an account
constexpr std::size_t FAILURES_OF_ADDRESS = 100;        // likewise; it may be that of a proxy
constexpr std::chrono::milliseconds FIRST_WAIT{500};    // then doubled with each failure
constexpr std::chrono::milliseconds LONGEST_WAIT{5000}; // the owner never waits longer
constexpr std::chrono::minutes FAILURES_COUNT{15};      // since the last one, then forgotten
constexpr std::size_t FAILURES_KEPT = 10'000;           // accounts and addresses; oldest forgotten
constexpr std::size_t ATTEMPTS_AT_ONCE_BY_ADDRESS = 50; // one more is refused
constexpr std::size_t PASSWORDS_WAITING = 64;           // for their check; one more is refused

} // namespace accounts
