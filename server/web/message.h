// A request and its answer, as handlers see them: no socket, no parser.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace web {

enum class method { get, head, post, put, patch, remove, other };

// Whether a request of this method may change something.
bool changes_something(method method);

struct request {
    web::method method = method::get;
    // Of the target, decoded: UTF-8 without control characters.
    std::vector<std::string> path; // its segments; none is empty, "." or ".."
    std::vector<std::pair<std::string, std::string>> query;  // in order
    std::map<std::string, std::string, std::less<>> headers; // by small letters
    std::string body;
    std::string address;    // of the client
    bool encrypted = false; // it came by TLS
};

struct response {
    int status = 200;
    std::string type; // of the body; empty: there is none
    std::string body;
    std::vector<std::pair<std::string, std::string>> headers; // the others
    bool operator==(const response&) const = default;
};

// Null when the request has none of this name.
const std::string* find_header(const request& request, std::string_view name);
const std::string* find_parameter(const request& request, std::string_view name); // the first

} // namespace web
