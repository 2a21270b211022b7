// Every example in the documents is what the backend really does: the tests read the examples from
// there. A fenced block's first line says how it is to be read.

#include <cstdio>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <sstream>

#include "common/loop_flags.h"
#include "control/reports.h"
#include "frame/config_file.h"
#include "frame/settings.h"
#include "parent/channel.h"
#include "router_link/receive_parser.h"
#include "router_model/route_queue.h"
#include "router_model/state.h"
#include "router_simulator/scenario/fault_table.h"
#include "router_simulator/scenario/file.h"
#include "support/backend_test.h"
#include "support/temporary_directory.h"

namespace {
struct example {
    std::string kind;
    std::string text; // with the newline that ends its last line
};

class Documents : public BackendTest {
  protected:
    // The router of the examples.
    void SetUp() override
    {
        BackendTest::SetUp();
        for (const char* name : {"CAM 1", "CAM 2", "VTR 1", "BLACK"})
            router_inputs_info.emplace_back().name = name;
        for (const char* name : {"MON A", "PGM"})
            router_outputs_info.emplace_back().name = name;
        discovered_inputs = number_of_inputs = 4;
        discovered_outputs = number_of_outputs = 2;
        device_model = "TX4";
        firmware_version = "Title 1.2 [r5]";
    }

    void expect_records_as_documented(const std::string& document);

  private:
    void send_report(const example& report);
};

std::vector<example> examples_in(const std::string& document)
{
    std::ifstream file(PROJECT_DIRECTORY "/" + document);
    std::vector<example> examples;
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("```")) {
            inside = !inside;
            if (inside) examples.push_back({.kind = line.substr(3), .text = ""});
        } else if (inside) {
            examples.back().text += line + "\n";
        }
    }
    EXPECT_FALSE(examples.empty()) << document;
    return examples;
}

std::vector<std::string> example_lines(const std::string& document, const std::string& kind)
{
    std::vector<std::string> lines;
    for (const example& found : examples_in(document)) {
        if (found.kind != kind) continue;
        std::istringstream text(found.text);
        for (std::string line; std::getline(text, line);)
            lines.push_back(line);
    }
    EXPECT_FALSE(lines.empty()) << kind;
    return lines;
}

std::string in_hexadecimal(const std::string& bytes)
{
    std::string text;
    for (const char byte : bytes) {
        char digits[4];
        std::snprintf(digits, sizeof digits, "%02X ", static_cast<unsigned char>(byte));
        text += digits;
    }
    text.pop_back();
    return text;
}

std::string from_hexadecimal(const std::string& text)
{
    std::istringstream words(text);
    std::string bytes;
    for (std::string word; words >> word;)
        bytes += static_cast<char>(std::stoi(word, nullptr, 16));
    return bytes;
}

// The routes that a documented routing report tells, as the router would have shown them.
void accept_documented_routes(const std::string& text)
{
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        int output = 0;
        char input[16];
        if (std::sscanf(line.c_str(), "o%d.input.all=%15s", &output, input) != 2) continue;
        accept_route_change(output, std::string(input) == "none" ? -1 : std::stoi(input));
    }
}
} // namespace

void Documents::send_report(const example& report)
{
    if (report.kind == "backend info") send_info_report();
    if (report.kind == "backend inputs") send_inputs_report();
    if (report.kind == "backend outputs") send_outputs_report();
    if (report.kind == "backend routes") {
        accept_documented_routes(report.text);
        send_routing_report();
    }
}

void Documents::expect_records_as_documented(const std::string& document)
{
    for (const example& shown : examples_in(document)) {
        if (shown.kind == "parent") {
            EXPECT_EQ(parent_hears(), "") << "an answer that is not shown";
            parent_says(shown.text.substr(0, shown.text.size() - 1));
            handle_parent_input();
        } else if (shown.kind.starts_with("backend")) {
            send_report(shown);
            EXPECT_EQ(parent_hears(), shown.text + "\n");
        }
    }
}

TEST_F(Documents, ShowRecordsAsTheyAre)
{
    expect_records_as_documented("docs/records.md");
    EXPECT_EQ(configured_outputs, 1) << "the set message";
    ASSERT_EQ(pending_route_changes.size(), 1U) << "the staged change, flushed";
    EXPECT_EQ(pending_route_changes[0].output, 1);
    EXPECT_EQ(pending_route_changes[0].input, 3);
}

TEST_F(Documents, StartWithRecordsAsTheyAre)
{
    expect_records_as_documented("README.md");
}

TEST_F(Documents, ShowAConfigurationFileThatIsRead)
{
    std::string text;
    for (const std::string& line : example_lines("README.md", "config"))
        text += line + "\n";
    const temporary_directory directory;
    ConfigMap config;
    EXPECT_EQ(read_config_file(directory.file("router.conf", text), config), 0);
    EXPECT_EQ(
        config,
        (ConfigMap{
            {"inputs", "8"}, {"outputs", "4"}, {"ip address", "127.0.0.1"}, {"port", "12345"}}));
}

