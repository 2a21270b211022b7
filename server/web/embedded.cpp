#include "server/web/embedded.h"

// Where it begins and ends, by embedded.S.
extern "C" const char EMBEDDED_DESCRIPTION[];
extern "C" const char EMBEDDED_DESCRIPTION_END[];

std::string_view web::embedded::description()
{
    return {EMBEDDED_DESCRIPTION, EMBEDDED_DESCRIPTION_END};
}
