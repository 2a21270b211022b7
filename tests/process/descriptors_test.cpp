// What the backend's descriptors 0, 1 and 2 may be: each kind on the real program.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include "support/process_test.h"

using testing::Each;
using testing::HasSubstr;
using testing::StartsWith;

namespace {
class Descriptors : public ProcessTest {
  protected:
    // Ours and the backend's; the test replaces what it is about.
    descriptor_pair ends[3] = {pipe_to_child(), pipe_from_child(), pipe_from_child()};
    child_process child;

    void start_on_ends()
    {
        const std::string config = directory.file("router.conf", "inputs=4\n");
        start_child(child, {backend_program(), "--file", config},
                    {ends[0].childs.number, ends[1].childs.number, ends[2].childs.number});
        for (descriptor_pair& end : ends)
            end.childs.reset();
    }

    // Reads until the text has come or there is no more.
    static std::string read_through(int descriptor, const std::string& awaited)
    {
        std::string text;
        char byte = 0;
        while (text.find(awaited) == std::string::npos && read(descriptor, &byte, 1) == 1)
            text += byte;
        return text;
    }
};

class RefusedDescriptor : public Descriptors, public testing::WithParamInterface<int> {
  protected:
    std::size_t target = static_cast<std::size_t>(GetParam());

    void expect_refused()
    {
        start_on_ends();
        EXPECT_EQ(status_at_end(child), 1);
        if (target != 1) {
            EXPECT_EQ(read_to_end(ends[1].ours.number), "");
        }
        if (target != 2) {
            EXPECT_EQ(read_to_end(ends[2].ours.number),
                      "Failed to prepare communications with parent process\n");
        }
    }
};

class AcceptedDescriptor : public Descriptors, public testing::WithParamInterface<int> {
  protected:
    std::size_t target = static_cast<std::size_t>(GetParam());

    // The backend runs, hears on 0, answers on 1, logs on 2 and ends when 0 does.
    void expect_runs()
    {
        start_on_ends();
        EXPECT_THAT(read_through(ends[1].ours.number, "\n\n"), StartsWith("*COMMAND=info\n"));
        write_all(ends[0].ours.number, "*COMMAND=set\n*TYPE=message\nname=inputs\nvalue=7\n\n");
        EXPECT_THAT(read_through(ends[2].ours.number, "inputs to 7\n"),
                    HasSubstr("<DBG>Changing number of inputs to 7\n"));
        EXPECT_THAT(read_through(ends[1].ours.number, "\n\n"), HasSubstr("\ninputs=7\n"));
        ends[0].ours.reset();
        EXPECT_EQ(status_at_end(child), 0);
    }
};
} // namespace

TEST_P(RefusedDescriptor, RegularFile)
{
    const std::string path = directory.file("file", "");
    ends[target].childs = owned_descriptor(open(path.c_str(), O_RDWR | O_CLOEXEC));
    expect_refused();
    std::string text;
    std::getline(std::ifstream(path), text);
    EXPECT_EQ(text, target == 2 ? "Failed to prepare communications with parent process" : "");
}

