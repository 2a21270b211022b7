#include "common/log.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <string>

namespace {
// Kept between calls. Long enough for nearly every line, and for any once it has grown.
std::string line(256, '\0');

// Tag, text and line end leave in one write, so that lines of several writers do not mix. The line
// end takes the place of the text's NUL.
[[gnu::format(printf, 2, 0)]] void write_line(const char* tag, const char* format,
                                              std::va_list arguments)
{
    std::va_list again;
    va_copy(again, arguments);
    const std::size_t tag_length = std::strlen(tag);
    std::memcpy(line.data(), tag, tag_length);
    const std::size_t room = line.size() - tag_length;
    const auto length =
        static_cast<std::size_t>(std::vsnprintf(line.data() + tag_length, room, format, arguments));
    if (length >= room) {
        line.resize(tag_length + length + 1);
        std::vsnprintf(line.data() + tag_length, length + 1, format, again);
    }
    va_end(again);
    line[tag_length + length] = '\n';
    std::fwrite(line.data(), 1, tag_length + length + 1, stderr);
}
} // namespace

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
