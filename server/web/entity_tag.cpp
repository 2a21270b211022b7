#include "server/web/entity_tag.h"

#include <algorithm>
#include <sodium.h>

namespace web {

namespace {
constexpr std::size_t TAG_BYTES = 12; // by chance the same once in 2^48 answers

std::string tag_of(const std::string& body)
{
    unsigned char hash[crypto_generichash_BYTES_MIN];
    crypto_generichash(hash, sizeof hash, reinterpret_cast<const unsigned char*>(body.data()),
                       body.size(), nullptr, 0);
    char text[2 * TAG_BYTES + 1];
    sodium_bin2hex(text, sizeof text, hash, TAG_BYTES);
    return "\"" + std::string(text) + "\"";
}

// In a list as `If-Match` and `If-None-Match` have it; "*" is any. A weak tag counts as its strong
// one, as nothing here tells apart what they would.
bool lists(std::string_view list, std::string_view tag)
{
    while (!list.empty()) {
        std::string_view one = list.substr(0, list.find(','));
        list.remove_prefix(std::min(list.size(), one.size() + 1));
        while (one.starts_with(' '))
            one.remove_prefix(1);
        while (one.ends_with(' '))
            one.remove_suffix(1);
        if (one.starts_with("W/")) one.remove_prefix(2);
        if (one == "*" || one == tag) return true;
    }
    return false;
}

const std::string* find_tag(const response& response)
{
    for (const auto& [name, value] : response.headers)
        if (name == "ETag") return &value;
    return nullptr;
}
} // namespace

void add_entity_tag(const request& request, response& response)
{
    if (response.status != 200) return;
    if (find_tag(response) == nullptr) response.headers.emplace_back("ETag", tag_of(response.body));
    const std::string* const known = find_header(request, "if-none-match");
    if (known == nullptr || changes_something(request.method)) return;
    if (lists(*known, *find_tag(response))) response = {304, "", "", std::move(response.headers)};
}

void add_entity_tag(response& response, const json& present)
{
    response.headers.emplace_back("ETag", tag_of(text_of(present)));
}

bool is_present(server& server, const call& call, std::span<const route> routes, problem& wrong)
{
    const std::string* const wanted = find_header(call.request, "if-match");
    if (wanted == nullptr) return true;
    request question;
    question.path = call.request.path;
    question.query = call.request.query;
    question.address = call.request.address;
    const route_match match = find_route(routes, question);
    if (match.found != nullptr) {
        response present =
            match.found->handle(server, {question, match.values, call.actor, call.now, {}})
                .response;
        add_entity_tag(question, present);
        const std::string* const tag = find_tag(present);
        if (tag != nullptr && lists(*wanted, *tag)) return true;
    }
    wrong = {"changedMeanwhile", "It has been changed since you read it. Read it again."};
    return false;
}

} // namespace web
