#include <gtest/gtest.h>

#include "router_simulator/scenario/fault_table.h"

using namespace router_simulator;

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
    for (const fault_row& fault : all_faults())
        EXPECT_NE(fault_help().find(fault.name), std::string::npos) << fault.name;
}
