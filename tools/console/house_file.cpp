#include "console/house_file.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <set>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "server/journal/house_json.h"

namespace console {

namespace {
constexpr std::chrono::seconds NEXT_TRY{10}; // after a failure

std::string failure(const std::string& what, const std::string& path)
{
    return "Cannot " + what + " " + path + ": " + std::strerror(errno) + ".";
}

// Whether the path still leads to the open file: another console may have put a new one in its
// place just now.
bool is_at(int descriptor, const std::string& path)
{
    struct stat open {};
    struct stat named {};
    return fstat(descriptor, &open) == 0 && stat(path.c_str(), &named) == 0 &&
           open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

bool is_regular(int descriptor)
{
    struct stat status {};
    return fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode);
}

bool open_locked(house_file& file, std::string& error)
{
    do {
        file.file = common::owned_descriptor(
            open(file.path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0600));
        if (file.file.number < 0) {
            error = failure("open", file.path);
            return false;
        }
        if (!is_regular(file.file.number)) {
            error = file.path + " is no file.";
            return false;
        }
        if (flock(file.file.number, LOCK_EX | LOCK_NB) != 0) {
            error = errno == EWOULDBLOCK ? file.path + " is in use by another console."
                                         : failure("lock", file.path);
            return false;
        }
    } while (!is_at(file.file.number, file.path));
    return true;
}

// The new file, whole and on the disk, with the old one's permissions and locked like it.
bool write_temporary(const house_file& file, int descriptor, const std::string& text)
{
    struct stat old {};
    return fstat(file.file.number, &old) == 0 && fchmod(descriptor, old.st_mode & 07777) == 0 &&
           flock(descriptor, LOCK_EX | LOCK_NB) == 0 && common::write_all(descriptor, text) &&
           fsync(descriptor) == 0;
}

void sync_folder(const std::string& path)
{
    const std::string folder = std::filesystem::path(path).parent_path().string();
    const common::owned_descriptor opened(open(folder.c_str(), O_RDONLY | O_CLOEXEC));
    if (opened.number >= 0) fsync(opened.number);
}

void add_steps(std::set<desk::ulid>& batches, const std::deque<desk::undo_step>& steps)
{
    for (const desk::undo_step& step : steps) {
        batches.insert(step.batch);
        for (const desk::undo_row& row : step.rows)
            batches.insert(row.by.batch);
    }
}

// The last batch of each salvo of which anything was carried out.
void add_last_runs(std::set<desk::ulid>& batches, const desk::house& house)
{
    std::set<desk::ulid> seen;
    for (auto batch = house.batches.rbegin(); batch != house.batches.rend(); ++batch) {
        const auto& [id, run] = *batch;
        if (run.kind == desk::batch_kind::salvo && house.salvos.contains(run.of) &&
            std::any_of(run.rows.begin(), run.rows.end(), desk::was_accepted) &&
            seen.insert(run.of).second)
            batches.insert(id);
    }
}

// The last batch with a wish for each destination: whether that ended badly is still shown.
void add_last_wishes(std::set<desk::ulid>& batches, const desk::house& house)
{
    std::set<std::pair<std::string_view, int>> seen;
    const auto add = [&](const auto& batch) {
        for (const desk::wish& row : batch.second.rows)
            if (desk::was_accepted(row) &&
                seen.emplace(row.wished.router, row.wished.destination).second)
                batches.insert(batch.first);
    };
    std::for_each(house.batches.rbegin(), house.batches.rend(), add);
}
} // namespace

bool open_house(house_file& file, const std::string& path, desk::house& house, std::string& error)
{
    std::error_code unresolved;
    file.path = std::filesystem::weakly_canonical(path, unresolved).string();
    if (unresolved) file.path = path;
    std::string text;
    if (open_locked(file, error)) {
        common::read_to_end(file.file.number, text);
        if (text.empty() || journal::read_house(text, house, error)) return true;
        error = file.path + " cannot be used: " + error + ".";
    }
    file.file.reset();
    return false;
}

bool write_house(house_file& file, const desk::house& house, std::string& error)
{
    constexpr auto REPLACE = nlohmann::json::error_handler_t::replace; // what is no UTF-8
    const std::string text =
        journal::house_json(kept_house(house)).dump(1, ' ', false, REPLACE) + "\n";
    std::string temporary = file.path + ".XXXXXX";
    common::owned_descriptor written(mkostemp(temporary.data(), O_CLOEXEC));
    if (written.number >= 0 && write_temporary(file, written.number, text) &&
        std::rename(temporary.c_str(), file.path.c_str()) == 0) {
        sync_folder(file.path);
        file.file = std::move(written);
        file.due.reset();
        return true;
    }
    error = failure("write", file.path);
    if (written.number >= 0) unlink(temporary.c_str());
    return false;
}

void note_change(house_file& file, desk::monotonic now)
{
    if (!file.due) file.due = now + WRITING_DELAY;
}

bool write_if_due(house_file& file, const desk::house& house, desk::monotonic now,
                  std::string& error)
{
    if (!file.due || *file.due > now) return true;
    if (write_house(file, house, error)) return true;
    file.due = now + NEXT_TRY;
    return false;
}

desk::house kept_house(const desk::house& house)
{
    std::set<desk::ulid> needed;
    for (const auto& [person, record] : house.undo) {
        add_steps(needed, record.undo);
        add_steps(needed, record.redo);
    }
    for (const auto& [id, router] : house.routers)
        for (const auto& [destination, author] : router.authors)
            if (author.by) needed.insert(author.by->batch);
    add_last_runs(needed, house);
    add_last_wishes(needed, house);
    desk::house kept;
    kept.routers = house.routers;
    kept.salvos = house.salvos;
    kept.deleted_salvos = house.deleted_salvos;
    kept.undo = house.undo;
    kept.notices = house.notices;
    for (const desk::ulid& id : needed) {
        const auto batch = house.batches.find(id);
        if (batch == house.batches.end()) continue; // forgotten
        kept.batches.insert(*batch);
        kept.batch_rows += batch->second.rows.size();
    }
    return kept;
}

} // namespace console
