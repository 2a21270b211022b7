// The operations of the API, as its description has them.
#pragma once

#include <map>
#include <regex>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "server/web/embedded.h"

namespace web_test {

struct described_operation {
    std::string method; // "get"
    std::string path;
    std::string name;
    std::string right;
    bool open = false; // to those who have not signed in
    bool has_body = false;
    std::set<std::string> parameters; // of the query
    bool keyed = false;               // it may come with an Idempotency-Key
};

// The members that stand so far from the margin, each with what follows its colon, and what stands
// farther in below it.
inline std::vector<std::pair<std::string, std::string>> members_of(const std::string& text,
                                                                   std::size_t margin)
{
    std::vector<std::pair<std::string, std::string>> members;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        const auto start = line.find_first_not_of(' ');
        const auto colon = line.find(':');
        if (start == margin && colon != std::string::npos)
            members.emplace_back(line.substr(margin, colon - margin), line.substr(colon + 1));
        else if (!members.empty() && start != std::string::npos && start > margin)
            members.back().second += "\n" + line;
    }
    return members;
}

inline std::string member_of(const std::string& text, std::size_t margin, const std::string& name)
{
    for (const auto& [each, value] : members_of(text, margin))
        if (each == name) return value;
    return {};
}

// Those of the query in a list of parameters.
inline std::set<std::string> query_parameters(const std::string& list,
                                              const std::map<std::string, std::string>& references)
{
    static const std::regex PARAMETER(R"(parameters/(\w+)|name: (\w+)\n +in: query)");
    std::set<std::string> names;
    for (std::sregex_iterator it(list.begin(), list.end(), PARAMETER), end; it != end; ++it) {
        const auto found = references.find((*it)[1]);
        if (found != references.end()) names.insert(found->second);
        if ((*it)[2].matched) names.insert((*it)[2]);
    }
    return names;
}

inline std::vector<described_operation> described_operations()
{
    const std::string text(web::embedded::description());
    std::map<std::string, std::string> references;
    for (const auto& [name, parameter] :
         members_of(member_of(member_of(text, 0, "components"), 2, "parameters"), 4))
        for (const std::string& of_query : query_parameters("\n" + parameter, {}))
            references[name] = of_query;
    std::vector<described_operation> operations;
    for (const auto& [path, item] : members_of(member_of(text, 0, "paths"), 2)) {
        const std::set<std::string> common =
            query_parameters(member_of(item, 4, "parameters"), references);
        for (const auto& [method, operation] : members_of(item, 4)) {
            if (method == "parameters") continue;
            described_operation found{method, path, "", "", false, false, common, false};
            found.name = member_of(operation, 6, "operationId").substr(1);
            found.right = member_of(operation, 6, "x-right").substr(1);
            const std::string parameters = member_of(operation, 6, "parameters");
            found.keyed = std::regex_search(parameters, std::regex("Idempotency-?Key"));
            found.open = member_of(operation, 6, "security") == " []";
            found.has_body = !member_of(operation, 6, "requestBody").empty();
            found.parameters.merge(query_parameters(parameters, references));
            operations.push_back(std::move(found));
        }
    }
    return operations;
}

} // namespace web_test
