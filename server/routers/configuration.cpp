#include "server/routers/configuration.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "server/desk/words.h"
#include "tools/common/descriptors.h"

namespace routers {

namespace {
int configured_count(int count)
{
    return count == desk::ROUTED_POSITIONS ? 0 : count;
}

std::string failure(const std::string& path)
{
    return "Cannot write " + path + ": " + std::strerror(errno);
}

bool is_written(const std::string& path, const std::string& text)
{
    const common::owned_descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string found;
    if (file.number >= 0) common::read_to_end(file.number, found);
    return found == text;
}
} // namespace

std::string configuration_text(const desk::router_settings& settings)
{
    return "ip address=" + desk::cut_text(settings.address) +
           "\nport=" + std::to_string(settings.port) +
           "\ninputs=" + std::to_string(configured_count(settings.inputs)) +
           "\noutputs=" + std::to_string(configured_count(settings.outputs)) + "\n";
}

bool write_configuration(const std::string& path, const desk::router_settings& settings,
                         std::string& error)
{
    const std::string text = configuration_text(settings);
    if (is_written(path, text)) return true;
    std::string temporary = path + ".XXXXXX";
    const common::owned_descriptor file(mkostemp(temporary.data(), O_CLOEXEC)); // 0600
    if (file.number < 0) {
        error = failure(path);
        return false;
    }
    if (common::write_all(file.number, text) && std::rename(temporary.c_str(), path.c_str()) == 0)
        return true;
    error = failure(path);
    unlink(temporary.c_str());
    return false;
}

} // namespace routers
