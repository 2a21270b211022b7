#include "server/web/history_search.h"

#include <algorithm>

#include "server/accounts/accounts.h"
#include "server/desk/limits.h"
#include "server/journal/house_words.h"
#include "server/web/history_json.h"
#include "server/web/parameters.h"

namespace web {

namespace {
constexpr std::size_t WORDS_LISTED = 20; // words in one parameter
constexpr std::string_view KNOWN_WHYS[] = {
    "take",  "stage",  "salvo",  "undo",    "redo", "rollback", "lock",   "protect", "unlock",
    "force", "expiry", "accept", "outside", "link", "setting",  "people", "signIn"};

std::vector<std::string> parts_of(const std::string& text, char separator)
{
    std::vector<std::string> parts;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(separator, at), text.size());
        if (end > at) parts.push_back(text.substr(at, end - at));
        at = end + 1;
    }
    return parts;
}

std::string in_small_letters(std::string text)
{
    for (char& letter : text)
        if (letter >= 'A' && letter <= 'Z') letter = static_cast<char>(letter - 'A' + 'a');
    return text;
}

template <class known>
std::set<std::string, std::less<>> read_words(const request& request, const char* name,
                                              const known& is_known, std::vector<problem_at>& wrong)
{
    const std::string* const text = find_parameter(request, name);
    if (text == nullptr) return {};
    const std::vector<std::string> words = parts_of(*text, ',');
    for (const std::string& word : words)
        if (!is_known(word))
            wrong.push_back({name, "badValue", std::string(name) + " has no " + word});
    if (words.size() > WORDS_LISTED)
        wrong.push_back({name, "badValue", "there are too many of them"});
    return {words.begin(), words.end()};
}

// The kind that the journal has for it; none when there is more than one, or another name.
std::optional<std::string> kind_of(const std::set<std::string, std::less<>>& whys)
{
    constexpr std::string_view WISHES[] = {"take", "stage", "salvo", "undo", "redo", "rollback"};
    if (whys.size() != 1 ||
        std::find(std::begin(WISHES), std::end(WISHES), *whys.begin()) == std::end(WISHES))
        return std::nullopt;
    return *whys.begin();
}

bool has_words(const json& entry, const std::vector<std::string>& words)
{
    if (words.empty()) return true;
    std::string all;
    for (const char* const name :
         {"destinationName", "wasName", "sourceName", "detail", "text", "router"})
        if (const auto found = entry.find(name); found != entry.end())
            all += in_small_letters(found->get<std::string>()) + "\n";
    for (const char* const name : {"person", "of", "salvo"})
        if (const auto found = entry.find(name); found != entry.end())
            all += in_small_letters(found->at("name").get<std::string>()) + "\n";
    return std::all_of(words.begin(), words.end(), [&](const std::string& word) {
        return all.find(word) != std::string::npos;
    });
}

bool may_see(const server& server, const desk::actor& actor, const journal::history_row& row,
             std::string_view why)
{
    if (why == "people" || why == "signIn") return accounts::is_administrator(actor);
    if (row.router.empty()) return may_view_salvo(server, actor.may, row.salvo);
    return desk::right_on(actor.may, row.router) >= desk::right::view;
}

bool fits(const server& server, const history_search& search, const journal::history_row& row)
{
    const std::string_view why = why_of(row);
    return may_see(server, search.actor, row, why) &&
           (search.whys.empty() || search.whys.contains(why)) &&
           (search.outcomes.empty() || search.outcomes.contains(row.outcome)) &&
           (!search.source || row.source == search.source || row.was == search.source);
}
} // namespace

problem unreadable(const std::string& failure)
{
    return {"journalFailing", "The history cannot be read: " + failure + "."};
}

problem too_long()
{
    return {"overloaded", "The history takes too long. Try again."};
}

history_search read_search(const call& call, std::vector<problem_at>& wrong)
{
    const request& request = call.request;
    history_search search;
    search.actor = call.actor;
    journal::history_filter& filter = search.question.filter;
    filter.from = read_time(request, "from", wrong);
    filter.until = read_time(request, "to", wrong);
    filter.person = read_text(request, "person", wrong);
    filter.router = read_text(request, "router", wrong);
    filter.batch = read_text(request, "operation", wrong);
    if (const auto destination =
            read_integer(request, "destination", 0, desk::POSITIONS - 1, wrong))
        filter.destination = static_cast<int>(*destination);
    if (const auto source = read_integer(request, "source", 0, desk::POSITIONS - 1, wrong))
        search.source = static_cast<int>(*source);
    for (const char* const name : {"destination", "source"})
        if (find_parameter(request, name) != nullptr && !filter.router)
            wrong.push_back({name, "badValue", std::string(name) + " needs router"});
    search.whys = read_words(
        request, "why",
        [](const std::string& word) {
            return std::find(std::begin(KNOWN_WHYS), std::end(KNOWN_WHYS), word) !=
                   std::end(KNOWN_WHYS);
        },
        wrong);
    search.outcomes = read_words(
        request, "outcome",
        [](const std::string& word) {
            return std::any_of(journal::OUTCOMES.begin(), journal::OUTCOMES.end(),
                               [&](const auto& each) { return each.first == word; });
        },
        wrong);
    filter.kind = kind_of(search.whys);
    if (search.outcomes.size() == 1) filter.outcome = *search.outcomes.begin();
    search.words = parts_of(in_small_letters(read_text(request, "text", wrong).value_or("")), ' ');
    return search;
}

void ask_piece(server& server, history_search& search)
{
    if (search.asked == 0 && !search.ended)
        search.asked = journal::ask(server.journal, search.question);
}

bool take_piece(server& server, history_search& search, std::size_t most, std::string& failure)
{
    const auto answer = server.history_answers.find(search.asked);
    if (search.asked == 0 || answer == server.history_answers.end()) return false;
    search.asked = 0;
    failure = answer->second.failure;
    if (!failure.empty()) return false;
    const journal::history_page& page = answer->second.page;
    for (const journal::history_row& row : page.rows) {
        search.question.after = row.place;
        if (!fits(server, search, row)) continue;
        json entry = history_entry(server, search.actor.may, row);
        if (!has_words(entry, search.words)) continue;
        search.entries.push_back(std::move(entry));
        if (search.entries.size() == most) {
            search.ended = &row == &page.rows.back() && !page.next;
            return true;
        }
    }
    if (page.next) search.question.after = page.next;
    search.ended = !page.next;
    return true;
}

} // namespace web
