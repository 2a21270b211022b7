// What the backend knows of the router. It survives a lost connection: the parent keeps seeing the
// last known router until the next discovery or name update replaces it.
//
// Inside the backend every input and output is a 0-based position; the router's own index is
// position + base. Levels alone go by the router's level number.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

struct InputInfo {
    std::string name;            // empty: the router did not name this position
    std::uint32_t attribute = 0; // stored as the router gave it
};

struct OutputInfo {
    std::string name;
    std::uint32_t attribute = 0;
    std::int32_t reserved_number = -1; // part of the record, never changed
    std::string reserved_text;         // part of the record, never changed
};

// Positions. A default one has neither and marks an empty slot of a burst.
struct RouteChange {
    std::int32_t input = -1; // -1: no source
    std::int32_t output = -1;
};

// Written by the name updates: the sizes of the tables and the router's index of position 0.
extern std::uint64_t discovered_inputs;
extern std::uint64_t discovered_outputs;
extern std::uint64_t input_index_base;
extern std::uint64_t output_index_base;
extern std::vector<InputInfo> router_inputs_info;
extern std::vector<OutputInfo> router_outputs_info;

// Written by discovery. Levels are indexed by level number, unnamed ones are empty; bit n of the
// mask is set when level n was named.
extern std::vector<std::string> router_levels;
extern std::uint32_t level_mask;

// Written by discovery; empty until known.
extern std::string device_model;
extern std::string software_title;
extern std::string software_revision;
extern std::string firmware_version;

// The effective counts that the parent sees and is validated against, 0 to 256. Written by
// recompute_io_counts alone.
extern std::uint64_t number_of_inputs;
extern std::uint64_t number_of_outputs;

// Routes that the router has reported and the parent has not yet been told, oldest first. Appended
// to by accept_route_change, emptied by the routing report.
extern std::deque<RouteChange> accepted_route_changes;

// Sets the effective counts from the configured ones or, where those are 0, the discovered ones.
// A change sets info_report_pending.
void recompute_io_counts();

// Notes that the router shows `input` (-1: no source) on `output`. An output outside the effective
// count is dropped; the input is not validated.
void accept_route_change(std::int32_t output, std::int32_t input);
