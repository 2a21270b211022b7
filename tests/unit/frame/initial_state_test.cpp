// What the process-wide state is before anything has happened. Read before the first test, since
// every other test puts the state back by itself.
#include <gmock/gmock.h>
#include <sstream>

#include "common/loop_flags.h"
#include "frame/settings.h"
#include "parent/channel.h"
#include "router_link/connection.h"
#include "router_link/receive_parser.h"
#include "router_link/status_request.h"
#include "router_model/route_queue.h"
#include "router_model/state.h"

namespace {
std::string loop_flags_text()
{
    std::ostringstream text;
    text << quit_requested << disconnect_requested << discovery_needed << ' ' << io_counts_changed
         << info_report_pending << ' ' << inputs_report_pending << outputs_report_pending;
    return text.str();
}

std::string parent_text()
{
    std::ostringstream text;
    text << record_complete << record_reset_pending << parent_input_ended << ' '
         << parent_output_written << active_record_handlers << ' ' << output_is_null_device
         << diagnostics_are_null_device;
    return text.str();
}

std::string router_link_text()
{
    std::ostringstream text;
    text << router_fd << ' ' << connect_in_progress << next_connect_attempt << router_tx_offset
         << ' ' << (parse_state == ParseState::Idle) << ' ' << last_router_activity
         << next_status_request << ' ' << drain_interrupted;
    return text.str();
}

std::string router_model_text()
{
    std::ostringstream text;
    text << discovered_inputs << discovered_outputs << input_index_base << output_index_base << ' '
         << level_mask << ' ' << number_of_inputs << number_of_outputs << ' ' << flush_allow_time
         << queue_timeout_time;
    return text.str();
}

std::string settings_text()
{
    std::ostringstream text;
    text << configured_inputs << configured_outputs << ' ' << router_port;
    return text.str();
}

const std::string INITIAL_LOOP_FLAGS = loop_flags_text();
const std::string INITIAL_PARENT = parent_text();
const std::string INITIAL_ROUTER_LINK = router_link_text();
const std::string INITIAL_ROUTER_MODEL = router_model_text();
const std::string INITIAL_SETTINGS = settings_text();
} // namespace

TEST(InitialState, CountsAndInfoReportAreDue)
{
    EXPECT_EQ(INITIAL_LOOP_FLAGS, "000 11 00");
}

TEST(InitialState, NoRecordIsBegunOrUnderWay)
{
    EXPECT_EQ(INITIAL_PARENT, "010 00 00");
}

TEST(InitialState, ThereIsNoConnectionAndNothingIsScheduled)
{
    EXPECT_EQ(INITIAL_ROUTER_LINK, "-1 000 1 00 0");
}

TEST(InitialState, NothingIsKnownOfTheRouter)
{
    EXPECT_EQ(INITIAL_ROUTER_MODEL, "0000 0 00 00");
}

TEST(InitialState, NothingIsConfigured)
{
    EXPECT_EQ(INITIAL_SETTINGS, "00 -1");
}
