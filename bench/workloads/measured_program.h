// A program under measurement, the backend or the floor that it is held against, between a parent
// and a router that the measuring program plays. Its standard error is the null device, so that
// nobody's reading of log lines is measured.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/tcp_router.h"
#include "support/temporary_directory.h"
#include "tools/common/child_process.h"

namespace bench {

// Where the programs are.
struct program_paths {
    std::string backend;
    std::string floor_folder;
    std::string pieces;
    std::string server; // a desk with its routers
    std::string plain_parent;
    std::string talker; // in a backend's place
    std::string control;
};

struct measured_program {
    temporary_directory directory;
    tcp_router router;
    common::child_process child;
    common::child_pipes pipes; // its output is read without waiting
    std::string heard;         // what it has written and nobody has removed
};

using running_program = std::unique_ptr<measured_program>;

// What a router with so many sources and destinations, all indexes from 1, answers at once:
// nothing ever changes, every destination shows the first source.
std::map<std::string, std::string> router_answers(std::size_t sources, std::size_t destinations);

// Starts the words as a program between pipes, without a router.
void start_program(measured_program& program, const std::vector<std::string>& words);

// Starts the backend on a router with these answers, which listens on a port of its own. The
// launcher's words stand before its own.
running_program start_backend_on(const program_paths& programs,
                                 const std::map<std::string, std::string>& answers,
                                 const std::vector<std::string>& launcher = {});
// The same for the floor of this name. Its arguments are the port and then these.
running_program start_floor_on(const program_paths& programs, const std::string& name,
                               const std::map<std::string, std::string>& answers,
                               const std::vector<std::string>& arguments = {},
                               const std::vector<std::string>& launcher = {});

// A router without a program.
running_program start_router(const std::map<std::string, std::string>& answers);
// Starts a desk with its backends on a router with these answers and on others, at these ports.
running_program start_server_on(const program_paths& programs,
                                const std::map<std::string, std::string>& answers,
                                const std::vector<std::string>& ports = {});
// Starts the plain parent with its backend on a router with these answers.
running_program start_plain_parent_on(const program_paths& programs,
                                      const std::map<std::string, std::string>& answers);

// Each backend needs four descriptors here or in the desk's process.
void allow_many_descriptors();

// Serves routers and outputs until done() holds: asked first, then after each event and at least
// every 10 ms, not more often, since whoever wakes up disturbs what is measured. Throws when a
// minute passes without.
void serve_until(const std::vector<measured_program*>& programs, const std::function<bool()>& done);
void serve_for(const std::vector<measured_program*>& programs, double milliseconds);

void say(const measured_program& program, std::string_view records);

// The records of one route change, each to be said by itself.
std::string add_record(int output, int input);
extern const char* const FLUSH_RECORD;

// Whether the text is among what has been heard; removes everything up to its end.
bool hears(measured_program& program, std::string_view text);

// Waits until the backend has learnt its router and reported the names.
void await_discovery(measured_program& program);

// Since some moment; for differences.
double now_in_us();

// Waits until a polling cycle is well over: messages that a cycle finds at its beginning are thrown
// away, and the next begins in a third of a second at the earliest.
void await_end_of_cycle(measured_program& program);

// Sends routing status that nobody has asked for, and waits until is_reported() holds. Returns the
// CPU of the program meanwhile, in microseconds. Done again when a polling cycle has come in
// between.
double show_routes(measured_program& program, const std::string& frames,
                   const std::function<bool()>& is_reported);

// How many of its requests are takes.
std::size_t count_takes(const measured_program& program);

struct salvo_cost {
    double us = 0;     // from the flush to the last change at the router
    double cpu_us = 0; // of the program, until it has answered the flush
};

// Routes the input to so many outputs by one flush. Done again when the changes have not been sent
// at once, because they were held back or had waited for too long.
salvo_cost send_salvo(measured_program& program, std::size_t takes, int input);

// Ends the program by the end of its input and waits for that.
void end_program(measured_program& program);

// Of the program, since its start. The system tells what it had used when it last waited.
double cpu_in_us(const measured_program& program);
double cpu_in_us(pid_t process);

// The same of a program that has just done something, after serving it for the two milliseconds in
// which it comes to its next wait.
double settled_cpu_in_us(measured_program& program);

// Memory of the program that is its own or its share, in KiB.
double pss_in_kib(const measured_program& program);
double pss_in_kib(pid_t process);

} // namespace bench
