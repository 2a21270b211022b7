// A backend in this process, played by the test, whose messages on standard error are kept apart
// and read.
#pragma once

#include <sys/socket.h>
#include <unistd.h>

#include "server/routers/diagnostics.h"
#include "support/backend_test.h"
#include "support/message_fields.h"

class ToldTest : public BackendTest {
  protected:
    void SetUp() override
    {
        BackendTest::SetUp();
        int ends[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends), 0);
        dup2(ends[1], STDERR_FILENO);
        close(ends[1]);
        told_end = ends[0];
    }

    void TearDown() override
    {
        close(told_end);
        BackendTest::TearDown();
    }

    // All that the backend has told since the last call.
    std::vector<routers::diagnostic> told()
    {
        std::vector<routers::diagnostic> all;
        char bytes[16384];
        for (ssize_t count = 0; (count = recv(told_end, bytes, sizeof bytes, 0)) > 0;)
            all.push_back(routers::read_diagnostic({bytes, static_cast<std::size_t>(count) - 1}));
        return all;
    }

    // Those of one kind.
    template <typename kind>
    std::vector<kind> told_of()
    {
        std::vector<kind> those;
        for (const routers::diagnostic& each : told())
            if (const kind* one = std::get_if<kind>(&each)) those.push_back(*one);
        return those;
    }

    std::vector<routers::link_event> told_of_link()
    {
        std::vector<routers::link_event> events;
        for (const routers::link_line& line : told_of<routers::link_line>())
            events.push_back(line.what);
        return events;
    }

  private:
    int told_end = -1;
};
