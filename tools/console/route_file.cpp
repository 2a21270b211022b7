#include "console/route_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

#include "console/link_text.h"
#include "console/lookup.h"
#include "console/positions.h"
#include "console/route_rows.h"
#include "console/times.h"
#include "server/desk/stages.h"
#include "server/desk/words.h"
#include "tools/common/descriptors.h"
#include "tools/common/words.h"

namespace console {

namespace {
using finder = std::optional<int> (*)(const console_state&, const common::word&, std::string&,
                                      const word_reading&);
constexpr word_reading IN_FULL{.beginnings = false};
constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF"; // of editors

// The name, in quotes where needed, or the number when the name does not lead back to the position.
std::string word_for(const console_state& console, desk::side side, int index)
{
    const finder find = side == desk::side::sources ? find_source : find_destination;
    const position known = position_at(console, console.router, side, index);
    const std::string& name = known.alias.empty() ? known.own : known.alias;
    std::string quoted = common::quote_word(name);
    const common::split_line read = common::split_words(quoted);
    const bool same = read.commands.size() == 1 && read.commands[0].size() == 1 &&
                      read.commands[0][0].text == name;
    std::string complaint;
    if (same && find(console, read.commands[0][0], complaint, IN_FULL) == index) return quoted;
    return known.number;
}

std::string route_line(const console_state& console, int destination, int source)
{
    const std::string place = word_for(console, desk::side::destinations, destination);
    if (source < 0)
        return "# " + place + ": " + desk::source_name(console.desk, console.router, source) + "\n";
    return "stage " + place + " " + word_for(console, desk::side::sources, source) + "\n";
}
} // namespace

saved_routes routes_to_save(const console_state& console, const desk::moment& now)
{
    const desk::router_settings& settings =
        desk::find_router(console.desk, console.router)->settings;
    const auto told_above = known_until(console, console.router);
    const std::string stale = link_line(console, now, console.router);
    const int count = routed_positions(console, console.router, desk::side::destinations);
    saved_routes saved;
    saved.text = "# Routes of " + settings.name + ", " + day_and_time(now.utc) + ".\n" +
                 (stale.empty() ? "" : "# " + stale) + "use " + common::quote_word(console.router) +
                 "\nfirst-number " + std::to_string(settings.first_number) + "\n";
    for (int destination = 0; destination < count; ++destination) {
        const route_row row = route_row_of(console, console.router, destination);
        const bool old = row.as_of && row.as_of != told_above;
        if (old) saved.text += "# As of " + day_and_time(*row.as_of) + ":\n";
        saved.text += route_line(console, destination, row.source);
        if (row.source >= 0) ++saved.count;
        if (row.source >= 0 && old) ++saved.old;
    }
    return saved;
}

bool write_route_file(const std::string& path, const std::string& text, std::string& complaint)
{
    constexpr mode_t FOR_ALL_THAT_MAY_READ = 0666; // less the umask
    std::error_code unresolved;
    std::string place =
        std::filesystem::weakly_canonical(path, unresolved).string(); // behind links
    if (unresolved) place = path;
    if (std::filesystem::exists(place, unresolved) &&
        !std::filesystem::is_regular_file(place, unresolved)) {
        complaint = "Cannot write " + path + ": it is no file.";
        return false;
    }
    const std::string temporary = place + ".new" + std::to_string(getpid());
    const common::owned_descriptor file(
        open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, FOR_ALL_THAT_MAY_READ));
    if (file.number >= 0 && common::write_all(file.number, text) && fsync(file.number) == 0 &&
        std::rename(temporary.c_str(), place.c_str()) == 0)
        return true;
    complaint = "Cannot write " + path + ": " + std::strerror(errno) + ".";
    if (file.number >= 0) unlink(temporary.c_str());
    return false;
}

