// A second receive parser, written for plainness: it holds a frame whole and judges it when its end
// has come. What the backend's parser makes of the same reads is held against it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "common/clock.h"
#include "router_link/message.h"

struct parser_model {
    std::vector<router_message> messages;
    std::vector<std::string> log;
    us_time_t last_frame_at = 0;

    // The frame being received: its start byte (0: none) and what came since.
    char start = 0;
    std::string raw;
    bool skipping = false;
};

// One read's bytes, and when it was made.
void read_into_model(parser_model& model, std::string_view bytes, us_time_t now);
