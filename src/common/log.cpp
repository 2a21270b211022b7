#include "common/log.h"

#include <cstdarg>
#include <cstdio>
#include <string>

static std::string line; // kept for its capacity

// Tag, text and line end leave in one write, so that lines of several writers do not mix.
[[gnu::format(printf, 2, 0)]] static void write_line(const char* tag, const char* format,
                                                     std::va_list arguments)
{
    std::va_list measured;
    va_copy(measured, arguments);
    const auto length = static_cast<std::size_t>(std::vsnprintf(nullptr, 0, format, measured));
    va_end(measured);
    line = tag;
    const std::size_t text_begin = line.size();
    line.resize(text_begin + length + 1);
    std::vsnprintf(line.data() + text_begin, length + 1, format, arguments);
    line.back() = '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
}

void log_debug(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    write_line("<DBG>", format, arguments);
    va_end(arguments);
}

void log_note(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    write_line("<NOTE>", format, arguments);
    va_end(arguments);
}

void log_warning(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    write_line("<WARN>", format, arguments);
    va_end(arguments);
}

void log_error(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    write_line("<ERR>", format, arguments);
    va_end(arguments);
}

void log_untagged(const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    write_line("", format, arguments);
    va_end(arguments);
}