TEST_P(RefusedDescriptor, Directory)
{
    ends[target].childs =
        owned_descriptor(open(directory.path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    expect_refused();
}

TEST_P(RefusedDescriptor, Closed)
{
    ends[target].childs.reset();
    expect_refused();
}

INSTANTIATE_TEST_SUITE_P(Each, RefusedDescriptor, testing::Values(0, 1, 2));

TEST_P(AcceptedDescriptor, Pipe)
{
    expect_runs();
}

TEST_P(AcceptedDescriptor, Socket)
{
    ends[target] = socket_pair();
    expect_runs();
}

TEST_P(AcceptedDescriptor, PseudoTerminal)
{
    ends[target] = pseudo_terminal();
    expect_runs();
}

INSTANTIATE_TEST_SUITE_P(Each, AcceptedDescriptor, testing::Values(0, 1, 2));

TEST_F(Descriptors, NullDeviceAsInputEndsAtOnce)
{
    ends[0].childs = owned_descriptor(open("/dev/null", O_RDONLY | O_CLOEXEC));
    start_on_ends();
    EXPECT_EQ(status_at_end(child), 0);
    EXPECT_THAT(read_to_end(ends[1].ours.number), StartsWith("*COMMAND=info\n"));
}

// The input end alone tells that the backend runs.
TEST_F(Descriptors, NullDeviceAsOutputAndDiagnosticsRuns)
{
    ends[1].childs = owned_descriptor(open("/dev/null", O_WRONLY | O_CLOEXEC));
    ends[2].childs = owned_descriptor(open("/dev/null", O_WRONLY | O_CLOEXEC));
    start_on_ends();
    ends[0].ours.reset();
    EXPECT_EQ(status_at_end(child), 0);
}

TEST_F(Descriptors, OneSocketMayServeAsInputAndOutput)
{
    ends[0] = socket_pair();
    ends[1].childs = owned_descriptor(fcntl(ends[0].childs.number, F_DUPFD_CLOEXEC, 3));
    start_on_ends();
    EXPECT_THAT(read_through(ends[0].ours.number, "\n\n"), StartsWith("*COMMAND=info\n"));
    ASSERT_EQ(shutdown(ends[0].ours.number, SHUT_WR), 0);
    EXPECT_EQ(status_at_end(child), 0);
}

TEST_F(Descriptors, InputAndOutputBecomeNonBlockingAndDiagnosticsDoNot)
{
    for (descriptor_pair& end : ends)
        end = socket_pair();
    const int watched[3] = {fcntl(ends[0].childs.number, F_DUPFD_CLOEXEC, 3),
                            fcntl(ends[1].childs.number, F_DUPFD_CLOEXEC, 3),
                            fcntl(ends[2].childs.number, F_DUPFD_CLOEXEC, 3)};
    start_on_ends();
    read_through(ends[1].ours.number, "\n\n");
    EXPECT_NE(fcntl(watched[0], F_GETFL) & O_NONBLOCK, 0);
    EXPECT_NE(fcntl(watched[1], F_GETFL) & O_NONBLOCK, 0);
    EXPECT_EQ(fcntl(watched[2], F_GETFL) & O_NONBLOCK, 0);
    for (const int descriptor : watched)
        close(descriptor);
}

namespace {
class NullDevice : public ProcessTest {};
} // namespace

// The null device is always readable: a backend that watched it would never sleep again.
TEST_F(NullDevice, AsOutputCostsNoCore)
{
    descriptor_pair input = pipe_to_child();
    descriptor_pair diagnostics = pipe_from_child();
    const owned_descriptor null(open("/dev/null", O_WRONLY | O_CLOEXEC));
    child_process child;
    start_child(child, {backend_program(), "--file", directory.file("a.conf", "inputs=4\n")},
                {input.childs.number, null.number, diagnostics.childs.number});
    char byte = 0;
    ASSERT_EQ(read(diagnostics.ours.number, &byte, 1), 1); // it has prepared its descriptors
    const long begin = voluntary_switches(child.process);
    EXPECT_TRUE(until([&] { return voluntary_switches(child.process) >= begin + 4; }));
}

TEST_F(NullDevice, AsDiagnosticsCostsNoCore)
{
    descriptor_pair input = pipe_to_child();
    descriptor_pair output = pipe_from_child();
    const owned_descriptor null(open("/dev/null", O_WRONLY | O_CLOEXEC));
    child_process child;
    start_child(child, {backend_program(), "--file", directory.file("a.conf", "inputs=4\n")},
                {input.childs.number, output.childs.number, null.number});
    char byte = 0;
    ASSERT_EQ(read(output.ours.number, &byte, 1), 1);
    const long begin = voluntary_switches(child.process);
    EXPECT_TRUE(until([&] { return voluntary_switches(child.process) >= begin + 4; }));
}

namespace {
class FewDescriptors : public ProcessTest {
  protected:
    static rlimit limit_of(pid_t process)
    {
        rlimit limit{};
        EXPECT_EQ(prlimit(process, RLIMIT_NOFILE, nullptr, &limit), 0);
        return limit;
    }

    static void set_limit(pid_t process, const rlimit& limit)
    {
        ASSERT_EQ(prlimit(process, RLIMIT_NOFILE, &limit, nullptr), 0);
    }

    void expect_dance_answered()
    {
        say("*COMMAND=dance\n*TYPE=command\n*ID=7");
        EXPECT_EQ(hear("dance"),
                  "*COMMAND=dance\n*ERROR=Unknown command dance\n*TYPE=reply\n*ID=7\n\n");
    }
};

// Descriptors that every child inherits, more than select can watch.
struct leaked_descriptors {
    rlimit limit{};
    std::vector<owned_descriptor> descriptors;

    leaked_descriptors()
    {
        getrlimit(RLIMIT_NOFILE, &limit);
        const rlimit raised = {4096, limit.rlim_max};
        if (setrlimit(RLIMIT_NOFILE, &raised) != 0)
            throw std::runtime_error("4096 descriptors are not allowed here");
        for (int i = 0; i < 2000; ++i)
            descriptors.emplace_back(dup(STDIN_FILENO));
    }

    ~leaked_descriptors()
    {
        setrlimit(RLIMIT_NOFILE, &limit);
    }
};
} // namespace

TEST_F(FewDescriptors, ConnectionIsMadeOnceThereIsOne)
{
    router.answers = healthy_answers();
    listen_for_client(router);
    start("port = " + std::to_string(router.port) + "\n");
    ASSERT_NE(hear("info"), "");
    const rlimit limit = limit_of(backend.child.process);
    set_limit(backend.child.process, {3, limit.rlim_max});
    say("*COMMAND=set\n*TYPE=message\nname=ip address\nvalue=127.0.0.1");
    ASSERT_TRUE(logs("<ERR>Cannot connect, cannot create socket"));
    expect_dance_answered();
    ASSERT_TRUE(logs("<ERR>Cannot connect, cannot create socket")); // five seconds later
    EXPECT_THAT(backend.diagnostics, Each("<ERR>Cannot connect, cannot create socket"));
    set_limit(backend.child.process, limit);
    ASSERT_TRUE(logs("<NOTE>Connection sucessful."));
    EXPECT_NE(hear_line("model=TX4"), "");
}

TEST_F(FewDescriptors, SocketAboveLeakedOnesIsRefused)
{
    const leaked_descriptors leaked; // first: no lower number is free
    listen_for_client(router);
    ASSERT_GT(leaked.descriptors.back().number, FD_SETSIZE);
    start(router_settings());
    ASSERT_TRUE(logs("<ERR>Cannot connect, cannot create socket"));
    expect_dance_answered();
    ASSERT_TRUE(logs("<ERR>Cannot connect, cannot create socket"));
    end_input(backend);
    EXPECT_EQ(end(), "exited with status 0");
    EXPECT_THAT(backend.diagnostics, Each("<ERR>Cannot connect, cannot create socket"));
    EXPECT_EQ(router.connections, 0);
}
