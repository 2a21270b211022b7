#include "server/web/route_table.h"

#include <set>

namespace web {

namespace {
bool is_variable(std::string_view segment)
{
    return segment.starts_with('{');
}

// False when the path is another one than the pattern's. `values` is empty before.
bool matches(std::string_view pattern, const std::vector<std::string>& path,
             std::vector<std::string>& values)
{
    for (const std::string& segment : path) {
        if (!pattern.starts_with('/')) return false;
        pattern.remove_prefix(1);
        const std::string_view wanted = pattern.substr(0, pattern.find('/'));
        pattern.remove_prefix(wanted.size());
        if (is_variable(wanted))
            values.push_back(segment);
        else if (wanted != segment)
            return false;
    }
    return pattern.empty() || pattern == "/";
}

std::string_view word_of(method method)
{
    switch (method) {
    case method::get:
        return "GET";
    case method::head:
        return "HEAD";
    case method::post:
        return "POST";
    case method::put:
        return "PUT";
    case method::patch:
        return "PATCH";
    case method::remove:
        return "DELETE";
    case method::other:
        break;
    }
    return "";
}

std::string list_text(const std::set<method>& methods)
{
    std::string text;
    for (const method each : methods)
        text.append(text.empty() ? "" : ", ").append(word_of(each));
    return text;
}
} // namespace

route_match find_route(std::span<const route> routes, const request& request)
{
    const method wanted = request.method == method::head ? method::get : request.method;
    route_match best;
    std::set<method> methods;
    for (const route& each : routes) {
        std::vector<std::string> values;
        if (!matches(each.pattern, request.path, values)) continue;
        methods.insert(each.method);
        if (each.method == method::get && !each.acts) methods.insert(method::head);
        if (each.acts && request.method == method::head) continue;
        if (each.method == wanted && (best.found == nullptr || values.size() < best.values.size()))
            best = {&each, std::move(values), ""};
    }
    if (best.found == nullptr) best.allowed = list_text(methods);
    return best;
}

} // namespace web
