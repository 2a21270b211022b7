// The system's clocks, for those parts that have none of their own.
#pragma once

#include "server/desk/moment.h"

namespace program {

inline desk::moment now()
{
    return {std::chrono::duration_cast<desk::monotonic>(
                std::chrono::steady_clock::now().time_since_epoch()),
            std::chrono::duration_cast<desk::wall>(
                std::chrono::system_clock::now().time_since_epoch())};
}

} // namespace program
