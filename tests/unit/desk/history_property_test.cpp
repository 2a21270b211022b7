#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <rapidcheck/gtest.h>

#include "unit/desk/model_history.h"

using namespace model;

namespace {
constexpr std::size_t HISTORIES = 500;
constexpr std::size_t STEPS = 2000;
constexpr std::size_t STEPS_OF_LONG_ONE = 100'000; // more batches than are kept

// HISTORY_SEED plays the history of a failure again.
std::vector<std::uint64_t> seeds(std::size_t count)
{
    if (const char* const given = std::getenv("HISTORY_SEED"))
        return {std::strtoull(given, nullptr, 10)};
    std::vector<std::uint64_t> random(count);
    std::random_device device;
    for (std::uint64_t& seed : random)
        seed = device();
    return random;
}
} // namespace

namespace model {
void showValue(const step& step, std::ostream& to)
{
    to << name_of(step) << " " << step.luck;
}
} // namespace model

namespace rc {
template <>
struct Arbitrary<step> {
    static Gen<step> arbitrary()
    {
        return gen::build<step>(gen::set(&step::what), gen::set(&step::luck));
    }
};
} // namespace rc

// A million steps in long histories.
TEST(History, KeepsTheRules)
{
    for (const std::uint64_t seed : seeds(HISTORIES))
        ASSERT_EQ(play(random_steps(seed, STEPS)), "") << "HISTORY_SEED=" << seed;
}

TEST(History, KeepsTheRulesForLong)
{
    for (const std::uint64_t seed : seeds(1))
        ASSERT_EQ(play(random_steps(seed, STEPS_OF_LONG_ONE)), "") << "HISTORY_SEED=" << seed;
}

// Short histories, of which the shortest that fails is found.
RC_GTEST_PROP(History, KeepsTheRulesInShort, (const std::vector<step>& steps))
{
    const std::string wrong = play(steps);
    RC_ASSERT(wrong.empty());
}
