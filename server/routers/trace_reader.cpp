#include "server/routers/trace_reader.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "common/numbers.h"
#include "server/desk/trace.h"
#include "server/desk/words.h"

namespace routers {

namespace {
using requests = std::deque<request_sent>;

const std::string NO_PARAMETER;

const std::string& parameter(const router_message& message, std::size_t index)
{
    return index < message.parameters.size() ? message.parameters[index] : NO_PARAMETER;
}

// Of a frame sent, whose indexes the backend adds to in 32 bits: a disconnection is one less than
// the base.
int position_sent(const std::string& index, std::uint64_t base)
{
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(hex_number(index)) -
                                     static_cast<std::uint32_t>(base));
}

// Of a frame received; one that no position can be is UNKNOWN_SOURCE.
int position_received(const std::string& index, std::uint64_t base)
{
    const std::uint64_t position = hex_number(index) - base;
    if (position < desk::POSITIONS) return static_cast<int>(position);
    return position_sent(index, base) == -1 ? desk::NO_SOURCE : desk::UNKNOWN_SOURCE;
}

void keep_frame(trace_reader& trace, traced_frame frame)
{
    trace.frame_bytes += frame.raw.size();
    trace.frames.push_back(std::move(frame));
    while (trace.frames.size() > FRAMES_KEPT || trace.frame_bytes > FRAME_BYTES_KEPT) {
        trace.frame_bytes -= trace.frames.front().raw.size();
        trace.frames.pop_front();
    }
}

void give_up(const request_sent& request, bool passed_over, std::vector<trace_step>& steps)
{
    if (request.mnemonic == "TI") steps.emplace_back(take_unanswered{});
    if (request.mnemonic == "QI" && request.destination >= 0)
        steps.emplace_back(query_unanswered{request.destination, passed_over});
}

bool may_be_answered(const request_sent& request)
{
    return request.refusal.empty();
}

bool may_be_refused(const request_sent& request)
{
    return !request.shown && request.refusal.empty();
}

// These, the oldest, have been passed over. When there were as many refusals as requests that can
// have been refused, each has had its own; otherwise whose they are cannot be told.
void settle(trace_reader& trace, const requests::iterator& end, std::vector<trace_step>& steps)
{
    const bool each_has_its_own = std::none_of(trace.unanswered.begin(), end, may_be_refused);
    std::for_each(trace.unanswered.begin(), end, [&](const request_sent& request) {
        if (each_has_its_own && !request.refusal.empty() && request.mnemonic == "TI")
            steps.emplace_back(take_answered{request.refusal});
        else
            give_up(request, !each_has_its_own, steps);
    });
    trace.unanswered.erase(trace.unanswered.begin(), end);
}

// Those before this one that can only have been refused.
void settle_refused(trace_reader& trace, const requests::iterator& next,
                    std::vector<trace_step>& steps)
{
    if (std::any_of(trace.unanswered.begin(), next, may_be_refused)) return;
    auto end = next;
    while (end != trace.unanswered.begin() && std::prev(end)->refusal.empty())
        --end;
    settle(trace, end, steps);
}

void read_frame_sent(trace_reader& trace, const router_message& message, traced_frame& frame,
                     std::vector<trace_step>& steps)
{
    ++trace.sent;
    if (trace.unanswered.size() == REQUESTS_UNANSWERED) {
        give_up(trace.unanswered.front(), true, steps);
        trace.unanswered.pop_front();
    }
    request_sent request;
    request.mnemonic = mnemonic_of(message);
    request.kind = parameter(message, 0);
    if (request.mnemonic == "TI" || request.mnemonic == "QI")
        request.destination = position_sent(request.kind, trace.output_base);
    frame.destination = request.destination;
    if (request.mnemonic == "TI") {
        frame.meaning = meaning::take;
        frame.source = request.source = position_sent(parameter(message, 1), trace.input_base);
        steps.emplace_back(take_sent{frame.destination, frame.source});
    } else if (request.mnemonic == "QI") {
        frame.meaning = meaning::query;
        if (frame.destination >= 0) steps.emplace_back(query_sent{frame.destination});
    }
    trace.unanswered.push_back(std::move(request));
}

requests::iterator find_oldest(trace_reader& trace)
{
    return std::find_if(trace.unanswered.begin(), trace.unanswered.end(), may_be_answered);
}

requests::iterator find_request(trace_reader& trace, std::string_view mnemonic)
{
    return std::find_if(trace.unanswered.begin(), trace.unanswered.end(),
                        [&](const request_sent& request) {
                            return may_be_answered(request) && request.mnemonic == mnemonic;
                        });
}

// Of any kind when that is empty.
requests::iterator find_refused(trace_reader& trace, std::string_view mnemonic)
{
    return std::find_if(
        trace.unanswered.begin(), trace.unanswered.end(), [&](const request_sent& request) {
            return may_be_refused(request) && (mnemonic.empty() || request.mnemonic == mnemonic);
        });
}

// The request, if there is one, has its answer, so that older ones will have none any more.
void answer_request(trace_reader& trace, const requests::iterator& request,
                    std::vector<trace_step>& steps)
{
    if (request == trace.unanswered.end()) return;
    settle(trace, request, steps);
    trace.unanswered.pop_front();
}

// The kinds of a name query and of its answer end in the same letter; those of an identity are the
// same.
void read_data(trace_reader& trace, std::string_view mnemonic, const std::string& kind,
               std::vector<trace_step>& steps)
{
    const auto request = std::find_if(
        trace.unanswered.begin(), trace.unanswered.end(), [&](const request_sent& each) {
            return may_be_answered(each) && each.mnemonic == mnemonic && each.kind.ends_with(kind);
        });
    answer_request(trace, request, steps);
}

void answer_with_code(trace_reader& trace, const requests::iterator& request,
                      const std::string& refusal, std::vector<trace_step>& steps)
{
    if (request == trace.unanswered.end()) return;
    const request_sent answered = *request;
    answer_request(trace, request, steps);
    if (answered.mnemonic == "TI")
        steps.emplace_back(take_answered{refusal});
    else
        give_up(answered, false, steps);
}

// Of the oldest request, as far as the order tells; it may also be of a later one, when the answer
// to that one has been lost.
void read_bare_refusal(trace_reader& trace, const std::string& refusal,
                       std::vector<trace_step>& steps)
{
    const auto oldest = find_refused(trace, "");
    if (oldest == trace.unanswered.end()) return;
    oldest->refusal = refusal;
    settle_refused(trace, trace.unanswered.end(), steps);
}

// Of so many oldest requests, the takes.
void give_up_takes(trace_reader& trace, std::ptrdiff_t count, std::vector<trace_step>& steps)
{
    const auto end = trace.unanswered.begin() + count;
    const auto kept =
        std::remove_if(trace.unanswered.begin(), end,
                       [](const request_sent& request) { return request.mnemonic == "TI"; });
    steps.insert(steps.end(), static_cast<std::size_t>(end - kept), take_unanswered{});
    trace.unanswered.erase(kept, end);
}

void note_shown_takes(trace_reader& trace, const requests::iterator& query, int source)
{
    for (auto request = trace.unanswered.begin(); request != query; ++request)
        if (request->mnemonic == "TI" && request->destination == query->destination &&
            request->source == source && request->refusal.empty())
            request->shown = true;
}

// Routes come unasked as well. So an answer to a query tells that takes before it will have none
// only where the router does not confirm takes.
void read_route(trace_reader& trace, const traced_frame& frame, std::vector<trace_step>& steps)
{
    const auto query = std::find_if(trace.unanswered.begin(), trace.unanswered.end(),
                                    [&](const request_sent& each) {
                                        return may_be_answered(each) && each.mnemonic == "QI" &&
                                               each.destination == frame.destination;
                                    });
    if (query != trace.unanswered.end()) {
        note_shown_takes(trace, query, frame.source);
        settle_refused(trace, query, steps);
        const auto older = query - trace.unanswered.begin();
        trace.unanswered.erase(query);
        if (!trace.confirms) give_up_takes(trace, older, steps);
    }
    steps.emplace_back(route_told{frame.destination, frame.source});
}

// "NAK 0005", "ER 05"
std::string code_text(const traced_frame& refusal)
{
    const char* const name = refusal.nak ? "NAK" : "ER";
    if (refusal.code < 0) return name;
    char text[16];
    std::snprintf(text, sizeof text, refusal.nak ? "%s %04X" : "%s %02X", name,
                  static_cast<unsigned>(refusal.code));
    return text;
}

std::string note_refusal(traced_frame& frame, const router_message& message)
{
    frame.meaning = meaning::refusal;
    frame.nak = message.nak;
    frame.code = message.nakerr;
    return code_text(frame);
}

void read_error_answer(trace_reader& trace, const router_message& message, traced_frame& frame,
                       std::vector<trace_step>& steps)
{
    frame.meaning = meaning::confirmation;
    const std::string refusal = message.err ? note_refusal(frame, message) : "";
    const std::string& of = parameter(message, 1);
    if (message.ok && (of == "BK" || of == "TI")) trace.confirms = true;
    if (message.err && of.empty())
        read_bare_refusal(trace, refusal, steps);
    else if (message.err)
        answer_with_code(trace, find_refused(trace, of), refusal, steps);
    else
        answer_with_code(trace, of.empty() ? find_oldest(trace) : find_request(trace, of), "",
                         steps);
}

// A router that confirms otherwise may send one before the answer itself.
void read_ack(trace_reader& trace, std::vector<trace_step>& steps)
{
    const auto oldest = find_oldest(trace);
    if (trace.confirms || oldest == trace.unanswered.end()) return;
    const bool has_answer = std::string_view("NRTF").find(oldest->kind) != std::string_view::npos;
    if (oldest->mnemonic == "TI" ||
        (oldest->mnemonic == "BK" && (oldest->kind.empty() || !has_answer)))
        answer_with_code(trace, oldest, "", steps);
}

void read_frame_received(trace_reader& trace, const router_message& message, traced_frame& frame,
                         std::vector<trace_step>& steps)
{
    ++trace.received;
    frame.meaning = meaning::answer;
    const std::string_view mnemonic = mnemonic_of(message);
    const bool last = message.seq == '0' || message.seq == '\0';
    if (message.nak) {
        read_bare_refusal(trace, note_refusal(frame, message), steps);
    } else if (message.ack) {
        frame.meaning = meaning::confirmation;
        read_ack(trace, steps);
    } else if (mnemonic == "ER") {
        read_error_answer(trace, message, frame, steps);
    } else if (mnemonic == "IQ" && message.parameters.size() >= 5) {
        frame.meaning = meaning::route;
        frame.destination = position_received(message.parameters[0], trace.output_base);
        frame.source = position_received(message.parameters[4], trace.input_base);
        if (frame.destination >= 0) read_route(trace, frame, steps);
    } else if (mnemonic == "KB") {
        read_data(trace, "BK", parameter(message, 0), steps);
    } else if (mnemonic == "NQ" && last) {
        read_data(trace, "QN", parameter(message, 0), steps);
    } else if (mnemonic == "DQ" && last) {
        answer_request(trace, find_request(trace, "QD"), steps);
    }
}

void read_frame(trace_reader& trace, const desk::moment& now, const frame_line& line,
                std::vector<trace_step>& steps)
{
    traced_frame frame;
    frame.at = now;
    frame.way = line.way;
    frame.raw = line.message.raw;
    if (line.rejected) {
        ++trace.received;
        frame.meaning = meaning::rejected;
    } else if (line.way == direction::sent) {
        read_frame_sent(trace, line.message, frame, steps);
    } else {
        read_frame_received(trace, line.message, frame, steps);
    }
    keep_frame(trace, std::move(frame));
}
} // namespace

