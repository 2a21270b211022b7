// The record that tells what the backend and its router are, as the parent reads it.
#pragma once

#include <string>

inline std::string info_record(int inputs, int outputs, const std::string& model = "",
                               const std::string& firmware = "")
{
    return "*COMMAND=info\n*TYPE=message\ncompany=Grass Valley\n"
           "copyright=Copyright (C) 2026 the routing switcher backend's authors\n"
           "firmware version=" +
           firmware + "\ninputs=" + std::to_string(inputs) + "\nmodel=" + model +
           "\noutput routing controls=all\noutputs=" + std::to_string(outputs) +
           "\nproduct=Grass Valley Native Protocol switcher or compatible\n\n";
}
