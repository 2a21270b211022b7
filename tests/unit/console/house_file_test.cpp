#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

#include "console/house_file.h"
#include "server/desk/takes.h"
#include "unit/console/console_test.h"

using namespace console;

class HouseFile : public ConsoleTest {
  protected:
    std::filesystem::path folder;
    std::string path;
    house_file file;
    std::string error;
    desk::house read;

    HouseFile()
    {
        std::string made = testing::TempDir() + "house_file.XXXXXX";
        if (mkdtemp(made.data()) == nullptr) ADD_FAILURE() << made;
        folder = std::filesystem::canonical(made);
        path = (folder / "house.json").string();
    }

    ~HouseFile() override
    {
        std::filesystem::remove_all(folder);
    }

    void put(const std::string& text)
    {
        std::ofstream(path) << text;
    }

    std::string text()
    {
        std::ifstream stream(path);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    // As the next console finds it.
    bool read_again()
    {
        file.file.reset();
        read = {};
        return open_house(file, path, read, error);
    }

    void take_and_confirm(int destination, int source)
    {
        desk::take_request request;
        request.rows = {{{"main", destination, source}, {}}};
        desk::take(console.desk, now, console.person, request);
        carry_out(destination, source);
        wait_ms(1);
    }
};

TEST_F(HouseFile, KeepsTheHouseForTheNextConsole)
{
    ASSERT_TRUE(open_house(file, path, read, error)) << error;
    EXPECT_TRUE(read == desk::house{}) << "a new file";
    ask("stage 1 3");
    ask("salvo save NEWS");
    ask("lock 2 'on air' 1h");
    take_and_confirm(0, 2);
    ASSERT_TRUE(write_house(file, console.desk.house, error)) << error;
    ASSERT_TRUE(read_again()) << error;
    EXPECT_TRUE(read == console.desk.house);
    console.desk = desk::make_desk(2, read, now);
    link(desk::link_state::ready);
    report(0, 2);
    EXPECT_THAT(says("undo"), testing::StartsWith("Undoing "));
}

TEST_F(HouseFile, IsForOneConsoleAtATime)
{
    ASSERT_TRUE(open_house(file, path, read, error)) << error;
    house_file second;
    EXPECT_FALSE(open_house(second, path, read, error));
    EXPECT_EQ(error, path + " is in use by another console.");
    ASSERT_TRUE(write_house(file, console.desk.house, error)) << error;
    EXPECT_FALSE(open_house(second, path, read, error)) << "another file by now";
    file.file.reset();
    EXPECT_TRUE(open_house(second, path, read, error)) << error;
}

TEST_F(HouseFile, IsNoChildsToKeep)
{
    ASSERT_TRUE(open_house(file, path, read, error)) << error;
    EXPECT_EQ(fcntl(file.file.number, F_GETFD), FD_CLOEXEC);
    ASSERT_TRUE(write_house(file, console.desk.house, error)) << error;
    EXPECT_EQ(fcntl(file.file.number, F_GETFD), FD_CLOEXEC) << "the new file";
}

TEST_F(HouseFile, IsLeftAloneWhenItIsDamaged)
{
    for (const auto& [content, complaint] : std::map<std::string, std::string>{
             {"{\"format\": ", "line 1, column 12: this is no JSON"},
             {"{\"format\": \"router console house\", \"version\": 2}",
              "it was written by a newer console: its version is 2, this console reads 1"}}) {
        put(content);
        EXPECT_FALSE(open_house(file, path, read, error));
        EXPECT_EQ(error, path + " cannot be used: " + complaint + ".");
        EXPECT_EQ(text(), content);
        EXPECT_LT(file.file.number, 0);
    }
}

TEST_F(HouseFile, SaysWhyItCannotBeOpened)
{
    EXPECT_FALSE(open_house(file, folder.string(), read, error));
    EXPECT_EQ(error, "Cannot open " + folder.string() + ": Is a directory.");
    const std::string missing = (folder / "none" / "house.json").string();
    EXPECT_FALSE(open_house(file, missing, read, error));
    EXPECT_EQ(error, "Cannot open " + missing + ": No such file or directory.");
    ASSERT_EQ(mkfifo(path.c_str(), 0600), 0);
    EXPECT_FALSE(open_house(file, path, read, error));
    EXPECT_EQ(error, path + " is no file.");
}

TEST_F(HouseFile, IsReplacedWhole)
{
    const std::string link = (folder / "link.json").string();
    put("");
    ASSERT_EQ(chmod(path.c_str(), 0640), 0);
    std::filesystem::create_symlink(path, link);
    ASSERT_TRUE(open_house(file, link, read, error)) << error;
    std::ifstream old(path);
    ASSERT_TRUE(write_house(file, console.desk.house, error)) << error;
    EXPECT_EQ(old.peek(), std::char_traits<char>::eof()) << "who reads the old one reads it on";
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(std::filesystem::status(path).permissions(), std::filesystem::perms(0640));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder), {}), 2)
        << "nothing else is left behind";
}

