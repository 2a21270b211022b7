#include "server/journal/database.h"

#include <SQLiteCpp/Backup.h>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <system_error>

#include "server/journal/schema.h"

namespace journal {

namespace {
constexpr int BUSY_TIMEOUT_MS = 2000; // a copy or a check may be at work on the same file

std::string named(const std::filesystem::path& path)
{
    return path.string();
}

bool lock_folder(database& opened, const std::filesystem::path& folder, std::string& error)
{
    std::error_code failed;
    std::filesystem::create_directories(folder, failed);
    const std::filesystem::path path = folder / LOCK_NAME;
    opened.lock = common::owned_descriptor(open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
    if (opened.lock.number < 0) {
        error = "Cannot write to the folder " + named(folder) + ": " + std::strerror(errno) + ".";
        return false;
    }
    if (flock(opened.lock.number, LOCK_EX | LOCK_NB) != 0) {
        error = "The folder " + named(folder) +
                (errno == EWOULDBLOCK
                     ? " is used by another process."
                     : std::string(" cannot be locked: ") + std::strerror(errno) + ".");
        return false;
    }
    return true;
}

// Of a file without tables: it is made ours. False, with a clause, when it is not and cannot be.
bool check_kind(SQLite::Database& file, std::string& error)
{
    const int id = file.execAndGet("PRAGMA application_id").getInt();
    const bool is_new = file.execAndGet("SELECT count(*) FROM sqlite_master").getInt() == 0;
    if (id != APPLICATION_ID && !is_new) {
        error = "it is no journal";
        return false;
    }
    const int version = version_of(file);
    if (static_cast<std::size_t>(version) > SCHEMA_STEPS.size()) {
        error = "it was written by a newer program: its version is " + std::to_string(version) +
                ", this program's is " + std::to_string(SCHEMA_STEPS.size());
        return false;
    }
    if (is_new) file.exec("PRAGMA application_id = " + std::to_string(APPLICATION_ID));
    return true;
}

void set_up(SQLite::Database& file)
{
    file.setBusyTimeout(BUSY_TIMEOUT_MS);
    if (file.execAndGet("PRAGMA journal_mode = WAL").getString() != "wal")
        throw SQLite::Exception("no write-ahead log can be kept beside it");
    file.exec("PRAGMA synchronous = FULL");
    file.exec("PRAGMA foreign_keys = ON");
    file.exec("BEGIN IMMEDIATE; ROLLBACK"); // a file that can only be read is opened all the same
}
} // namespace

void close_database(database& opened)
{
    opened.statements.clear();
    opened.file.reset();
    opened.lock.reset();
}

bool open_database(database& opened, const std::filesystem::path& folder, std::string& error)
{
    if (!lock_folder(opened, folder, error)) return false;
    const std::filesystem::path path = folder / DATABASE_NAME;
    try {
        opened.file = std::make_unique<SQLite::Database>(path.string(), SQLite::OPEN_READWRITE |
                                                                            SQLite::OPEN_CREATE);
        if (check_kind(*opened.file, error)) {
            set_up(*opened.file);
            migrate(*opened.file, SCHEMA_STEPS, [&](int version) {
                const std::string copy = path.string() + ".version-" + std::to_string(version);
                std::filesystem::remove(copy); // of a start that failed after it
                if (!back_up(folder, copy, error))
                    throw SQLite::Exception(error.substr(0, error.size() - 1)); // a clause
            });
            return true;
        }
    } catch (const std::exception& thrown) {
        error = thrown.what();
    }
    error = named(path) + " cannot be used: " + error + ".";
    close_database(opened);
    return false;
}

bool back_up(const std::filesystem::path& folder, const std::filesystem::path& target,
             std::string& error)
{
    if (std::filesystem::exists(target)) {
        error = named(target) + " is there already.";
        return false;
    }
    const std::filesystem::path unfinished = target.string() + ".unfinished";
    std::error_code ignored;
    std::filesystem::remove(unfinished, ignored);
    try {
        SQLite::Database from((folder / DATABASE_NAME).string(), SQLite::OPEN_READWRITE,
                              BUSY_TIMEOUT_MS);
        {
            SQLite::Database to(unfinished.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
            SQLite::Backup(to, from).executeStep();
        }
        std::filesystem::rename(unfinished, target);
        return true;
    } catch (const std::exception& thrown) {
        error = named(target) + " cannot be written: " + thrown.what() + ".";
        std::filesystem::remove(unfinished, ignored);
        return false;
    }
}

std::string check(const std::filesystem::path& folder)
{
    std::string found;
    try {
        SQLite::Database file((folder / DATABASE_NAME).string(), SQLite::OPEN_READWRITE,
                              BUSY_TIMEOUT_MS);
        SQLite::Statement integrity(file, "PRAGMA integrity_check");
        while (integrity.executeStep())
            if (integrity.getColumn(0).getString() != "ok")
                found += integrity.getColumn(0).getString() + "\n";
        SQLite::Statement references(file, "PRAGMA foreign_key_check");
        while (references.executeStep())
            found += "a row of " + references.getColumn(0).getString() +
                     " refers to what is not in " + references.getColumn(2).getString() + "\n";
    } catch (const std::exception& thrown) {
        found += std::string(thrown.what()) + "\n";
    }
    return found;
}

} // namespace journal
