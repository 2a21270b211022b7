#include <gmock/gmock.h>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "router_simulator/scenario/fault_table.h"
#include "router_simulator/scenario/file.h"
#include "support/fault_matrix.h"

using namespace router_simulator;
using testing::UnorderedElementsAreArray;

TEST(FaultTable, EveryFaultHasANameOfItsOwn)
{
    for (const fault_row& fault : all_faults())
        EXPECT_EQ(fault_named(fault.name), &fault) << fault.name;
    EXPECT_EQ(fault_named("loose"), nullptr);
}

TEST(FaultTable, EveryFaultDoesOneThing)
{
    for (const fault_row& fault : all_faults()) {
        const int acts = (fault.change_reply != nullptr ? 1 : 0) +
                         (fault.strike_client != nullptr ? 1 : 0) +
                         (fault.strike_router != nullptr ? 1 : 0);
        EXPECT_EQ(acts, 1) << fault.name;
    }
}

TEST(FaultTable, HelpNamesEveryFault)
{
    std::vector<std::string> known;
    for (const fault_row& fault : all_faults())
        known.emplace_back(fault.name);
    // Behind the title each line is "  KIND: NAME, NAME".
    std::istringstream lines(fault_help());
    std::string line;
    std::getline(lines, line);
    std::vector<std::string> named;
    while (std::getline(lines, line)) {
        line.erase(0, line.find(':') + 1);
        std::istringstream names(line);
        for (std::string name; std::getline(names, name, ',');)
            named.push_back(name.substr(1));
    }
    EXPECT_THAT(named, UnorderedElementsAreArray(known));
}

// Its scenarios begin with what another operator does at the very moment, in two steps.
TEST(FaultTable, EveryFaultStrikesSomewhereInTheMatrix)
{
    const simulated_router router = make_router({.sources = 8, .destinations = 8});
    std::set<std::string> striking;
    for (const matrix_cell& cell : all_cells()) {
        scenario plan;
        std::string error;
        ASSERT_TRUE(read_scenario(plan, scenario_of(cell), router, cell.name, error)) << error;
        for (std::size_t i = 2; i < plan.steps.size(); ++i)
            striking.insert(plan.steps[i].fault->name);
    }
    for (const fault_row& fault : all_faults())
        EXPECT_TRUE(striking.contains(fault.name)) << fault.name;
}
