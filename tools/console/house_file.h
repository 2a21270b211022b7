// The file that keeps a console's house over its life: JSON, for one console at a time.
//
// Opened before the desk is made, of the house that it had (desk::make_desk). From then on: after
// take_events has told that the house is different, call note_change; wait no longer than `due`;
// call write_if_due before each wait; call write_house once more at the end when something is due.
//
// Writing waits for the disk, and with it the console: about 20 ms as a rule, some hundreds for
// tens of megabytes. That suits one person, who may wait, and loses nothing: backends work on, and
// what they say is read before any wish is judged to be late. Only the times that are told then
// count from when the console heard of it.
#pragma once

#include <chrono>
#include <optional>
#include <string>

#include "server/desk/house.h"
#include "tools/common/descriptors.h"

namespace console {

constexpr std::chrono::milliseconds WRITING_DELAY{500}; // changes of so long are written together

struct house_file {
    std::string path;                   // that of the file itself, where links led to it
    common::owned_descriptor file;      // locked, so that a second console finds it in use
    std::optional<desk::monotonic> due; // when the house is to be written; none: it has not changed
};

// Opens the file, makes an empty one when there is none, and reads its house. False, with a
// sentence, when it cannot be, is in use by another console, is damaged or was written by a newer
// one; it stays as it is then, and the house as it was.
bool open_house(house_file& file, const std::string& path, desk::house& house, std::string& error);

// Writes what is kept of the house, so that a reader finds the old one or the new one, whole.
// False, with a sentence, when the old one is still there. Waits for the disk.
bool write_house(house_file& file, const desk::house& house, std::string& error);

void note_change(house_file& file, desk::monotonic now);

// False, with a sentence, when it was due and could not be written; it is due again then.
bool write_if_due(house_file& file, const desk::house& house, desk::monotonic now,
                  std::string& error);

// All of the house but batches that nothing refers to: no undo step and no destination's author.
// The last of each destination and the last run of each salvo are kept as well.
desk::house kept_house(const desk::house& house);

} // namespace console
