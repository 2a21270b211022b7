#include "server/web/message.h"

#include <algorithm>

namespace web {

bool changes_something(method method)
{
    return method != method::get && method != method::head;
}

const std::string* find_header(const request& request, std::string_view name)
{
    const auto found = request.headers.find(name);
    return found == request.headers.end() ? nullptr : &found->second;
}

const std::string* find_parameter(const request& request, std::string_view name)
{
    const auto found = std::find_if(request.query.begin(), request.query.end(),
                                    [&](const auto& each) { return each.first == name; });
    return found == request.query.end() ? nullptr : &found->second;
}

} // namespace web
