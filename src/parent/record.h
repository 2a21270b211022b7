// One record exchanged with the parent, and its text form: lines of name=value ended by an empty
// line. The names "*COMMAND", "*ERROR", "*TYPE" and "*ID" are reserved for the record's head; every
// other line is a field. A value with newlines is written as one line per piece, all under the same
// name. Bytes stay as they are: no quoting, no escaping.
#pragma once

#include <map>
#include <string>

struct ParentRecord {
    std::string command;
    std::string error;
    std::string type; // "command", "message" or "reply"
    std::string id;   // the parent's identifier of a request, echoed in the reply
    std::map<std::string, std::string> fields; // in byte order of the names
};

void clear(ParentRecord& record);

// Applies one incoming line, given without its line end and seen up to its first NUL. A line
// without "=" is ignored; a value whose name already holds text is joined to it by a newline.
void decode_record_line(ParentRecord& record, const std::string& line);

// Appends the record's text, with the empty line that ends it.
void encode_record(const ParentRecord& record, std::string& output);

void encode_field(std::string& output, const std::string& name, const std::string& value);
