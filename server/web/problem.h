// What a request is answered with that is not carried out: application/problem+json.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "server/web/message.h"

namespace web {

// One value of the body, or one parameter.
struct problem_at {
    std::string pointer; // a JSON pointer into the body, or the parameter's name
    std::string code;
    std::string detail;
};

struct problem {
    std::string code;     // one of the words in the description
    std::string detail;   // a sentence for people
    int status = 0;       // 0: the code's own
    std::string router{}; // as the others below: empty when it does not concern one
    std::optional<int> destination{};
    std::string locked_by{};      // a person's id
    std::string locked_by_name{}; // for people
    std::string operation{};
    std::vector<problem_at> errors{}; // what is beyond ERRORS_TOLD is left out
};

constexpr std::size_t ERRORS_TOLD = 100;

// 500 when the code is none that is known here.
int status_of(std::string_view code);

response problem_response(const problem& problem);

} // namespace web
