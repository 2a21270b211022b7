// The database in the data folder: opened by one process at a time, of this program's version.
//
// `open_database` says in a sentence why not. Everything that is done with a database afterwards
// throws SQLite::Exception when the disk fails.
#pragma once

#include <SQLiteCpp/SQLiteCpp.h>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "tools/common/descriptors.h"

namespace journal {

constexpr const char* DATABASE_NAME = "journal.db"; // in its folder
constexpr const char* LOCK_NAME = "lock";

struct database {
    common::owned_descriptor lock; // of the folder, while it is open
    std::unique_ptr<SQLite::Database> file;
    std::map<std::string, SQLite::Statement, std::less<>> statements; // by their text

    database() = default;
    database(database&&) = default;
    database& operator=(database&&) = delete; // it would close the file under its statements
};

void close_database(database& opened);

// Makes the folder and the database where there is none. One of an earlier version is copied to
// journal.db.version-N before it is brought to the next, which may take its time. False, with a
// sentence: the folder is used by another process, cannot be written, the file is damaged, no
// journal, or was written by a newer program.
bool open_database(database& opened, const std::filesystem::path& folder, std::string& error);

// Copies the folder's database as it stands, also while a process works with it, to a file that
// there is not yet. False, with a sentence; there is no such file then.
bool back_up(const std::filesystem::path& folder, const std::filesystem::path& target,
             std::string& error);

// What is wrong with the folder's database, a line each; empty: nothing. Also while a process works
// with it. Reads all of it.
std::string check(const std::filesystem::path& folder);

} // namespace journal
