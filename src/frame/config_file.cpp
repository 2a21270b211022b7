#include "frame/config_file.h"

#include <cstdio>
#include <cstring>
#include <sys/file.h>

const char* const registered_config_keys[2] = {"inputs", "outputs"};

namespace {
constexpr int LINE_BUFFER_SIZE = 4096; // a longer line is read in pieces, each a line of its own
constexpr const char* METADATA_PREFIX = ".vorlixmeta.";

// A line is a C string: what follows a NUL in it is not seen.
void add_config_line(const char* line, ConfigMap& config)
{
    if (line[0] == '#' || line[0] == '\n' || line[0] == '\0') return;
    const char* const equals = std::strchr(line, '=');
    if (equals == nullptr) return;

    // Trimming is minimal on purpose: one blank before the "=" makes one blank after it optional.
    const char* name_end = equals;
    const char* value_begin = equals + 1;
    if (equals != line && equals[-1] == ' ') {
        --name_end;
        if (*value_begin == ' ') ++value_begin;
    }
    const std::string name(line, name_end);
    const std::string value(value_begin, std::strcspn(value_begin, "\n"));

    std::string& joined = config[name];
    if (!joined.empty()) joined += '\n';
    joined += value;
}
} // namespace

int read_config_file(const std::string& config_path, ConfigMap& config)
{
    std::FILE* const file = std::fopen(config_path.c_str(), "r");
    if (file == nullptr) return -1;
    if (flock(fileno(file), LOCK_EX) != 0) {
        std::fclose(file);
        return -1;
    }
    char line[LINE_BUFFER_SIZE];
    while (std::fgets(line, LINE_BUFFER_SIZE, file) != nullptr)
        add_config_line(line, config);
    const int result = std::ferror(file) != 0 ? -1 : 0;
    std::fclose(file);
    return result;
}

std::string metadata_directory(const std::string& config_path)
{
    const std::size_t slash = config_path.rfind('/');
    const std::size_t name_begin = slash == std::string::npos ? 0 : slash + 1;
    if (name_begin == config_path.size()) return {};
    return config_path.substr(0, name_begin) + METADATA_PREFIX + config_path.substr(name_begin);
}
