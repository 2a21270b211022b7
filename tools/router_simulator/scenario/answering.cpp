#include "router_simulator/scenario/answering.h"

#include <utility>

#include "router_simulator/router/answers.h"
#include "router_simulator/scenario/connection_faults.h"
#include "router_simulator/wire/trace.h"

namespace router_simulator {

namespace {
// What the scenario says of one reply.
struct reply_plan {
    us_time_t delay_us = 0;
    std::optional<std::size_t> fault; // the step
};

std::string request_text(const router_message& request)
{
    std::string text(mnemonic_of(request));
    for (const std::string& parameter : request.parameters)
        text += " " + parameter;
    return text;
}

router_event reply_fault(const scenario_step& step, int number, const std::string& request)
{
    return {.kind = "fault",
            .fault = fault_name(step.fault),
            .lasting = span_of(step.fault) != fault_span::moment,
            .client = number,
            .request = request};
}

// Tells of a delay at once; the other fault may have more to tell.
reply_plan plan_reply(simulator_server& server, int number, const std::string& request)
{
    reply_plan plan;
    if (!server.plan) return plan;
    for (const std::size_t index : reply_steps(*server.plan, request)) {
        const scenario_step& step = server.plan->steps[index];
        if (step.fault != fault_kind::delay) {
            plan.fault = index;
            continue;
        }
        const us_time_t delay_us = draw(server.plan->states[index].random, step.delay_us);
        plan.delay_us += delay_us;
        router_event event = reply_fault(step, number, request);
        event.ms = delay_us / 1000;
        print_event(server, event);
    }
    return plan;
}

std::vector<router_message> take_reply(std::vector<addressed_message>& answers, int number)
{
    std::vector<router_message> reply;
    for (const addressed_message& each : answers)
        if (each.client == number) reply.push_back(each.message);
    std::erase_if(answers,
                  [number](const addressed_message& each) { return each.client == number; });
    return reply;
}

// The destination counts as changed for the client, which can so find out what is true. Adds what
// there is to tell of it.
void contradict_reply(simulator_server& server, std::mt19937_64& random, int number,
                      const router_message& request, std::vector<router_message>& reply,
                      router_event& event)
{
    simulated_router& router = server.router;
    const auto shown = contradict(router, random, request, reply);
    if (!shown) return;
    router.clients.at(number).changed_destinations.insert(shown->destination);
    event.destination = index_of(router.destinations, shown->destination);
    event.source = index_of(router.sources, shown->source);
}

shaped_reply spoil_reply(simulator_server& server, std::size_t index, int number,
                         const router_message& request, std::vector<router_message>& reply)
{
    const scenario_step& step = server.plan->steps[index];
    std::mt19937_64& random = server.plan->states[index].random;
    router_event event = reply_fault(step, number, request_text(request));
    if (step.fault == fault_kind::contradict)
        contradict_reply(server, random, number, request, reply, event);
    print_event(server, event);
    if (step.fault == fault_kind::endless && !reply.empty()) {
        reply[0].seq = '1';
        start_stream(server, index, number, plain_reply({reply[0]}).pieces[0].bytes);
    }
    return faulty_reply(step, random, reply);
}

std::vector<addressed_message> answer_or_refuse(simulator_server& server, int number,
                                                const parsed_frame& frame, const reply_plan& plan)
{
    if (plan.fault) {
        const scenario_step& step = server.plan->steps[*plan.fault];
        if (refuses_request(step.fault))
            return {{number, refusal(step, mnemonic_of(frame.request))}};
    }
    return answer_request(server.router, number, frame.request);
}

void answer_request(simulator_server& server, int number, const parsed_frame& frame)
{
    const reply_plan plan = plan_reply(server, number, request_text(frame.request));
    std::vector<addressed_message> others = answer_or_refuse(server, number, frame, plan);
    print_takes(server, "client", number);
    std::vector<router_message> reply = take_reply(others, number);
    const shaped_reply shaped = plan.fault
                                    ? spoil_reply(server, *plan.fault, number, frame.request, reply)
                                    : plain_reply(reply);
    for (const router_message& message : reply)
        trace_line(server, number, '<', readable_message(message));
    send_reply(server, number, shaped, plan.delay_us);
    send_messages(server, others);
}

void handle_request(simulator_server& server, int number, const parsed_frame& frame)
{
    const std::string request = request_text(frame.request);
    do_request_faults(server, number, request, false);
    const auto found = server.links.find(number);
    if (found == server.links.end() || is_mute(found->second)) return;
    answer_request(server, number, frame);
    if (server.links.contains(number)) do_request_faults(server, number, request, true);
}

void handle_bad_frame(simulator_server& server, int number, const parsed_frame& frame)
{
    print_event(server, {.kind = "bad frame", .client = number, .reason = error_text(frame.error)});
    send_messages(server, {{number, make_nak(static_cast<std::int32_t>(frame.error))}});
}

void handle_frame(simulator_server& server, int number, const parsed_frame& frame)
{
    trace_line(server, number, '>', readable_frame(frame));
    if (is_mute(server.links.at(number))) return;
    if (frame.error == frame_error::none) {
        handle_request(server, number, frame);
    } else {
        handle_bad_frame(server, number, frame);
    }
}
} // namespace

void answer_bytes(simulator_server& server, int number, std::string_view bytes)
{
    const std::vector<parsed_frame> frames = parse_requests(server.links.at(number).parser, bytes);
    // An earlier frame may have ended the client.
    for (const parsed_frame& frame : frames)
        if (server.links.contains(number)) handle_frame(server, number, frame);
}

} // namespace router_simulator