TEST_F(Documents, ShowEachRequestWithItsBytes)
{
    for (const std::string& line : example_lines("docs/router_protocol.md", "requests")) {
        const std::size_t gap = line.find("  ");
        std::istringstream words(line.substr(0, gap));
        std::string mnemonic;
        words >> mnemonic;
        router_message request = make_request(mnemonic.c_str());
        for (std::string parameter; words >> parameter;)
            request.parameters.push_back(parameter);
        std::string encoded;
        ASSERT_TRUE(encode_router_message(request, encoded));
        EXPECT_EQ(in_hexadecimal(encoded), line.substr(line.find_first_not_of(' ', gap)));
    }
}

namespace {
// As the documents write it: mnemonic, then parameters with commas between.
std::string as_documented(const router_message& message)
{
    if (message.ack) return "ACK";
    if (message.nak) return "NAK " + message.raw;
    std::string text(mnemonic_of(message));
    char separator = ' ';
    for (const std::string& parameter : message.parameters) {
        text += separator + parameter;
        separator = ',';
    }
    return text;
}
} // namespace

TEST_F(Documents, ShowAnswersAsTheyAreUnderstood)
{
    for (const std::string& line : example_lines("docs/router_protocol.md", "answers")) {
        const std::size_t equals = line.find(" = ");
        parse_router_bytes(from_hexadecimal(line.substr(0, equals)));
        ASSERT_EQ(router_rx_queue.size(), 1U) << line;
        EXPECT_EQ(as_documented(router_rx_queue.front()), line.substr(equals + 3));
        router_rx_queue.clear();
    }
}

namespace {
// The lines that are no debugging detail, with the time in seconds since the start before each.
std::string notable_lines(const std::string& diagnostics)
{
    char time[32];
    std::snprintf(time, sizeof time, "%.3f ",
                  static_cast<double>(fake_now_us - FAKE_START_US) / 1e6);
    std::istringstream lines(diagnostics);
    std::string notable;
    for (std::string line; std::getline(lines, line);)
        if (!line.starts_with("<DBG>")) notable += time + line + "\n";
    return notable;
}
} // namespace

TEST_F(Documents, ShowWhatASilentRouterLooksLike)
{
    connect_router();
    discovery_needed = true;
    std::string shown;
    on_fake_wait = [&] {
        shown += notable_lines(diagnostics());
    };
    run_until(FAKE_START_US + 10'000'000);
    std::string documented;
    for (const std::string& line : example_lines("docs/behaviour.md", "diagnostics"))
        documented += line + "\n";
    EXPECT_EQ(shown, documented);
}

TEST_F(Documents, ShowScenariosThatAreRead)
{
    const router_simulator::simulated_router router = router_simulator::make_router({});
    for (const example& shown : examples_in("docs/scenarios.md")) {
        ASSERT_EQ(shown.kind, "json");
        router_simulator::scenario plan;
        std::string error;
        EXPECT_TRUE(read_scenario(plan, shown.text, router, "example", error)) << error;
        EXPECT_FALSE(plan.steps.empty());
    }
}

namespace {
// The texts of a table's cell that stand between this mark and the next one.
std::set<std::string> marked_texts(const std::string& cell, char mark)
{
    std::set<std::string> texts;
    for (std::size_t start = cell.find(mark); start != std::string::npos;
         start = cell.find(mark, start)) {
        const std::size_t end = cell.find(mark, start + 1);
        if (end == std::string::npos) break;
        texts.insert(cell.substr(start + 1, end - start - 1));
        start = end + 1;
    }
    return texts;
}

// The first two columns of the tables under the headings that begin so: name and keys.
std::map<std::string, std::set<std::string>> documented_faults(const std::string& heading)
{
    std::ifstream file(PROJECT_DIRECTORY "/docs/scenarios.md");
    std::map<std::string, std::set<std::string>> faults;
    bool inside = false;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("#")) inside = line.starts_with(heading);
        if (!inside || !line.starts_with("| `")) continue;
        const std::size_t first = line.find(" | ");
        const std::string keys = line.substr(first + 3, line.find(" | ", first + 3) - first - 3);
        faults[*marked_texts(line.substr(0, first), '`').begin()] = marked_texts(keys, '"');
    }
    return faults;
}
} // namespace

TEST_F(Documents, DescribeEveryFaultOfTheSimulator)
{
    std::map<std::string, std::set<std::string>> of_replies;
    std::map<std::string, std::set<std::string>> others;
    for (const router_simulator::fault_row& fault : router_simulator::all_faults()) {
        std::set<std::string>& keys = (concerns_reply(fault) ? of_replies : others)[fault.name];
        for (const router_simulator::fault_key key : fault.keys)
            if (key != router_simulator::fault_key::none) keys.insert(key_name(key));
    }
    EXPECT_EQ(documented_faults("## Faults of a reply"), of_replies);
    EXPECT_EQ(documented_faults("## Other faults"), others);
}

// docs/reliability.md names those that it leaves out.
TEST_F(Documents, SoakKnowsEveryOtherFault)
{
    std::set<std::string> played = {"lock", "unlock", "refuse take", "allow take"};
    std::ifstream file(PROJECT_DIRECTORY "/tools/soak/scenario.json");
    const auto scenario = nlohmann::json::parse(file);
    for (const auto& step : scenario.at("steps"))
        played.insert(step.at("fault").get<std::string>());
    std::set<std::string> known;
    for (const router_simulator::fault_row& fault : router_simulator::all_faults())
        known.insert(fault.name);
    EXPECT_EQ(played, known);
}
