// Statements of SQL, each prepared once for a database. All throw SQLite::Exception when the
// database says no, and leave no statement begun.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <optional>
#include <string>

#include "server/journal/database.h"

namespace journal {

// The prepared statement, ready to be bound; ready again with the record's end.
struct statement_use {
    SQLite::Statement& statement;

    statement_use(database& database, const std::string& sql)
        : statement(database.statements.try_emplace(sql, *database.file, sql).first->second)
    {
    }
    statement_use(const statement_use&) = delete;
    statement_use& operator=(const statement_use&) = delete;
    ~statement_use()
    {
        statement.tryReset();
    }
};

template <class value>
void bind_value(SQLite::Statement& statement, int index, const value& bound)
{
    statement.bind(index, bound);
}

// None is NULL.
template <class value>
void bind_value(SQLite::Statement& statement, int index, const std::optional<value>& bound)
{
    if (bound)
        bind_value(statement, index, *bound);
    else
        statement.bind(index);
}

template <class... values>
void bind_values(SQLite::Statement& statement, const values&... bound)
{
    int index = 0;
    (bind_value(statement, ++index, bound), ...);
}

// Returns how many rows it has changed.
template <class... values>
int run(database& database, const std::string& sql, const values&... bound)
{
    const statement_use use(database, sql);
    bind_values(use.statement, bound...);
    return use.statement.exec();
}

// Calls it with each row, whose columns can be read until it returns; until it returns false.
template <class call, class... values>
void each_row(database& database, const std::string& sql, call take, const values&... bound)
{
    const statement_use use(database, sql);
    bind_values(use.statement, bound...);
    while (use.statement.executeStep())
        if (!take(use.statement)) return;
}

} // namespace journal
