// The system calls of the backend's passes, for the floors: programs that make the calls of one
// workload in their order and do nothing else. Failures are hardly looked at, but the end of
// what either side sends ends the program.
#pragma once

#include <string_view>

namespace bench {

// Opened by connect_to_router alone.
extern int router_fd;

// Without waiting, to this port of 127.0.0.1.
void connect_to_router(const char* port);

// One read of what the router has sent; "" when there is nothing. Valid until the next.
std::string_view read_router();

// One read of one byte; NUL when there is none.
char read_parent();

// One write each.
void send_to_router(std::string_view frame);
void write_to_parent(std::string_view record);
void write_log(std::string_view line);

// The wait at the end of a pass: for the router, the parent and the end of its interest.
void wait_for_work(long microseconds);

// Counts the bytes of the parent's records: true for the last of one.
bool ends_record(char byte);

} // namespace bench
