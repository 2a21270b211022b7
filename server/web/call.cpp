#include "server/web/call.h"

#include "server/desk/words.h"
#include "tools/common/numbers.h"

namespace web {

response json_response(const json& body, int status)
{
    return {status, "application/json", text_of(body), {}};
}

problem problem_of(const desk::objection& objection, const std::string& router)
{
    problem problem;
    problem.code = desk::code_of(objection.why);
    problem.detail = objection.detail;
    problem.router = router;
    return problem;
}

problem problem_of(const accounts::objection& objection)
{
    using accounts::refusal;
    switch (objection.why) {
    case refusal::none:
        break;
    case refusal::no_right:
        return {"noRight", objection.detail};
    case refusal::no_such_person:
        return {"noSuchPerson", objection.detail};
    case refusal::no_such_token:
        return {"noSuchToken", objection.detail};
    case refusal::exists:
        return {"nameTaken", objection.detail};
    case refusal::last_administrator:
        return {"lastAdministrator", objection.detail};
    case refusal::too_many:
        return {"tooManyAtOnce", objection.detail, 409};
    case refusal::bad_value:
        return {"badValue", objection.detail};
    }
    return {};
}

bool read_wait(const call& call, std::chrono::milliseconds usual, std::chrono::milliseconds& wait,
               problem& wrong)
{
    constexpr int LONGEST = 65'000;
    const std::string* const text = find_parameter(call.request, "wait");
    wait = usual;
    if (text == nullptr) return true;
    int number = 0;
    if (common::read_decimal(*text, number) && number >= 0 && number <= LONGEST) {
        wait = std::chrono::milliseconds(number);
        return true;
    }
    wrong = {"badValue", "wait must be a number of milliseconds from 0 to 65000"};
    wrong.errors = {{"wait", wrong.code, wrong.detail}};
    return false;
}

json person_json(const server& server, const std::string& person)
{
    const accounts::person* const known = accounts::find_person(server.accounts, person);
    if (known != nullptr) return {{"id", person}, {"name", known->name}};
    const auto token = server.accounts.tokens.find(person);
    return {{"id", person},
            {"name", token == server.accounts.tokens.end() ? person : token->second.name}};
}

} // namespace web
