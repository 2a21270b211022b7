// Descriptors that close themselves, and reading and writing them whole. An interrupted call is
// made again.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace common {

// A descriptor, closed with the record.
struct owned_descriptor {
    int number = -1; // -1: none

    owned_descriptor() = default;
    explicit owned_descriptor(int descriptor);
    owned_descriptor(owned_descriptor&& other) noexcept;
    owned_descriptor& operator=(owned_descriptor&& other) noexcept;
    ~owned_descriptor();
    void reset(); // closes it
};

// For the beginning of a program: where a standard descriptor is closed, nothing stands in its
// place, so that what is opened later is never taken for it. Nothing can be written to it.
void keep_standard_descriptors();

// Opens a pipe whose ends are closed in programs that are started later. False, with the reason,
// when there are no descriptors left.
bool open_pipe(owned_descriptor& reads, owned_descriptor& writes, std::string& error);

// Opens a pair of sockets that keeps apart what each write wrote: a read gives one of them. Some
// 500 to 1400 short ones fit in between, at most MESSAGES_BETWEEN. Otherwise like a pipe.
constexpr std::size_t MESSAGES_BETWEEN = 2048;
bool open_message_pipe(owned_descriptor& reads, owned_descriptor& writes, std::string& error);

// Later reads and writes return at once. False, with the reason, for what is no descriptor.
bool set_nonblocking(int descriptor, std::string& error);

enum class read_outcome { read, nothing_yet, ended };

// Appends what one read gives, 64 KiB at most. `ended` stands for every error as well: a pseudo
// terminal reports its end as one. Waits where the descriptor does.
read_outcome read_some(int descriptor, std::string& text);

// Appends everything up to the end, for which it waits.
void read_to_end(int descriptor, std::string& text);

// Appends all there is in a descriptor that does not block. False once it has ended.
bool read_available(int descriptor, std::string& text);

// Waits until all of it is written. False when nobody reads any more.
bool write_all(int descriptor, std::string_view bytes);

} // namespace common
