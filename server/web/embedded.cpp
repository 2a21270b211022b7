#include "server/web/embedded.h"

// Where each begins and ends, by embedded.S.
#define EMBEDDED(name)                                                                             \
    extern "C" const char embedded_##name[];                                                       \
    extern "C" const char embedded_##name##_end[];                                                 \
    std::string_view web::embedded::name()                                                         \
    {                                                                                              \
        return {embedded_##name, embedded_##name##_end};                                           \
    }

EMBEDDED(description)
EMBEDDED(index_html)
EMBEDDED(first_html)
EMBEDDED(first_js)
EMBEDDED(page_css)
