#include "server/program/settings.h"

#include <arpa/inet.h>
#include <filesystem>
#include <toml++/toml.h>

namespace program {

namespace {
struct unreadable {
    toml::source_region where;
    std::string why;
};

[[noreturn]] void refuse(const toml::node& node, const std::string& why)
{
    throw unreadable{node.source(), why};
}

std::string text_of(const toml::node& node, const std::string& name)
{
    const auto* const text = node.as_string();
    if (text == nullptr) refuse(node, name + " must be a text");
    return text->get();
}

std::int64_t number_of(const toml::node& node, const std::string& name, std::int64_t least,
                       std::int64_t most)
{
    const auto* const number = node.as_integer();
    if (number == nullptr || number->get() < least || number->get() > most)
        refuse(node, name + " must be a whole number from " + std::to_string(least) + " to " +
                         std::to_string(most));
    return number->get();
}

bool flag_of(const toml::node& node, const std::string& name)
{
    const auto* const flag = node.as_boolean();
    if (flag == nullptr) refuse(node, name + " must be true or false");
    return flag->get();
}

bool is_address(const std::string& text)
{
    unsigned char bytes[sizeof(in6_addr)];
    return inet_pton(AF_INET, text.c_str(), bytes) == 1 ||
           inet_pton(AF_INET6, text.c_str(), bytes) == 1;
}

// False when it is neither key of an address.
bool read_address(const std::string& name, const toml::node& value, listen_address& address)
{
    if (name == "address") {
        address.address = text_of(value, name);
        if (!is_address(address.address)) refuse(value, "address must be an IPv4 or IPv6 address");
    } else if (name == "port") {
        address.port = static_cast<int>(number_of(value, name, 0, 65535));
    } else {
        return false;
    }
    return true;
}

std::vector<std::string> texts_of(const toml::node& node, const std::string& name)
{
    const auto* const list = node.as_array();
    if (list == nullptr) refuse(node, name + " must be a list of texts");
    std::vector<std::string> texts;
    for (const toml::node& each : *list)
        texts.push_back(text_of(each, name));
    return texts;
}

// False when the table has no such key.
bool read_value(const std::string& table, const std::string& name, const toml::node& value,
                settings& settings)
{
    if (table == "listen" && name == "names")
        settings.names = texts_of(value, name);
    else if (table == "listen" && name == "protected_in_front")
        settings.protected_in_front = flag_of(value, name);
    else if (table == "listen")
        return read_address(name, value, settings.listen);
    else if (table == "metrics")
        return read_address(name, value, *settings.metrics);
    else if (table == "tls" && name == "certificate")
        settings.certificate = text_of(value, name);
    else if (table == "tls" && name == "key")
        settings.key = text_of(value, name);
    else if (table == "simple_form" && name == "enabled")
        settings.simple_form = flag_of(value, name);
    else if (table == "history" && name == "days")
        settings.history.age = std::chrono::days(number_of(value, name, 2, 36'500));
    else if (table == "history" && name == "rows")
        settings.history.rows = number_of(value, name, 200'000, 1'000'000'000);
    else
        return false;
    return true;
}

void read_table(const std::string& name, const toml::node& node, settings& settings)
{
    const auto* const table = node.as_table();
    if (table == nullptr) refuse(node, "there is no setting " + name + " outside of a table");
    constexpr std::string_view TABLES[] = {"listen", "tls", "metrics", "simple_form", "history"};
    if (std::find(std::begin(TABLES), std::end(TABLES), name) == std::end(TABLES))
        refuse(node, "there is no table " + name);
    if (name == "metrics") settings.metrics = {"127.0.0.1", 9091};
    for (const auto& [key, value] : *table)
        if (!read_value(name, std::string(key.str()), value, settings))
            refuse(value, "there is no setting " + std::string(key.str()) + " in " + name);
}

// What they mean together; empty when they go.
std::string contradiction(const settings& settings)
{
    if (settings.certificate.empty() != settings.key.empty())
        return "TLS needs both a certificate and its key";
    if (settings.certificate.empty() && !is_loopback(settings.listen.address) &&
        !settings.protected_in_front)
        return "listening on " + settings.listen.address +
               " needs TLS ([tls] certificate and key), or the word that something in front of it "
               "does that ([listen] protected_in_front = true)";
    return {};
}
} // namespace

bool is_loopback(const std::string& address)
{
    return address.starts_with("127.") || address == "::1";
}

bool read_settings(const std::string& path, settings& settings, std::string& error)
{
    if (!std::filesystem::is_regular_file(path)) {
        error = path + " cannot be read: there is no such file";
        return false;
    }
    try {
        const toml::table file = toml::parse_file(path);
        for (const auto& [name, value] : file)
            read_table(std::string(name.str()), value, settings);
        error = contradiction(settings);
        if (!error.empty()) error = path + ": " + error;
    } catch (const unreadable& wrong) {
        error = path + ":" + std::to_string(wrong.where.begin.line) + ": " + wrong.why;
    } catch (const toml::parse_error& wrong) {
        error = path + ":" + std::to_string(wrong.source().begin.line) + ": " +
                std::string(wrong.description());
    }
    return error.empty();
}

} // namespace program
