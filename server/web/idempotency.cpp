#include "server/web/idempotency.h"

#include <algorithm>

#include "server/journal/stored_json.h"
#include "server/web/problem.h"

namespace web {

namespace {
using journal::member;
using journal::place;

constexpr std::string_view PREFIX = "answers/";
constexpr std::size_t LONGEST_ANSWER = 16U << 20U; // far more than any

// Every part with its length, so that no two requests have the same text.
accounts::secret_hash digest_of(const request& request)
{
    std::string text = std::to_string(static_cast<int>(request.method));
    const auto add = [&](const std::string& part) {
        text += ' ' + std::to_string(part.size()) + ' ' + part;
    };
    add(std::to_string(request.path.size()));
    for (const std::string& segment : request.path)
        add(segment);
    for (const auto& [name, value] : request.query) {
        add(name);
        add(value);
    }
    add(request.body);
    return accounts::hash_text(text);
}

std::size_t bytes_of(const std::string& person, const std::string& key, const first_answer& answer)
{
    std::size_t bytes = BYTES_PER_KEY + person.size() + key.size();
    if (!answer.given) return bytes;
    bytes += answer.given->type.size() + answer.given->body.size();
    for (const auto& [name, value] : answer.given->headers)
        bytes += name.size() + value.size();
    return bytes;
}

std::string value_of(const first_answer& answer)
{
    nlohmann::json object = {{"begun", answer.begun.count()},
                             {"request", accounts::text_of(answer.request)}};
    if (answer.given) {
        object["status"] = answer.given->status;
        object["type"] = answer.given->type;
        object["body"] = answer.given->body;
        object["headers"] = answer.given->headers;
    }
    return journal::json_text(std::move(object));
}

void note_key(first_answers& answers, const std::string& person, const std::string& key,
              std::optional<std::string> value)
{
    journal::note note;
    note.keys[std::string(PREFIX) + person + '/' + key] = std::move(value);
    answers.notes.push_back(std::move(note));
}

void add(first_answers& answers, const std::string& person, const std::string& key,
         first_answer answer)
{
    answers_of_person& theirs = answers.of[person];
    answer.bytes = bytes_of(person, key, answer);
    theirs.bytes += answer.bytes;
    answers.bytes += answer.bytes;
    if (answer.given) theirs.given.emplace(answer.begun, key);
    theirs.by_key.insert_or_assign(key, std::move(answer));
}

first_answer remove(first_answers& answers, const std::string& person, const std::string& key)
{
    const auto theirs = answers.of.find(person);
    const auto found = theirs->second.by_key.find(key);
    first_answer removed = std::move(found->second);
    theirs->second.given.erase({removed.begun, key});
    theirs->second.bytes -= removed.bytes;
    answers.bytes -= removed.bytes;
    theirs->second.by_key.erase(found);
    if (theirs->second.by_key.empty()) answers.of.erase(theirs);
    return removed;
}

void forget(first_answers& answers, const std::string& person, const std::string& key)
{
    remove(answers, person, key);
    note_key(answers, person, key, std::nullopt);
}

const first_answer* find(const first_answers& answers, const std::string& person,
                         const std::string& key)
{
    const auto theirs = answers.of.find(person);
    if (theirs == answers.of.end()) return nullptr;
    const auto found = theirs->second.by_key.find(key);
    return found == theirs->second.by_key.end() ? nullptr : &found->second;
}

bool is_over(const first_answer& answer, desk::wall now)
{
    return answer.given && now - answer.begun >= KEY_AGE;
}

// The oldest that has been given of a person; none when all are under way.
const std::string* oldest_of(const first_answers& answers, const std::string& person)
{
    const auto theirs = answers.of.find(person);
    if (theirs == answers.of.end() || theirs->second.given.empty()) return nullptr;
    return &theirs->second.given.begin()->second;
}

void forget_too_old(first_answers& answers, desk::wall now, const std::string& person)
{
    for (int i = 0; i < FORGOTTEN_AT_ONCE; ++i) {
        const std::string* const oldest = oldest_of(answers, person);
        if (oldest == nullptr || !is_over(*find(answers, person, *oldest), now)) return;
        forget(answers, person, std::string(*oldest));
    }
}

void make_room(first_answers& answers)
{
    while (answers.bytes > answers.most_bytes) {
        const auto most = std::max_element(answers.of.begin(), answers.of.end(),
                                           [](const auto& one, const auto& other) {
                                               return one.second.bytes < other.second.bytes;
                                           });
        const std::string person = most->first;
        const std::string* const oldest = oldest_of(answers, person);
        if (oldest == nullptr) return; // what is under way is bounded by who can ask at once
        forget(answers, person, std::string(*oldest));
    }
}

response restarted()
{
    return problem_response({"outcomeUnknown", "The server was restarted while this was under way;"
                                               " look at what is there now."});
}

first_answer read_answer(const place& at)
{
    expect_members(at, {"begun", "request", "status", "type", "body", "headers"});
    first_answer answer;
    answer.begun = read_time(member(at, "begun"));
    const place request = member(at, "request");
    if (!accounts::read_hash(read_text(request), answer.request)) complain(request, "is no digest");
    if (!has(at, "status")) {
        answer.given = restarted();
        return answer;
    }
    answer.given.emplace();
    answer.given->status = read_int(member(at, "status"), 100, 599);
    answer.given->type = read_text(member(at, "type"));
    answer.given->body = read_text(member(at, "body"), LONGEST_ANSWER);
    read_array(member(at, "headers"), 100, [&](const place& each) {
        std::vector<std::string> texts;
        read_array(each, 2, [&](const place& text) { texts.push_back(read_text(text)); });
        if (texts.size() != 2) complain(each, "is no name and value");
        answer.given->headers.emplace_back(texts[0], texts[1]);
    });
    return answer;
}
} // namespace

bool is_key(std::string_view key)
{
    return !key.empty() && key.size() <= LONGEST_KEY &&
           std::all_of(key.begin(), key.end(),
                       [](char each) { return each >= '!' && each <= '~'; });
}

repetition begin_keyed(first_answers& answers, desk::wall now, const std::string& person,
                       const std::string& key, const request& request)
{
    const accounts::secret_hash digest = digest_of(request);
    const first_answer* const known = find(answers, person, key);
    if (known != nullptr && !is_over(*known, now))
        return known->request == digest ? repetition::repeated : repetition::other_request;
    if (known != nullptr) forget(answers, person, key);
    forget_too_old(answers, now, person);
    add(answers, person, key, {digest, now, std::nullopt, 0});
    note_key(answers, person, key, value_of(*find(answers, person, key)));
    make_room(answers);
    return repetition::first;
}

void remember_answer(first_answers& answers, const std::string& person, const std::string& key,
                     const response& given)
{
    if (find(answers, person, key) == nullptr) return; // the person has been removed meanwhile
    first_answer answer = remove(answers, person, key);
    const bool nothing_done =
        std::any_of(given.headers.begin(), given.headers.end(),
                    [](const auto& header) { return header.first == "Retry-After"; });
    if (nothing_done) {
        note_key(answers, person, key, std::nullopt);
        return;
    }
    answer.given = given;
    note_key(answers, person, key, value_of(answer));
    add(answers, person, key, std::move(answer));
    make_room(answers);
}

std::optional<response> answer_again(const first_answers& answers, const std::string& person,
                                     const std::string& key)
{
    const first_answer* const known = find(answers, person, key);
    if (known == nullptr) {
        response lost = problem_response(
            {"overloaded", "The first request with this key was not carried out; try again."});
        lost.headers.emplace_back("Retry-After", "1");
        return lost;
    }
    if (!known->given) return std::nullopt;
    response again = *known->given;
    again.headers.emplace_back("Idempotency-Replayed", "true");
    return again;
}

void forget_answers(first_answers& answers, const std::string& person)
{
    const auto theirs = answers.of.find(person);
    if (theirs == answers.of.end()) return;
    for (const auto& [key, answer] : theirs->second.by_key)
        note_key(answers, person, key, std::nullopt);
    answers.bytes -= theirs->second.bytes;
    answers.of.erase(theirs);
}

first_answers kept_answers(journal::store& store, desk::wall now)
{
    first_answers answers;
    each_key(store, std::string(PREFIX), [&](const std::vector<std::string>& key, const place& at) {
        if (key.size() < 2) complain(at, "is no key of an answer");
        const std::string text = at.path.substr(PREFIX.size() + key[0].size() + 1);
        first_answer answer = read_answer(at);
        if (is_over(answer, now))
            note_key(answers, key[0], text, std::nullopt);
        else
            add(answers, key[0], text, std::move(answer));
    });
    make_room(answers);
    return answers;
}

} // namespace web
