// The words of the tests of what the simulated router answers.
#pragma once

#include <string>
#include <vector>

#include "router_simulator/router/answers.h"

namespace router_simulator {

using Texts = std::vector<std::string>;

// Messages as "CLIENT:MESSAGE", the message from its sequence byte on with | before each parameter:
// "1:0ER|00|TI".
inline Texts texts_of(const std::vector<addressed_message>& messages)
{
    Texts texts;
    for (const auto& [client, message] : messages) {
        std::string text = std::to_string(client) + ":" + message.seq;
        text += mnemonic_of(message);
        for (const std::string& parameter : message.parameters)
            text += "|" + parameter;
        texts.push_back(text);
    }
    return texts;
}

// What the router sends when this client makes the request.
inline Texts ask(simulated_router& router, int client, const char* mnemonic,
                 const std::vector<std::string>& parameters = {})
{
    router_message request = make_request(mnemonic);
    request.parameters = parameters;
    return texts_of(answer_request(router, client, request));
}

// A router of this size with the clients 1 and 2.
inline simulated_router router_with_two_clients(const router_options& options)
{
    simulated_router router = make_router(options);
    router.clients[1] = {};
    router.clients[2] = {};
    return router;
}

} // namespace router_simulator
