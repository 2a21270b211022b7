// A thread that hashes and checks passwords, one after the other, since each takes some tenths of a
// second. Results come in the order of the questions: the descriptor is readable when there are
// some.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "server/accounts/limits.h"
#include "tools/common/descriptors.h"

namespace accounts {

struct password_question {
    std::uint64_t number = 0; // the asker's
    std::string password;
    bool to_be_hashed = false; // else checked against:
    std::string hash;          // empty: nobody's, which takes as long
};

struct password_result {
    std::uint64_t number = 0;
    bool matches = false;
    std::string hash; // empty when it was to be checked, or there was no memory
};

// Used by the thread that made it, but for what `mutex` guards.
struct password_worker {
    common::owned_descriptor ready; // an eventfd
    std::mutex mutex;
    std::condition_variable asked;
    std::deque<password_question> questions;
    std::vector<password_result> results;
    bool ending = false;
    std::thread thread;
};

// False, with the reason, when the system has no descriptor or no thread left.
bool start_worker(password_worker& worker, std::string& error);

// False when PASSWORDS_WAITING wait already.
bool ask(password_worker& worker, password_question question);

// What has been found since the last call; does not wait.
std::vector<password_result> take_results(password_worker& worker);

// Waits for the question that is being answered; the rest is not answered.
void stop_worker(password_worker& worker);

} // namespace accounts
