#include "server/accounts/password_worker.h"

#include <cerrno>
#include <cstring>
#include <sys/eventfd.h>
#include <system_error>
#include <unistd.h>
#include <utility>

#include "server/accounts/secrets.h"

namespace accounts {

namespace {
password_result answer(const password_question& question)
{
    if (question.to_be_hashed) return {question.number, false, hash_password(question.password)};
    return {question.number, password_matches(question.hash, question.password), ""};
}

void add_result(password_worker& worker, password_result result)
{
    const std::lock_guard held(worker.mutex);
    worker.results.push_back(std::move(result));
    eventfd_write(worker.ready.number, 1);
}

// False at the end.
bool wait_for_question(password_worker& worker, password_question& question)
{
    std::unique_lock held(worker.mutex);
    worker.asked.wait(held, [&] { return worker.ending || !worker.questions.empty(); });
    if (worker.ending) return false;
    question = std::move(worker.questions.front());
    worker.questions.pop_front();
    return true;
}

void work(password_worker& worker)
{
    for (password_question question; wait_for_question(worker, question);)
        add_result(worker, answer(question));
}
} // namespace

bool start_worker(password_worker& worker, std::string& error)
{
    worker.ready = common::owned_descriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (worker.ready.number < 0) {
        error = std::strerror(errno);
        return false;
    }
    try {
        worker.thread = std::thread(work, std::ref(worker));
    } catch (const std::system_error& failure) {
        error = failure.code().message();
        return false;
    }
    return true;
}

bool ask(password_worker& worker, password_question question)
{
    const std::lock_guard held(worker.mutex);
    if (worker.questions.size() >= PASSWORDS_WAITING) return false;
    worker.questions.push_back(std::move(question));
    worker.asked.notify_one();
    return true;
}

std::vector<password_result> take_results(password_worker& worker)
{
    eventfd_t count = 0;
    eventfd_read(worker.ready.number, &count);
    const std::lock_guard held(worker.mutex);
    return std::exchange(worker.results, {});
}

void stop_worker(password_worker& worker)
{
    {
        const std::lock_guard held(worker.mutex);
        worker.ending = true;
        worker.asked.notify_one();
    }
    if (worker.thread.joinable()) worker.thread.join();
}

} // namespace accounts
