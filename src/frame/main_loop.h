// The main loop: every subsystem's step once per pass, in a fixed order, then one wait for the
// router and the parent.
#pragma once

// Runs one pass. Returns false when the loop is over: quit_requested was set before the pass, or
// the parent channel has ended.
bool main_loop_pass();

// Sets quit_requested for SIGHUP, SIGINT, SIGPIPE and SIGTERM; touches nothing else.
void handle_termination_signal(int signal_number);
