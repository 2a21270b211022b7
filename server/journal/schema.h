// The tables, as the steps that lead to them from an empty database: each brings it from one
// version to the next, and none is ever changed once it has been used.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <functional>
#include <span>

namespace journal {

constexpr int APPLICATION_ID = 0x52434a31; // by which the file is known

extern const std::span<const char* const> SCHEMA_STEPS;

// Carries out those that the database has not had, each as one transaction, each after `before` has
// been called with the version that it finds, 1 or more. Throws what either throws; what was done
// by then stays.
void migrate(SQLite::Database& file, std::span<const char* const> steps,
             const std::function<void(int)>& before);

int version_of(SQLite::Database& file);

} // namespace journal
