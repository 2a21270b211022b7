// Random histories of a desk: several people with different rights, several routers with backends
// that answer, refuse, lose their link and report late, and time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "server/desk/entries.h"

namespace model {

struct step {
    std::uint32_t what = 0; // happens
    std::uint64_t luck = 0; // decides how
};

const char* name_of(const step& step);

std::vector<step> random_steps(std::uint64_t seed, std::size_t count);

// Plays the steps and then lets time pass. Empty when every rule held at every step, else the rule
// that did not and the number of the step, from 0.
std::string play(const std::vector<step>& steps);

// The house to which the steps lead, and how.
struct outcome {
    desk::house house;
    std::vector<desk::entry> entries;
    desk::wall now{};
};
outcome outcome_of(const std::vector<step>& steps);

} // namespace model
