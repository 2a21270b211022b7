#include "fuzz/played_router.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "common/numbers.h"
#include "fuzz/played_world.h"
#include "fuzz/property.h"
#include "support/frames.h"

namespace {
constexpr unsigned SOURCE_NAMES_CHANGED = 0x10;
constexpr unsigned DESTINATION_NAMES_CHANGED = 0x04;
} // namespace

using words = std::vector<std::string>;

played_router router;

namespace {
unsigned position_of(const std::string& index)
{
    return static_cast<unsigned>(std::strtoul(index.c_str(), nullptr, 16)) - router.base;
}

std::string message(const char* mnemonic, const words& parameters, bool is_last = true)
{
    return frame(body(mnemonic, parameters, is_last ? '0' : '1'));
}

// The names of so many entries, in as many messages as it takes.
std::string name_answer(const std::string& kind, unsigned count, const std::string& name,
                        bool with_attribute)
{
    std::string answer;
    unsigned next = 0;
    do {
        const unsigned end =
            std::min(count, next + static_cast<unsigned>(router.entries_a_message));
        words parameters = {kind, upper_hex(end - next)};
        for (; next < end; ++next) {
            const unsigned index = with_attribute ? next + router.base : next;
            parameters.insert(parameters.end(),
                              {name + std::to_string(next), upper_hex(index), "0"});
            if (with_attribute) parameters.emplace_back("0");
        }
        answer += message("NQ", parameters, next == count);
    } while (next < count);
    return answer;
}

std::string names_answer(const std::string& kind)
{
    const auto destinations = static_cast<unsigned>(router.routes.size());
    if (kind == "L") return name_answer("L", router.levels, "LEVEL ", false);
    if (kind == "IS") return name_answer("S", router.sources, "CAM ", true);
    return name_answer("D", destinations, "MON ", true);
}

std::string changes_answer()
{
    std::string answer;
    for (unsigned i = 0; i < router.changed.size(); ++i) {
        if (!router.changed[i]) continue;
        router.changed[i] = false;
        const bool is_last =
            std::find(router.changed.begin(), router.changed.end(), true) == router.changed.end();
        answer += message("DQ", {"MON " + std::to_string(i), "1"}, is_last);
    }
    return answer.empty() ? message("ER", {"00", "QD"}) : answer;
}

std::string route_answer(const std::string& index)
{
    const unsigned destination = position_of(index);
    if (destination >= router.routes.size()) return message("ER", {"03", "QI"});
    return message("IQ",
                   {index, "0", "N", "N", upper_hex(router.routes[destination] + router.base)});
}

std::string link_answer(const words& request)
{
    const std::string subject = request.size() > 1 ? request[1] : "";
    if (subject == "N") return message("KB", {"N", "Model 3"});
    if (subject == "R") return message("KB", {"R", "r5"});
    if (subject == "T") return message("KB", {"T", "Title 1.2"});
    if (subject == "F") return message("KB", {"F", upper_hex(router.flags)});
    if (subject == "f") router.flags = 0;
    return message("ER", {"00", "BK"});
}

std::string answer_to(const words& request)
{
    if (request[0] == "BK") return link_answer(request);
    if (request[0] == "QN" && request.size() == 2) return names_answer(request[1]);
    if (request[0] == "QD" && request.size() == 1) return changes_answer();
    if (request[0] == "QI" && request.size() == 3) return route_answer(request[1]);
    require(request[0] == "TI" && request.size() == 3, "the router knows the request");
    change_route(position_of(request[1]), position_of(request[2]));
    return message("ER", {"00", "TI"});
}

void answer_request(const std::string& framed)
{
    const std::string text = readable_request(framed);
    require(text != "bad frame", "requests are well-formed frames");
    words request;
    std::istringstream stream(text);
    for (std::string word; stream >> word;)
        request.push_back(word);
    require(!request.empty(), "a request has a mnemonic");
    const std::string answer = answer_to(request);
    if (router.answers) router.on_its_way.emplace_back(world.now + router.delay, answer);
}

void forget_earlier_connection()
{
    if (router.connection == world.sockets_made) return;
    router.connection = world.sockets_made;
    router.heard.clear();
    router.on_its_way.clear();
}
} // namespace

void played_router_hears(const std::string& bytes)
{
    forget_earlier_connection();
    router.heard += bytes;
    for (;;) {
        const std::size_t end = router.heard.find('\x04');
        if (end == std::string::npos) break;
        answer_request(router.heard.substr(0, end + 1));
        router.heard.erase(0, end + 1);
    }
    send_due_answers();
}

void send_due_answers()
{
    forget_earlier_connection();
    while (!router.on_its_way.empty() && router.on_its_way.front().first <= world.now) {
        router_sends(router.on_its_way.front().second);
        router.on_its_way.pop_front();
    }
}

void set_router_size(unsigned sources, unsigned destinations, unsigned base)
{
    router.sources = sources;
    router.base = base;
    router.routes.assign(destinations, 0);
    router.changed.assign(destinations, false);
    announce_names();
}

void announce_names()
{
    router.flags |= SOURCE_NAMES_CHANGED | DESTINATION_NAMES_CHANGED;
}

void change_route(unsigned destination, unsigned source)
{
    if (destination >= router.routes.size() || source >= router.sources) return;
    router.routes[destination] = source;
    router.changed[destination] = true;
}