TEST_F(HouseFile, IsWrittenHalfASecondAfterTheFirstChange)
{
    using namespace std::chrono_literals;
    ASSERT_TRUE(open_house(file, path, read, error)) << error;
    EXPECT_TRUE(write_if_due(file, console.desk.house, 10s, error));
    EXPECT_EQ(text(), "") << "nothing has changed";
    note_change(file, 10s);
    note_change(file, 10s + 400ms);
    EXPECT_EQ(file.due, 10s + 500ms);
    EXPECT_TRUE(write_if_due(file, console.desk.house, 10s + 499ms, error));
    EXPECT_EQ(text(), "");
    EXPECT_TRUE(write_if_due(file, console.desk.house, 10s + 500ms, error));
    EXPECT_NE(text(), "");
    EXPECT_FALSE(file.due);
}

TEST_F(HouseFile, SaysThatItCannotBeWrittenAndTriesAgain)
{
    using namespace std::chrono_literals;
    ASSERT_TRUE(open_house(file, path, read, error)) << error;
    const std::filesystem::path moved = folder.string() + ".moved";
    std::filesystem::rename(folder, moved);
    note_change(file, 10s);
    EXPECT_FALSE(write_if_due(file, console.desk.house, 11s, error));
    EXPECT_EQ(error, "Cannot write " + path + ": No such file or directory.");
    EXPECT_TRUE(write_if_due(file, console.desk.house, 20s, error)) << "not due yet";
    std::filesystem::rename(moved, folder);
    EXPECT_TRUE(write_if_due(file, console.desk.house, 21s, error)) << error;
    EXPECT_NE(text(), "");
}

TEST_F(HouseFile, KeepsTheBatchesThatSomethingRefersTo)
{
    ask("stage 8 3");
    ask("salvo save NEWS");
    ask("salvo take NEWS");
    carry_out(7, 2);
    ask("salvo take NEWS"); // shown already, the last run
    for (std::size_t i = 0; i <= desk::UNDO_STEPS; ++i)
        take_and_confirm(static_cast<int>(i % 2), 1 + static_cast<int>(i / 2 % 2));
    take_and_confirm(2, 5);
    const desk::house kept = kept_house(console.desk.house);
    EXPECT_EQ(console.desk.house.batches.size(), desk::UNDO_STEPS + 4);
    // Two are not needed: takes of what has been taken again since. The salvo's first run is the
    // author of what MON H shows.
    EXPECT_EQ(kept.batches.size(), desk::UNDO_STEPS + 2);
    EXPECT_EQ(kept.batch_rows, kept.batches.size());
    EXPECT_TRUE(kept.undo == console.desk.house.undo);
    EXPECT_TRUE(kept.routers == console.desk.house.routers);
    EXPECT_TRUE(kept.salvos == console.desk.house.salvos);
    EXPECT_TRUE(kept_house(kept) == kept);
}

TEST_F(HouseFile, KeepsTheLastWishOfADestinationWhateverItsEnd)
{
    ask("take 1 3");
    link(desk::link_state::down);
    desk::report_backend_ended(console.desk, now, "main");
    console.desk.house.undo.clear();
    EXPECT_EQ(kept_house(console.desk.house).batches.size(), 1U);
    EXPECT_TRUE(
        desk::make_desk(2, kept_house(console.desk.house), now).live["main"].troubled.contains(0));
}
