#include "support/fault_matrix.h"

#include <algorithm>
#include <map>

#include "router_simulator/scenario/fault_table.h"

using router_simulator::concerns_reply;
using router_simulator::fault_named;

namespace {
struct matrix_row {
    const char* name;
    matrix_fault fault;
    std::map<phase, ending> endings;
    matrix_fault lift{};
};
} // namespace

bool is_lost(ending end)
{
    return end != ending::stays && end != ending::rambling && end != ending::incomplete;
}

bool is_refused_at_first(const matrix_cell& cell)
{
    return cell.struck == phase::connecting && cell.end == ending::refused;
}

namespace {
constexpr phase CONNECTING = phase::connecting;
constexpr phase DISCOVERY = phase::discovery;
constexpr phase IDLE = phase::idle;
constexpr phase TRANSACTION = phase::transaction;
constexpr phase BURST = phase::burst;
constexpr phase QUERY = phase::query;

// A fault of the connection that ends in the same way whatever it strikes.
std::map<phase, ending> everywhere(ending end)
{
    return {{CONNECTING, end},  {DISCOVERY, end}, {IDLE, end},
            {TRANSACTION, end}, {BURST, end},     {QUERY, end}};
}

// A router that says nothing any more. Discovery is not broken off for it.
std::map<phase, ending> muteness()
{
    return {{CONNECTING, ending::mute},  {DISCOVERY, ending::mute},
            {IDLE, ending::unanswered},  {TRANSACTION, ending::unanswered},
            {BURST, ending::unanswered}, {QUERY, ending::unanswered}};
}

// A reply answers a request: there is none while connecting and none in an idle moment. A burst and
// a query do not wait for their replies, and lose nothing but what the next status request brings.
std::map<phase, ending> of_reply(ending in_discovery, ending in_transaction,
                                 ending elsewhere = ending::stays)
{
    return {{DISCOVERY, in_discovery},
            {TRANSACTION, in_transaction},
            {BURST, elsewhere},
            {QUERY, elsewhere}};
}

// A reply that is not understood is one that has not come.
const std::vector<matrix_row>& reply_rows()
{
    using enum ending;
    static const std::vector<matrix_row> rows = {
        {"Delay", {"delay", R"("ms": [300, 300])"}, of_reply(stays, stays)},
        {"Lose", {"lose"}, of_reply(incomplete, unanswered)},
        {"LateInTime", {"late", R"("ms": [300, 300])"}, of_reply(stays, stays)},
        {"TooLate", {"late", R"("ms": [7500, 7500])"}, of_reply(incomplete, unanswered)},
        {"Duplicate", {"duplicate"}, of_reply(stays, stays)},
        // A single message waits for the next reply, which the backend asks for only after it.
        {"Reorder", {"reorder"}, of_reply(stays, unanswered)},
        {"Checksum", {"checksum"}, of_reply(incomplete, unanswered)},
        {"Nak", {"nak"}, of_reply(incomplete, stays)},
        {"Error", {"error", R"("code": "05")"}, of_reply(incomplete, stays)},
        // The rest of the set completes the frame, whose checksum is then wrong.
        {"Truncate", {"truncate", R"("bytes": 4)"}, of_reply(incomplete, unanswered)},
        {"LengthBelowLimit", {"length", R"("bytes": 4095)"}, of_reply(stays, stays)},
        {"LengthAtLimit", {"length", R"("bytes": 4096)"}, of_reply(stays, stays)},
        {"LengthAboveLimit",
         {"length", R"("bytes": 4097)"},
         of_reply(rambling, rambling_unanswered, rambling)},
        // The set's last message completes it without the first.
        {"Nul", {"nul"}, of_reply(stays, unanswered)},
        {"Cut", {"cut", R"("at": [1, 3, 11], "ms": 100)"}, of_reply(stays, stays)},
        {"Endless",
         {"endless", R"("messages": 1000000, "rate": 1000)"},
         of_reply(mute, unanswered, unanswered)},
        // No reply to a status request shows a route.
        {"Contradict", {"contradict"}, {{DISCOVERY, stays}, {BURST, stays}, {QUERY, stays}}},
    };
    return rows;
}

const std::vector<matrix_row>& connection_rows()
{
    using enum ending;
    static const std::vector<matrix_row> rows = {
        // These bytes of the generator end outside a frame,
        {"Garbage", {"garbage", R"("bytes": 300)"}, everywhere(stays)},
        // and these inside one, which swallows the next. While connecting that is any answer.
        {"GarbageThatOpensAFrame",
         {"garbage", R"("bytes": 383)"},
         {{DISCOVERY, stays},
          {IDLE, unanswered},
          {TRANSACTION, unanswered},
          {BURST, stays},
          {QUERY, stays}}},
        {"Silence", {"silence", R"("for": 60)"}, muteness()},
        {"HalfOpen", {"half-open"}, muteness()},
        {"Ignore", {"ignore", R"("for": 60)"}, muteness()},
        // What has been read is answered, so discovery ends well, and the flags tell of a new name.
        {"StopReading",
         {"stop reading", R"("for": 60)"},
         {{CONNECTING, mute},
          {DISCOVERY, unanswered},
          {IDLE, unanswered},
          {TRANSACTION, names_unanswered},
          {BURST, unanswered},
          {QUERY, unanswered}}},
        {"Close", {"close"}, everywhere(closed)},
        {"Reset", {"reset"}, everywhere(reset)},
        {"ResetInsideFrame", {"reset", R"("inside": true)"}, everywhere(reset)},
        // A second time begins anew, and ends at once.
        {"Refuse", {"refuse", R"("for": 3600)"}, everywhere(refused), {"refuse", R"("for": 0)"}},
        {"Burst", {"burst", R"("messages": 100, "rate": 2000)"}, everywhere(stays)},
        {"Take", {"take", R"("destination": 3, "source": 1)"}, everywhere(stays)},
        {"Rename", {"rename", R"("source": 2, "to": "NEWCOMER")"}, everywhere(stays)},
        {"Lock",
         {"lock", R"("destination": 7)"},
         everywhere(stays),
         {"unlock", R"("destination": 7)"}},
        {"RefuseTake",
         {"refuse take", R"("destination": 7, "source": 3, "code": "0A")"},
         everywhere(stays),
         {"allow take", R"("destination": 7, "source": 3)"}},
    };
    return rows;
}

std::string phase_name(phase struck)
{
    switch (struck) {
    case phase::connecting:
        return "Connecting";
    case phase::discovery:
        return "Discovery";
    case phase::idle:
        return "Idle";
    case phase::transaction:
        return "Transaction";
    case phase::burst:
        return "Burst";
    case phase::query:
        return "Query";
    }
    return "";
}
} // namespace

