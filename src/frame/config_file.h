// The configuration file: one name=value per line, "#" in the first column for a comment. A name
// given several times holds all its values, joined by newlines.
#pragma once

#include <map>
#include <string>

// Setting name to value, in byte order of the names. Lives during start-up only.
using ConfigMap = std::map<std::string, std::string>;

// Entered with an empty value before the file is read, so that they are applied even when the file
// lacks them.
extern const char* const registered_config_keys[2];

// Adds the file's settings to the map. Returns 0, or -1 when the file cannot be opened, locked or
// read to its end. Waits as long as another process holds a lock on the file.
int read_config_file(const std::string& config_path, ConfigMap& config);

// The metadata directory's name, beside the configuration file. Empty when the path is empty or
// ends with a slash.
std::string metadata_directory(const std::string& config_path);
