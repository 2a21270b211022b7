// How long a test waits for what must come: far beyond what any step takes on any machine, so that
// only a hang lasts that long.
#pragma once

#include <chrono>

constexpr std::chrono::minutes PATIENCE{5};
constexpr int PATIENCE_MS = std::chrono::milliseconds(PATIENCE).count(); // as poll wants it