std::vector<matrix_cell> all_cells()
{
    std::vector<matrix_cell> cells;
    for (const auto* rows : {&reply_rows(), &connection_rows()})
        for (const matrix_row& row : *rows)
            for (const auto& [struck, end] : row.endings)
                cells.push_back(
                    {struck, end, row.name + ("In" + phase_name(struck)), row.fault, row.lift});
    return cells;
}

namespace {
// When the backend is in the phase. Discovery asks for the eight routes first, so that the query's
// are the next ones. The last of discovery's nine requests is struck: all have been sent then.
std::string trigger(const matrix_cell& cell)
{
    const bool contradicts = cell.fault.name == "contradict";
    switch (cell.struck) {
    case phase::connecting:
        // The backend starts when the simulator has told that it refuses.
        return cell.end == ending::refused ? R"("at": 0)" : R"("connection": 1)";
    case phase::discovery:
        return contradicts ? R"("request": "QI", "times": 1)" : R"("request": "QN ID", "times": 1)";
    case phase::idle:
        return R"("request": "QD", "after": 1, "times": 1, "answered": true)";
    case phase::transaction:
        return R"("request": "BK F", "after": 2, "times": 1)";
    case phase::burst:
        return concerns_reply(*fault_named(cell.fault.name))
                   ? R"("request": "QI", "after": 8, "times": 1)"
                   : R"("request": "TI", "after": 2, "times": 1)";
    case phase::query:
        return R"("request": "QI", "after": 10, "times": 1)";
    }
    return "";
}

std::string step_text(const std::string& when, const matrix_fault& fault)
{
    return "{" + when + R"(, "fault": ")" + fault.name + '"' +
           (fault.keys.empty() ? "" : ", " + fault.keys) + "}";
}
} // namespace

// Another operator takes and renames at the very moment.
std::string scenario_of(const matrix_cell& cell)
{
    matrix_cell operators = cell;
    operators.fault = {"take", R"("destination": 2, "source": 7)"};
    const std::string when = trigger(operators);
    std::string steps = step_text(when, operators.fault) + ",\n" +
                        step_text(when, {"rename", R"("destination": 5, "to": "STRUCK")"}) + ",\n" +
                        step_text(trigger(cell), cell.fault);
    if (!cell.lift.name.empty()) steps += ",\n" + step_text(R"("name": "lift")", cell.lift);
    return "{\"seed\": 7, \"steps\": [\n" + steps + "]}\n";
}

bool tells_identity(const std::string& line)
{
    return line.starts_with("<NOTE>Device is ") || line.starts_with("<NOTE>S/W ") ||
           line.starts_with("<NOTE>Firmware: ");
}

