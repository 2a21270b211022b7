// A journal in a folder of its own, and the things that tests put into it.
#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <vector>

#include "server/journal/entry_tables.h"
#include "support/temporary_directory.h"

namespace journal {

constexpr desk::wall NOW{1'000'000'000};

struct tables {
    temporary_directory folder;
    database opened;
    journal::store store{opened, {}, {}};

    tables()
    {
        open();
    }

    void open()
    {
        std::string error;
        if (!open_database(opened, folder.path, error)) throw std::runtime_error(error);
        opened.file->exec("PRAGMA synchronous = OFF"); // the machine does not fail here
    }

    void keep(const std::vector<desk::entry>& entries)
    {
        SQLite::Transaction transaction(*opened.file);
        for (const desk::entry& entry : entries)
            keep_entry(store, entry);
        transaction.commit();
    }
};

inline desk::entry by_anna(decltype(desk::entry::what) what)
{
    return {NOW, "anna", "panel", std::move(what)};
}

// A take of one row, that is open.
inline desk::entry take_of(std::uint64_t id, const std::string& person, const desk::route& wished,
                           desk::wall at = NOW)
{
    desk::batch batch;
    batch.person = person;
    batch.origin = "panel";
    batch.made = at;
    batch.rows.resize(1);
    batch.rows[0].wished = wished;
    return {at, person, "panel", desk::batch_made{{1, id}, batch}};
}

inline desk::entry end_of(std::uint64_t id, desk::outcome end, desk::wall at = NOW)
{
    desk::wish_ended ended;
    ended.id = {{1, id}, 0};
    ended.end = end;
    ended.ended_after = std::chrono::milliseconds(12);
    return {at, "", "", ended};
}

} // namespace journal