void read_trace(trace_reader& trace, const desk::moment& now, const diagnostic& told,
                std::vector<trace_step>& steps)
{
    if (const auto* frame = std::get_if<frame_line>(&told)) {
        read_frame(trace, now, *frame, steps);
    } else if (const auto* range = std::get_if<index_range>(&told)) {
        (range->inputs ? trace.input_base : trace.output_base) = range->first;
    } else if (const auto* line = std::get_if<link_line>(&told)) {
        if (line->what != link_event::closed && line->what != link_event::connected) return;
        for (const request_sent& request : std::exchange(trace.unanswered, {}))
            give_up(request, false, steps);
        trace.confirms = false;
    }
}

void end_trace(trace_reader& trace)
{
    trace.unanswered.clear();
    trace.confirms = false;
    trace.input_base = 0;
    trace.output_base = 0;
}

void tell_desk(desk::desk_state& desk, const desk::moment& now, const std::string& router,
               const std::vector<trace_step>& steps)
{
    for (const trace_step& step : steps) {
        if (const auto* take = std::get_if<take_sent>(&step))
            desk::trace_take(desk, now, router, take->destination, take->source);
        else if (const auto* answer = std::get_if<take_answered>(&step))
            desk::trace_take_answer(desk, now, router, answer->refusal);
        else if (std::holds_alternative<take_unanswered>(step))
            desk::trace_take_unanswered(desk, router);
        else if (const auto* query = std::get_if<query_sent>(&step))
            desk::trace_query(desk, router, query->destination);
        else if (const auto* unanswered = std::get_if<query_unanswered>(&step))
            desk::trace_query_unanswered(desk, now, router, unanswered->destination,
                                         unanswered->passed_over);
        else if (const auto* route = std::get_if<route_told>(&step))
            desk::trace_route(desk, now, router, route->destination, route->source);
    }
}

