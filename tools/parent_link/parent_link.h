// The parent's side of a backend: starts one with three pipes, sends it records and collects what
// it says. Nothing here blocks except wait_for_event, wait_until and close_backend; whoever has a
// loop of their own polls the descriptors of add_poll_descriptors and calls serve_backend.
//
// The backend runs in a process group of its own, so that the keyboard's signals do not reach it.
// Starting one makes the calling process ignore SIGPIPE for good: a write to a backend that has
// gone is reported as such instead. Descriptors 0, 1 and 2 of the caller must be open.
#pragma once

#include <chrono>
#include <deque>
#include <functional>
#include <poll.h>
#include <string>
#include <string_view>
#include <vector>

#include "parent/record.h"
#include "tools/common/child_process.h"

namespace parent_link {

// A line beyond common::LONGEST_LINE is cut as common::cut_lines does it.
struct backend_link {
    common::child_process child;         // without a process when none was started or it has ended
    common::owned_descriptor process_fd; // readable when the backend has ended
    common::child_pipes pipes;           // none of them blocks; those closed have no descriptor
    std::string unsent;                  // bytes that the backend has not read yet
    bool input_ending = false;           // close its input as soon as unsent is empty
    // Set before the start: each entry of diagnostics is what the backend wrote at once, and line
    // ends in a router's text begin no entry. Clear: each is a line.
    bool keeps_messages = false;
    bool reads_output = true; // clear: the backend's records stay in its pipe until it ends

    std::string partial_output;      // the beginning of a line, without its end
    std::string partial_diagnostics; // likewise
    ParentRecord partial_record;     // the record whose empty line has not come yet
    bool record_begun = false;       // a line of partial_record has come

    // What has arrived, oldest first. The caller removes entries.
    std::deque<ParentRecord> records;
    std::deque<std::string> diagnostics; // lines without their end, level tag included

    // Set once everything that the backend wrote before its end stands in the queues above.
    bool ended = false;
    int exit_status = -1; // 0 to 255, or -1 when a signal ended it
    int end_signal = 0;   // the signal that ended it, 0 for an ordinary exit
};

// Starts the program with the arguments (its own name not among them). A backend that the link
// still has is closed first, and the link begins anew. False, with the reason, when there are no
// descriptors left or the program cannot be run; the link is then closed.
bool start_backend(backend_link& link, const std::string& program,
                   const std::vector<std::string>& arguments, std::string& error);

// Queues the record or the bytes and writes what the pipe accepts. Dropped without a sign when the
// backend's input is closed.
void send_record(backend_link& link, const ParentRecord& record);
void send_bytes(backend_link& link, std::string_view bytes);

// The backend's input comes to its end after everything queued so far.
void end_input(backend_link& link);

// Closes our end at once, so that the backend's next write to it fails.
void close_output(backend_link& link);
void close_diagnostics(backend_link& link);

// Does nothing when the backend's end has been noticed.
void send_signal(const backend_link& link, int signal_number);

// Appends one entry for each descriptor at which there is something to wait for: at most four,
// none once the end has been noticed.
void add_poll_descriptors(const backend_link& link, std::vector<pollfd>& descriptors);

// Writes and reads what is possible now, and notices the backend's end. May be called at any time.
void serve_backend(backend_link& link);

// Serves the link until a record or a diagnostics line has arrived or the backend has ended since
// the call began. Returns false when the time is over first, at once when it had ended before.
bool wait_for_event(backend_link& link, std::chrono::milliseconds time_out);

// Serves the link until done() holds; asked first, then after each event. Returns false when the
// time is over or the backend has ended without that.
bool wait_until(backend_link& link, std::chrono::milliseconds time_out,
                const std::function<bool()>& done);

// "exited with status 1", "was ended by signal 9 (Killed)", "runs" or "has not been started".
std::string describe_end(const backend_link& link);

// Kills the backend if it still runs, waits for its end and closes all descriptors. The queues,
// with all that it wrote, and the status stay.
void close_backend(backend_link& link);

} // namespace parent_link
