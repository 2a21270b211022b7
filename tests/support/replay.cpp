#include "support/replay.h"

#include <algorithm>

bool departs_by_deadline(const std::vector<std::string>& lines,
                         const std::vector<std::vector<std::string>>& accepted)
{
    auto first = lines.begin();
    for (const std::vector<std::string>& each : accepted)
        first = std::max(first,
                         std::mismatch(lines.begin(), lines.end(), each.begin(), each.end()).first);
    return first != lines.end() && (*first == "<ERR>Timeout receiving message" ||
                                    first->starts_with("<ERR>Timeout during query "));
}
