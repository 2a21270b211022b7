#include <optional>

#include "console/commands.h"
#include "console/lookup.h"
#include "console/route_names.h"
#include "console/route_rows.h"
#include "console/times.h"
#include "server/desk/locks.h"
#include "server/desk/words.h"
#include "tools/common/numbers.h"

namespace console {

namespace {
constexpr std::chrono::hours LONGEST_LOCK{24 * 365};

struct lock_words {
    std::string reason = {};
    std::optional<std::chrono::seconds> duration = {}; // none: until it is removed
};

// "10m": a number and one of s, m, h, d. None for another text.
std::optional<std::chrono::seconds> read_duration(const common::word& word)
{
    long long count = 0;
    if (word.quoted || word.text.empty()) return std::nullopt;
    const std::string_view number(word.text.data(), word.text.size() - 1);
    if (!common::is_number(std::string(number))) return std::nullopt;
    const std::size_t unit = std::string_view("smhd").find(word.text.back());
    if (unit == std::string_view::npos) return std::nullopt;
    constexpr long long SECONDS[] = {1, 60, 3600, 86400};
    const std::chrono::seconds longest = LONGEST_LOCK;
    if (!common::read_decimal(number, count) || count > longest.count() / SECONDS[unit])
        return longest + std::chrono::seconds(1);
    return std::chrono::seconds(count * SECONDS[unit]);
}

// Taken for a reason, it would lock without an end.
bool looks_like_duration(const common::word& word)
{
    return !word.quoted && common::is_number(word.text.substr(0, 1)) &&
           word.text.find(' ') == std::string::npos;
}

// Behind the destination: a reason, a duration, or both in this order. False, with a sentence, when
// they are something else.
bool read_lock(const call& call, lock_words& read, std::string& complaint)
{
    for (std::size_t i = 1; i < call.words.size(); ++i) {
        const bool last = i + 1 == call.words.size();
        if (last) read.duration = read_duration(call.words[i]);
        if (read.duration) break;
        if (i > 1 || (last && looks_like_duration(call.words[i]))) {
            complaint = "\"" + call.words[i].text +
                        "\" is no duration: that is a number and s, m, h or d, such as 10m. A "
                        "reason that begins with a digit or has several words stands in quotes.";
            return false;
        }
        read.reason = call.words[i].text;
    }
    if (read.duration && (read.duration->count() == 0 || *read.duration > LONGEST_LOCK)) {
        complaint = "A lock lasts for one second at least and 365 days at most.";
        return false;
    }
    return true;
}

nlohmann::json lock_json(const console_state& console, int destination, const desk::lock& lock)
{
    nlohmann::json json = {
        {"router", console.router},
        {"destination", destination_json(console.desk, console.router, destination)},
        {"mode", lock.mode == desk::lock_mode::lock ? "lock" : "protect"},
        {"owner", lock.owner},
        {"reason", lock.reason},
        {"since", json_time(lock.since)}};
    if (lock.until) json["until"] = json_time(*lock.until);
    return json;
}

answer lock_answer(const console_state& console, int destination)
{
    const desk::lock& lock = desk::find_router(console.desk, console.router)->locks.at(destination);
    answer result{.json = lock_json(console, destination, lock)};
    result.text =
        desk::destination_text(console.desk, console.router, destination) + " is " +
        lock_state(lock) +
        (lock.mode == desk::lock_mode::lock ? ": nobody may route it here, you included.\n"
                                            : ": nobody but you may route it here.\n") +
        "The router itself knows nothing of it: it can still be routed past this "
        "console.\n";
    if (desk::find_live(console.desk, console.router)->open.contains(destination))
        result.text += "The take that is under way there goes on.\n";
    return result;
}

answer set_lock(console_state& console, const desk::moment& now, const call& call,
                desk::lock_mode mode)
{
    std::string complaint;
    lock_words read;
    const auto destination = find_destination(console, call.words[0], complaint);
    if (!destination) return refuse_lookup(console, complaint);
    if (!read_lock(call, read, complaint)) return refusal(complaint, verdict::wrong_use);
    const auto until = read.duration ? std::optional(now.utc + *read.duration) : std::nullopt;
    const desk::objection found = desk::set_lock(console.desk, now, console.person, console.router,
                                                 *destination, mode, read.reason, until);
    if (found.why != desk::reason::none)
        return refusal((mode == desk::lock_mode::lock ? "Not locked: " : "Not protected: ") +
                           found.detail + ".",
                       verdict::refused);
    return lock_answer(console, *destination);
}

answer run_lock(console_state& console, const desk::moment& now, const call& call)
{
    return set_lock(console, now, call, desk::lock_mode::lock);
}

answer run_protect(console_state& console, const desk::moment& now, const call& call)
{
    return set_lock(console, now, call, desk::lock_mode::protect);
}

answer run_unlock(console_state& console, const desk::moment& now, const call& call)
{
    std::string complaint;
    const auto destination = find_kept_destination(console, call.words[0], complaint);
    if (!destination) return refuse_lookup(console, complaint);
    const bool force = call.words.size() > 1;
    const auto& locks = desk::find_router(console.desk, console.router)->locks;
    const auto lock = locks.find(*destination);
    const std::string was =
        lock == locks.end() ? ""
                            : desk::destination_text(console.desk, console.router, *destination) +
                                  " is " + holder_text(lock->second);
    const desk::objection found =
        desk::remove_lock(console.desk, now, console.person, console.router, *destination, force,
                          force ? call.words[1].text : "");
    const bool foreign =
        found.why == desk::reason::locked || found.why == desk::reason::protected_by_other;
    if (foreign)
        return refusal(was + "; to break that, give a reason behind the destination.",
                       verdict::refused);
    if (found.why != desk::reason::none)
        return refusal("Not unlocked: " + found.detail + ".", verdict::refused);
    return {
        .text = was + " no longer.\n",
        .json = {{"router", console.router},
                 {"destination", destination_json(console.desk, console.router, *destination)}}};
}
} // namespace

const std::vector<command>& lock_commands()
{
    static const std::vector<command> COMMANDS = {
        {"lock",
         {argument::destination, argument::text, argument::text},
         1,
         false,
         false,
         "DESTINATION [REASON] [DURATION]",
         "let nobody route a destination from here",
         "Nobody may route it, you included, until \"unlock\" or until the duration is over:\n"
         "a number and s, m, h or d. It binds whoever works through this console; the\n"
         "router itself knows nothing of it, and other panels can still route the\n"
         "destination.\n"
         "  lock \"MON A\" \"on air\" 90m\n",
         run_lock},
        {"protect",
         {argument::destination, argument::text, argument::text},
         1,
         false,
         false,
         "DESTINATION [REASON] [DURATION]",
         "let nobody else route a destination from here",
         "As lock, but you yourself may still route it. The router itself knows nothing of\n"
         "it.\n",
         run_protect},
        {"unlock",
         {argument::destination, argument::text},
         1,
         false,
         false,
         "DESTINATION [REASON]",
         "end a lock or a protection",
         "Your own; one of somebody else's is broken when a reason is given, and that is\n"
         "kept.\n",
         run_unlock},
    };
    return COMMANDS;
}

} // namespace console
