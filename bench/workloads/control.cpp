#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <sys/epoll.h>

#include "bench/workloads/control_server.h"
#include "bench/workloads/control_takes.h"
#include "bench/workloads/workload.h"
#include "common/numbers.h"
#include "support/frames.h"

namespace bench {

namespace {
struct load_size {
    std::size_t routers;
    std::size_t ports; // sources and destinations of each
    std::size_t followers;
    std::size_t silent; // of the followers: take nothing
    double takes;       // a second, of all routers together
    double gets;        // a second
    double seconds;     // so few that no destination is taken twice
};
constexpr load_size LOAD = {50, 256, 500, 20, 200, 2000, 20};
constexpr load_size QUICK_LOAD = {2, 16, 4, 1, 8, 20, 1};
constexpr std::size_t ASKING = 8; // connections of GETs
constexpr int WISHED = 1;         // the source of each take; until then the first is shown
constexpr double HEARTBEAT_US = 10'000'000;
constexpr double LAST_WAIT_US = 2'000'000; // for what is still under way at the end
constexpr double CHANGE_LIMIT_MS = 50;
constexpr double CLIENT_LIMIT_KIB = 200;

// A take, and how many followers have been told of its route.
struct taken_route {
    bool is_wished = false;
    double shown = 0; // when the router said so
    double last_told = 0;
    std::size_t told = 0;
};

struct route_taker {
    web_client client;
    double next = 0;
    std::size_t destination = 0;
    std::vector<taken_route> routes{}; // by destination
};

struct route_getter {
    web_client client;
    double next = 0;
};

struct load {
    load_size size;
    std::unique_ptr<control_server> server;
    std::vector<running_program> routers{};
    std::vector<measured_program*> programs{};
    std::vector<route_taker> takers{}; // one for each router
    std::vector<route_getter> getters{};
    std::vector<follower> followers{}; // the silent ones first
    common::owned_descriptor events{};
    double next_heartbeat = 0;
    bool asks = true; // clear: what is under way comes to its end

