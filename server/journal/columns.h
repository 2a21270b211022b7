// What several tables hold in their columns.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <optional>

#include "server/desk/ids.h"
#include "server/desk/moment.h"

namespace journal {

// None for what is no identifier.
inline desk::ulid id_in(const SQLite::Column& column)
{
    desk::ulid id;
    if (!column.isNull()) desk::read_id(column.getString(), id);
    return id;
}

inline std::optional<desk::monotonic> duration_in(const SQLite::Column& column)
{
    if (column.isNull()) return std::nullopt;
    return desk::monotonic(column.getInt64());
}

} // namespace journal
