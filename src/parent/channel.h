// The parent's channel: records in on descriptor 0, records out on descriptor 1, neither ever
// blocking. Input is read one byte a call, so that nothing beyond a waiting record leaves the
// descriptor. Output that the parent does not read accumulates without bound and in order.
//
// Every wait for the router calls service_parent_and_dispatch, which may run the record handler
// nested inside itself: whatever calls it must look up shared state again afterwards.
#pragma once

#include <cstddef>
#include <string>
#include <sys/select.h>

#include "parent/record.h"

// The state of the channel, written here alone.
extern ParentRecord incoming_record;      // the record being assembled or waiting
extern std::string parent_line;           // the line so far, without its end
extern bool record_complete;              // incoming_record waits to be handed out
extern bool record_reset_pending;         // clear incoming_record before the next byte is read
extern bool parent_input_ended;           // the last read met end of file or a hard error
extern std::string parent_output;         // encoded records not yet fully written
extern std::size_t parent_output_written; // bytes at the front of parent_output already written
extern int active_record_handlers;        // record handlers now running, one inside the other
extern bool output_is_null_device;        // descriptor 1, likewise 2: left out of the wait's read
extern bool diagnostics_are_null_device;  // set, where the null device would end every wait at once

// Checks that descriptors 0, 1 and 2 are pipes, character devices or sockets, makes 0 and 1
// non-blocking and standard error unbuffered. Returns 0 or -1.
int prepare_parent_channel();

// The same for one descriptor; non-blocking mode is set only when asked for. Returns 0 or -1.
int prepare_descriptor(int descriptor, bool non_blocking);

// Reads at most one byte, none while a complete record waits. Returns -1 at end of file and on a
// hard error, else 0.
int read_parent_byte();

// Reads like read_parent_byte, then hands out a completed record, or null. The record is valid
// until the next byte is read by anyone.
ParentRecord* next_parent_record();

// The record that waits to be handed out, or null. Reads nothing.
ParentRecord* parent_record_ready();

// Queues the record and makes one write attempt. What remains is written by later calls.
void send_parent_record(const ParentRecord& record);

// One write attempt. Returns -1 when the parent cannot be written to any more, else 0.
int flush_parent_output();

// One read_parent_byte, then one flush_parent_output. Returns -1 when either does.
int service_parent_channel();

bool parent_output_pending();

// Adds the parent's descriptors to a read set and raises the count to 3 if it is lower.
void add_parent_descriptors(fd_set& readable, int& descriptor_count);

// Installed once at start-up; called with each record handed out. May be called again before it
// has returned, when it waits for the router.
using parent_record_handler = void (*)(ParentRecord&);
void set_parent_record_handler(parent_record_handler handler);

// Takes the next record, if there is one, to the handler. Leaves it waiting while the greatest
// number of handlers is active.
void dispatch_parent_record();

// service_parent_channel (a broken channel is left for the main loop to notice), then
// dispatch_parent_record.
void service_parent_and_dispatch();
