#include "server/web/metrics_text.h"

#include <limits>
#include <prometheus/metric_family.h>
#include <prometheus/text_serializer.h>

#include "server/journal/house_words.h"
#include "server/web/credentials.h"
#include "server/web/handlers.h"
#include "server/web/process_figures.h"

namespace web {

namespace {
using prometheus::ClientMetric;
using prometheus::MetricFamily;
using prometheus::MetricType;
using label_list = std::vector<ClientMetric::Label>;
using family_list = std::vector<MetricFamily>;

MetricFamily& add_family(family_list& families, MetricType type, const std::string& name,
                         const std::string& help)
{
    return families.emplace_back(MetricFamily{name, help, type, {}});
}

void add_value(MetricFamily& family, label_list labels, double value)
{
    ClientMetric& metric = family.metric.emplace_back();
    metric.label = std::move(labels);
    metric.counter.value = value; // the family's type decides which is written
    metric.gauge.value = value;
}

void add_gauge(family_list& families, const std::string& name, const std::string& help,
               double value)
{
    add_value(add_family(families, MetricType::Gauge, name, help), {}, value);
}

void add_counter(family_list& families, const std::string& name, const std::string& help,
                 double value)
{
    add_value(add_family(families, MetricType::Counter, name, help), {}, value);
}

template <std::size_t Bounds>
void add_histogram(MetricFamily& family, label_list labels, const histogram<Bounds>& histogram,
                   const std::array<double, Bounds>& bounds)
{
    ClientMetric& metric = family.metric.emplace_back();
    metric.label = std::move(labels);
    std::uint64_t count = 0;
    for (std::size_t i = 0; i < Bounds; ++i) {
        count += histogram.counts[i];
        metric.histogram.bucket.push_back({count, bounds[i]});
    }
    count += histogram.counts[Bounds];
    metric.histogram.bucket.push_back({count, std::numeric_limits<double>::infinity()});
    metric.histogram.sample_count = count;
    metric.histogram.sample_sum = histogram.sum;
}

// How old at least is what is shown of it.
double state_age(const desk::live_router& live, const desk::moment& now)
{
    if (live.link == desk::link_state::ready) return 0;
    return std::chrono::duration<double>(now.utc - live.link_since).count();
}

bool may_view(const desk::rights& may, const std::string& router)
{
    return desk::right_on(may, router) >= desk::right::view;
}

void add_links(family_list& families, const server& server, const desk::moment& now,
               const desk::rights& may)
{
    MetricFamily up{
        "router_link_up", "Whether the link to the router is ready.", MetricType::Gauge, {}};
    MetricFamily age{"router_state_age_seconds",
                     "How long the link has not been ready; 0 while it is.",
                     MetricType::Gauge,
                     {}};
    MetricFamily locks{"locks", "Locks and protects.", MetricType::Gauge, {}};
    for (const auto& [router, live] : server.desk.live) {
        if (!may_view(may, router)) continue;
        add_value(up, {{"router", router}}, live.link == desk::link_state::ready ? 1 : 0);
        add_value(age, {{"router", router}}, state_age(live, now));
        add_value(locks, {{"router", router}},
                  static_cast<double>(desk::find_router(server.desk, router)->locks.size()));
    }
    families.insert(families.end(), {std::move(up), std::move(age), std::move(locks)});
}

void add_wishes(family_list& families, const server& server, const desk::rights& may)
{
    MetricFamily wishes{"route_wishes_total", "Wishes that have ended.", MetricType::Counter, {}};
    MetricFamily confirm{"route_confirm_seconds",
                         "From a command to the router's report of the route.",
                         MetricType::Histogram,
                         {}};
    MetricFamily outside{"outside_changes_total",
                         "Routes that changed without a wish of anybody here.",
                         MetricType::Counter,
                         {}};
    for (const auto& [router, live] : server.desk.live) {
        if (!may_view(may, router)) continue;
        const auto found = server.metrics.routers.find(router);
        const router_counters counters =
            found == server.metrics.routers.end() ? router_counters{} : found->second;
        for (const auto& [what, count] : counters.wishes)
            add_value(wishes,
                      {{"router", router},
                       {"origin", what.first},
                       {"outcome", std::string(journal::word_of(journal::OUTCOMES, what.second))}},
                      static_cast<double>(count));
        add_histogram(confirm, {{"router", router}}, counters.confirm, CONFIRM_BOUNDS);
        add_value(outside, {{"router", router}}, static_cast<double>(counters.outside_changes));
    }
    families.insert(families.end(), {std::move(wishes), std::move(confirm), std::move(outside)});
}

void add_backends(family_list& families, const server& server, const desk::rights& may)
{
    MetricFamily restarts{"backend_restarts_total",
                          "Starts of the router's process after the first.",
                          MetricType::Counter,
                          {}};
    MetricFamily frames{
        "trace_frames_total", "Frames between the server and the router.", MetricType::Counter, {}};
    for (const auto& [router, backend] : server.routers.backends) {
        if (!may_view(may, router)) continue;
        add_value(restarts, {{"router", router}},
                  static_cast<double>(backend.starts == 0 ? 0 : backend.starts - 1));
        add_value(frames, {{"router", router}, {"direction", "sent"}},
                  static_cast<double>(backend.trace.sent));
        add_value(frames, {{"router", router}, {"direction", "received"}},
                  static_cast<double>(backend.trace.received));
    }
    families.insert(families.end(), {std::move(restarts), std::move(frames)});
}

void add_clients(family_list& families, const server& server)
{
    add_gauge(families, "live_clients", "Clients that follow live.",
              static_cast<double>(server.live.clients.size()));
    add_counter(families, "live_dropped_total",
                "Live messages that were not sent to clients too far behind.",
                static_cast<double>(server.live.dropped));
    add_family(families, MetricType::Gauge, "gateway_clients", "Clients of other protocols.");
    add_family(families, MetricType::Counter, "gateway_errors_total",
               "What clients of other protocols did wrong.");
    MetricFamily& requests = add_family(families, MetricType::Counter, "http_requests_total",
                                        "Requests that were answered, by operation.");
    for (const auto& [what, count] : server.metrics.requests)
        add_value(requests, {{"route", what.first}, {"status", std::to_string(what.second)}},
                  static_cast<double>(count));
    add_histogram(add_family(families, MetricType::Histogram, "http_seconds",
                             "From a request to its answer, what it waited for included."),
                  {}, server.metrics.http, HTTP_BOUNDS);
}

void add_journal(family_list& families, const server& server)
{
    add_gauge(families, "journal_queue", "Records that are not on the disk yet.",
              static_cast<double>(server.journal_health.waiting));
    add_counter(families, "journal_failures_total", "How often the disk has begun to fail.",
                static_cast<double>(server.metrics.journal_failures));
}

void add_process(family_list& families)
{
    const process_figures figures = read_process_figures();
    add_counter(families, "process_cpu_seconds_total", "Processor time, in user and system.",
                figures.cpu_seconds);
    add_gauge(families, "process_resident_memory_bytes", "Memory in use.", figures.resident_bytes);
    add_gauge(families, "process_virtual_memory_bytes", "Memory as addressed.",
              figures.virtual_bytes);
    add_gauge(families, "process_open_fds", "Open file descriptors.", figures.open_descriptors);
    add_gauge(families, "process_max_fds", "How many may be open.", figures.most_descriptors);
    add_gauge(families, "process_start_time_seconds", "When it was started, since 1970.",
              figures.started);
}

response text_response(std::string text)
{
    return {200, "text/plain; version=0.0.4; charset=utf-8", std::move(text), {}};
}
} // namespace

answer get_metrics(server& server, const call& call)
{
    return text_response(metrics_text(server, call.now, call.actor.may));
}

response metrics_response(const server& server, const desk::moment& now, const request& request)
{
    problem wrong;
    if (!is_called_by(server.settings.metrics_hosts, request, wrong))
        return problem_response(wrong);
    const std::vector<std::string> path = {"metrics"};
    const bool is_read = request.method == method::get || request.method == method::head;
    if (request.path != path || !is_read)
        return problem_response({"notFound", "Here is GET /metrics alone."});
    return text_response(metrics_text(server, now, {desk::right::view, {}, {}}));
}

std::string metrics_text(const server& server, const desk::moment& now, const desk::rights& may)
{
    family_list families;
    add_links(families, server, now, may);
    add_wishes(families, server, may);
    add_backends(families, server, may);
    add_clients(families, server);
    add_journal(families, server);
    add_value(add_family(families, MetricType::Gauge, "build_info", "Which version this is."),
              {{"version", PROJECT_VERSION}}, 1);
    add_process(families);
    return prometheus::TextSerializer().Serialize(families);
}

} // namespace web
