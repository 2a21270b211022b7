#include "router_simulator/scenario/reply_faults.h"

#include <algorithm>

#include "router_simulator/router/answers.h"
#include "tools/common/numbers.h"
#include "tools/common/random.h"

namespace router_simulator {

void delay_reply(faulty_reply& reply, const scenario_step& step, std::mt19937_64& random)
{
    const us_time_t delay_us = common::draw(random, step.delay_us.least, step.delay_us.most);
    reply.shaped.delay_us += delay_us;
    reply.event.ms = delay_us / 1000;
}

void lose_reply(faulty_reply& reply, const scenario_step&, std::mt19937_64&)
{
    reply.shaped.pieces.clear();
}

void send_late(faulty_reply& reply, const scenario_step& step, std::mt19937_64& random)
{
    reply.shaped.late_us = common::draw(random, step.delay_us.least, step.delay_us.most);
}

void send_twice(faulty_reply& reply, const scenario_step&, std::mt19937_64&)
{
    const std::vector<reply_piece> once = reply.shaped.pieces;
    reply.shaped.pieces.insert(reply.shaped.pieces.end(), once.begin(), once.end());
}

void reorder_frames(faulty_reply& reply, const scenario_step&, std::mt19937_64&)
{
    std::reverse(reply.shaped.pieces.begin(), reply.shaped.pieces.end());
    reply.shaped.behind_next = reply.shaped.pieces.size() == 1;
}

// Other than the true one in the last of its two digits.
void spoil_checksums(faulty_reply& reply, const scenario_step&, std::mt19937_64&)
{
    for (reply_piece& frame : reply.shaped.pieces) {
        char& digit = frame.bytes[frame.bytes.size() - 2];
        digit = digit == '0' ? '1' : '0';
    }
}

namespace {
void reply_instead(faulty_reply& reply, const router_message& message)
{
    reply.messages = {message};
    reply.shaped = plain_reply(reply.messages, reply.shaped.delay_us);
}
} // namespace

void reply_nak(faulty_reply& reply, const scenario_step&, std::mt19937_64&)
{
    reply_instead(reply, make_nak(1));
}

void reply_error(faulty_reply& reply, const scenario_step& step, std::mt19937_64&)
{
    reply_instead(reply, make_request("ER", {step.code, std::string(mnemonic_of(reply.request))}));
}

void truncate_frame(faulty_reply& reply, const scenario_step& step, std::mt19937_64&)
{
    if (reply.shaped.pieces.empty()) return;
    std::string& frame = reply.shaped.pieces[0].bytes;
    if (frame.size() > step.bytes) frame.resize(step.bytes);
}

namespace {
constexpr std::size_t CHECKSUM_LENGTH = 2;

std::string checksum_digits(const std::string& bytes)
{
    static constexpr char DIGITS[] = "0123456789ABCDEF";
    const std::uint8_t sum = router_checksum(bytes);
    return {DIGITS[sum / 16], DIGITS[sum % 16]};
}
} // namespace

// The frame begins as before and has a good checksum wherever one fits.
void change_length(faulty_reply& reply, const scenario_step& step, std::mt19937_64&)
{
    if (reply.shaped.pieces.empty()) return;
    std::string& frame = reply.shaped.pieces[0].bytes;
    std::string content = frame.substr(1, frame.size() - 2 - CHECKSUM_LENGTH);
    if (step.bytes < CHECKSUM_LENGTH) {
        content.resize(step.bytes);
    } else {
        content.resize(step.bytes - CHECKSUM_LENGTH, 'X');
        content += checksum_digits(content);
    }
    frame = SOH + content + EOT;
}

void insert_nul(faulty_reply& reply, const scenario_step&, std::mt19937_64&)
{
    if (reply.shaped.pieces.empty()) return;
    std::string& frame = reply.shaped.pieces[0].bytes;
    frame.insert(frame.size() / 2, 1, '\0');
}

void cut_in_pieces(faulty_reply& reply, const scenario_step& step, std::mt19937_64&)
{
    if (reply.shaped.pieces.empty()) return;
    std::string rest;
    for (const reply_piece& frame : reply.shaped.pieces)
        rest += frame.bytes;
    std::vector<reply_piece> pieces;
    std::size_t sent = 0;
    for (const std::size_t cut : step.cuts) {
        if (cut - sent >= rest.size()) break;
        pieces.push_back({pieces.empty() ? 0 : step.pause_us, rest.substr(0, cut - sent)});
        rest.erase(0, cut - sent);
        sent = cut;
    }
    pieces.push_back({pieces.empty() ? 0 : step.pause_us, rest});
    reply.shaped.pieces = pieces;
}

// Every routing status shows another source than the one that is routed; a reply to a take gets one
// that does. The destination counts as changed for the client, which can so find out what is true.
// Nothing happens where the router has no other source.
void contradict_route(faulty_reply& reply, const scenario_step&, std::mt19937_64& random)
{
    const simulated_router& router = reply.router;
    const std::vector<std::string>& asked = reply.request.parameters;
    std::uint32_t index = 0;
    if (asked.empty() || !common::read_hexadecimal(asked[0], index)) return;
    const auto destination = position_of(router.destinations, index);
    if (!destination || router.sources.names.size() < 2) return;
    if (mnemonic_of(reply.request) == "TI")
        reply.messages.push_back(routing_status(router, *destination, 0));
    const std::size_t drawn = common::draw<std::size_t>(random, 0, router.sources.names.size() - 2);
    const std::size_t shown = drawn < router.routes[*destination] ? drawn : drawn + 1;
    for (router_message& message : reply.messages) {
        if (mnemonic_of(message) != "IQ") continue;
        message.parameters[4] = wire_index(index_of(router.sources, shown));
        reply.event.destination = index_of(router.destinations, *destination);
        reply.event.source = index_of(router.sources, shown);
        reply.router.clients.at(reply.client).changed_destinations.insert(*destination);
    }
    reply.shaped = plain_reply(reply.messages, reply.shaped.delay_us);
}

void repeat_without_end(faulty_reply& reply, const scenario_step&, std::mt19937_64&)
{
    reply.shaped.pieces.clear();
    if (reply.messages.empty()) return;
    reply.messages[0].seq = '1';
    reply.shaped.repeated = plain_reply({reply.messages[0]}).pieces[0].bytes;
}

} // namespace router_simulator
