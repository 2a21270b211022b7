#include <algorithm>

#include "console/commands.h"
#include "console/link_text.h"
#include "console/times.h"
#include "tools/common/numbers.h"

namespace console {

namespace {
constexpr std::size_t USUAL_COUNT = 20; // of frames, and of lines of the log

bool has_words(const std::string& text, const std::vector<common::word>& words)
{
    return std::all_of(words.begin(), words.end(), [&](const common::word& word) {
        return common::name_contains(text, word.text);
    });
}

answer run_history(console_state& console, const desk::moment& /*now*/, const call& call)
{
    std::string text;
    nlohmann::json rows = nlohmann::json::array();
    for (const happening& each : console.history) {
        const std::string line = day_and_time(each.at) + " " + each.text + "\n";
        if (!has_words(line, call.words)) continue;
        text += line;
        rows.push_back(each.json);
    }
    if (text.empty())
        text = call.words.empty() ? "Nothing has happened yet.\n"
                                  : "Nothing that has happened fits.\n";
    else if (console.history_forgets)
        text = "What happened before " + day_and_time(console.history.front().at) +
               " has been forgotten.\n" + text;
    return {.text = text, .json = {{"rows", std::move(rows)}}};
}

// How many are wanted. False, with a sentence, when the word is no count.
bool read_count(const call& call, std::size_t& count, std::string& complaint)
{
    if (call.words.empty()) return true;
    if (common::read_decimal(call.words[0].text, count) && count > 0) return true;
    complaint = "\"" + call.words[0].text + "\" is no count: 1 or more.";
    return false;
}

// Null before the first one has been started.
const routers::backend* backend_of(const console_state& console)
{
    const auto found = console.running.backends.find(console.router);
    return found == console.running.backends.end() ? nullptr : &found->second;
}

const char* code_of(routers::direction way)
{
    return way == routers::direction::sent ? "sent" : "received";
}

answer run_trace(console_state& console, const desk::moment& now, const call& call)
{
    std::size_t count = USUAL_COUNT;
    std::string complaint;
    if (!read_count(call, count, complaint)) return refusal(complaint, verdict::wrong_use);
    const routers::backend* const backend = backend_of(console);
    std::string text = link_line(console, now, console.router);
    nlohmann::json rows = nlohmann::json::array();
    if (backend != nullptr) {
        const auto& frames = backend->trace.frames;
        for (std::size_t i = frames.size() - std::min(count, frames.size()); i < frames.size();
             ++i) {
            const std::string told = text_of(frames[i], console.desk, console.router);
            const bool sent = frames[i].way == routers::direction::sent;
            text += exact_time(frames[i].at.utc) + (sent ? " > " : " < ") + told + "\n";
            rows.push_back({{"at", json_time(frames[i].at.utc)},
                            {"direction", code_of(frames[i].way)},
                            {"text", told},
                            {"raw", frames[i].raw}});
        }
    }
    if (rows.empty())
        text += "Nothing has passed between the backend and the router yet.\n";
    else
        text += "> to the router, < from it.\n";
    return {.text = text,
            .json = {{"router", console.router},
                     {"link", link_json(console, console.router)},
                     {"rows", std::move(rows)}}};
}

const char* text_of(routers::level level)
{
    switch (level) {
    case routers::level::none:
        return "";
    case routers::level::debug:
        return "debug";
    case routers::level::note:
        return "note";
    case routers::level::warning:
        return "warning";
    case routers::level::error:
        return "error";
    }
    return "";
}

std::string lines_text(std::uint64_t count)
{
    return std::to_string(count) + (count == 1 ? " line" : " lines");
}

answer run_log(console_state& console, const desk::moment& /*now*/, const call& call)
{
    std::size_t count = USUAL_COUNT;
    std::string complaint;
    if (!read_count(call, count, complaint)) return refusal(complaint, verdict::wrong_use);
    const routers::backend* const backend = backend_of(console);
    std::string text;
    nlohmann::json rows = nlohmann::json::array();
    if (backend != nullptr) {
        const auto& log = backend->log;
        for (std::size_t i = log.size() - std::min(count, log.size()); i < log.size(); ++i) {
            const std::string level = text_of(log[i].level);
            text += exact_time(log[i].at.utc) + " " + (level.empty() ? "" : level + ": ") +
                    log[i].text + "\n";
            rows.push_back(
                {{"at", json_time(log[i].at.utc)}, {"level", level}, {"text", log[i].text}});
        }
    }
    if (rows.empty()) text = "The backend has said nothing yet.\n";
    const std::uint64_t forgotten = backend == nullptr ? 0 : backend->forgotten;
    if (forgotten > 0 && rows.size() == backend->log.size())
        text.insert(0, lines_text(forgotten) + " before these " +
                           (forgotten == 1 ? "has" : "have") + " been forgotten.\n");
    return {
        .text = text,
        .json = {{"router", console.router}, {"forgotten", forgotten}, {"rows", std::move(rows)}}};
}

answer run_watch(console_state& /*console*/, const desk::moment& /*now*/, const call& /*call*/)
{
    return {.follow = true};
}
} // namespace

const std::vector<command>& record_commands()
{
    static const std::vector<command> COMMANDS = {
        {"history",
         {argument::filter},
         0,
         false,
         false,
         "[TEXT...]",
         "what has happened here",
         "Lists what was asked for and what became of it, locks, salvos, settings, and\n"
         "what others took, oldest first. Each word leaves the lines that contain it.\n",
         run_history},
        {"trace",
         {argument::text},
         0,
         false,
         false,
         "[COUNT]",
         "what passed between the backend and the router",
         "Shows the last frames, 20 unless told otherwise, with what they mean.\n",
         run_trace},
        {"watch",
         {},
         0,
         false,
         false,
         "",
         "show every change of every router",
         "Shows what others take, lock and set, beside what is always shown: links that\n"
         "come and go, and what became of your own takes. On a terminal any key ends it,\n"
         "and is the first of the next line.\n",
         run_watch},
        {"log",
         {argument::text},
         0,
         false,
         false,
         "[COUNT]",
         "what the backend said last",
         "Shows the last lines of the backend of the router in use, 20 unless told\n"
         "otherwise.\n",
         run_log},
    };
    return COMMANDS;
}

} // namespace console
