#include "server/web/credentials.h"

#include "server/accounts/sessions.h"
#include "server/accounts/tokens.h"
#include "tools/common/words.h"

namespace web {

namespace {
// Under TLS browsers take one of such a name from this host alone, and only by TLS.
std::string_view cookie_name(const server& server)
{
    return server.settings.secure ? "__Host-session" : "session";
}

std::string_view trimmed(std::string_view text)
{
    while (text.starts_with(' ') || text.starts_with('\t'))
        text.remove_prefix(1);
    while (text.ends_with(' ') || text.ends_with('\t'))
        text.remove_suffix(1);
    return text;
}

// None when the request has no such header, empty when it is of another kind.
std::optional<std::string_view> bearer_token(const request& request)
{
    const std::string* const header = find_header(request, "authorization");
    if (header == nullptr) return {};
    constexpr std::string_view SCHEME = "bearer ";
    const std::string_view text = *header;
    if (!common::same_name(text.substr(0, SCHEME.size()), SCHEME)) return "";
    return trimmed(text.substr(SCHEME.size()));
}

// Whether a page of ours has it: "http://localhost:8080" where people reach us without TLS.
bool is_ours(const server& server, std::string_view origin, const std::string& host)
{
    return common::same_name(origin, (server.settings.secure ? "https://" : "http://") + host);
}
} // namespace

std::string session_secret(const server& server, const request& request)
{
    const std::string* const header = find_header(request, "cookie");
    if (header == nullptr) return {};
    std::string_view rest = *header;
    while (!rest.empty()) {
        const std::string_view one = trimmed(rest.substr(0, rest.find(';')));
        rest.remove_prefix(std::min(rest.size(), rest.find(';')));
        if (rest.starts_with(';')) rest.remove_prefix(1);
        const auto end = one.find('=');
        if (end != std::string_view::npos && one.substr(0, end) == cookie_name(server))
            return std::string(one.substr(end + 1));
    }
    return {};
}

bool find_actor(server& server, const desk::moment& now, const request& request, desk::actor& actor,
                problem& wrong)
{
    if (const auto token = bearer_token(request)) {
        if (accounts::actor_of_token(server.accounts, now, *token, accounts::token_kind::api,
                                     actor))
            return true;
    } else if (accounts::actor_of_session(server.accounts, now, session_secret(server, request),
                                          actor)) {
        return true;
    } else if (server.settings.demonstration) {
        actor = {"guest", "panel", {desk::right::administer, {}, {}}};
        return true;
    }
    wrong = {"notSignedIn", "Sign in first."};
    return false;
}

bool is_called_by(const host_names& names, const request& request, problem& wrong)
{
    const std::string* const host = find_header(request, "host");
    if (names.empty() || (host != nullptr && names.contains(*host))) return true;
    wrong = {"foreignOrigin", "This server does not go by that name."};
    return false;
}

bool comes_from_us(const server& server, const request& request, bool changes, problem& wrong)
{
    if (!is_called_by(server.settings.hosts, request, wrong)) return false;
    const std::string* const host = find_header(request, "host");
    // A program shows its token, which no browser adds by itself.
    if (!changes || find_header(request, "authorization") != nullptr) return true;
    const std::string* const origin = find_header(request, "origin");
    const std::string* const site = find_header(request, "sec-fetch-site");
    const bool with_cookie = find_header(request, "cookie") != nullptr;
    // A program without a cookie sends neither; a browser sends the first with each change.
    const bool foreign = origin != nullptr
                             ? host == nullptr || !is_ours(server, *origin, *host)
                             : with_cookie || (site != nullptr && *site != "same-origin");
    if (!foreign && (site == nullptr || *site == "same-origin")) return true;
    wrong = {"foreignOrigin", origin == nullptr ? "A page of another site asked for this."
                                                : "A page of " + *origin + " asked for this."};
    return false;
}

std::string session_cookie(const server& server, const std::string& secret)
{
    std::string cookie(cookie_name(server));
    cookie += "=" + secret + "; Path=/; HttpOnly; SameSite=Strict";
    if (server.settings.secure) cookie += "; Secure";
    if (secret.empty()) cookie += "; Max-Age=0";
    return cookie;
}

} // namespace web
