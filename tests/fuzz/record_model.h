// A second reader and writer of the parent's records, for the fuzz targets to hold the backend's
// against. It works on whole texts.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "parent/record.h"

bool same_record(const ParentRecord& one, const ParentRecord& other);

// The text cut at its newlines; what follows the last one is a line too.
std::vector<std::string> lines_of(std::string_view text);

// What the lines, none of them empty, say together.
ParentRecord record_of(const std::vector<std::string>& lines);

// The complete records in what was sent to the backend so far.
std::vector<ParentRecord> records_in(std::string_view sent);

std::string text_of(const ParentRecord& record);
