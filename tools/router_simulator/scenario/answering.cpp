#include "router_simulator/scenario/answering.h"

#include <algorithm>
#include <utility>

#include "router_simulator/router/answers.h"
#include "router_simulator/scenario/connection_faults.h"
#include "router_simulator/scenario/fault.h"
#include "router_simulator/scenario/plan.h"
#include "router_simulator/scenario/player.h"
#include "router_simulator/scenario/reply_faults.h"
#include "router_simulator/wire/trace.h"

namespace router_simulator {

namespace {
// As a step's "request" names it.
std::string request_text(const router_message& request)
{
    std::string text(mnemonic_of(request));
    for (const std::string& parameter : request.parameters)
        text += " " + parameter;
    return text;
}

// Carries the request out, unless a fault prevents it, and sends what the faults leave of the
// reply.
void answer(simulator& simulated, int number, const router_message& request,
            const std::string& text)
{
    simulator_server& server = simulated.server;
    std::vector<std::size_t> steps;
    if (simulated.plan) steps = reply_steps(*simulated.plan, text);
    const bool prevented = std::any_of(steps.begin(), steps.end(), [&simulated](std::size_t step) {
        return simulated.plan->steps[step].fault->prevents;
    });
    std::vector<addressed_message> answers;
    if (!prevented) answers = answer_request(server.router, number, request);
    print_takes(server, "client", number);

    std::vector<addressed_message> to_others;
    faulty_reply reply{.router = server.router, .client = number, .request = request};
    for (addressed_message& each : answers)
        if (each.client == number)
            reply.messages.push_back(each.message);
        else
            to_others.push_back(each);
    reply.shaped = plain_reply(reply.messages);
    for (const std::size_t index : steps) {
        const scenario_step& step = simulated.plan->steps[index];
        reply.event = {.kind = "fault",
                       .fault = step.fault->name,
                       .only_delays = step.fault->only_delays,
                       .client = number,
                       .request = text};
        step.fault->change_reply(reply, step, simulated.plan->states[index].random);
        const std::string repeated = std::exchange(reply.shaped.repeated, {});
        reply.event.lasting = !repeated.empty();
        print_event(server, reply.event);
        if (!repeated.empty()) start_stream(simulated, index, number, repeated);
    }
    for (const router_message& message : reply.messages)
        trace_line(server, number, '<', readable_message(message));
    send_reply(server, number, reply.shaped);
    send_messages(server, to_others);
}

void handle_frame(simulator& simulated, int number, const parsed_frame& frame)
{
    simulator_server& server = simulated.server;
    trace_line(server, number, '>', readable_frame(frame));
    // A router that does not answer has no faults of answers either.
    if (server.clients.at(number).stopped.answering) return;
    if (frame.error != frame_error::none) {
        print_event(server,
                    {.kind = "bad frame", .client = number, .reason = error_text(frame.error)});
        send_messages(server, {{number, make_nak(static_cast<std::int32_t>(frame.error))}});
        return;
    }
    const std::string text = request_text(frame.request);
    do_request_steps(simulated, number, text, false);
    const auto found = server.clients.find(number);
    if (found == server.clients.end() || found->second.stopped.answering) return;
    answer(simulated, number, frame.request, text);
    if (server.clients.contains(number)) do_request_steps(simulated, number, text, true);
}
} // namespace

void answer_bytes(simulator& simulated, int number, std::string_view bytes)
{
    simulator_server& server = simulated.server;
    // An earlier frame may have ended the client.
    for (const parsed_frame& frame : parse_requests(server.clients.at(number).parser, bytes))
        if (server.clients.contains(number)) handle_frame(simulated, number, frame);
}

} // namespace router_simulator
