#include "server/web/page.h"

#include <algorithm>
#include <string_view>

#include "server/web/content_coding.h"
#include "server/web/entity_tag.h"
#include "server/web/panel_file.h"

namespace web {

namespace {
constexpr std::string_view PAGE = "index.html";
constexpr std::string_view ASSETS = "assets";

// The page answers at these and at all below them; what it shows there is its own matter.
constexpr std::string_view SCREENS[] = {"first",  "history", "routers",  "routing",
                                        "salvos", "server",  "settings", "wall"};

struct file_type {
    std::string_view suffix;
    const char* type;
};

constexpr file_type TYPES[] = {
    {".css", "text/css; charset=utf-8"},
    {".html", "text/html; charset=utf-8"},
    {".js", "text/javascript; charset=utf-8"},
    {".svg", "image/svg+xml"},
    {".woff2", "font/woff2"},
};

constexpr const char* POLICY =
    "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; font-src 'self'; "
    "connect-src 'self'; form-action 'none'; base-uri 'none'; frame-ancestors 'none'; "
    "require-trusted-types-for 'script'; trusted-types 'none'";

std::string type_of(std::string_view path)
{
    for (const auto& [suffix, type] : TYPES)
        if (path.ends_with(suffix)) return type;
    return "application/octet-stream";
}

// Of the file that is at this address; empty: none can be.
std::string file_at(const std::vector<std::string>& path)
{
    if (path.empty() || std::ranges::find(SCREENS, path[0]) != std::end(SCREENS))
        return std::string(PAGE);
    if (path[0] != ASSETS) return {};
    std::string joined = path[0];
    for (std::size_t i = 1; i < path.size(); ++i)
        joined += "/" + path[i];
    return joined;
}

std::string_view form_of(const panel_file& file, content_coding coding)
{
    switch (coding) {
    case content_coding::identity:
        break;
    case content_coding::gzip:
        return file.gzip;
    case content_coding::brotli:
        return file.brotli;
    }
    return file.plain;
}

response built_file(const request& request, const panel_file& file)
{
    const std::string* const accepted = find_header(request, "accept-encoding");
    const bool has_forms = !file.gzip.empty() && accepted != nullptr;
    const content_coding coding = has_forms ? choose_coding(*accepted) : content_coding::identity;
    response found{200, type_of(file.path), std::string(form_of(file, coding)), {}};
    // An asset's name differs when its content does.
    found.headers.emplace_back(
        "Cache-Control", file.path == PAGE ? "no-cache" : "public, max-age=31536000, immutable");
    if (!file.gzip.empty()) found.headers.emplace_back("Vary", "Accept-Encoding");
    std::string tag = "\"" + std::string(file.tag);
    if (coding != content_coding::identity) tag.append("-").append(text_of(coding));
    found.headers.emplace_back("ETag", tag + "\"");
    add_entity_tag(request, found);
    if (found.status == 200 && coding != content_coding::identity)
        found.headers.emplace_back("Content-Encoding", text_of(coding));
    return found;
}
} // namespace

std::optional<response> page_file(const request& request)
{
    const std::string path = file_at(request.path);
    if (path.empty()) return {};
    for (const panel_file& file : panel_files())
        if (file.path == path) return built_file(request, file);
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
