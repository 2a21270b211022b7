// The names of the store's keys (store.h).
#pragma once

#include <string>

#include "server/desk/house.h"

namespace journal {

std::string router_key(const std::string& router);
std::string label_key(const std::string& router, desk::side side, int position);
std::string lock_key(const std::string& router, int destination);
std::string salvo_key(const desk::ulid& salvo);
std::string version_key(const desk::ulid& salvo, int number); // they sort by the number
std::string notice_key(const desk::ulid& notice);

} // namespace journal