bool read_route_file(const std::string& path, std::string& text, std::string& complaint)
{
    // Opening a pipe must not wait for who writes it.
    const common::owned_descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    struct stat status {};
    if (file.number < 0 || fstat(file.number, &status) != 0) {
        complaint = "Cannot read " + path + ": " + std::strerror(errno) + ".";
        return false;
    }
    if (!S_ISREG(status.st_mode) || status.st_size > static_cast<off_t>(ROUTE_FILE_SIZE)) {
        complaint = path + (S_ISREG(status.st_mode) ? " is too large: more than 1 MiB."
                                                    : " is no file with routes.");
        return false;
    }
    text.resize(static_cast<std::size_t>(status.st_size));
    const ssize_t length = read(file.number, text.data(), text.size());
    if (length < 0) {
        complaint = "Cannot read " + path + ": " + std::strerror(errno) + ".";
        return false;
    }
    text.resize(static_cast<std::size_t>(length));
    return true;
}

namespace {
bool is_command(const std::vector<common::word>& words, std::string_view name,
                std::size_t arguments)
{
    return common::same_name(words[0].text, name) && words.size() == arguments + 1;
}

// Empty when it was done.
std::string stage_words(console_state& console, const desk::moment& now,
                        const std::vector<common::word>& words, word_reading& reading,
                        loaded_routes& loaded)
{
    std::string complaint;
    if (is_command(words, "use", 1)) {
        const auto router = find_router(console, words[1], complaint, reading);
        if (router) console.router = *router;
        return complaint;
    }
    if (is_command(words, "first-number", 1)) {
        if (words[1].text != "0" && words[1].text != "1") return "The first number is 0 or 1.";
        reading.first_number = words[1].text == "0" ? 0 : 1;
        return "";
    }
    if (!is_command(words, "stage", 2))
        return "Only \"use ROUTER\", \"first-number 0|1\" and \"stage DESTINATION SOURCE\" stand "
               "in "
               "such a file.";
    const auto destination = find_destination(console, words[1], complaint, reading);
    if (!destination) return refuse_lookup(console, complaint).json["error"];
    const auto source = find_source(console, words[2], complaint, reading);
    if (!source) return refuse_lookup(console, complaint).json["error"];
    const desk::row_answer row =
        desk::stage_row(console.desk, now, console.person, {console.router, *destination, *source});
    if (!row.goes) return "Not staged: " + row.detail + ".";
    loaded.staged[console.router].insert(*destination);
    return "";
}

// Says, or was meant to say, how the lines below are to be read: unless it is understood, nothing
// is known of them.
bool leads_on(const std::vector<common::word>& words)
{
    return common::begins_name("use", words[0].text) ||
           common::begins_name("first-number", words[0].text);
}
} // namespace

loaded_routes stage_lines(console_state& console, const desk::moment& now, const std::string& text)
{
    const std::string in_use = console.router;
    loaded_routes loaded;
    word_reading reading = IN_FULL;
    bool lost = false;
    std::size_t number = 0;
    for (std::size_t begin = text.starts_with(BYTE_ORDER_MARK) ? BYTE_ORDER_MARK.size() : 0;
         begin < text.size() && !lost;) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        const std::string line = text.substr(begin, end - begin);
        begin = end + 1;
        ++number;
        const std::size_t first = line.find_first_not_of(" \t\r");
        if (first == std::string::npos || line[first] == '#') continue;
        const common::split_line split = common::split_words(line);
        std::string complaint = split.open_quote ? "A quote is not closed." : "";
        for (const auto& words : split.commands) {
            if (complaint.empty()) complaint = stage_words(console, now, words, reading, loaded);
            lost = lost || (!complaint.empty() && leads_on(words));
        }
        if (!complaint.empty())
            loaded.complaints.push_back("Line " + std::to_string(number) + ": " + complaint);
    }
    if (lost) loaded.complaints.push_back("The lines below are not read.");
    console.router = in_use;
    return loaded;
}

} // namespace console
