// Each time that the router has shown so many routes, copies one record and writes it.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <string>

#include "calls.h"

using namespace bench;

// PORT and the number of routes.
int main(int, char** arguments)
{
    connect_to_router(arguments[1]);
    const long routes = std::strtol(arguments[2], nullptr, 10);
    std::string record = "*COMMAND=outputs\n*TYPE=message\n";
    for (long i = 0; i < routes; ++i)
        record += "o" + std::to_string(i) + ".input.all=0\n";
    record += "\n";
    std::string copy = record;
    for (long received = 0;;) {
        wait_for_work(250'000);
        const std::string_view bytes = read_router();
        received += std::count(bytes.begin(), bytes.end(), '\x04');
        if (received < routes) continue;
        received -= routes;
        std::memcpy(copy.data(), record.data(), record.size());
        write_to_parent(copy);
    }
}
