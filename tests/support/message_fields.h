// All fields of a message as one value that a test can compare and print.
#pragma once

#include <tuple>
#include <vector>

#include "router_link/message.h"

// In the order of the record: protocol, seq, request, parameters, ok, ack, nak, err, nakerr, raw.
inline auto fields(const router_message& message)
{
    return std::tuple{message.protocol, message.seq, message.request, message.parameters,
                      message.ok,       message.ack, message.nak,     message.err,
                      message.nakerr,   message.raw};
}

using message_fields = decltype(fields(router_message{}));

template <typename Messages>
std::vector<message_fields> all_fields(const Messages& messages)
{
    std::vector<message_fields> all;
    all.reserve(messages.size());
    for (const router_message& message : messages)
        all.push_back(fields(message));
    return all;
}
