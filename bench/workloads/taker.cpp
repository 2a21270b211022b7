#include "bench/workloads/taker.h"

#include "common/numbers.h"
#include "support/frames.h"

namespace bench {

namespace {
constexpr std::uint32_t PORTS = 16;
constexpr double PACING_US = 75'000; // between two flushes, a little more than the backend asks for
// The part of a polling cycle in which the link is idle.
constexpr double QUIET_FROM_US = 20'000;
constexpr double QUIET_TO_US = 250'000;
} // namespace

std::map<std::string, std::string> taker_answers()
{
    auto answers = router_answers(PORTS, PORTS);
    for (std::uint32_t source = 1; source <= PORTS; ++source)
        answers["TI 2 " + upper_hex(source)] = frame(body("ER", {"00", "TI"}));
    return answers;
}

void watch_cycle(taker& taker)
{
    if (count_requests(taker.program->router, "QD") > 0) taker.last_cycle = now_in_us();
    taker.program->router.requests.clear();
}

bool may_take(const taker& taker)
{
    return now_in_us() >= taker.last_take + PACING_US;
}

bool is_quiet(const taker& taker)
{
    const double since = now_in_us() - taker.last_cycle;
    return may_take(taker) && since >= QUIET_FROM_US && since < QUIET_TO_US;
}

void prepare_take(taker& taker)
{
    taker.source = (taker.source + 1) % static_cast<int>(PORTS);
    const std::string index = upper_hex(static_cast<std::uint32_t>(taker.source) + 1);
    taker.program->router.answers["QI 2 0"] = frame(body("IQ", {"2", "0", "0", "N", index}));
    taker.program->router.requests.clear();
    taker.program->heard.clear();
}

} // namespace bench