    std::vector<double> told_ms{};    // of each take, when the last follower was told
    std::vector<double> outcome_ms{}; // of each take, when its outcome was answered
    std::vector<double> get_ms{};
    std::size_t unconfirmed = 0;
};

void start_routers(load& load)
{
    const auto answers = router_answers(load.size.ports, load.size.ports);
    web_client client = connect_to_control(*load.server);
    for (std::size_t i = 0; i < load.size.routers; ++i) {
        load.routers.push_back(start_router(answers));
        load.programs.push_back(load.routers.back().get());
        add_router(client, *load.server, i, load.routers.back()->router.port);
        serve_for(load.programs, 1); // nobody waits for long for its router
    }
    const auto is_ready = [&] {
        const std::string all = answer_of(client, *load.server, "GET", "/routers");
        std::size_t ready = 0;
        for (std::size_t at = 0; (at = all.find(R"("state":"ready")", at)) != std::string::npos;
             ++at)
            ++ready;
        return ready == load.size.routers;
    };
    while (!is_ready())
        serve_for(load.programs, 100);
    serve_for(load.programs, 3000); // the routes have been read
}

// KiB for each.
double connect_followers(load& load)
{
    const double before = pss_in_kib(load.server->child.process);
    for (std::size_t i = 0; i < load.size.followers; ++i) {
        load.followers.push_back(follow(*load.server, load.size.routers));
        for (std::size_t each = load.size.silent; each < load.followers.size(); ++each)
            read_messages(load.followers[each], [](std::string_view) {});
        serve_for(load.programs, 1);
    }
    const double settled = now_in_us() + 3'000'000;
    while (now_in_us() < settled) {
        for (std::size_t each = load.size.silent; each < load.followers.size(); ++each)
            read_messages(load.followers[each], [](std::string_view) {});
        serve_for(load.programs, 1);
    }
    return (pss_in_kib(load.server->child.process) - before) /
           static_cast<double>(load.size.followers);
}

enum class who : std::uint32_t { router, taker, getter, follower };

void await_events_of(load& load, int descriptor, who what, std::size_t number)
{
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.u64 = std::uint64_t{static_cast<std::uint32_t>(what)} << 32 | number;
    if (epoll_ctl(load.events.number, EPOLL_CTL_ADD, descriptor, &event) != 0)
        throw std::runtime_error("A descriptor cannot be watched.");
}

void connect_askers(load& load)
{
    load.events = common::owned_descriptor(epoll_create1(EPOLL_CLOEXEC));
    const double now = now_in_us();
    for (std::size_t i = 0; i < load.size.routers; ++i) {
        const double phase = static_cast<double>(i) / load.size.takes * 1e6;
        load.takers.push_back({connect_to_control(*load.server), now + phase});
        load.takers.back().routes.resize(load.size.ports);
        await_events_of(load, load.routers[i]->router.client, who::router, i);
        await_events_of(load, load.takers[i].client.socket.number, who::taker, i);
    }
    for (std::size_t i = 0; i < ASKING; ++i) {
        const double phase = static_cast<double>(i) / load.size.gets * 1e6;
        load.getters.push_back({connect_to_control(*load.server), now + phase});
        await_events_of(load, load.getters[i].client.socket.number, who::getter, i);
    }
    for (std::size_t i = load.size.silent; i < load.size.followers; ++i)
        await_events_of(load, load.followers[i].socket.number, who::follower, i);
}

// The take's answers stand ready before it comes.
void take_next(load& load, std::size_t number)
{
    route_taker& taker = load.takers[number];
    const std::size_t destination = taker.destination++;
    taker.routes.at(destination).is_wished = true;
    const std::string to = upper_hex(static_cast<std::uint32_t>(destination) + 1);
    const std::string from = upper_hex(static_cast<std::uint32_t>(WISHED) + 1);
    auto& answers = load.routers[number]->router.answers;
    answers["TI " + to + " " + from] = frame(body("ER", {"00", "TI"}));
    answers["QI " + to + " 0"] = frame(body("IQ", {to, "0", "0", "N", from}));
    ask(taker.client, *load.server, "PUT",
        "/routers/r" + std::to_string(number) + "/destinations/" + std::to_string(destination) +
            "/route?wait=2000",
        "{\"source\":" + std::to_string(WISHED) + "}");
}

void ask_what_is_due(load& load)
{
    const double now = now_in_us();
    const double takes_every = static_cast<double>(load.size.routers) / load.size.takes * 1e6;
    for (std::size_t i = 0; load.asks && i < load.takers.size(); ++i) {
        route_taker& taker = load.takers[i];
        if (taker.client.asked > 0 || now < taker.next) continue;
        taker.next += takes_every;
        take_next(load, i);
    }
    for (std::size_t i = 0; load.asks && i < load.getters.size(); ++i) {
        route_getter& getter = load.getters[i];
        if (getter.client.asked > 0 || now < getter.next) continue;
        getter.next += ASKING / load.size.gets * 1e6;
        const std::string router = "/routers/r" + std::to_string(i % load.size.routers);
        ask(getter.client, *load.server, "GET", router + "/routes");
    }
    if (now < load.next_heartbeat) return;
    load.next_heartbeat = now + HEARTBEAT_US;
    for (follower& each : load.followers)
        send_heartbeat(each);
}

void hear_router(load& load, std::size_t number)
{
    tcp_router& router = load.routers[number]->router;
    router.requests.clear();
    serve_router(router);
    const double now = now_in_us();
    for (const std::string& request : router.requests) {
        if (!request.starts_with("QI ")) continue;
        const std::size_t index = std::stoul(request.substr(3), nullptr, 16);
        taken_route& route = load.takers[number].routes.at(index - 1);
        if (route.is_wished && route.shown == 0) route.shown = now;
    }
}

void hear_taker(load& load, std::size_t number)
{
    route_taker& taker = load.takers[number];
    const std::optional<web_answer> answer = read_answer(taker.client);
    if (!answer) return;
    load.outcome_ms.push_back((now_in_us() - taker.client.asked) / 1000);
    taker.client.asked = 0;
    if (answer->status != 200) ++load.unconfirmed;
}

void hear_getter(load& load, std::size_t number)
{
    route_getter& getter = load.getters[number];
    const std::optional<web_answer> answer = read_answer(getter.client);
    if (!answer) return;
    if (answer->status != 200) throw std::runtime_error("A GET was answered: " + answer->body);
    load.get_ms.push_back((now_in_us() - getter.client.asked) / 1000);
    getter.client.asked = 0;
}

int number_at(std::string_view text)
{
    int number = -1;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

// Each of the routes stands as [destination,source,time,by].
void note_routes(load& load, std::string_view message)
{
    constexpr std::string_view TOPIC = R"("topic":"routers/r)";
    constexpr std::string_view ROUTES = R"("routes":[[)";
    const std::size_t topic = message.find(TOPIC);
    std::size_t at = message.find(ROUTES);
    if (topic == std::string_view::npos || at == std::string_view::npos) return;
    route_taker& taker =
        load.takers.at(static_cast<std::size_t>(number_at(message.substr(topic + TOPIC.size()))));
    const double now = now_in_us();
    for (at += ROUTES.size(); at != std::string_view::npos;) {
        const std::size_t comma = message.find(',', at);
        taken_route& route =
            taker.routes.at(static_cast<std::size_t>(number_at(message.substr(at))));
        if (number_at(message.substr(comma + 1)) == WISHED) {
            ++route.told;
            route.last_told = now;
        }
        const std::size_t end = message.find_first_of("]{", comma);
        const std::size_t close =
            message.find(']', message[end] == '{' ? message.find('}', end) : end);
        at = message.substr(close, 3) == "],[" ? close + 3 : std::string_view::npos;
    }
}

void hear(load& load, const epoll_event& event)
{
    const auto number = static_cast<std::uint32_t>(event.data.u64);
    switch (static_cast<who>(event.data.u64 >> 32)) {
    case who::router:
        return hear_router(load, number);
    case who::taker:
        return hear_taker(load, number);
    case who::getter:
        return hear_getter(load, number);
    case who::follower:
        return read_messages(load.followers[number],
                             [&](std::string_view message) { note_routes(load, message); });
    }
}

void go_on_until(load& load, double end)
{
    std::array<epoll_event, 256> events{};
    while (now_in_us() < end) {
        ask_what_is_due(load);
        const int count =
            epoll_wait(load.events.number, events.data(), static_cast<int>(events.size()), 1);
        for (int i = 0; i < count; ++i)
            hear(load, events[static_cast<std::size_t>(i)]);
    }
}

// Of the takes whose route not every follower who listens has been told of.
std::size_t note_last_routes(load& load)
{
    std::size_t untold = 0;
    for (const route_taker& taker : load.takers)
        for (const taken_route& route : taker.routes) {
            if (route.shown == 0) continue;
            if (route.told < load.size.followers - load.size.silent)
                ++untold;
            else
                load.told_ms.push_back((route.last_told - route.shown) / 1000);
        }
    return untold;
}

figure plain_figure(const std::string& measure, const std::string& unit, double ours,
                    std::optional<double> limit = std::nullopt)
{
    return {.workload = "control", .measure = measure, .unit = unit, .ours = ours, .limit = limit};
}

std::vector<figure> measure_load(const bench_plan& plan)
{
    allow_many_descriptors();
    load load{.size = plan.quick ? QUICK_LOAD : LOAD, .server = start_control(plan.programs)};
    start_routers(load);
    const double kib = connect_followers(load);
    connect_askers(load);
    const double cpu = cpu_in_us(load.server->child.process);
    const auto seconds = static_cast<std::size_t>(load.size.seconds);
    plan.progress("seconds", 0, seconds);
    const double begin = now_in_us();
    for (std::size_t i = 1; i <= seconds; ++i) {
        go_on_until(load, begin + static_cast<double>(i) * 1e6);
        plan.progress("seconds", i, seconds);
    }
    const double lasted = (now_in_us() - begin) / 1e6;
    const double used = (cpu_in_us(load.server->child.process) - cpu) / 1000 / lasted;
    const auto takes = static_cast<double>(load.outcome_ms.size());
    const auto gets = static_cast<double>(load.get_ms.size());
    load.asks = false;
    go_on_until(load, now_in_us() + LAST_WAIT_US);
    const auto untold = static_cast<double>(note_last_routes(load));
    figure rate = plain_figure("GETs answered", "GETs/s", gets / lasted);
    figure taken = plain_figure("takes answered", "takes/s", takes / lasted);
    rate.direction = taken.direction = better::more;
    return {rate,
            plain_figure("a GET, p99", "ms", quantile_of(load.get_ms, 0.99)),
            taken,
            plain_figure("takes not confirmed", "", static_cast<double>(load.unconfirmed), 0),
            plain_figure("until the outcome, p50", "ms", quantile_of(load.outcome_ms, 0.5)),
            plain_figure("until the outcome, p99", "ms", quantile_of(load.outcome_ms, 0.99)),
            plain_figure("until all are told, p50", "ms", quantile_of(load.told_ms, 0.5)),
            plain_figure("until all are told, p99", "ms", quantile_of(load.told_ms, 0.99),
                         CHANGE_LIMIT_MS),
            plain_figure("routes not told to all", "", untold, 0),
            plain_figure("memory for each follower", "KiB", kib, CLIENT_LIMIT_KIB),
            plain_figure("CPU", "ms/s", used)};
}
} // namespace

measurements measure_control(const bench_plan& plan)
{
    measurements found{.figures = measure_control_takes(plan), .tables = {}};
    for (const figure& each : measure_load(plan))
        found.figures.push_back(each);
    return found;
}

} // namespace bench
