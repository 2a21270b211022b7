#include "server/web/page.h"

#include <string_view>

#include "server/web/embedded.h"
#include "server/web/entity_tag.h"

namespace web {

namespace {
struct file {
    std::string_view path;
    std::string_view type;
    std::string_view (*content)();
};

constexpr file FILES[] = {
    {"", "text/html; charset=utf-8", embedded::index_html},
    {"first", "text/html; charset=utf-8", embedded::first_html},
    {"first.js", "text/javascript; charset=utf-8", embedded::first_js},
    {"page.css", "text/css; charset=utf-8", embedded::page_css},
};

constexpr const char* POLICY =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; font-src 'self'; "
    "connect-src 'self'; form-action 'none'; base-uri 'none'; frame-ancestors 'none'; "
    "require-trusted-types-for 'script'; trusted-types 'none'";
} // namespace

std::optional<response> page_file(const request& request)
{
    if (request.path.size() > 1) return {};
    const std::string_view name = request.path.empty() ? "" : std::string_view(request.path[0]);
    for (const file& each : FILES) {
        if (each.path != name) continue;
        response found{200, std::string(each.type), std::string(each.content()), {}};
        found.headers.emplace_back("Cache-Control", "no-cache");
        add_entity_tag(request, found);
        return found;
    }
    return {};
}

void add_security_headers(response& response, bool secure)
{
    const auto add = [&](const char* name, const char* value) {
        response.headers.emplace_back(name, value);
    };
    add("Content-Security-Policy", POLICY);
    add("X-Content-Type-Options", "nosniff");
    add("Referrer-Policy", "no-referrer");
    add("Cross-Origin-Opener-Policy", "same-origin");
    add("Cross-Origin-Resource-Policy", "same-origin");
    if (secure) add("Strict-Transport-Security", "max-age=31536000");
    for (const auto& [name, value] : response.headers)
        if (name == "Cache-Control") return;
    add("Cache-Control", "no-store");
}

} // namespace web