namespace {
Lines operator+(Lines lines, const Lines& more)
{
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}

const std::string CLOSED = "<NOTE>Connection to router closed";
const std::string DROPPED = "<NOTE>Connection suddenly dropped";
const std::string RESET = "<NOTE>Connection problem, Connection reset by peer";
const std::string BROKEN = "<NOTE>Connection problem, Broken pipe";
const std::string UNABLE = "<ERR>Unable to send message";
const std::string UNANSWERED = "<ERR>Timeout receiving message";
const Lines CONNECTED = {"<NOTE>Trying to connect to router...", "<NOTE>Connection sucessful."};
const Lines REFUSED = {"<NOTE>Trying to connect to router...",
                       "<ERR>Connection failed, Connection refused", CLOSED};
const Lines RAMBLING = {"<WARN>Over-long rambling response from router switcher",
                        "Discarding unexpected byte 04"};

// Sources and levels are answered before the destinations are asked for.
std::string unfinished(phase struck)
{
    return struck == phase::connecting ? "<ERR>Timeout during query (d=0 s=0 l=0)"
                                       : "<ERR>Timeout during query (d=0 s=1 l=1)";
}

// A burst or a query may begin while a status request waits, which then goes on: it waits for its
// reply, or cannot send what is left of its cycle.
bool may_be_in_a_cycle(phase struck)
{
    return struck == phase::burst || struck == phase::query;
}

// The loss is seen by a read, or by a write when that comes first, which is a matter of moments.
// While connecting it may come before, between and behind the requests of discovery; a discovery
// that has sent them all waits for its answers to the end.
std::vector<Lines> losses(phase struck, const std::vector<std::string>& causes)
{
    std::vector<Lines> all;
    for (const std::string& cause : causes) {
        const Lines loss = {cause, CLOSED};
        const Lines waited = {unfinished(struck), UNABLE};
        if (struck == phase::discovery) all.push_back(loss + waited);
        if (struck == phase::transaction) all.push_back(loss + Lines{UNANSWERED});
        if (struck == phase::idle) all.push_back(loss);
        if (may_be_in_a_cycle(struck))
            all.insert(all.end(), {loss, loss + Lines{UNANSWERED}, loss + Lines{UNABLE},
                                   loss + Lines{UNABLE, UNABLE}});
        if (struck == phase::connecting)
            all.insert(all.end(), {loss, loss + Lines{UNABLE}, loss + waited});
    }
    return all;
}

// What is logged behind the first connection's two lines, up to the next connection if it is lost.
std::vector<Lines> accepted_ends(const matrix_cell& cell)
{
    const bool writes = cell.struck != phase::idle && cell.struck != phase::transaction &&
                        cell.struck != phase::discovery;
    switch (cell.end) {
    case ending::stays:
        return {{}};
    case ending::rambling:
        return {RAMBLING};
    case ending::incomplete:
        return {{unfinished(cell.struck)}};
    case ending::unanswered:
        if (may_be_in_a_cycle(cell.struck))
            return {{UNANSWERED, CLOSED}, {UNANSWERED, CLOSED, UNABLE}};
        return {{UNANSWERED, CLOSED}};
    case ending::names_unanswered:
        return {{UNANSWERED, CLOSED, UNABLE, UNABLE}};
    case ending::rambling_unanswered:
        return {RAMBLING + Lines{UNANSWERED, CLOSED}};
    case ending::mute:
        return {{unfinished(cell.struck), UNANSWERED, CLOSED}};
    case ending::closed:
        return losses(cell.struck, writes ? Lines{DROPPED, BROKEN} : Lines{DROPPED});
    case ending::reset:
    case ending::refused:
        return losses(cell.struck, {RESET});
    }
    return {};
}
} // namespace

std::vector<Lines> accepted_diagnostics(const matrix_cell& cell)
{
    const Lines end = {CLOSED};
    if (cell.end == ending::refused && cell.struck == phase::connecting)
        return {REFUSED + CONNECTED + end};
    std::vector<Lines> accepted;
    for (const Lines& lines : accepted_ends(cell)) {
        if (cell.end == ending::refused)
            accepted.push_back(CONNECTED + lines + REFUSED + CONNECTED + end);
        else
            accepted.push_back(CONNECTED + lines + (is_lost(cell.end) ? CONNECTED : Lines{}) + end);
    }
    // The reset may come before the backend has seen that it is connected.
    if (cell.end == ending::reset && cell.struck == phase::connecting)
        accepted.push_back(
            Lines{CONNECTED[0], "<ERR>Connection failed, Connection reset by peer", CLOSED} +
            CONNECTED + end);
    return accepted;
}

Lines with_one_refusal(Lines lines)
{
    const auto next = [&lines](auto from) {
        return std::search(from, lines.end(), REFUSED.begin(), REFUSED.end());
    };
    for (auto found = next(lines.begin()); found != lines.end();) {
        const auto second = next(found + 3);
        if (second != found + 3) break;
        found = next(lines.erase(second, second + 3) - 3);
    }
    return lines;
}

// A discovery that is broken off does not come to the firmware, and one without answers to nothing.
Lines identity_lines(const matrix_cell& cell)
{
    const Lines answers = {"<NOTE>Device is a \"Simulated router\"", "<NOTE>S/W revision \"r1\"",
                           "<NOTE>S/W title with version \"Router simulator 1.0\""};
    const Lines all = answers + Lines{"<NOTE>Firmware: Router simulator 1.0 [r1]"};
    if (!is_lost(cell.end)) return all;
    if (cell.struck == phase::connecting) return all;
    const bool broken_off =
        cell.struck == phase::discovery &&
        (cell.end == ending::closed || cell.end == ending::reset || cell.end == ending::refused);
    return (broken_off ? answers : all) + all;
}
