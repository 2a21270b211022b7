// What a command of the console answers, for a person and for a program.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "server/desk/ids.h"

namespace console {

enum class verdict {
    done,
    wrong_use, // not understood: no such command, name or number
    refused,   // understood, and not done
    not_ready, // the router cannot be reached now
};

struct answer {
    std::string text = {}; // lines with their ends; names in it are the router's, as they came
    nlohmann::json json = nlohmann::json::object(); // the same; positions count from 0
    console::verdict verdict = console::verdict::done;
    desk::ulid batch = {}; // wishes whose end is still to come; none: nothing is
    bool follow = false;   // all changes are to be shown from now on
    bool quit = false;
};

// The complaint is a sentence.
inline answer refusal(const std::string& complaint, verdict why)
{
    return {.text = complaint + "\n", .json = {{"error", complaint}}, .verdict = why};
}

} // namespace console
