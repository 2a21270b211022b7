#include <gtest/gtest.h>

#include "common/loop_flags.h"
#include "frame/settings.h"
#include "support/backend_state.h"

namespace {
class Settings : public testing::Test {
  protected:
    void SetUp() override
    {
        reset_backend_state();
        clear_flags();
    }

    static void clear_flags()
    {
        io_counts_changed = false;
        disconnect_requested = false;
        info_report_pending = false;
    }

    // The flags that applying the setting raises: 'c' for the counts, 'd' for the disconnect.
    static std::string flags_of(const std::string& name, const std::string& value)
    {
        clear_flags();
        apply_setting(name, value);
        EXPECT_FALSE(info_report_pending);
        return std::string(io_counts_changed ? "c" : "") + (disconnect_requested ? "d" : "");
    }

    static std::int64_t inputs_of(const std::string& value)
    {
        apply_setting("inputs", value);
        return configured_inputs;
    }

    static std::int64_t outputs_of(const std::string& value)
    {
        apply_setting("outputs", value);
        return configured_outputs;
    }

    static std::int32_t port_of(const std::string& value)
    {
        apply_setting("port", value);
        return router_port;
    }
};
} // namespace

TEST_F(Settings, ReadEachCountForItself)
{
    for (const auto& count_of : {inputs_of, outputs_of}) {
        reset_backend_state();
        EXPECT_EQ(count_of("12"), 12);
        EXPECT_EQ(count_of("12abc"), 12);
        EXPECT_EQ(count_of("8\n16"), 8);
        EXPECT_EQ(count_of(" +9\r"), 9);
        EXPECT_EQ(count_of("abc"), 0);
        EXPECT_EQ(count_of("-1"), -1);
        EXPECT_EQ(count_of(""), 0);
        count_of("5");
        EXPECT_EQ(configured_inputs + configured_outputs, 5) << "the other one stays";
    }
}

TEST_F(Settings, CutCountsTo32BitsAndWidenThemWithTheSign)
{
    EXPECT_EQ(inputs_of("2147483648"), -2'147'483'648);
    EXPECT_EQ(inputs_of("4294967304"), 8);
    EXPECT_EQ(outputs_of("4294967295"), -1);
    EXPECT_EQ(outputs_of("-4294967295"), 1);
}

TEST_F(Settings, SaturateAt64BitsBeforeTheyCut)
{
    EXPECT_EQ(inputs_of("9223372036854775808"), -1);
    EXPECT_EQ(inputs_of("-9223372036854775809"), 0);
    EXPECT_EQ(port_of("99999999999999999999"), -1);
}

TEST_F(Settings, KeepTheAddressUnchanged)
{
    apply_setting("ip address", " 10.0.0.5\r\nx ");
    EXPECT_EQ(router_ip_address, " 10.0.0.5\r\nx ");
    apply_setting("ip address", "");
    EXPECT_EQ(router_ip_address, "");
}

TEST_F(Settings, ReadThePort)
{
    EXPECT_EQ(port_of("70000"), 70'000);
    EXPECT_EQ(port_of("0"), 0);
    EXPECT_EQ(port_of("-5"), -5);
    EXPECT_EQ(port_of("abc"), 0);
    EXPECT_EQ(port_of(" 12x"), 12);
    EXPECT_EQ(port_of("4294967297"), 1);
    EXPECT_EQ(port_of(""), -1);
}

TEST_F(Settings, ChangeTheCountsWithANewNumberOnly)
{
    for (const char* name : {"inputs", "outputs"}) {
        EXPECT_EQ(flags_of(name, "8"), "c") << name;
        EXPECT_EQ(flags_of(name, "8"), "");
        EXPECT_EQ(flags_of(name, " 8x"), "");
        EXPECT_EQ(flags_of(name, "9"), "c");
        EXPECT_EQ(flags_of(name, ""), "c");
        EXPECT_EQ(flags_of(name, "0"), "");
        EXPECT_EQ(flags_of(name, "garbage"), "");
    }
}

TEST_F(Settings, DisconnectForANewAddressOnly)
{
    EXPECT_EQ(flags_of("ip address", ""), "");
    EXPECT_EQ(flags_of("ip address", "10.0.0.5"), "cd");
    EXPECT_EQ(flags_of("ip address", "10.0.0.5"), "");
    EXPECT_EQ(flags_of("ip address", "10.0.0.6"), "cd");
    EXPECT_EQ(flags_of("ip address", "10.0.0.6 "), "cd");
    EXPECT_EQ(flags_of("ip address", ""), "cd");
}

TEST_F(Settings, DisconnectForANewPortOnly)
{
    EXPECT_EQ(flags_of("port", ""), "");
    EXPECT_EQ(flags_of("port", "-1"), "");
    EXPECT_EQ(flags_of("port", "0"), "cd");
    EXPECT_EQ(flags_of("port", "abc"), "");
    EXPECT_EQ(flags_of("port", "12345"), "cd");
    EXPECT_EQ(flags_of("port", "12345x"), "");
    EXPECT_EQ(flags_of("port", ""), "cd");
}

TEST_F(Settings, NeverClearAFlag)
{
    io_counts_changed = true;
    disconnect_requested = true;
    for (const char* name : {"inputs", "outputs", "ip address", "port"})
        apply_setting(name, "");
    EXPECT_TRUE(io_counts_changed);
    EXPECT_TRUE(disconnect_requested);
}

TEST_F(Settings, IgnoreAnyOtherName)
{
    for (const char* name : {"Inputs", "inputs ", " outputs", "", "ip-address", "ip address ",
                             "PORT", "input", "ports", " # inputs"})
        EXPECT_EQ(flags_of(name, "8"), "") << name;
    EXPECT_EQ(configured_inputs, 0);
    EXPECT_EQ(configured_outputs, 0);
    EXPECT_EQ(router_ip_address, "");
    EXPECT_EQ(router_port, -1);
}