namespace {
// Mnemonic and parameters with blanks between, without checksum.
std::string plain_text(const traced_frame& frame)
{
    std::string text = frame.raw;
    if (frame.meaning != meaning::rejected && text.size() >= CHECKSUM_DIGITS) {
        text.resize(text.size() - CHECKSUM_DIGITS);
        text.erase(0, std::min<std::size_t>(text.size(), 2)); // protocol and sequence
    }
    return desk::cut_text(text);
}
} // namespace

std::string text_of(const traced_frame& frame, const desk::desk_state& desk,
                    const std::string& router)
{
    const auto destination = [&] {
        return desk::destination_name(desk, router, frame.destination);
    };
    const auto source = [&] {
        return desk::source_name(desk, router, frame.source);
    };
    switch (frame.meaning) {
    case meaning::take:
        return "take " + destination() + " <- " + source();
    case meaning::query:
        return "query " + destination();
    case meaning::route:
        return destination() + " shows " + source();
    case meaning::confirmation:
        return frame.raw.empty() ? "ACK" : "done: " + plain_text(frame);
    case meaning::refusal:
        return "refused: " + code_text(frame);
    case meaning::rejected:
        return "not understood: " + plain_text(frame);
    case meaning::request:
    case meaning::answer:
        return plain_text(frame);
    }
    return {};
}

} // namespace routers
