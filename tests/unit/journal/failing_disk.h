// A disk that fails when it is told to: every file that SQLite opens from its making on is
// written through it. One at a time.
#pragma once

namespace journal {

enum class disk_state { works, full, broken };

struct failing_disk {
    failing_disk();
    failing_disk(const failing_disk&) = delete;
    failing_disk& operator=(const failing_disk&) = delete;
    ~failing_disk();

    static void set(disk_state state);
};

} // namespace journal
