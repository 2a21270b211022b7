#include "server/desk/actor.h"

namespace desk {

right right_on(const rights& rights, const std::string& router)
{
    const auto exception = rights.exceptions.find(router);
    return exception == rights.exceptions.end() ? rights.usual : exception->second;
}

bool may_operate(const rights& rights, const std::string& router, const std::string& group)
{
    const right here = right_on(rights, router);
    if (here > right::operate) return true;
    return here == right::operate && (!rights.groups || rights.groups->contains(group));
}

const char* text_of(right right)
{
    switch (right) {
    case right::none:
        return "none";
    case right::view:
        return "view";
    case right::operate:
        return "operate";
    case right::engineer:
        return "engineer";
    case right::administer:
        return "administer";
    }
    return "";
}

} // namespace desk
