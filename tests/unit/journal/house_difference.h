// Compares what the tables have with what the desk has.
#pragma once

#include <string>

#include "server/desk/limits.h"
#include "server/journal/house_json.h"

namespace journal {

inline void forget_old_steps(desk::house& house, desk::wall now)
{
    for (auto person = house.undo.begin(); person != house.undo.end();) {
        for (auto* steps : {&person->second.undo, &person->second.redo})
            std::erase_if(*steps, [&](const desk::undo_step& step) {
                return step.made < now - desk::UNDO_AGE;
            });
        person = person->second.undo.empty() && person->second.redo.empty()
                     ? house.undo.erase(person)
                     : std::next(person);
    }
}

// What differs, as far as it is not beyond a bound; empty when nothing does.
inline std::string difference(desk::house expected, desk::house found, desk::wall now)
{
    forget_old_steps(expected, now);
    forget_old_steps(found, now);
    if (expected == found) return "";
    return nlohmann::json::diff(house_json(expected), house_json(found)).dump(1);
}

} // namespace journal
