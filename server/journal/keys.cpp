#include "server/journal/keys.h"

#include <array>
#include <cstdio>

namespace journal {

std::string router_key(const std::string& router)
{
    return "routers/" + router;
}

std::string label_key(const std::string& router, desk::side side, int position)
{
    return "labels/" + router + (side == desk::side::sources ? "/sources/" : "/destinations/") +
           std::to_string(position);
}

std::string lock_key(const std::string& router, int destination)
{
    return "locks/" + router + "/" + std::to_string(destination);
}

std::string salvo_key(const desk::ulid& salvo)
{
    return "salvos/" + desk::text_of(salvo);
}

std::string version_key(const desk::ulid& salvo, int number)
{
    std::array<char, 16> digits{};
    std::snprintf(digits.data(), digits.size(), "%010d", number);
    return salvo_key(salvo) + "/versions/" + digits.data();
}

std::string notice_key(const desk::ulid& notice)
{
    return "notices/" + desk::text_of(notice);
}

} // namespace journal
