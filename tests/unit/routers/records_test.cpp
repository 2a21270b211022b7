// The records are those that the backend writes.
#include <gmock/gmock.h>
#include <rapidcheck.h>
#include <rapidcheck/gtest.h>

#include "control/reports.h"
#include "parent/channel.h"
#include "router_model/state.h"
#include "server/routers/records.h"
#include "support/backend_test.h"

using namespace routers;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

namespace {
class Records : public BackendTest {
  protected:
    // What the record says that the backend has just written.
    report heard()
    {
        ParentRecord record;
        const std::string text = parent_hears();
        for (std::size_t begin = 0; begin < text.size();) {
            const std::size_t end = text.find('\n', begin);
            decode_record_line(record, text.substr(begin, end - begin));
            begin = end + 1;
        }
        return read_record(record);
    }
};

ParentRecord message(const std::string& command, const std::map<std::string, std::string>& fields)
{
    ParentRecord record;
    record.command = command;
    record.type = "message";
    record.fields = fields;
    return record;
}
} // namespace

TEST_F(Records, TellTheCounts)
{
    number_of_inputs = 12;
    number_of_outputs = 256;
    send_info_report();
    const auto info = std::get<info_report>(heard());
    EXPECT_EQ(info.inputs, 12);
    EXPECT_EQ(info.outputs, 256);
}

TEST_F(Records, TellWhatTheRouterIs)
{
    device_model = "TX4\x1b[2J";
    firmware_version = "Title\n1.2 " + std::string(desk::TEXT_LENGTH, 'x');
    send_info_report();
    const identity told = std::get<info_report>(heard()).identity;
    EXPECT_EQ(told.model, "TX4 [2J");
    EXPECT_EQ(told.firmware,
              ("Title 1.2 " + std::string(desk::TEXT_LENGTH, 'x')).substr(0, desk::TEXT_LENGTH));
    EXPECT_EQ(told.product, "Grass Valley Native Protocol switcher or compatible");
    EXPECT_EQ(told.company, "Grass Valley");
}

TEST_F(Records, TellNamesByPosition)
{
    router_inputs_info.resize(12);
    router_inputs_info[2].name = "CAM\n<x>";
    router_inputs_info[11].name = "BLACK";
    send_inputs_report();
    const auto names = std::get<names_report>(heard());
    EXPECT_EQ(names.side, desk::side::sources);
    EXPECT_THAT(names.names,
                ElementsAre("", "", "CAM\n<x>", "", "", "", "", "", "", "", "", "BLACK"));
}

TEST_F(Records, TellRoutesFromNames)
{
    router_outputs_info.resize(1);
    number_of_outputs = 3;
    send_outputs_report();
    EXPECT_EQ(std::get<names_report>(heard()).side, desk::side::destinations);
    accept_route_change(2, -1);
    accept_route_change(0, 7);
    send_routing_report();
    EXPECT_THAT(std::get<routes_report>(heard()).routes,
                UnorderedElementsAre(Pair(2, desk::NO_SOURCE), Pair(0, 7)));
}

TEST_F(Records, TellNothingWhenTheyAreOthers)
{
    for (const char* command : {"route output", "info", "inputs", "outputs"}) {
        ParentRecord record = message(command, {{"inputs", "1"}, {"outputs", "1"}});
        record.type = "reply";
        EXPECT_TRUE(std::holds_alternative<std::monostate>(read_record(record)));
    }
    for (const auto& record : {message("weather", {}), message("info", {{"inputs", "1"}}),
                               message("info", {{"inputs", "1"}, {"outputs", "two"}})})
        EXPECT_TRUE(std::holds_alternative<std::monostate>(read_record(record)));
}

TEST_F(Records, PassOverPositionsThatAreNone)
{
    const auto names = std::get<names_report>(read_record(message("inputs", {{"i-1.name", "a"},
                                                                             {"i1024.name", "b"},
                                                                             {"i.name", "c"},
                                                                             {"ix.name", "d"},
                                                                             {"o1.name", "e"},
                                                                             {"i0.nam", "f"}})));
    EXPECT_THAT(names.names, IsEmpty());
    const auto routes =
        std::get<routes_report>(read_record(message("outputs", {{"o256.input.all", "1"},
                                                                {"o1.input.all", "-2"},
                                                                {"o2.input.all", "None"},
                                                                {"o255.input.all", "9"}})));
    EXPECT_THAT(routes.routes, ElementsAre(Pair(255, 9)));
}

RC_GTEST_PROP(AnyRecord, IsReadWithoutHarm,
              (const std::map<std::string, std::string>& fields, std::uint16_t position))
{
    for (const char* command : {"info", "inputs", "outputs"}) {
        auto all = fields;
        all["o" + std::to_string(position) + ".input.all"] = std::to_string(position);
        const report read = read_record(message(command, all));
        if (const auto* routes = std::get_if<routes_report>(&read))
            for (const auto& [destination, source] : routes->routes)
                RC_ASSERT(destination >= 0 && destination < desk::ROUTED_POSITIONS);
    }
}
