#include "router_simulator/scenario/reply_faults.h"

#include <algorithm>
#include <cstdlib>

#include "common/check.h"

namespace router_simulator {

namespace {
constexpr std::size_t CHECKSUM_LENGTH = 2;

std::string encoded_message(const router_message& message)
{
    std::string frame;
    const bool fits = encode_router_message(message, frame);
    CHECK(fits);
    return frame;
}

std::vector<std::string> encoded_messages(const std::vector<router_message>& messages)
{
    std::vector<std::string> frames(messages.size());
    std::transform(messages.begin(), messages.end(), frames.begin(), encoded_message);
    return frames;
}

shaped_reply reply_of(const std::vector<std::string>& frames)
{
    shaped_reply reply;
    for (const std::string& frame : frames)
        reply.pieces.push_back({.bytes = frame});
    return reply;
}
} // namespace

shaped_reply plain_reply(const std::vector<router_message>& messages)
{
    return reply_of(encoded_messages(messages));
}

namespace {
// Other than the true one in the last of its two digits.
void spoil_checksum(std::string& frame)
{
    char& digit = frame[frame.size() - 2];
    digit = digit == '0' ? '1' : '0';
}

std::string checksum_digits(const std::string& bytes)
{
    static constexpr char DIGITS[] = "0123456789ABCDEF";
    const std::uint8_t sum = router_checksum(bytes);
    return {DIGITS[sum / 16], DIGITS[sum % 16]};
}

// A frame that begins like this one and has so many bytes between its start and its end, with a
// good checksum wherever one fits.
std::string of_length(const std::string& frame, std::size_t length)
{
    std::string content = frame.substr(1, frame.size() - 2 - CHECKSUM_LENGTH);
    if (length < CHECKSUM_LENGTH) return SOH + content.substr(0, length) + EOT;
    content.resize(length - CHECKSUM_LENGTH, 'X');
    return SOH + content + checksum_digits(content) + EOT;
}

std::string with_nul(std::string frame)
{
    return frame.insert(frame.size() / 2, 1, '\0');
}

shaped_reply cut_reply(const std::vector<std::string>& frames, const scenario_step& step)
{
    std::string rest;
    for (const std::string& frame : frames)
        rest += frame;
    shaped_reply reply;
    std::size_t sent = 0;
    for (const std::size_t cut : step.cuts) {
        if (cut - sent >= rest.size()) break;
        reply.pieces.push_back(
            {reply.pieces.empty() ? 0 : step.pause_us, rest.substr(0, cut - sent)});
        rest.erase(0, cut - sent);
        sent = cut;
    }
    reply.pieces.push_back({reply.pieces.empty() ? 0 : step.pause_us, rest});
    return reply;
}

void change_frames(std::vector<std::string>& frames, const scenario_step& step)
{
    if (step.fault == fault_kind::checksum)
        std::for_each(frames.begin(), frames.end(), spoil_checksum);
    if (step.fault == fault_kind::reorder) std::reverse(frames.begin(), frames.end());
    if (step.fault == fault_kind::truncate && frames[0].size() > step.bytes)
        frames[0].resize(step.bytes);
    if (step.fault == fault_kind::length) frames[0] = of_length(frames[0], step.bytes);
    if (step.fault == fault_kind::nul) frames[0] = with_nul(frames[0]);
}
} // namespace

shaped_reply faulty_reply(const scenario_step& step, std::mt19937_64& random,
                          const std::vector<router_message>& messages)
{
    if (step.fault == fault_kind::lose || step.fault == fault_kind::endless) return {};
    std::vector<std::string> frames = encoded_messages(messages);
    if (frames.empty()) return {};
    change_frames(frames, step);
    if (step.fault == fault_kind::cut) return cut_reply(frames, step);
    if (step.fault == fault_kind::duplicate) {
        const std::vector<std::string> once = frames;
        frames.insert(frames.end(), once.begin(), once.end());
    }
    shaped_reply reply = reply_of(frames);
    if (step.fault == fault_kind::late) reply.late_us = draw(random, step.delay_us);
    reply.behind_next = step.fault == fault_kind::reorder && frames.size() == 1;
    return reply;
}

bool refuses_request(fault_kind kind)
{
    return kind == fault_kind::nak || kind == fault_kind::error;
}

router_message refusal(const scenario_step& step, std::string_view mnemonic)
{
    if (step.fault == fault_kind::error)
        return make_request("ER", {step.code, std::string(mnemonic)});
    router_message rejection;
    rejection.nak = true;
    rejection.nakerr = 1;
    return rejection;
}

namespace {
// A position drawn from all but the one that is routed.
std::size_t other_source(const simulated_router& router, std::mt19937_64& random,
                         std::size_t destination)
{
    const std::size_t drawn = draw(random, {0, router.sources.names.size() - 2});
    return drawn < router.routes[destination] ? drawn : drawn + 1;
}
} // namespace

std::optional<made_take> contradict(const simulated_router& router, std::mt19937_64& random,
                                    const router_message& request,
                                    std::vector<router_message>& messages)
{
    if (request.parameters.empty() || router.sources.names.size() < 2) return std::nullopt;
    const auto destination =
        position_of(router.destinations, std::strtoul(request.parameters[0].c_str(), nullptr, 16));
    if (!destination) return std::nullopt;
    const auto is_status = [](const router_message& each) {
        return mnemonic_of(each) == "IQ";
    };
    if (mnemonic_of(request) == "TI") messages.push_back(routing_status(router, *destination, 0));
    if (std::none_of(messages.begin(), messages.end(), is_status)) return std::nullopt;
    const std::size_t source = other_source(router, random, *destination);
    for (router_message& message : messages)
        if (is_status(message))
            message.parameters[4] = wire_index(index_of(router.sources, source));
    return made_take{*destination, source};
}

} // namespace router_simulator
