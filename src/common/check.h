// Assertions on our own invariants. They stay enabled in every build, NDEBUG or not. Nothing that
// the router or the parent sends can trip one.
#pragma once

// Prints the condition, source file, line and function on standard error and aborts the process.
[[noreturn]] void check_failed(const char* condition, const char* file, int line,
                               const char* function);

#define CHECK_NAMED(condition, text)                                                               \
    ((condition) ? void(0)                                                                         \
                 : check_failed(text, __FILE__, __LINE__, static_cast<const char*>(__func__)))
#define CHECK(condition) CHECK_NAMED(condition, #condition)
