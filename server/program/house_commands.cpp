#include "server/program/house_commands.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <sstream>
#include <unistd.h>

#include "server/accounts/carrying.h"
#include "server/accounts/kept_accounts.h"
#include "server/journal/saved_house.h"
#include "server/program/clocks.h"
#include "tools/common/descriptors.h"

namespace program {

namespace {
constexpr int FAILED = 2;

int back_up(const options& options)
{
    std::string error;
    if (journal::back_up(options.data, options.file, error)) return 0;
    std::cerr << error << "\n";
    return FAILED;
}

int check(const options& options)
{
    const std::string found = journal::check(options.data);
    if (found.empty()) {
        std::cout << "The database is as it must be.\n";
        return 0;
    }
    std::cerr << found;
    return FAILED;
}

std::string reason()
{
    return std::strerror(errno);
}

// False, with a sentence; there is no such file then. Nobody but us may read it.
bool write_new_file(const std::string& path, const std::string& text, std::string& error)
{
    if (std::filesystem::exists(path)) {
        error = "The file " + path + " is there already.";
        return false;
    }
    std::string unfinished = path + ".XXXXXX"; // a new one, whatever lies there already
    const common::owned_descriptor file(mkostemp(unfinished.data(), O_CLOEXEC));
    const bool is_new = file.number >= 0;
    if (is_new && common::write_all(file.number, text) && fsync(file.number) == 0 &&
        std::rename(unfinished.c_str(), path.c_str()) == 0)
        return true;
    error = "The file " + path + " cannot be written: " + reason() + ".";
    if (is_new) std::remove(unfinished.c_str());
    return false;
}

bool read_file(const std::string& path, std::string& text, std::string& error)
{
    std::error_code none;
    const std::filesystem::file_status found = std::filesystem::status(path, none);
    std::ifstream file;
    std::ostringstream all;
    if (exists(found) && !is_regular_file(found))
        error = "The file " + path + " is no ordinary file.";
    else if (file.open(path, std::ios::binary); !file.is_open())
        error = "The file " + path + " cannot be read: " + reason() + ".";
    else if (file.peek() == EOF)
        error = "The file " + path + " is empty.";
    else if (!(all << file.rdbuf()))
        error = "The file " + path + " cannot be read to its end.";
    text = all.str();
    return error.empty();
}

bool carry_out(const options& options, std::string& error)
{
    if (!std::filesystem::exists(std::filesystem::path(options.data) / journal::DATABASE_NAME)) {
        error = "There is no " + std::string(journal::DATABASE_NAME) + " in " + options.data + ".";
        return false;
    }
    journal::database opened;
    if (!journal::open_database(opened, options.data, error)) return false;
    journal::store store{opened, {}, {}};
    const desk::moment time = now();
    const desk::house house = journal::saved_house(store, time.utc);
    const accounts::accounts_state accounts = accounts::kept_accounts(store, time);
    if (!write_new_file(options.file, accounts::export_text(house, accounts), error)) return false;
    std::cout << "Written to " << options.file << ": routers " << house.routers.size()
              << ", salvos " << house.salvos.size() + house.deleted_salvos.size() << ", people "
              << accounts.people.size() << ".\n";
    return true;
}

bool carry_in(const options& options, std::string& error)
{
    std::string text;
    if (!read_file(options.file, text, error)) return false;
    accounts::carried read;
    if (!accounts::read_export(text, read, error)) {
        error = options.file + ": " + error + ". Nothing was added.";
        return false;
    }
    journal::database opened;
    if (!journal::open_database(opened, options.data, error)) return false;
    journal::store store{opened, {}, {}};
    const accounts::carrying_result result = accounts::carry_in(store, read, now());
    for (const std::string& sentence : result.against)
        error += sentence + "\n";
    if (!error.empty()) {
        error += "Nothing was added.";
        return false;
    }
    std::cout << "Added to " << options.data << ": routers " << result.routers << ", salvos "
              << result.salvos << ", people " << result.people
              << "; the same already: " << result.same << ".\n";
    if (result.people > 0)
        std::cout << "Passwords are not carried: an administrator sets those of the people.\n";
    return true;
}

int carry(const options& options, bool (*how)(const program::options&, std::string&))
{
    std::string error;
    try {
        if (how(options, error)) return 0;
    } catch (const std::exception& thrown) {
        error = options.data + "/" + journal::DATABASE_NAME + " cannot be used: " + thrown.what();
    }
    std::cerr << error << "\n";
    return FAILED;
}
} // namespace

int run_command(const options& options)
{
    switch (options.command) {
    case command::back_up:
        return back_up(options);
    case command::check:
        return check(options);
    case command::carry_out:
        return carry(options, carry_out);
    case command::carry_in:
        return carry(options, carry_in);
    case command::serve:
        break;
    }
    return FAILED;
}

} // namespace program
