#include <gmock/gmock.h>

#include "bench/system_calls.h"
#include "support/temporary_directory.h"

using namespace bench;

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {
class SystemCalls : public testing::Test {
  protected:
    temporary_directory directory;

    std::map<std::string, double> calls(const std::string& trace) const
    {
        return calls_per_span(directory.file("trace", trace), "BK\\tFA6");
    }
};

constexpr const char* BEGIN = "sendto(3, \"\\1N0BK\\tFA6\\4\", 9, MSG_NOSIGNAL, NULL, 0) = 9\n";
} // namespace

TEST_F(SystemCalls, CountAsAverageOfWholeSpans)
{
    const std::string span = BEGIN + std::string("read(0, 0x7ffe, 1) = -1 EAGAIN\n");
    EXPECT_THAT(calls("read(0)\n" + span + span + "read(3)\n" + BEGIN + "write(1)\n"),
                ElementsAre(Pair("read", 1.5), Pair("sendto", 1)));
}

TEST_F(SystemCalls, LogLineAboutTheRequestBeginsNothing)
{
    const std::string log = "write(2, \"Send to router: \\1N0BK\\tFA6\\4\", 20) = 20\n";
    EXPECT_THAT(calls(BEGIN + log + BEGIN + log), ElementsAre(Pair("sendto", 1), Pair("write", 1)));
}

TEST_F(SystemCalls, OneRequestIsNoSpan)
{
    EXPECT_THAT(calls(BEGIN), IsEmpty());
    EXPECT_THAT(calls("+++ exited with 0 +++\n"), IsEmpty());
}
