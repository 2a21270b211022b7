#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "server/journal/database.h"
#include "server/journal/schema.h"
#include "server/journal/sql.h"
#include "support/temporary_directory.h"

using namespace journal;
using testing::HasSubstr;
using testing::StartsWith;

namespace {
struct DatabaseTest : testing::Test {
    temporary_directory folder;
    std::filesystem::path file = folder.path / DATABASE_NAME;

    // Empty when it was opened.
    std::string complaint()
    {
        database opened;
        std::string error;
        return open_database(opened, folder.path, error) ? "" : error;
    }

    // Does it to the database as any other program could.
    void change(const std::string& sql)
    {
        SQLite::Database other(file.string(), SQLite::OPEN_READWRITE | SQLite::OPEN_CREATE);
        other.exec(sql);
    }
};

std::string value_of(database& opened, const std::string& pragma)
{
    return opened.file->execAndGet("PRAGMA " + pragma).getString();
}
} // namespace

TEST_F(DatabaseTest, IsMadeWithItsFolderAndKeptSafe)
{
    database opened;
    std::string error;
    ASSERT_TRUE(open_database(opened, folder.path / "deep" / "data", error)) << error;
    EXPECT_EQ(value_of(opened, "journal_mode"), "wal");
    EXPECT_EQ(value_of(opened, "synchronous"), "2");
    EXPECT_EQ(value_of(opened, "foreign_keys"), "1");
    EXPECT_EQ(value_of(opened, "application_id"), std::to_string(APPLICATION_ID));
    EXPECT_EQ(value_of(opened, "user_version"), std::to_string(SCHEMA_STEPS.size()));
}

TEST_F(DatabaseTest, IsOpenInOneProcessAtATime)
{
    database opened;
    std::string error;
    ASSERT_TRUE(open_database(opened, folder.path, error)) << error;
    EXPECT_EQ(complaint(), "The folder " + folder.path.string() + " is used by another process.");
    close_database(opened);
    EXPECT_EQ(complaint(), "");
}

TEST_F(DatabaseTest, OfANewerProgramIsRefused)
{
    ASSERT_EQ(complaint(), "");
    change("PRAGMA user_version = 99");
    EXPECT_EQ(complaint(), file.string() +
                               " cannot be used: it was written by a newer program: its"
                               " version is 99, this program's is " +
                               std::to_string(SCHEMA_STEPS.size()) + ".");
}

TEST_F(DatabaseTest, OfAnotherProgramIsRefused)
{
    change("CREATE TABLE others(one)");
    EXPECT_EQ(complaint(), file.string() + " cannot be used: it is no journal.");
}

TEST_F(DatabaseTest, IsRefusedWhenItIsNone)
{
    folder.file(DATABASE_NAME, std::string(5000, 'x'));
    EXPECT_EQ(complaint(), file.string() + " cannot be used: file is not a database.");
}

TEST_F(DatabaseTest, IsRefusedWhereTheFolderCannotBeMade)
{
    database opened;
    std::string error;
    EXPECT_FALSE(open_database(opened, folder.file("taken", "") + "/data", error));
    EXPECT_THAT(error, StartsWith("Cannot write to the folder " + folder.path.string()));
}

// In a process without root's rights, which has no other way than the permissions' one.
TEST_F(DatabaseTest, IsRefusedWhereItCanOnlyBeRead)
{
    ASSERT_EQ(complaint(), "");
    std::filesystem::permissions(folder.path, std::filesystem::perms(0755));
    std::filesystem::permissions(file, std::filesystem::perms(0444));
    std::filesystem::permissions(folder.path / LOCK_NAME, std::filesystem::perms(0666));
    constexpr uid_t NOBODY = 65534;
    const pid_t child = fork();
    if (child == 0) {
        if (geteuid() == 0 && setuid(NOBODY) != 0) _exit(2);
        const std::string found = complaint();
        const bool told = found.find("readonly database") != std::string::npos ||
                          found.find("unable to open") != std::string::npos;
        if (!told) std::fprintf(stderr, "%s\n", found.c_str());
        _exit(told ? 0 : 1);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
}

TEST(Migration, BringsADatabaseToTheNewestVersionStepByStep)
{
    SQLite::Database file(":memory:", SQLite::OPEN_READWRITE);
    const std::vector<const char*> steps = {"CREATE TABLE one(a)", "CREATE TABLE two(b)",
                                            "INSERT INTO two VALUES(3)"};
    std::vector<int> copied;
    const auto note = [&](int version) {
        copied.push_back(version);
    };
    migrate(file, std::span(steps).first(1), note);
    EXPECT_EQ(copied, std::vector<int>{}); // there was nothing yet
    migrate(file, steps, note);
    EXPECT_EQ(copied, (std::vector{1, 2}));
    EXPECT_EQ(version_of(file), 3);
    migrate(file, steps, note);
    EXPECT_EQ(copied, (std::vector{1, 2}));
    EXPECT_EQ(file.execAndGet("SELECT b FROM two").getInt(), 3);
}

TEST(Migration, ThatFailsLeavesTheVersionBefore)
{
    SQLite::Database file(":memory:", SQLite::OPEN_READWRITE);
    const std::vector<const char*> steps = {"CREATE TABLE one(a)",
                                            "CREATE TABLE two(b); INSERT INTO none VALUES(1)"};
    EXPECT_THROW(migrate(file, steps, [](int) {}), SQLite::Exception);
    EXPECT_EQ(version_of(file), 1);
    EXPECT_FALSE(file.tableExists("two"));
}

TEST_F(DatabaseTest, IsCopiedWhileItIsUsed)
{
    database opened;
    std::string error;
    ASSERT_TRUE(open_database(opened, folder.path, error)) << error;
    opened.file->exec("INSERT INTO kv VALUES('a', '1', 1, 1)");
    const std::filesystem::path target = folder.path / "copy";
    ASSERT_TRUE(back_up(folder.path, target, error)) << error;
    SQLite::Database copy(target.string());
    EXPECT_EQ(copy.execAndGet("SELECT value FROM kv").getString(), "1");
    EXPECT_FALSE(back_up(folder.path, target, error));
    EXPECT_EQ(error, target.string() + " is there already.");
    EXPECT_FALSE(back_up(folder.path, folder.path / "none" / "copy", error));
    EXPECT_THAT(error, HasSubstr("cannot be written: unable to open"));
}

TEST_F(DatabaseTest, IsCheckedWhileItIsUsed)
{
    database opened;
    std::string error;
    ASSERT_TRUE(open_database(opened, folder.path, error)) << error;
    EXPECT_EQ(check(folder.path), "");
    opened.file->exec("PRAGMA foreign_keys = OFF; INSERT INTO history(at, kind, person, origin,"
                      " batch) VALUES(1, 'take', '', '', 77)");
    EXPECT_EQ(check(folder.path), "a row of history refers to what is not in batches\n");
}

TEST_F(DatabaseTest, IsFoundDamagedByTheCheck)
{
    ASSERT_EQ(complaint(), "");
    std::string rows;
    for (int i = 0; i < 500; ++i)
        rows += "INSERT INTO kv VALUES('key" + std::to_string(i) + "', zeroblob(500), 1, 1);";
    change("BEGIN;" + rows + "COMMIT");
    std::fstream damaged(file, std::ios::in | std::ios::out);
    damaged.seekp(static_cast<std::streamoff>(std::filesystem::file_size(file) / 2));
    damaged << std::string(5000, 'x');
    damaged.close();
    EXPECT_NE(check(folder.path), "");
}
