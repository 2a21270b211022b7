#include "server/program/parts.h"

#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <random>

#include "server/accounts/kept_accounts.h"
#include "server/accounts/people.h"
#include "server/desk/people.h"
#include "server/desk/start.h"
#include "server/journal/saved_house.h"
#include "server/program/clocks.h"
#include "server/program/descriptor_limit.h"
#include "server/web/metrics_text.h"
#include "server/web/serving.h"

namespace program {

namespace {
constexpr std::chrono::seconds LONGEST_WRITING{10}; // at the end, while the disk fails

std::uint64_t seed()
{
    std::random_device random;
    return std::uint64_t{random()} << 32U | random();
}

// False, with the reason: the database is not read.
bool read_house(parts& parts, std::string& error)
{
    const desk::moment time = now();
    web::server& server = parts.server;
    if (!journal::open_database(server.journal.opened, parts.folder, error)) return false;
    try {
        journal::store store{server.journal.opened, {}, {}};
        server.desk = desk::make_desk(seed(), journal::saved_house(store, time.utc), time);
        server.accounts = accounts::kept_accounts(store, time);
        for (const auto& [id, person] : server.accounts.people)
            desk::forget_steps_before(server.desk.house, id, person.created);
        for (const auto& [id, token] : server.accounts.tokens)
            desk::forget_steps_before(server.desk.house, id, token.created);
        server.first_answers = web::kept_answers(store, time.utc);
    } catch (const std::exception& wrong) {
        error = parts.folder + "/" + journal::DATABASE_NAME + " cannot be used: " + wrong.what();
        return false;
    }
    return true;
}

web::transport_limits limits_here(web::server_log& log)
{
    web::transport_limits limits;
    const std::size_t descriptors = raise_descriptor_limit();
    const std::size_t clients = clients_with(descriptors);
    if (clients >= limits.connections) return limits;
    limits.connections = clients;
    web::log_line(log, now().utc, web::log_level::warning,
                  "At most " + std::to_string(clients) +
                      " clients are served at once: the system gives this program no more than " +
                      std::to_string(descriptors) + " descriptors");
    return limits;
}

// The way from the server to its clients and back.
void connect(parts& parts)
{
    web::server& server = parts.server;
    web::transport_hooks hooks;
    hooks.on_request = [&server](web::request_id id, web::request&& request) {
        web::take_request(server, now(), id, request);
    };
    hooks.on_gone = [&server](web::request_id id) {
        web::drop_request(server, now(), id);
    };
    hooks.on_message = [&server](web::stream_id id, std::string&& text) {
        web::hear_stream(server, now(), id, text);
    };
    hooks.on_drained = [&server](web::stream_id id) {
        web::drain_stream(server, now(), id);
    };
    hooks.on_stream_gone = [&server](web::stream_id id) {
        web::drop_stream(server, now(), id);
    };
    parts.transport =
        std::make_unique<web::transport>(parts.loop, std::move(hooks), limits_here(server.log));
    web::transport& transport = *parts.transport;
    server.clients.answer = [&transport](web::request_id id, web::response response) {
        web::respond(transport, id, std::move(response));
    };
    server.clients.open_body = [&transport](web::request_id id, web::response head) {
        web::open_stream(transport, id, std::move(head));
        return id;
    };
    server.clients.open_websocket = [&transport](web::request_id id, const std::string& protocol) {
        web::open_websocket(transport, id, protocol);
        return id;
    };
    server.clients.send = [&transport](web::stream_id id, std::shared_ptr<const std::string> text) {
        web::send(transport, id, std::move(text));
    };
    server.clients.unsent_bytes = [&transport](web::stream_id id) {
        return web::unsent_bytes(transport, id);
    };
    server.clients.finish = [&transport](web::stream_id id) {
        web::finish(transport, id);
    };
    server.clients.close = [&transport](web::stream_id id, int code, const std::string& reason) {
        web::close(transport, id, code, reason);
    };
}

// In the address that people are told, an IPv6 one stands in brackets.
std::string host_text(const std::string& address)
{
    return address.find(':') == std::string::npos ? address : "[" + address + "]";
}

std::string cannot_listen(const listen_address& at, const std::string& why)
{
    return "Cannot listen on " + host_text(at.address) + ":" + std::to_string(at.port) + ": " + why;
}

// By which names browsers may call what listens there: those of the settings; else, where it is on
// loopback, what stands for that; else any.
web::host_names names_of(const settings& settings, const std::string& address, int port)
{
    web::host_names names;
    const auto add = [&](const std::string& name) {
        names.insert(name);
        names.insert(name + ":" + std::to_string(port));
    };
    for (const std::string& name : settings.names)
        add(name);
    if (!names.empty() || is_loopback(address))
        for (const std::string& name : {std::string("localhost"), std::string("127.0.0.1"),
                                        std::string("[::1]"), host_text(address)})
            add(name);
    return names;
}

// False, with the reason.
bool open_metrics(parts& parts, const settings& settings, std::string& error)
{
    const listen_address& at = *settings.metrics;
    web::transport_hooks hooks;
    hooks.on_request = [&parts](web::request_id id, web::request&& request) {
        web::respond(*parts.metrics, id, web::metrics_response(parts.server, now(), request));
    };
    parts.metrics = std::make_unique<web::transport>(parts.loop, std::move(hooks));
    std::string why;
    const int port = web::listen(*parts.metrics, at.address, at.port, nullptr, why);
    if (port == 0) error = cannot_listen(at, why);
    parts.server.settings.metrics_hosts = names_of(settings, at.address, port);
    parts.metrics_address =
        "http://" + host_text(at.address) + ":" + std::to_string(port) + "/metrics";
    return port != 0;
}

} // namespace

bool open_house(parts& parts, const options& options, const settings& settings, std::string& error)
{
    accounts::begin_secrets();
    web::server& server = parts.server;
    web::print_log(server.log, std::getenv("JOURNAL_STREAM") != nullptr); // systemd sets it
    if (!read_house(parts, error)) return false;
    server.settings.demonstration = options.demonstration;
    server.settings.simple_form = settings.simple_form || options.demonstration;
    server.settings.secure = !settings.certificate.empty() || settings.protected_in_front;
    server.started = now();
    server.instance = desk::make_id(server.desk.ids, server.started.utc);
    server.routers.program = options.backend;
    server.routers.folder = parts.folder + "/backends";
    std::error_code failed;
    std::filesystem::create_directories(server.routers.folder, failed);
    server.journal.retention = settings.history;
    if (!options.demonstration && accounts::lacks_administrator(server.accounts))
        server.first_code = accounts::new_code();
    if (failed) error = "Cannot write to " + server.routers.folder + ": " + failed.message() + ".";
    return !failed;
}

bool open_doors(parts& parts, const settings& settings, std::string& error)
{
    connect(parts);
    const web::tls_files files{settings.certificate, settings.key};
    const bool secure = !files.certificate.empty();
    const int port = web::listen(*parts.transport, settings.listen.address, settings.listen.port,
                                 secure ? &files : nullptr, error);
    if (port == 0) {
        error = cannot_listen(settings.listen, error);
        return false;
    }
    parts.server.settings.hosts = names_of(settings, settings.listen.address, port);
    parts.address = (secure ? "https://" : "http://") + host_text(settings.listen.address) + ":" +
                    std::to_string(port) + "/";
    web::log_line(parts.server.log, now().utc, web::log_level::note,
                  "Listening on " + host_text(settings.listen.address) + ":" +
                      std::to_string(port));
    return !settings.metrics || open_metrics(parts, settings, error);
}

bool start_threads(web::server& server, std::string& error)
{
    if (!journal::start_keeper(server.journal, error)) return false;
    if (accounts::start_worker(server.passwords, error)) return true;
    journal::finish_keeper(server.journal, LONGEST_WRITING);
    return false;
}

bool close_house(parts& parts)
{
    accounts::stop_worker(parts.server.passwords);
    if (journal::finish_keeper(parts.server.journal, LONGEST_WRITING)) return true;
    std::cerr << "Not everything could be written to " << parts.folder << ".\n";
    return false;
}

} // namespace program
