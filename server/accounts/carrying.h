// What is carried from one server to another as one JSON text: routers with their labels and locks,
// salvos with their versions, also deleted ones, and people with their rights and settings. Not
// carried are passwords, tokens, sessions and the history, which are for one server alone
// (journal::back_up copies everything).
#pragma once

#include <string>
#include <vector>

#include "server/accounts/accounts.h"
#include "server/desk/house.h"
#include "server/journal/store.h"

namespace accounts {

std::string export_text(const desk::house& house, const accounts_state& accounts);

struct carried {
    desk::house house;
    std::map<std::string, person, std::less<>> people;
};

// False, with a clause that says where it is wrong: "people.anna.rights has no \"usual\"".
bool read_export(const std::string& text, carried& read, std::string& error);

struct carrying_result {
    std::vector<std::string> against; // a sentence each; none: all is there now
    std::size_t routers = 0;          // that were added
    std::size_t salvos = 0;
    std::size_t people = 0;
    std::size_t same = 0; // that were there already, and were left
};

// Adds it to what a data folder has; or nothing, when something else of the same id or name is
// there already, or it would be too much. Throws as the store does, and nothing is added then.
carrying_result carry_in(journal::store& store, const carried& read, const desk::moment& now);

} // namespace accounts
