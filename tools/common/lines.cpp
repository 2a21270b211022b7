#include "tools/common/lines.h"

#include <utility>

namespace common {

void cut_lines(std::string_view bytes, std::string& partial, std::deque<std::string>& lines,
               std::size_t longest)
{
    for (;;) {
        const std::size_t end = bytes.find('\n');
        partial += bytes.substr(0, end).substr(0, longest + 1 - partial.size());
        if (end == std::string_view::npos) return;
        lines.push_back(std::exchange(partial, {}));
        bytes.remove_prefix(end + 1);
    }
}

} // namespace common
